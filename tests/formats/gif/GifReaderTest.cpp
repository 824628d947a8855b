// The GIF reader against files written by giflib (versions, interlace, local
// tables, transparency, frames offset and beyond the screen, composition of
// animations), against hand-built byte sequences for the error paths, and
// its transparency through conversions against ImageMagick.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "core/Errors.h"
#include "formats/gif/GifComposer.h"
#include "formats/gif/GifReader.h"
#include "formats/gif/GifTestFiles.h"
#include "formats/gif/GifWriter.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using test::GifFileLayout;
using test::GifFrameDesc;

std::string gifBytes(const GifFileLayout& layout) {
    test::TempDir dir;
    test::writeGifWithGiflib(dir / "t.gif", layout);
    return test::readWholeFile(dir / "t.gif");
}

Image readGif(const std::string& bytes, uint32_t page = 1, size_t bufferSize = 0) {
    auto file = InFile::overMemory({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()},
                                   bufferSize);
    Image image;
    ReadOptions options;
    options.page = page;
    makeGifReader(*file)->read(image, options);
    return image;
}

struct SingleCase {
    const char* name;
    bool gif89;
    uint32_t width, height, colours;
    bool interlaced, local;
};

const SingleCase kSingleCases[] = {
    {"Gif87aTwoColours", false, 33, 9, 2, false, false},
    {"Interlaced256", true, 101, 67, 256, true, false},
    {"InterlacedTinyHeights", true, 5, 3, 4, true, false},
    {"LocalTable", true, 40, 30, 32, false, true},
    {"LocalInterlaced", false, 300, 200, 256, true, true},
};

TEST(GifReader, IndicesAndPaletteMatchWhatGiflibWrote) {
    for (const SingleCase& c : kSingleCases) {
        SCOPED_TRACE(c.name);
        GifFileLayout layout;
        layout.gif89 = c.gif89;
        layout.width = c.width;
        layout.height = c.height;
        GifFrameDesc frame = test::gifFrame(0, 0, c.width, c.height,
                                            test::noiseIndices(c.width, c.height, c.colours, 7));
        frame.interlaced = c.interlaced;
        (c.local ? frame.localTable : layout.globalTable) = test::rampTable(c.colours);
        layout.frames.push_back(frame);
        const std::string bytes = gifBytes(layout);
        for (size_t bufferSize : {size_t{0}, size_t{17}}) {
            Image image = readGif(bytes, 1, bufferSize);
            ASSERT_EQ(image.width(), c.width);
            ASSERT_EQ(image.height(), c.height);
            ASSERT_EQ(image.bitsPerPixel(), 8u);
            EXPECT_EQ(image.pageCount, 1u);
            EXPECT_EQ(image.formatTag, makeTag("GIF "));
            for (uint32_t i = 0; i < c.colours; ++i)
                EXPECT_EQ(image.palette[i], test::rampTable(c.colours)[i]);
            // The file's table size survives, so GIF to GIF writes a table
            // of the same size.
            EXPECT_EQ(image.paletteCount, c.colours);
            const std::string again = test::writeToBytes(image, writeGif, StoredSaveOptions{});
            EXPECT_EQ(2u << (uint8_t(again[10]) & 7), c.colours);
            for (uint32_t y = 0; y < c.height; ++y)
                for (uint32_t x = 0; x < c.width; ++x)
                    ASSERT_EQ(image.plane.row(y)[x], frame.indices[y * c.width + x])
                        << x << "," << y;
            ASSERT_FALSE(image.info.empty());
            EXPECT_EQ(image.info[0].valueText(), c.gif89 ? "GIF89a" : "GIF87a");
        }
    }
}

TEST(GifReader, FirstFrameBeyondTheScreenGrowsTheCanvas) {
    GifFileLayout layout;
    layout.width = 8;
    layout.height = 4;
    layout.globalTable = test::rampTable(4);
    layout.background = 3;
    layout.frames.push_back(test::gifFrame(2, 1, 10, 5, std::vector<uint8_t>(50, 1)));
    Image image = readGif(gifBytes(layout));
    EXPECT_EQ(image.width(), 12u);
    EXPECT_EQ(image.height(), 6u);
    EXPECT_EQ(image.plane.row(0)[0], 3);   // background outside the frame
    EXPECT_EQ(image.plane.row(1)[2], 1);   // frame's first pixel
    EXPECT_EQ(image.plane.row(5)[11], 1);  // frame's last pixel
}

// Frame 1 fills a 6x6 screen with 1; frame 2 (2x2 at 1,1, transparent 0)
// draws 2 except its top-left pixel; frame 3 (2x2 at 3,3) draws 3.
GifFileLayout threeFrames(int secondDisposal, bool thirdHasLocalTable, int firstTransparent = -1) {
    GifFileLayout layout;
    layout.width = 6;
    layout.height = 6;
    layout.globalTable = test::rampTable(4);
    layout.background = 0;
    layout.loopCount = 0;
    layout.comment = "made by giflib";
    GifFrameDesc first = test::gifFrame(0, 0, 6, 6, std::vector<uint8_t>(36, 1));
    first.disposal = 1;
    first.delay = 7;
    first.transparent = firstTransparent;
    GifFrameDesc second = test::gifFrame(1, 1, 2, 2, {0, 2, 2, 2});
    second.disposal = secondDisposal;
    second.transparent = 0;
    GifFrameDesc third = test::gifFrame(3, 3, 2, 2, {3, 3, 3, 3});
    if (thirdHasLocalTable)
        third.localTable = {rgb(1, 2, 3), rgb(4, 5, 6), rgb(7, 8, 9), rgb(10, 20, 30)};
    layout.frames = {first, second, third};
    return layout;
}

TEST(GifReader, AnimationRecordsFramesLoopCommentAndInfo) {
    Image image = readGif(gifBytes(threeFrames(1, false)));
    EXPECT_EQ(image.pageCount, 3u);
    ASSERT_TRUE(image.animation.has_value());
    EXPECT_EQ(image.animation->loopCount, -1);
    ASSERT_EQ(image.animation->frames.size(), 3u);
    EXPECT_EQ(image.animation->frames[0].delayMs, 70u);
    EXPECT_EQ(image.animation->frames[1].transparentIndex, 0);
    EXPECT_EQ(image.animation->frames[2].left, 3u);
    EXPECT_EQ(image.comment, "made by giflib");
    std::vector<std::string> shown;
    for (const InfoItem& item : image.info) shown.push_back(item.label() + ": " + item.valueText());
    for (const char* line : {"Global Color Map: 4 indices", "Disposal Method: Leave as is",
                             "Delay Time: 70 ms", "Transparent: No"})
        EXPECT_NE(std::find(shown.begin(), shown.end(), line), shown.end()) << line;
}

std::string rowsOf(const Image& image) {
    std::string s;
    for (uint32_t y = 0; y < image.height(); ++y) {
        for (uint32_t x = 0; x < image.width(); ++x) s += char('0' + image.plane.row(y)[x]);
        s += '/';
    }
    return s;
}

// The alpha plane as rows of '0' (clear) and '1' (opaque).
std::string alphaRowsOf(const Image& image) {
    std::string s;
    for (uint32_t y = 0; y < image.secondPlane.height(); ++y) {
        for (uint32_t x = 0; x < image.secondPlane.width(); ++x)
            s += image.secondPlane.row(y)[x] == 0 ? '0' : '1';
        s += '/';
    }
    return s;
}

// With a first frame that has a transparent index (`clear`), the canvas
// starts clear: frame 1 (transparent 1) draws nothing; frames leaving out
// different indices give 24 bits with an alpha plane, which disposal clears
// and restores like the colours.
TEST(GifReader, PageShowsTheCanvasAsAViewerDoes) {
    const struct {
        const char* name;
        int secondDisposal;
        uint32_t page;
        const char* rows;  // of indices; for a clear first frame, of alpha
        int clear = -1;
    } cases[] = {
        {"First", 1, 1, "111111/111111/111111/111111/111111/111111/"},
        {"TransparentKeepsCanvas", 1, 2, "111111/112111/122111/111111/111111/111111/"},
        {"LeaveAsIs", 1, 3, "111111/112111/122111/111331/111331/111111/"},
        {"NoOperation", 0, 3, "111111/112111/122111/111331/111331/111111/"},
        {"RestoreToBackground", 2, 3, "111111/100111/100111/111331/111331/111111/"},
        {"RestoreToPrevious", 3, 3, "111111/111111/111111/111331/111331/111111/"},
        {"PageBeyondTheLastIsTheLast", 1, 9, "111111/112111/122111/111331/111331/111111/"},
        {"ClearFirst", 1, 1, "000000/000000/000000/000000/000000/000000/", 1},
        {"ClearLeaveAsIs", 1, 3, "000000/001000/011000/000110/000110/000000/", 1},
        {"ClearRestoreToBackground", 2, 3, "000000/000000/000000/000110/000110/000000/", 1},
        {"ClearRestoreToPrevious", 3, 3, "000000/000000/000000/000110/000110/000000/", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Image image = readGif(gifBytes(threeFrames(c.secondDisposal, false, c.clear)), c.page);
        ASSERT_EQ(image.bitsPerPixel(), c.clear < 0 ? 8u : 24u);
        EXPECT_EQ(image.secondPlaneKind, c.clear < 0 ? SecondPlane::None : SecondPlane::Alpha);
        EXPECT_EQ(c.clear < 0 ? rowsOf(image) : alphaRowsOf(image), c.rows);
    }
    // Every frame leaving out index 0: an 8-bit canvas that starts as, and
    // is restored to, that index rather than the background (3).
    GifFileLayout same = threeFrames(2, false, 0);
    same.background = 3;
    same.frames[2].disposal = 0;
    same.frames[2].transparent = 0;
    Image image = readGif(gifBytes(same), 3);
    EXPECT_EQ(image.transparentIndex, std::optional<uint8_t>(0));
    EXPECT_EQ(rowsOf(image), "111111/100111/100111/111331/111331/111111/");
}

// One composer stepped through the frames, forwards and back, shows each
// frame as a fresh read of that page does, for every disposal and for 8- and
// 24-bit canvases.
TEST(GifComposer, SteppingThroughFramesEqualsReadingEachAfresh) {
    for (int disposal : {0, 1, 2, 3}) {
        for (int localAndClear : {0, 1, 2, 3}) {
            const bool localTable = localAndClear & 1;
            const int firstTransparent = localAndClear & 2 ? 1 : -1;
            SCOPED_TRACE(testing::Message() << "disposal " << disposal << " local " << localTable
                                            << " clear " << firstTransparent);
            const std::string bytes = gifBytes(threeFrames(disposal, localTable, firstTransparent));
            auto file =
                InFile::overMemory({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
            Image walked;
            gif::Screen screen;
            gif::walkScreen(*file, walked, screen);
            gif::GifComposer composer(*file, screen, Limits{});
            for (uint32_t page : {1u, 2u, 3u, 2u, 3u, 1u}) {
                composer.composeTo(page, ReadOptions{});
                EXPECT_EQ(composer.composed(), page);
                const Image fresh = readGif(bytes, page);
                EXPECT_EQ(composer.canvas().bitsPerPixel(), fresh.bitsPerPixel());
                EXPECT_TRUE(test::samePixels(composer.canvas(), fresh)) << "page " << page;
                EXPECT_EQ(alphaRowsOf(composer.canvas()), alphaRowsOf(fresh)) << "page " << page;
            }
        }
    }
}

TEST(GifReader, FrameWithItsOwnTableGivesA24BitCanvas) {
    Image image = readGif(gifBytes(threeFrames(1, true)), 3);
    ASSERT_EQ(image.bitsPerPixel(), 24u);
    EXPECT_EQ(test::colourAt(image, 0, 0), test::rampTable(4)[1]);
    EXPECT_EQ(test::colourAt(image, 2, 1), test::rampTable(4)[2]);
    EXPECT_EQ(test::colourAt(image, 4, 4), rgb(10, 20, 30));
}

// A 2x1 image, code size 2, global table of 2 entries: codes clear(4), 1, 0,
// end(5) at 3 bits give the bytes 0x0C 0x0A (least significant bit first).
std::string handBuilt(const std::string& betweenBlocks, uint8_t codeSize, const std::string& data) {
    std::string s("GIF89a\x02\x00\x01\x00\x80\x00\x00", 13);
    s += std::string("\x00\x00\x00\xFF\xFF\xFF", 6);
    s += betweenBlocks;
    s += std::string("\x2C\x00\x00\x00\x00\x02\x00\x01\x00\x00", 10);
    s += char(codeSize);
    s += data;
    s += "\x3B";
    return s;
}

const std::string kGoodData("\x02\x0C\x0A\x00", 4);

TEST(GifReader, HandBuiltStreams) {
    Image good = readGif(handBuilt("", 2, kGoodData));
    EXPECT_EQ(rowsOf(good), "10/");
    Image stray = readGif(handBuilt(std::string("\x00\x99\x00", 3), 2, kGoodData));
    EXPECT_EQ(rowsOf(stray), "10/");

    struct Bad {
        std::string bytes;
        GIFERROR error;
    };
    std::string noTable = handBuilt("", 2, kGoodData);
    noTable[10] = 0;
    noTable.erase(13, 6);
    const Bad bad[] = {
        {handBuilt("", 12, kGoodData), GIFERROR::BadLzwCodeSize},
        {handBuilt("", 1, kGoodData), GIFERROR::BadLzwCodeSize},
        {handBuilt("", 2, std::string("\x01\x0C\x00\x01\x05\x00", 6)), GIFERROR::PrematureEnd},
        {noTable, GIFERROR::NoColourMap},
        {handBuilt("", 2, kGoodData).substr(0, 19) + "\x3B", GIFERROR::PrematureEnd},  // no image
    };
    for (const Bad& b : bad)
        EXPECT_EQ(test::thrownBy<GIFERROR>([&] { readGif(b.bytes); }), std::optional(b.error));
}

// What ImageMagick reads as a file's alpha, top row first (255 everywhere for
// a file without transparency); empty when it cannot read the file.
std::vector<uint8_t> alphaByImageMagick(const std::filesystem::path& file) {
    const std::string pgm = test::commandOutput("convert-im6.q16 '" + file.string() +
                                                "' -alpha extract -depth 8 pgm:-");
    std::istringstream in(pgm);
    std::string magic;
    size_t width = 0, height = 0, maximum = 0;
    in >> magic >> width >> height >> maximum;
    in.get();
    if (magic != "P5" || maximum != 255) return {};
    std::vector<uint8_t> alpha(width * height);
    in.read(reinterpret_cast<char*>(alpha.data()), std::streamsize(alpha.size()));
    return in ? alpha : std::vector<uint8_t>{};
}

// A transparent colour read from a GIF (or from a palette PNG's tRNS) is
// written by the formats that carry one, as ImageMagick reads the result; an
// explicit save option names another index; a conversion to a format that
// cannot carry it says that it drops it.
TEST(GifTransparency, SurvivesConversionOrIsReportedDropped) {
    if (std::system("command -v convert-im6.q16 >/dev/null") != 0)
        GTEST_SKIP() << "ImageMagick is needed (scripts/setup.sh)";
    test::TempDir dir;
    // A 9x6 screen (background 0) with a 7x4 frame at (1,1) whose index 5 is
    // transparent: the screen outside the frame is clear too.
    constexpr uint32_t kWidth = 9, kHeight = 6, kClear = 5;
    GifFileLayout layout;
    layout.width = kWidth;
    layout.height = kHeight;
    layout.globalTable = test::rampTable(8);
    GifFrameDesc frame = test::gifFrame(1, 1, 7, 4, test::noiseIndices(7, 4, 8, 3));
    frame.indices[0] = frame.indices[9] = kClear;
    frame.indices[1] = 2;
    frame.disposal = 1;
    frame.transparent = kClear;
    layout.frames = {frame};
    test::writeGifWithGiflib(dir / "t.gif", layout);
    // Frame 2 brings its own table (so the canvas is 24 bits with alpha) and
    // draws two opaque pixels of a 2x2 square at the corner.
    GifFrameDesc corner = test::gifFrame(0, 0, 2, 2, {kClear, 1, 1, kClear});
    corner.localTable = {rgb(9, 9, 9), rgb(200, 100, 50), rgb(1, 1, 1), rgb(2, 2, 2),
                         rgb(3, 3, 3), rgb(4, 4, 4),      rgb(5, 5, 5), rgb(6, 6, 6)};
    corner.disposal = 1;
    corner.transparent = kClear;
    layout.frames.push_back(corner);
    test::writeGifWithGiflib(dir / "anim.gif", layout);
    ASSERT_EQ(std::system(("convert-im6.q16 '" + (dir / "t.gif").string() + "' -coalesce PNG8:'" +
                           (dir / "p.png").string() + "'")
                              .c_str()),
              0);

    // The first frame's indices on the screen, and alpha where a pixel is not `clear`.
    std::vector<uint8_t> screen(kWidth * kHeight, kClear);
    for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 7; ++x)
            screen[(y + 1) * kWidth + x + 1] = frame.indices[y * 7 + x];
    auto opaqueUnless = [&](uint8_t clear) {
        std::vector<uint8_t> alpha(screen.size());
        for (size_t i = 0; i < screen.size(); ++i) alpha[i] = screen[i] == clear ? 0 : 255;
        return alpha;
    };
    const std::vector<uint8_t> firstFrame = opaqueUnless(kClear);
    std::vector<uint8_t> secondFrame = firstFrame;
    secondFrame[1] = secondFrame[kWidth] = 255;
    const std::vector<uint8_t> opaque(screen.size(), 255);

    const struct {
        const char* input;
        const char* output;
        std::vector<std::string> extra;
        const std::vector<uint8_t>& alpha;
        const char* warning;  // in what the conversion says; null: no loss of transparency
    } cases[] = {
        {"t.gif", "a.png", {}, firstFrame, nullptr},
        {"t.gif", "b.gif", {}, firstFrame, nullptr},
        {"t.gif", "c.ico", {"--set", "Windows Icon\\Size=0"}, firstFrame, nullptr},
        {"p.png", "d.gif", {}, firstFrame, nullptr},
        {"anim.gif", "e.png", {"--page", "2"}, secondFrame, nullptr},
        {"anim.gif", "e.gif", {"--page", "2"}, secondFrame, nullptr},
        {"t.gif",
         "f.gif",
         {"--set", "GIF\\Transparent=yes", "--set", "GIF\\Transparent Index=2"},
         opaqueUnless(2),
         nullptr},
        {"t.gif", "g.bmp", {}, opaque, "transparency dropped: Windows Bitmap cannot store it"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.input) + " to " + c.output);
        std::vector<std::string> args{"convert", (dir / c.input).string(),
                                      (dir / c.output).string()};
        args.insert(args.end(), c.extra.begin(), c.extra.end());
        std::string err;
        ASSERT_EQ(test::runVivark(args, nullptr, &err), 0) << err;
        if (c.warning) {
            EXPECT_NE(err.find(c.warning), std::string::npos) << err;
        } else {
            EXPECT_EQ(err.find("dropped"), std::string::npos) << err;
        }
        EXPECT_EQ(alphaByImageMagick(dir / c.output), c.alpha);
    }
}

}  // namespace
}  // namespace vivark
