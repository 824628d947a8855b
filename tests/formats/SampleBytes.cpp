// The sample files of SampleBytes.h, each written out field by field.
#include "SampleBytes.h"

namespace vivark::test {
namespace {

std::string fitsCard(std::string text) {
    text.resize(80, ' ');
    return text;
}

}  // namespace

std::vector<uint8_t> whiteFaxPage(int rows) {
    std::string bits;
    for (int i = 0; i < rows; ++i)
        bits +=
            "000000000001"
            "010011011"
            "00110101";
    for (int i = 0; i < 6; ++i) bits += "000000000001";
    while (bits.size() % 8 != 0) bits += '0';
    std::vector<uint8_t> out;
    for (size_t i = 0; i < bits.size(); i += 8) {
        uint8_t b = 0;
        for (size_t j = 0; j < 8; ++j) b = static_cast<uint8_t>((b << 1) | (bits[i + j] == '1'));
        out.push_back(b);
    }
    return out;
}

std::vector<uint8_t> gifSample() {
    return Bytes()
        .text("GIF89a")
        .hex("0A00 1400 81 00 00")  // global table of 4 entries
        .fill(12)
        .hex("21F9 04 00000000 00")                 // graphic control
        .hex("21FE 03 616263 02 6465 00  21FF 0B")  // comment in two blocks
        .text("NETSCAPE2.0")
        .hex("03 01 0000 00  2C 0100 0200 0700 0500 00  02 00 3B")
        .data;
}

std::vector<uint8_t> pngSample() {
    return Bytes()
        .hex("89")
        .text("PNG\r\n\x1A\n")
        .hex("0000000D 49484452 00000003 00000004 08 06 00 00 00 00000000")
        .hex("00000000 49454E44 AE426082")
        .data;
}

std::vector<Sample> formatSamples() {
    std::vector<Sample> s;
    auto add = [&](std::string name, Bytes bytes, const char(&tag)[5], uint32_t w, uint32_t h,
                   uint32_t bits) {
        FormatTag value = 0;
        for (int i = 3; i >= 0; --i) value = (value << 8) | static_cast<uint8_t>(tag[i]);
        s.push_back({std::move(name), std::move(bytes.data), value, w, h, bits});
    };
    add("gif behind extensions", Bytes().append(gifSample()), "GIF ", 7, 5, 2);
    {
        std::vector<uint8_t> stray = gifSample();
        stray.insert(stray.begin() + 33, 0x00);  // between the graphic control and the comment
        add("gif with a stray byte between blocks", Bytes().append(stray), "GIF ", 7, 5, 2);
    }
    add("jpeg frame C8 after C4 and CC segments",
        Bytes()
            .hex("FFD8 FFE0 0010")
            .text("JFIF")
            .fill(10)
            .hex("FFC4 0005 000000  FFCC 0006 00000000  FF FFC8 000B 08 001E 0028 03 000000"),
        "JFIF", 40, 30, 24);
    add("png rgba 8", Bytes().append(pngSample()), "PNG ", 3, 4, 24);
    add("tiff little-endian",
        Bytes().text("II").hex("2A00 08000000 0400"
                               "0001 0300 01000000 0B000000  0101 0400 01000000 0D000000"
                               "0201 0300 03000000 3E000000  1501 0300 01000000 03000000"
                               "00000000 0800 0800 0800"),
        "TIFF", 11, 13, 24);
    add("tiff big-endian transposed",
        Bytes().text("MM").hex("002A 00000008 0003  0100 0003 00000001 000B 0000"
                               "0101 0003 00000001 000D 0000  0112 0003 00000001 0006 0000"
                               "00000000"),
        "TIFF", 13, 11, 1);
    add("photoshop", Bytes().text("8BPS").be16(1).fill(6).be16(3).be32(5).be32(6).be16(8).be16(3),
        "PSD ", 6, 5, 24);
    add("windows bitmap",
        Bytes()
            .text("BM")
            .hex("00000000 00000000 36000000 28000000 04000000 FAFFFFFF 0100 0800")
            .fill(24),
        "BMPW", 4, 6, 8);
    add("bitmap with a 108-byte header",
        Bytes().text("BM").le32(0).le32(0).le32(0).le32(108).le32(3).le32(2).le16(1).le16(24).padTo(
            14 + 108),
        "BMP ", 3, 2, 24);
    add("os/2 bitmap array",
        Bytes()
            .text("BA")
            .hex("28000000 00000000 0000 0000")
            .text("BM")
            .hex("00000000 00000000 00000000 0C000000 0500 0900 0100 0400"),
        "BMP ", 5, 9, 4);
    add("os/2 icon",
        Bytes().text("IC").le32(0).le32(0).le32(0).le32(12).le16(32).le16(64).le16(1).le16(1),
        "ICO ", 32, 32, 1);
    add("os/2 colour pointer",
        Bytes().text("CP").le32(0).le32(0).le32(0).le32(12).le16(32).le16(32).le16(1).le16(4),
        "PTR ", 32, 32, 4);
    add("windows icon",
        Bytes()
            .hex("0000 0100 0100 10 10 00 00 0100 0800 68050000 16000000")
            .hex("28000000 10000000 20000000 0100 0800")
            .fill(24),
        "ICOW", 16, 16, 8);
    add("windows cursor",
        Bytes()
            .hex("0000 0200 0100 20 20 00 00 0100 0100 00000000 16000000")
            .hex("28000000 20000000 40000000 0100 0100")
            .fill(24),
        "CUR ", 32, 32, 1);
    add("pcx",
        Bytes().u8(0x0A).u8(5).u8(1).u8(8).le16(0).le16(0).le16(9).le16(4).padTo(65).u8(3).padTo(
            128),
        "PCX ", 10, 5, 24);
    add("dcx",
        Bytes()
            .hex("B168DE3A 0C000000 00000000 0A 00 01 01 0200 0300 2103 5B02")
            .padTo(12 + 65)
            .u8(1)
            .padTo(12 + 128),
        "DCX ", 800, 601, 1);
    add("iff ilbm",
        Bytes()
            .text("FORM")
            .hex("00000028")
            .text("ILBMANNO")
            .hex("00000003 616263 00")
            .text("BMHD")
            .hex("00000014 0020 0010 00000000 05")
            .fill(11),
        "IFF ", 32, 16, 5);
    add("photo cd", Bytes().fill(32, 0xFF).padTo(0xE02).u8(1), "PCD ", 3072, 2048, 24);
    add("slide show list", Bytes().text("Vivark SlideShow\r\n"), "SSHW", 0, 0, 0);
    add("structured fax, rows counted",
        Bytes().text("Sfff").hex("01 00 0000 0100 1400 14000000 00000000"
                                 "FE 10 00 00 00 00 C006 0000 00000000 01000000"
                                 "02 5555 02 5555 00 0300 555555 DC"),
        "SFF ", 1728, 7, 1);
    add("seattle filmworks",
        Bytes().text("SFW94A").fill(20, 0x11).hex(
            "FFC8FFD0 0004 0000 FFCB 000B 08 000A 0014 03 000000"),
        "SFW ", 20, 10, 24);
    add("sgi", Bytes().be16(474).u8(1).u8(1).be16(3).be16(8).be16(9).be16(3).padTo(512), "SGI ", 8,
        9, 24);
    add("compuserve rle (3 bytes)", Bytes().u8(0x1B).text("GH"), "RLEC", 256, 192, 1);
    add("utah rle",
        Bytes().le16(0xCC52).le16(0).le16(0).le16(10).le16(11).u8(2).u8(3).u8(8).u8(0).u8(8),
        "RLEU", 10, 11, 24);
    add("sun raster",
        Bytes().be32(0x59A66A95).be32(5).be32(6).be32(8).be32(30).be32(1).be32(1).be32(0), "RAS ",
        5, 6, 8);
    add("pixmap", Bytes().text("P6\n# made by hand\n7 8\n255\n").fill(7 * 8 * 3), "PPM ", 7, 8, 24);
    add("plain bitmap", Bytes().text("P1 3 2 010 101"), "PBM ", 3, 2, 1);
    add("16-bit greymap", Bytes().text("P5\n2 2\n65535\n").fill(8), "PGM ", 2, 2, 16);
    add("pc paint",
        Bytes().le16(0x1234).le16(12).le16(13).le16(0).le16(0).u8(0x31).u8(0xFF).u8(0).le16(0).le16(
            0),
        "PIC ", 12, 13, 4);
    add("softimage", Bytes().be32(0x5380F634).padTo(88).text("PICT").be16(14).be16(15).padTo(104),
        "PICS", 14, 15, 24);
    add("microsoft paint", Bytes().text("LinS").le16(16).le16(17).padTo(32), "MSP ", 16, 17, 1);
    add("gem paint",
        Bytes().be16(1).be16(8).be16(4).be16(2).be16(85).be16(85).be16(18).be16(19).be16(0), "GEMP",
        18, 19, 4);
    add("wordperfect graphics",
        Bytes().hex("FF").text("WPC").hex("10000000 01 16 01 00 0000 0000 0F 06 000000000000"
                                          "0E FF 0300 000000 0B 0A 0900 0700 0100 4B00 4B00"),
        "WPG ", 9, 7, 1);
    add("x window dump",
        Bytes().be32(100).be32(7).be32(2).be32(24).be32(20).be32(21).padTo(44).be32(32).padTo(100),
        "XWD ", 20, 21, 24);
    add("old x window dump",
        Bytes().be32(40).be32(6).be32(0).be32(8).be32(0).be32(22).be32(23).padTo(40), "XWD ", 22,
        23, 8);
    add("targa", Bytes().u8(0).u8(0).u8(10).fill(9).le16(24).le16(25).u8(32).u8(0x28), "TGA ", 24,
        25, 32);
    Bytes fits;
    for (const char* card : {"SIMPLE  =                    T", "BITPIX  =                  -32",
                             "NAXIS   =                    2", "NAXIS1  =                   26",
                             "NAXIS2  =                   27", "END"})
        fits.text(fitsCard(card));
    add("fits", std::move(fits), "FITS", 26, 27, 32);
    add("x pixmap",
        Bytes().text("/* XPM */\nstatic char *t[] = {\n\"4 3 2 1\",\n\"a c #000000\",\n"
                     "\"b c #FFFFFF\",\n\"abab\",\n\"baba\",\n\"abab\"};\n"),
        "XPM ", 4, 3, 1);
    add("x bitmap",
        Bytes().text("/* drawn */\n#define t_width 9\n#define t_height 5\n"
                     "static char t_bits[] = {0};\n"),
        "XBM ", 9, 5, 1);
    add("wap bitmap", Bytes().u8(0).u8(0).u8(0x81).u8(0x00).u8(10).fill(16 * 10), "WBMP", 128, 10,
        1);
    add("os/2 boot logo", Bytes().le32(76800).le32(230432).padTo(32), "LOGO", 320, 240, 24);
    add("picb", Bytes().le16(0x3039).le16(30).le16(31).le16(8).padTo(76), "PICB", 30, 31, 8);
    {
        Bytes macPaint;
        macPaint.be32(2).padTo(512);
        for (int row = 0; row < 8; ++row) macPaint.u8(257 - 72).u8(0);
        add("macpaint", std::move(macPaint), "PNTG", 576, 720, 1);
    }
    add("raw fax", Bytes().append(whiteFaxPage(25)), "FAX3", 1728, 25, 1);
    return s;
}

}  // namespace vivark::test
