// Softimage pictures: no program at hand reads or writes them, so the files
// here are made byte by byte from the format's public description (channel
// packets, the pure and mixed run-length codes); our writer's files must come
// back through our reader.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "core/Errors.h"
#include "formats/SampleBytes.h"
#include "formats/SaveOptions.h"
#include "formats/softimage/SoftimageFormat.h"
#include "formats/softimage/SoftimageReader.h"
#include "formats/softimage/SoftimageWriter.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using test::Bytes;

// The header, the packets (chained, 8 bits, compression, channels) and the data.
std::string picture(uint32_t width, uint32_t height,
                    std::initializer_list<std::pair<uint8_t, uint8_t>> packets, const Bytes& data) {
    Bytes b;
    b.be32(0x5380F634).padTo(88).hex("50494354").be16(width).be16(height).padTo(104);
    size_t left = packets.size();
    for (const auto& [compression, channels] : packets)
        b.u8(--left != 0).u8(8).u8(compression).u8(channels);
    b.append(data.data);
    return {b.data.begin(), b.data.end()};
}

TEST(Softimage, HandMadePacketsDecodeToTheirPixels) {
    // Pixels as red, green, blue, alpha, top row first.
    using Px = std::array<uint8_t, 4>;
    const struct {
        const char* what;
        std::string file;
        uint32_t width;
        std::vector<Px> pixels;
    } cases[] = {
        {"pure RGB runs and mixed alpha runs",
         picture(4, 2, {{1, 0xE0}, {2, 0x10}},
                 Bytes()
                     .hex("03 010203 01 040506")  // row 0 RGB
                     .hex("81 10 01 20 30")       // row 0 alpha
                     .hex("04 070809")            // row 1 RGB
                     .hex("80 0004 FF")),         // row 1 alpha
         4,
         {{1, 2, 3, 0x10},
          {1, 2, 3, 0x10},
          {1, 2, 3, 0x20},
          {4, 5, 6, 0x30},
          {7, 8, 9, 255},
          {7, 8, 9, 255},
          {7, 8, 9, 255},
          {7, 8, 9, 255}}},
        {"uncompressed RGBA",
         picture(2, 1, {{0, 0xF0}}, Bytes().hex("01020304 05060708")),
         2,
         {{1, 2, 3, 4}, {5, 6, 7, 8}}},
        {"one channel a packet, no alpha",
         picture(2, 1, {{0, 0x80}, {1, 0x40}, {2, 0x20}}, Bytes().hex("0A0B 0214 8128")),
         2,
         {{10, 20, 40, 255}, {11, 20, 40, 255}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Image image = test::readFromBytes(c.file, makeSoftimageReader);
        const bool alpha = image.secondPlaneKind == SecondPlane::Alpha;
        for (size_t i = 0; i < c.pixels.size(); ++i) {
            const uint32_t x = uint32_t(i % c.width), y = uint32_t(i / c.width);
            const Px& p = c.pixels[i];
            EXPECT_EQ(test::colourAt(image, x, y), rgb(p[0], p[1], p[2])) << i;
            EXPECT_EQ(alpha ? image.secondPlane.row(y)[x] : 255, p[3]) << i;
        }
    }
}

TEST(Softimage, WrittenFilesReadBackEqualWithOrWithoutRuns) {
    Image source = test::patternImage(300, 9, 24);  // runs longer than 128 pixels
    for (uint32_t y = 0; y < 9; ++y)
        for (uint32_t x = 150; x < 300; ++x)
            std::fill_n(source.plane.mutableRow(y) + 3 * x, 3, uint8_t(y));
    Image withAlpha = source;
    withAlpha.secondPlane = PixelPlane(300, 9, 8, true);
    withAlpha.secondPlaneKind = SecondPlane::Alpha;
    for (uint32_t y = 0; y < 9; ++y)
        for (uint32_t x = 0; x < 300; ++x) withAlpha.secondPlane.mutableRow(y)[x] = uint8_t(x / 7);
    StoredSaveOptions stored;
    for (const Image* image : {&source, &withAlpha})
        for (bool encode : {true, false}) {
            SaveOptionOverlay options(stored);
            options.set(saveKey::SoftimageEncode, encode);
            SCOPED_TRACE(std::string(encode ? "encoded" : "plain") +
                         (image == &source ? "" : ", alpha"));
            const std::string bytes = test::writeToBytes(*image, writeSoftimage, options);
            const Image read = test::readFromBytes(bytes, makeSoftimageReader);
            EXPECT_TRUE(test::samePixels(read, *image));
            ASSERT_EQ(read.secondPlaneKind, image->secondPlaneKind);
            for (uint32_t y = 0; image == &withAlpha && y < 9; ++y) {
                EXPECT_EQ(0, std::memcmp(read.secondPlane.row(y), image->secondPlane.row(y), 300));
            }
        }
}

TEST(Softimage, BadPacketsAndRunsAreRefused) {
    const struct {
        const char* what;
        std::string file;
        PICSERROR expected;
    } cases[] = {
        {"run beyond the row", picture(2, 1, {{2, 0xE0}}, Bytes().hex("82 010203")),
         PICSERROR::DataIntegrity},
        {"unknown compression", picture(2, 1, {{3, 0xE0}}, Bytes().fill(8)),
         PICSERROR::BadChannels},
        {"no channels", picture(2, 1, {{0, 0x00}}, Bytes().fill(8)), PICSERROR::BadChannels},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(
            test::thrownBy<PICSERROR>([&] { test::readFromBytes(c.file, makeSoftimageReader); }),
            c.expected);
    }
}

}  // namespace
}  // namespace vivark
