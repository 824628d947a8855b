// The load sequence: the fallbacks that find an image behind a MacBinary
// header, inside text or embedded in another file, their limits, and the
// messages a load ends with when there is nothing to read.
#include <gtest/gtest.h>

#include <fstream>

#include "SampleBytes.h"
#include "core/Errors.h"
#include "formats/Loader.h"
#include "formats/SaveDispatch.h"
#include "formats/png/PngFormat.h"
#include "support/ImageTestUtil.h"
#include "support/TempDir.h"

namespace vivark {
namespace {

using test::Bytes;

// Bytes no identify test accepts, with `image` placed at `offset`.
std::vector<uint8_t> embedded(const std::vector<uint8_t>& image, size_t offset) {
    return Bytes().fill(offset, 0x55).append(image).fill(64, 0x55).data;
}

struct Found {
    const FormatEntry* entry;
    int64_t origin;
    FormatInfo info;
};

Found find(const std::vector<uint8_t>& bytes, int32_t loadMode = 0) {
    auto file = InFile::overMemory(bytes);
    Found found{nullptr, 0, {}};
    found.entry = findFormat(*file, loadMode, &found.info);
    found.origin = file->origin();
    if (found.entry != nullptr) {
        EXPECT_EQ(file->tell(), 0);
    }
    return found;
}

struct EmbeddedCase {
    const char* name;
    size_t offset;
    int32_t loadMode;
    bool found;
};

TEST(FindFormat, FindsAnEmbeddedImageOnlyWithinTheScannedBytes) {
    const EmbeddedCase cases[] = {
        {"at 5000", 5000, 0, true},
        {"last start inside the scan", kEmbeddedScanBytes - 4, 0, true},
        {"one past the scan", kEmbeddedScanBytes - 3, 0, false},
        {"past 131072", kEmbeddedScanBytes + 10, 0, false},
        {"quick scan, inside", kQuickEmbeddedScanBytes - 4, 1, true},
        {"quick scan, at 5000", 5000, 1, false},
    };
    for (const EmbeddedCase& c : cases) {
        SCOPED_TRACE(c.name);
        Found found = find(embedded(test::pngSample(), c.offset), c.loadMode);
        if (!c.found) {
            EXPECT_EQ(found.entry, nullptr);
            EXPECT_EQ(found.origin, 0);
            continue;
        }
        ASSERT_NE(found.entry, nullptr);
        EXPECT_EQ(found.entry->formatTag, makeTag("PNG "));
        EXPECT_EQ(found.origin, static_cast<int64_t>(c.offset));
        EXPECT_EQ(found.info.width, 3u);
    }
}

TEST(FindFormat, SkipsAFalseStartAndFindsTheNextImage) {
    // A "GIF8" that is no GIF, then a real GIF.
    auto bytes =
        Bytes().fill(100, 0x55).text("GIF8xx").fill(50, 0x55).append(test::gifSample()).data;
    Found found = find(bytes);
    ASSERT_NE(found.entry, nullptr);
    EXPECT_EQ(found.entry->formatTag, makeTag("GIF "));
    EXPECT_EQ(found.origin, 156);
}

TEST(FindFormat, TheJpegStartIsNotAnEmbeddedSignature) {
    auto jpeg = Bytes()
                    .hex("FFD8FFE0 0010")
                    .text("JFIF")
                    .fill(10)
                    .hex("FFC0 000B 08 0002 0002 01 000000")
                    .data;
    EXPECT_EQ(find(embedded(jpeg, 300)).entry, nullptr);
}

TEST(FindFormat, FindsAnImageBehindAMacBinaryHeader) {
    auto header = Bytes().u8(0).u8(8).text("pic.gif").padTo(128).data;
    Found found = find(Bytes().append(header).append(test::gifSample()).data);
    ASSERT_NE(found.entry, nullptr);
    EXPECT_EQ(found.entry->formatTag, makeTag("GIF "));
    EXPECT_EQ(found.origin, 128);
    EXPECT_EQ(found.info.width, 7u);
}

TEST(FindFormat, AsksTheTextDecoderWithItsLineLimit) {
    static const std::vector<uint8_t> gif = test::gifSample();
    static uint32_t askedLimit;
    setTextImageDecoder([](InFile&, uint32_t lineLimit) {
        askedLimit = lineLimit;
        return InFile::overMemory(gif);
    });
    for (int32_t loadMode : {0, 1}) {
        const auto text = Bytes().text("begin 644 pic.gif\n").fill(80, 'M').data;
        auto file = InFile::overMemory(text);
        std::unique_ptr<InFile> decoded;
        const FormatEntry* entry = findFormat(*file, loadMode, nullptr, &decoded);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(entry->formatTag, makeTag("GIF "));
        EXPECT_NE(decoded, nullptr);
        EXPECT_EQ(askedLimit, loadMode > 0 ? kQuickTextImageLineLimit : kTextImageLineLimit);
    }
    setTextImageDecoder(nullptr);
}

TEST(Load, EndsWithTheMessageOfWhatWasFound) {
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
        MessageId message;
    };
    const Case cases[] = {
        {"nothing recognised", Bytes().fill(1000, 0x55).data, msg::UnrecognizedFormat},
        {"slide show list", Bytes().text("Vivark SlideShow\r\na.gif\r\n").data, msg::SlideShowList},
        // A Photo CD pack by its identify test (32 bytes of 0xFF, the
        // orientation byte at 0xE02) without the image pack's own signature.
        {"pack without its signature", Bytes().fill(32, 0xFF).fill(0xE02 - 32 + 1).data,
         msg::DataIntegrity},
        // The PNG sample's chunks carry no CRC: the reader's error is the message.
        {"reader error", test::pngSample(), msg::PngFirst + 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto file = InFile::overMemory(c.bytes);
        Image image;
        load(image, *file, ReadOptions{});
        EXPECT_EQ(image.loadMessage, c.message);
        EXPECT_EQ(image.width(), 0u);
    }
    EXPECT_EQ(messageText(msg::UnrecognizedFormat), "Unrecognized file format");
}

TEST(Load, ProbesANamedFileAndReportsOneThatCannotBeOpened) {
    test::TempDir dir;
    const auto path = dir.path() / "show.lst";
    std::ofstream(path, std::ios::binary) << "Vivark SlideShow\r\n";
    Image image;
    const FormatEntry* entry = loadFile(image, path.string(), ReadOptions{}).format;
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->formatTag, makeTag("SSHW"));
    EXPECT_EQ(image.loadMessage, msg::SlideShowList);
    Image missing;
    EXPECT_EQ(loadFile(missing, (dir.path() / "missing.gif").string(), ReadOptions{}).format,
              nullptr);
    EXPECT_NE(missing.loadMessage, msg::None);
    EXPECT_NE(missing.loadMessage, msg::UnrecognizedFormat);
}

// One Image loaded again and again, as a viewer pages through a folder: each
// load leaves only what its own file holds, and a failed load leaves the
// image as it was.
TEST(Load, AnImageLoadedAgainKeepsNothingOfTheEarlierFile) {
    test::TempDir dir;
    Image source = test::patternImage(24, 16, 24);
    source.comment = "from the JPEG";
    source.resolution = {300, 300, ResolutionUnit::PerInch};
    StoredSaveOptions options;
    saveImage(source, dir / "a.jpg", *findWriterByName("jpg"), options);
    Image grey = test::patternImage(20, 10, 8);
    grey.setGreyPalette();
    saveImage(grey, dir / "b.gif", *findWriterByName("gif"), options);
    std::ofstream(dir / "c.gif", std::ios::binary)
        << test::readWholeFile(dir / "b.gif").substr(0, 30);

    Image image;
    ASSERT_TRUE(loadFile(image, (dir / "a.jpg").string(), ReadOptions{}).completed);
    EXPECT_EQ(image.comment, "from the JPEG");
    ASSERT_TRUE(loadFile(image, (dir / "b.gif").string(), ReadOptions{}).completed);
    EXPECT_EQ(image.comment, "");
    EXPECT_EQ(image.resolution.unit, ResolutionUnit::None);
    const size_t items = image.info.size();
    EXPECT_GT(items, 0u);
    ASSERT_TRUE(loadFile(image, (dir / "b.gif").string(), ReadOptions{}).completed);
    EXPECT_EQ(image.info.size(), items);

    const uint32_t serial = image.serial();
    const LoadResult failed = loadFile(image, (dir / "c.gif").string(), ReadOptions{});
    EXPECT_FALSE(failed.completed);
    EXPECT_NE(failed.message, msg::None);
    EXPECT_EQ(image.loadMessage, failed.message);
    EXPECT_EQ(image.serial(), serial);
    EXPECT_EQ(image.width(), 20u);
    EXPECT_EQ(image.info.size(), items);
}

}  // namespace
}  // namespace vivark
