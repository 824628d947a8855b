// X bitmaps and X pixmaps: the writers' exact text through the command line
// (identifiers, line layout, characters per pixel, both XPM layouts), the
// readers on the hand-written forms tools do not make (comments, hot spots,
// colour keys, names and "None", three and four characters, format 1), and
// the refusals.
#include <gtest/gtest.h>

#include <sstream>

#include "app/cli/Cli.h"
#include "formats/ErrorMessages.h"
#include "formats/SaveDispatch.h"
#include "formats/png/PngWriter.h"
#include "formats/xbm/XbmReader.h"
#include "formats/xbm/XbmWriter.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using namespace test;

// A 1-row palette image of `colours` entries, pixel x of index x % colours.
Image paletteRow(uint32_t width, uint32_t colours, uint32_t bits) {
    Image image(width, 1, bits);
    for (uint32_t i = 0; i < colours; ++i) image.palette[i] = rgb(uint8_t(i), 2, 3);
    image.paletteCount = colours;
    std::vector<uint8_t> indices(width);
    for (uint32_t x = 0; x < width; ++x) indices[x] = uint8_t(x % colours);
    packIndices(indices.data(), image.plane.mutableRow(0), width, bits);
    return image;
}

TEST(XbmXpm, WritersMakeExactlyTheirTextThroughTheCommandLine) {
    TempDir dir;
    StoredSaveOptions options;
    // 9×6, white but for the ninth pixel of the first row: 12 bytes in all.
    Image bw(9, 6, 1);
    bw.palette[0] = rgb(255, 255, 255);
    bw.palette[1] = rgb(0, 0, 0);
    bw.paletteCount = 2;
    bw.plane.mutableRow(0)[1] = 0x80;
    saveImage(bw, dir / "bw.png", *findWriterByExtension("png"), options);
    Image two = paletteRow(2, 2, 1);
    two.palette[0] = rgb(0, 0, 0);
    two.palette[1] = rgb(1, 2, 3);
    saveImage(two, dir / "two.png", *findWriterByExtension("png"), options);
    saveImage(paletteRow(221, 221, 8), dir / "221.png", *findWriterByExtension("png"), options);
    saveImage(paletteRow(222, 222, 8), dir / "222.png", *findWriterByExtension("png"), options);

    const struct {
        const char* input;
        const char* output;
        const char* set;       // a --set assignment, or null
        const char* expected;  // the whole file, or its start when `whole` is false
        bool whole;
    } cases[] = {
        {"bw.png", "1.xbm", nullptr,
         "#define 1_width 9\n#define 1_height 6\nstatic char 1_bits[] = {\n"
         "   0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,\n"
         "   0x00\n   };\n",
         true},
        {"bw.png", "_a.xbm", nullptr, "#define bitmap_width 9\n", false},
        {"bw.png", "My_Icon.xbm", nullptr, "#define my_width 9\n", false},
        {"bw.png", "abcdefghijklmnopqrstuvwxyz0123456789.xbm", nullptr,
         "#define abcdefghijklmnopqrstuvwxyz01234_width", false},
        {"two.png", "p.xpm", nullptr,
         "/* XPM */\nstatic char * p[] = {\n/* width height ncolors chars_per_pixel */\n"
         "\"2 1 2 1\",\n/* colors */\n\"  c #000000\",\n\"! c #010203\",\n/* pixels */\n"
         "\" !\"\n};\n",
         true},
        {"two.png", "p1.xpm", "XPM\\Type=1",
         "#define p1_format 1\n#define p1_width 2\n#define p1_height 1\n#define p1_ncolors 2\n"
         "#define p1_chars_per_pixel 1\nstatic char * p1_colors[] = {\n\" \", \"#000\",\n"
         "\"!\", \"#010102020303\"\n};\nstatic char * p1_pixels[] = {\n\" !\"\n};\n",
         true},
        {"two.png", "-.xpm", "XPM\\Type=2", "/* XPM */\nstatic char * pixmap[] = {", false},
        {"221.png", "c.xpm", nullptr,
         "/* XPM */\nstatic char * c[] = {\n/* width height "
         "ncolors chars_per_pixel */\n\"221 1 221 1\",",
         false},
        {"222.png", "c.xpm", nullptr,
         "/* XPM */\nstatic char * c[] = {\n/* width height "
         "ncolors chars_per_pixel */\n\"222 1 222 2\",",
         false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.output);
        std::vector<std::string> args{"vivark", "convert", (dir / c.input).string(),
                                      (dir / c.output).string()};
        if (c.set) args.insert(args.end(), {"--set", c.set});
        std::vector<char*> argv;
        for (std::string& a : args) argv.push_back(a.data());
        std::ostringstream out, err;
        ASSERT_EQ(cli::run(int(argv.size()), argv.data(), out, err), 0) << err.str();
        const std::string text = readWholeFile(dir / c.output);
        if (c.whole)
            EXPECT_EQ(text, c.expected);
        else
            EXPECT_EQ(text.substr(0, std::string(c.expected).size()), c.expected);
    }
}

TEST(XbmXpm, BothPixmapLayoutsReadBackAtEveryDepth) {
    StoredSaveOptions stored;
    for (int type : {0, 1}) {
        SaveOptionOverlay options(stored);
        options.set(saveKey::XpmType, type);
        for (uint32_t bits : {1u, 4u, 8u}) {
            SCOPED_TRACE(testing::Message() << "type " << type << ", bits " << bits);
            // 256 colours take two characters, some of them above 0x7F.
            const Image image = bits == 8 ? paletteRow(300, 256, 8) : patternImage(19, 5, bits);
            const Image back = readFromBytes(writeToBytes(image, writeXpm, options), makeXpmReader);
            EXPECT_TRUE(samePixels(back, image));
        }
    }
}

TEST(XbmXpm, HandWrittenFilesReadAsTheirSourceSays) {
    const struct {
        const char* what;
        const char* text;
        bool pixmap;
        const char* pixels;  // rows one after another: 'B' black, 'W' white, or a colour's index
        std::vector<Colour> colours;
    } cases[] = {
        {"X11 with comments, hot spot and any numbers",
         "/* a */ #define  i_width 10 // w\n#define i_height 2\n#define i_x_hot 1\n"
         "#define i_y_hot 0\nstatic unsigned char i_bits[]={0x01,/*x*/0x02 ,\n 0377,03};",
         false,
         "BWWWWWWWWBBBBBBBBBBB",
         {}},
        {"X10 shorts",
         "#define s_width 17\n#define s_height 1\nstatic short s_bits[] = {\n"
         "   0x8001, 0x0001};",
         false,
         "BWWWWWWWWWWWWWWBB",
         {}},
        {"keys, names of several words and None",
         "/* XPM */\nstatic char *x[] = {\n\"4 1 4 1\",\n\"a s mine c light goldenrod yellow\",\n"
         "\"b m white g #808080\",\n\"c c None\",\n\"d c #F00\",\n\"abcd\"};",
         true,
         "0123",
         {rgb(250, 250, 210), rgb(128, 128, 128), 0, rgb(255, 0, 0)}},
        {"three characters and 12-digit colours",
         "/* XPM */\n\"2 1 2 3\"\n\"a b c #FFFF00000000\" \"zzz c #00000000ABCD\" \"zzza b\"",
         true,
         "10",
         {rgb(255, 0, 0), rgb(0, 0, 0xAB)}},
        {"format 1",
         "#define q_format 1\n#define q_width 2\n#define q_height 1\n"
         "#define q_ncolors 2\n#define q_chars_per_pixel 1\nstatic char * q_colors[] = "
         "{\n\"*\", \"navy\",\n\" \", \"#000\"};\nstatic char * q_pixels[] = {\n\" *\"};",
         true,
         "10",
         {rgb(0, 0, 128), 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Image image = readFromBytes(c.text, c.pixmap ? makeXpmReader : makeXbmReader);
        ASSERT_EQ(image.width() * image.height(), std::string(c.pixels).size());
        for (uint32_t i = 0; i < image.width() * image.height(); ++i) {
            const char p = c.pixels[i];
            const Colour want = p == 'B' ? 0 : p == 'W' ? 0xFFFFFF : c.colours[p - '0'];
            EXPECT_EQ(colourAt(image, i % image.width(), i / image.width()), want) << i;
        }
        if (c.pixmap && std::string(c.text).find("None") != std::string::npos) {
            EXPECT_EQ(image.transparentIndex, std::optional<uint8_t>(2));
        }
    }
}

TEST(XbmXpm, MalformedFilesAreRefusedWithTheirMessage) {
    const struct {
        const char* text;
        bool pixmap;
        const char* message;
    } cases[] = {
        {"#define a_width 8\nstatic char a_bits[] = { 0x01 };", false, "Data integrity error"},
        {"#define a_width 8\n#define a_height 2\nchar a_bits[] = { 0x01, x };", false,
         "Data integrity error"},
        {"/* XPM */ \"1 1 1 5\" \"abcde c red\" \"abcde\"", true, "Error in image header"},
        {"/* XPM */ \"1 1 300 1\"", true, "Error in image header"},
        {"/* XPM */ \"1 1 1 1\" \"a c reddish\" \"a\"", true,
         "The color map contains a color that is not recognized"},
        {"/* XPM */ \"1 1 1 1\" \"a c #12345\" \"a\"", true,
         "The color map contains a color that is not recognized"},
        {"/* XPM */ \"1 1 1 1\" \"a red\" \"a\"", true, "Error in color map data"},
        {"/* XPM */ \"2 1 1 1\" \"a c red\" \"ab\"", true,
         "Error in pixel data. The specified pixel cannot be found in the colormap"},
        {"/* XPM */ \"2 1 1 1\" \"a c red\" \"a\"", true,
         "Error in pixel data. The specified pixel cannot be found in the colormap"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        try {
            readFromBytes(c.text, c.pixmap ? makeXpmReader : makeXbmReader);
            ADD_FAILURE() << "not refused";
        } catch (...) {
            EXPECT_EQ(messageText(loadMessageForCurrentException()), c.message);
        }
    }
}

}  // namespace
}  // namespace vivark
