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
    add("tiff big-endian transposed",
        Bytes().text("MM").hex("002A 00000008 0003  0100 0003 00000001 000B 0000"
                               "0101 0003 00000001 000D 0000  0112 0003 00000001 0006 0000"
                               "00000000"),
        "TIFF", 13, 11, 1);
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
    add("photo cd", Bytes().fill(32, 0xFF).padTo(0xE02).u8(1), "PCD ", 3072, 2048, 24);
    add("slide show list", Bytes().text("Vivark SlideShow\r\n"), "SSHW", 0, 0, 0);
    add("seattle filmworks",
        Bytes().text("SFW94A").fill(20, 0x11).hex(
            "FFC8FFD0 0004 0000 FFCB 000B 08 000A 0014 03 000000"),
        "SFW ", 20, 10, 24);
    add("compuserve rle (3 bytes)", Bytes().u8(0x1B).text("GH"), "RLEC", 256, 192, 1);
    add("pixmap", Bytes().text("P6\n# made by hand\n7 8\n255\n").fill(7 * 8 * 3), "PPM ", 7, 8, 24);
    add("old x window dump",
        Bytes().be32(40).be32(6).be32(0).be32(8).be32(0).be32(22).be32(23).padTo(40), "XWD ", 22,
        23, 8);
    Bytes fits;
    for (const char* card : {"SIMPLE  =                    T", "BITPIX  =                  -32",
                             "NAXIS   =                    2", "NAXIS1  =                   26",
                             "NAXIS2  =                   27", "END"})
        fits.text(fitsCard(card));
    add("fits", std::move(fits), "FITS", 26, 27, 32);
    return s;
}

}  // namespace vivark::test
