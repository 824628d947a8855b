// Files that netpbm and ImageMagick write in the X bitmap, X pixmap, WAP
// bitmap, X window dump and Sun raster formats, made in the test from a few
// small pictures (one row per tool and option), read through the registry
// and compared with the tool's own decoding to PNM. Our writers' files under
// options the registry checks do not reach go the other way.
#include <gtest/gtest.h>

#include <cstdio>
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

// The pictures the tools start from: 13×7 in 8 colours, 40×9 in true
// colour (more than 221 colours), 13×7 in black and white and in grey.
struct Sources {
    TempDir dir;
    Sources() {
        std::string ppm = "P6\n13 7\n255\n", pbm = "P1\n13 7\n", pgm = "P5\n13 7\n255\n";
        static const uint8_t kEight[8][3] = {{0, 0, 0},     {255, 255, 255}, {255, 0, 0},
                                             {0, 160, 0},   {0, 0, 255},     {255, 255, 0},
                                             {128, 0, 128}, {0, 128, 128}};
        for (int y = 0; y < 7; ++y) {
            for (int x = 0; x < 13; ++x) {
                const uint8_t* c = kEight[(3 * x + 5 * y + x * y) % 8];
                ppm.append(reinterpret_cast<const char*>(c), 3);
                pbm += (x * x + y) % 3 == 0 ? "1 " : "0 ";
                pgm.push_back(char(x * 19 + y * 3));
            }
        }
        std::string colour = "P6\n40 9\n255\n";
        for (int y = 0; y < 9; ++y)
            for (int x = 0; x < 40; ++x)
                colour += {char(x * 6), char(y * 28), char(200 - x * 3 + y)};
        dir.write("src.ppm", ppm);
        dir.write("src.pbm", pbm);
        dir.write("src.pgm", pgm);
        dir.write("true.ppm", colour);
    }
    // The command with {ppm}, {pbm}, {pgm} and {true} replaced by the files.
    std::string expand(std::string command) const {
        for (const char* name : {"ppm", "pbm", "pgm", "true"}) {
            const std::string key = std::string("{") + name + "}";
            const std::string file =
                std::string(name == std::string("true") ? "true.ppm" : std::string("src.") + name);
            for (size_t at; (at = command.find(key)) != std::string::npos;)
                command.replace(at, key.size(), "'" + (dir / file).string() + "'");
        }
        return command;
    }
};

bool toolsPresent() {
    return std::system("command -v xwdtopnm >/dev/null && command -v convert-im6.q16 >/dev/null") ==
           0;
}

TEST(PeerFiles, ToolFilesDecodeAsTheToolsDecodeThem) {
    if (!toolsPresent()) GTEST_SKIP() << "netpbm and ImageMagick are needed (scripts/setup.sh)";
    const Sources sources;
    const struct {
        const char* tag;
        const char* decoder;  // the reference: a netpbm tool's decoding of the file, or "xwd:"
        const char* command;  // writes the file to standard output
    } cases[] = {
        {"XBM ", "xbmtopbm", "pbmtoxbm {pbm}"},
        {"XBM ", "xbmtopbm", "pbmtoxbm -x10 {pbm}"},
        {"XBM ", "xbmtopbm", "convert-im6.q16 {pbm} xbm:-"},
        {"XPM ", "xpmtoppm", "ppmtoxpm {ppm}"},
        {"XPM ", "xpmtoppm", "ppmtoxpm -rgb /usr/share/X11/rgb.txt {ppm}"},
        {"XPM ", "xpmtoppm", "ppmtoxpm {true}"},
        {"XPM ", "xpmtoppm", "convert-im6.q16 {ppm} xpm:-"},
        {"XPM ", "xpmtoppm", "convert-im6.q16 {true} xpm:-"},
        {"XPM ", "xpmtoppm", "convert-im6.q16 {pbm} xpm:-"},
        {"WBMP", "wbmptopbm", "pbmtowbmp {pbm}"},
        {"WBMP", "wbmptopbm", "convert-im6.q16 {pbm} wbmp:-"},
        {"XWD ", "xwdtopnm", "pnmtoxwd {ppm}"},
        {"XWD ", "xwdtopnm", "pnmtoxwd -pseudodepth 8 {ppm}"},
        {"XWD ", "xwdtopnm", "pnmtoxwd -directcolor {true}"},
        {"XWD ", "xwdtopnm", "pnmtoxwd {pbm}"},
        {"XWD ", "xwdtopnm", "pnmtoxwd {pgm}"},
        {"XWD ", "xwd:", "convert-im6.q16 {true} xwd:-"},
        {"XWD ", "xwd:", "convert-im6.q16 {ppm} -type Palette xwd:-"},
        {"XWD ", "xwd:", "convert-im6.q16 {pbm} xwd:-"},
        {"RAS ", "rasttopnm", "pnmtorast {ppm}"},
        {"RAS ", "rasttopnm", "pnmtorast -rle {ppm}"},
        {"RAS ", "rasttopnm", "pnmtorast {true}"},
        {"RAS ", "rasttopnm", "pnmtorast -rle {true}"},
        {"RAS ", "rasttopnm", "pnmtorast {pbm}"},
        {"RAS ", "rasttopnm", "pnmtorast {pgm}"},
        {"RAS ", "rasttopnm", "convert-im6.q16 {true} sun:-"},
        {"RAS ", "rasttopnm", "convert-im6.q16 {true} -alpha set sun:-"},
        {"RAS ", "rasttopnm", "convert-im6.q16 {ppm} -type Palette sun:-"},
        {"RAS ", "rasttopnm", "convert-im6.q16 {pbm} sun:-"},
    };
    int n = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.command);
        const auto file = sources.dir / ("tool-" + std::to_string(n++));
        ASSERT_EQ(
            std::system(
                (sources.expand(c.command) + " >'" + file.string() + "' 2>/dev/null").c_str()),
            0);
        // A decoder "xwd:" is ImageMagick's own reading (xwdtopnm does not
        // read its direct-colour dumps, whose map it leaves empty).
        const std::string decoder = c.decoder;
        const std::string reference = test::commandOutput(
            decoder == "xwd:" ? "convert-im6.q16 'xwd:" + file.string() + "' ppm:- 2>/dev/null"
                              : decoder + " '" + file.string() + "' 2>/dev/null");
        ASSERT_FALSE(reference.empty());
        Image ours;
        const LoadResult result = loadFile(ours, file.string(), ReadOptions{});
        ASSERT_TRUE(result.completed) << messageText(result.message);
        EXPECT_EQ(tagText(ours.formatTag), c.tag);
        EXPECT_TRUE(samePixels(ours, readFromBytes(reference, makePnmReader)));
    }
}

TEST(PeerFiles, OurRunLengthSunRastersAreReadByNetpbm) {
    if (!toolsPresent()) GTEST_SKIP() << "netpbm is needed (scripts/setup.sh)";
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
