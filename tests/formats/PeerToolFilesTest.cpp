// Files that the peer tools (netpbm, ImageMagick, Pillow) write, read by us
// and compared with the tools' own decoding of the same file: one row per
// tool and option set, over every family these tools write (SGI, FITS,
// Photoshop, IFF, MacPaint, GEM, Utah RLE, Microsoft Paint, X bitmap and
// pixmap, WAP bitmap, X window dump, Sun raster). The pictures are made
// here, so each row starts from the same image. Our run-length Sun rasters
// with long runs and escaped bytes go the other way.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "formats/Loader.h"
#include "formats/SaveDispatch.h"
#include "formats/pnm/PnmReader.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

// The sources: a 23×11 true-colour picture with a flat band and noise, its
// grey version, its black-and-white version and a 16-colour picture, as raw
// PNM.
void writeSources(const std::filesystem::path& dir) {
    const uint32_t w = 23, h = 11;
    std::string rgbPixels, greyPixels, palPixels, bwPixels((w + 7) / 8 * h, '\0');
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) {
            const uint8_t r = x < 6 ? 200 : uint8_t(x * 11 + y * 7);
            const uint8_t g = x < 6 ? uint8_t(30 + y * 10) : uint8_t(x * x + 3 * y);
            const uint8_t b = x < 6 ? 60 : uint8_t(255 - x * 5 - y * 9);
            rgbPixels += {char(r), char(g), char(b)};
            greyPixels += char((r * 3 + g * 6 + b) / 10);
            if ((r * 3 + g * 6 + b) / 10 < 128)
                bwPixels[y * ((w + 7) / 8) + x / 8] |= char(0x80 >> x % 8);
            const uint32_t i = x > 3 ? (3 * x + 5 * y + x * y) % 16 : 2;
            palPixels += {char(i * 16), char(255 - i * 13), char(i * 77 % 256)};
        }
    const std::string size = std::to_string(w) + " " + std::to_string(h) + "\n255\n";
    std::ofstream(dir / "rgb.ppm", std::ios::binary) << "P6\n" << size << rgbPixels;
    std::ofstream(dir / "grey.pgm", std::ios::binary) << "P5\n" << size << greyPixels;
    std::ofstream(dir / "pal.ppm", std::ios::binary) << "P6\n" << size << palPixels;
    std::ofstream(dir / "bw.pbm", std::ios::binary)
        << "P4\n"
        << std::to_string(w) + " " + std::to_string(h) + "\n"
        << bwPixels;
}

// The largest channel difference between two images of the same size.
int worstDifference(const Image& a, const Image& b) {
    int worst = 0;
    for (uint32_t y = 0; y < a.height(); ++y)
        for (uint32_t x = 0; x < a.width(); ++x) {
            const Colour p = colourAt(a, x, y), q = colourAt(b, x, y);
            for (int shift : {0, 8, 16})
                worst = std::max(worst, std::abs(int(p >> shift & 0xFF) - int(q >> shift & 0xFF)));
        }
    return worst;
}

TEST(PeerToolFiles, OurDecodingEqualsTheToolsOwn) {
    if (std::system("command -v pnmtosgi >/dev/null && command -v ppmtoilbm >/dev/null && "
                    "command -v pnmtofits >/dev/null && command -v xwdtopnm >/dev/null && "
                    "command -v convert-im6.q16 >/dev/null") != 0)
        GTEST_SKIP() << "netpbm and ImageMagick are needed (scripts/setup.sh)";
    // `make` writes the file "f" from the sources; `decode` prints the
    // tools' decoding of it as PNM. ImageMagick is "im" below.
    const std::string im = "convert-im6.q16 ";
    const std::string sgi = "sgitopnm f | pamdepth 255";
    // FITS stores the bottom row first; fitstopnm prints the rows as stored.
    const std::string fits = "fitstopnm -omaxval=255 f | pamflip -topbottom";
    const std::string ilbm = "ilbmtoppm f";
    const std::string psd = im + "psd:f[0] -alpha off -depth 8 ppm:-";
    const std::string pillow = "/usr/bin/python3 -c \"from PIL import Image; ";
    const std::string pillowDecode =
        pillow + "import sys; Image.open('f').convert('L').save(sys.stdout.buffer, 'PPM')\"";
    const struct {
        const char* tag;
        std::string make, decode;
        int tolerance;
    } cases[] = {
        {"SGI ", "pnmtosgi -verbatim rgb.ppm > f", sgi, 0},
        {"SGI ", "pnmtosgi -rle rgb.ppm > f", sgi, 0},
        {"SGI ", "pnmtosgi -rle grey.pgm > f", sgi, 0},
        {"SGI ", "pnmdepth 65535 rgb.ppm | pnmtosgi -verbatim > f", sgi, 0},
        {"SGI ", "pnmdepth 65535 grey.pgm | pnmtosgi -rle > f", sgi, 0},
        {"SGI ", im + "rgb.ppm -alpha set -compress RLE sgi:f", sgi, 0},
        {"SGI ", im + "grey.pgm -depth 16 sgi:f", sgi, 0},
        {"FITS", "pnmtofits grey.pgm > f", fits, 0},
        {"FITS", "pnmtofits rgb.ppm > f", fits, 0},
        {"FITS", "pnmdepth 1000 grey.pgm | pnmtofits > f", fits, 1},
        // fitstopnm overflows on 32-bit integers; ImageMagick reads its own
        // FITS files right (and turns them over as we do). Its floating-point
        // files are not used: it writes BZERO 2^31 into them.
        {"FITS", im + "grey.pgm -depth 16 fits:f", fits, 0},
        {"FITS", im + "grey.pgm -depth 32 fits:f", im + "fits:f -depth 8 pgm:-", 0},
        {"IFF ", "ppmtoilbm pal.ppm > f", ilbm, 0},
        {"IFF ", "ppmtoilbm -nocompress pal.ppm > f", ilbm, 0},
        {"IFF ", "ppmtoilbm grey.pgm > f", ilbm, 0},
        {"IFF ", "ppmtoilbm -ham6 rgb.ppm > f", ilbm, 0},
        {"IFF ", "ppmtoilbm -ham8 -nocompress rgb.ppm > f", ilbm, 0},
        {"IFF ", "ppmtoilbm -24force rgb.ppm > f", ilbm, 0},
        {"IFF ", "ppmtoilbm -24force -nocompress rgb.ppm > f", ilbm, 0},
        {"PSD ", im + "rgb.ppm psd:f", psd, 0},
        {"PSD ", im + "rgb.ppm -compress None psd:f", psd, 0},
        {"PSD ", im + "rgb.ppm -depth 16 psd:f", psd, 0},
        {"PSD ", im + "grey.pgm psd:f", psd, 0},
        // ImageMagick 6 cannot read its own indexed documents back; the
        // 16-colour source is the reference.
        {"PSD ", im + "pal.ppm -type Palette psd:f", "cat pal.ppm", 0},
        {"PSD ", im + "grey.pgm -monochrome psd:f", psd, 0},
        {"PSD ", im + "rgb.ppm -alpha set psd:f", psd, 0},
        {"PSD ", im + "rgb.ppm -colorspace CMYK psd:f", psd, 1},
        {"PSD ", im + "rgb.ppm -colorspace CMYK -depth 16 -compress None psd:f", psd, 2},
        {"PSD ", im + "rgb.ppm -colorspace Lab psd:f", psd, 1},
        {"PSD ", im + "rgb.ppm pal.ppm -adjoin psd:f", psd, 0},
        {"PNTG", "pbmtomacp bw.pbm > f", "macptopbm f", 0},
        // The same document behind a MacBinary header (name, then type "PNTG").
        {"PNTG",
         "(printf '\\0\\4test'; head -c 59 /dev/zero; printf PNTG; head -c 59 /dev/zero; "
         "pbmtomacp bw.pbm) > f",
         "macptopbm -extraskip 128 f", 0},
        {"GEMP", "pbmtogem bw.pbm > f", "gemtopnm f", 0},
        {"RLEU", "pnmtorle rgb.ppm > f", "rletopnm f", 0},
        {"RLEU", "pnmtorle grey.pgm > f", "rletopnm f", 0},
        {"RLEU", "pnmtorle -alpha rgb.ppm > f", "rletopnm f", 0},
        {"MSP ", pillow + "Image.open('bw.pbm').save('f', 'MSP')\"", pillowDecode, 0},
        // X bitmaps and pixmaps, WAP bitmaps, X window dumps and Sun rasters.
        {"XBM ", "pbmtoxbm bw.pbm > f", "xbmtopbm f", 0},
        {"XBM ", "pbmtoxbm -x10 bw.pbm > f", "xbmtopbm f", 0},
        {"XBM ", im + "bw.pbm xbm:f", "xbmtopbm f", 0},
        {"XPM ", "ppmtoxpm pal.ppm > f", "xpmtoppm f", 0},
        {"XPM ", "ppmtoxpm -rgb /usr/share/X11/rgb.txt pal.ppm > f", "xpmtoppm f", 0},
        {"XPM ", "ppmtoxpm rgb.ppm > f", "xpmtoppm f", 0},
        {"XPM ", im + "pal.ppm xpm:f", "xpmtoppm f", 0},
        {"XPM ", im + "rgb.ppm xpm:f", "xpmtoppm f", 0},
        {"XPM ", im + "bw.pbm xpm:f", "xpmtoppm f", 0},
        {"WBMP", "pbmtowbmp bw.pbm > f", "wbmptopbm f", 0},
        {"WBMP", im + "bw.pbm wbmp:f", "wbmptopbm f", 0},
        {"XWD ", "pnmtoxwd pal.ppm > f", "xwdtopnm f", 0},
        {"XWD ", "pnmtoxwd -pseudodepth 8 pal.ppm > f", "xwdtopnm f", 0},
        {"XWD ", "pnmtoxwd bw.pbm > f", "xwdtopnm f", 0},
        {"XWD ", "pnmtoxwd grey.pgm > f", "xwdtopnm f", 0},
        // xwdtopnm does not read the direct-colour dumps whose map it leaves
        // empty; ImageMagick reads them and its own dumps.
        {"XWD ", "pnmtoxwd -directcolor rgb.ppm > f", im + "xwd:f ppm:-", 0},
        {"XWD ", im + "rgb.ppm xwd:f", im + "xwd:f ppm:-", 0},
        {"XWD ", im + "pal.ppm -type Palette xwd:f", im + "xwd:f ppm:-", 0},
        {"XWD ", im + "bw.pbm xwd:f", im + "xwd:f ppm:-", 0},
        {"RAS ", "pnmtorast pal.ppm > f", "rasttopnm f", 0},
        {"RAS ", "pnmtorast -rle pal.ppm > f", "rasttopnm f", 0},
        {"RAS ", "pnmtorast rgb.ppm > f", "rasttopnm f", 0},
        {"RAS ", "pnmtorast -rle rgb.ppm > f", "rasttopnm f", 0},
        {"RAS ", "pnmtorast bw.pbm > f", "rasttopnm f", 0},
        {"RAS ", "pnmtorast grey.pgm > f", "rasttopnm f", 0},
        {"RAS ", im + "rgb.ppm sun:f", "rasttopnm f", 0},
        {"RAS ", im + "rgb.ppm -alpha set sun:f", "rasttopnm f", 0},
        {"RAS ", im + "pal.ppm -type Palette sun:f", "rasttopnm f", 0},
        {"RAS ", im + "bw.pbm sun:f", "rasttopnm f", 0},
    };
    TempDir dir;
    writeSources(dir.path());
    for (const auto& c : cases) {
        SCOPED_TRACE(c.make);
        const std::string cd = "cd '" + dir.path().string() + "' && ";
        std::filesystem::remove(dir / "f");
        ASSERT_EQ(std::system((cd + c.make + " 2>/dev/null").c_str()), 0);
        const std::string reference = test::commandOutput(cd + "{ " + c.decode + "; } 2>/dev/null");
        ASSERT_FALSE(reference.empty());
        const Image theirs = readFromBytes(reference, makePnmReader);
        Image ours;
        const LoadResult result = loadFile(ours, (dir / "f").string(), ReadOptions{});
        ASSERT_TRUE(result.completed) << messageText(result.message);
        EXPECT_EQ(tagText(ours.formatTag), c.tag);
        ASSERT_EQ(ours.width(), theirs.width());
        ASSERT_EQ(ours.height(), theirs.height());
        EXPECT_LE(worstDifference(ours, theirs), c.tolerance);
    }
}

TEST(PeerToolFiles, OurRunLengthSunRastersAreReadByNetpbm) {
    if (std::system("command -v rasttopnm >/dev/null") != 0)
        GTEST_SKIP() << "netpbm is needed (scripts/setup.sh)";
    TempDir dir;
    StoredSaveOptions stored;
    SaveOptionOverlay options(stored);
    ASSERT_TRUE(options.setAssignment("RAS\\Encode=yes"));
    Image runs = patternImage(300, 5, 24);  // rows longer than one run of 256
    for (uint32_t bits : {1u, 4u, 8u, 24u, 0u}) {
        SCOPED_TRACE(bits);
        Image image = bits == 0 ? runs : patternImage(37, 23, bits);
        if (bits == 1) image.palette[0] = rgb(255, 255, 255), image.palette[1] = rgb(0, 0, 0);
        // Bytes of 0x80 must be escaped.
        if (bits == 8) image.palette[0x80] = rgb(1, 2, 3), image.plane.mutableRow(3)[5] = 0x80;
        const auto file = dir / "rle.ras";
        saveImage(image, file, *findWriterByExtension("ras"), options);
        EXPECT_EQ(readWholeFile(file)[23], 2);  // type 2, byte-encoded
        const Image back = readFromBytes(
            test::commandOutput("rasttopnm '" + file.string() + "' 2>/dev/null"), makePnmReader);
        EXPECT_TRUE(samePixels(back, image));
    }
}

}  // namespace
}  // namespace vivark
