// The icon, cursor and pointer writers against the family's reader (and
// ImageMagick for the Windows files): pictures and masks at every depth and
// header variant, the colour types, the size option, multi-picture files
// and their pages.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "core/ByteOrder.h"
#include "formats/bmp/BmpFormat.h"
#include "formats/bmp/BmpIconWriter.h"
#include "formats/bmp/BmpReader.h"
#include "formats/pnm/PnmReader.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

struct IconFormat {
    const char* name;
    Writer write;
    WritePagesFunction writePages;
    const char* tag;
    std::string options;  // the format's key under "SaveOptions"
    int32_t format;       // its OS/2 Format option; -1: none
    bool encode, windows;
};

const IconFormat kFormats[] = {
    {"windows icon", writeWindowsIcon, writeWindowsIconPages, "ICOW", "Windows Icon", -1, false,
     true},
    {"windows cursor", writeWindowsCursor, writeWindowsCursorPages, "CUR ", "Windows Cursor", -1,
     false, true},
    {"os2 icon 1.x", writeOs2Icon, writeOs2IconPages, "ICO ", "OS2 Icon", 0, false, false},
    {"os2 icon 2.x rle", writeOs2Icon, writeOs2IconPages, "ICO ", "OS2 Icon", 1, true, false},
    {"os2 pointer 2.x", writeOs2Pointer, writeOs2PointerPages, "PTR ", "OS2 Pointer", 1, false,
     false},
};

struct Options {
    StoredSaveOptions stored;
    SaveOptionOverlay overlay{stored};
    Options(const IconFormat& f, int32_t size, int32_t colourType = 4) {
        set(f, "Size", size);
        set(f, "Color Type", colourType);
        if (f.format >= 0) set(f, "Format", f.format);
        if (f.encode) set(f, "Encode", 1);
    }
    void set(const IconFormat& f, const std::string& option, int32_t value) {
        EXPECT_TRUE(overlay.set("SaveOptions\\" + f.options + "\\" + option, value)) << option;
    }
};

bool maskSet(const Image& image, uint32_t x, uint32_t y) {
    return (image.secondPlane.row(y)[x / 8] >> (7 - x % 8) & 1) != 0;
}

// A picture with a transparent part: the transparent index of a palette
// image, an alpha plane on a true-colour one.
Image maskedPicture(uint32_t w, uint32_t h, uint32_t bits) {
    Image image = patternImage(w, h, bits);
    if (bits <= 8) {
        image.transparentIndex = 1;
        return image;
    }
    image.secondPlane = PixelPlane(w, h, 8, false);
    image.secondPlaneKind = SecondPlane::Alpha;
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) image.secondPlane.mutableRow(y)[x] = x < y ? 0 : 255;
    return image;
}

bool transparentIn(const Image& source, uint32_t x, uint32_t y) {
    if (source.secondPlaneKind == SecondPlane::Alpha) return source.secondPlane.row(y)[x] < 128;
    std::vector<uint8_t> indices(source.width());
    unpackIndices(source.plane.row(y), indices.data(), source.width(), source.bitsPerPixel());
    return indices[x] == *source.transparentIndex;
}

std::string writePagesToBytes(std::span<const Image> pages, WritePagesFunction write,
                              const SaveOptions& options) {
    TempDir dir;
    {
        SafeOutFile file(dir / "out");
        write(pages, file.out(), options, nullptr);
        file.commit();
    }
    return readWholeFile(dir / "out");
}

TEST(BmpIcon, EveryWriterKeepsPictureAndMaskAtEveryDepth) {
    for (const IconFormat& f : kFormats) {
        const Options options(f, 0);
        for (uint32_t bits : {1u, 4u, 8u, 24u}) {
            SCOPED_TRACE(::testing::Message() << f.name << " " << bits << " bits");
            const Image source = maskedPicture(13, 7, bits);
            const Image back =
                readFromBytes(writeToBytes(source, f.write, options.overlay), makeBmpReader);
            EXPECT_EQ(tagText(back.formatTag), f.tag);
            EXPECT_EQ(back.bitsPerPixel(), bits);
            ASSERT_EQ(back.secondPlaneKind, SecondPlane::AndMask);
            for (uint32_t y = 0; y < 7; ++y) {
                for (uint32_t x = 0; x < 13; ++x) {
                    const bool clear = transparentIn(source, x, y);
                    ASSERT_EQ(maskSet(back, x, y), clear) << x << "," << y;
                    if (!clear) {
                        ASSERT_EQ(colourAt(back, x, y), colourAt(source, x, y));
                    }
                }
            }
        }
    }
}

TEST(BmpIcon, ColourTypeAndSizeShapeThePicture) {
    const Image source = patternImage(37, 23, 24);
    const struct {
        int32_t colourType;
        uint32_t bits;
    } types[] = {{0, 1}, {1, 4}, {2, 8}, {3, 24}, {4, 24}};
    for (const IconFormat& f : kFormats) {
        for (const auto& t : types) {
            SCOPED_TRACE(::testing::Message() << f.name << " colour type " << t.colourType);
            const Options options(f, 16, t.colourType);
            const std::string bytes = writeToBytes(source, f.write, options.overlay);
            const Image back = readFromBytes(bytes, makeBmpReader);
            EXPECT_EQ(back.bitsPerPixel(), t.bits);
            EXPECT_EQ(back.width(), 16u);
            EXPECT_EQ(back.height(), 16u);
            if (!f.windows || std::system("command -v convert-im6.q16 >/dev/null") != 0) continue;
            // ImageMagick sees the same picture.
            TempDir dir;
            std::ofstream(dir / "icon", std::ios::binary) << bytes;
            const Image theirs =
                readFromBytes(commandOutput("convert-im6.q16 'ico:" + (dir / "icon").string() +
                                            "' -depth 8 ppm:-"),
                              makePnmReader);
            EXPECT_TRUE(samePixels(theirs, back));
        }
    }
}

TEST(BmpIcon, PagesBecomeEntriesReadBackPageByPage) {
    const Image pages[] = {patternImage(16, 16, 8), patternImage(32, 32, 24),
                           patternImage(8, 8, 4)};
    for (const IconFormat& f : kFormats) {
        SCOPED_TRACE(f.name);
        const Options options(f, 48);  // pages keep their own sizes
        const std::string bytes = writePagesToBytes(pages, f.writePages, options.overlay);
        for (uint32_t page = 1; page <= 3; ++page) {
            ReadOptions read;
            read.page = page;
            const Image back = readFromBytes(bytes, makeBmpReader, read);
            EXPECT_EQ(back.pageCount, 3u);
            // Windows files list their largest picture first, OS/2 arrays
            // keep the file's order.
            const Image& want = pages[f.windows ? (page == 1 ? 1 : page == 2 ? 0 : 2) : page - 1];
            EXPECT_TRUE(samePixels(want, back)) << "page " << page;
            // Every entry is listed with its own size and depth (a cursor's
            // directory holds its hot spot where an icon's has the depth).
            ASSERT_EQ(back.info.size(), 3u);
            EXPECT_EQ(back.info[0].text, f.windows ? "32x32, 24 bits" : "16x16, 8 bits");
        }
        if (f.writePages == writeWindowsCursorPages) {
            // The hot spots: each picture's centre.
            const auto* dir = reinterpret_cast<const uint8_t*>(bytes.data()) + 6;
            EXPECT_EQ(loadLE16(dir + 16 + 4), 16u);
            EXPECT_EQ(loadLE16(dir + 16 + 6), 16u);
        }
    }
}

TEST(BmpIcon, TransparentOffWritesAnOpaquePicture) {
    for (const IconFormat& f : kFormats) {
        SCOPED_TRACE(f.name);
        Options options(f, 0);
        options.set(f, "Transparent", 0);
        const Image back = readFromBytes(
            writeToBytes(maskedPicture(9, 9, 8), f.write, options.overlay), makeBmpReader);
        for (uint32_t y = 0; y < 9; ++y)
            for (uint32_t x = 0; x < 9; ++x) ASSERT_FALSE(maskSet(back, x, y));
    }
}

}  // namespace
}  // namespace vivark
