// Photoshop documents no peer tool writes: bitmaps, duotones and PackBits
// rows whose codes overrun them, built here byte by byte; and the refusals
// of unsupported documents.
#include <gtest/gtest.h>

#include <string>

#include "formats/psd/PsdReader.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using namespace test;

std::string be16(uint16_t v) {
    return {char(v >> 8), char(v)};
}
std::string be32(uint32_t v) {
    return be16(uint16_t(v >> 16)) + be16(uint16_t(v));
}

// A document of `channels` channels, `width` × `height`, whose colour mode
// data are `modeData`, followed by `data` (compression word and image data).
std::string document(uint16_t channels, uint32_t width, uint32_t height, uint16_t depth,
                     uint16_t mode, const std::string& modeData, const std::string& data) {
    return "8BPS" + be16(1) + std::string(6, '\0') + be16(channels) + be32(height) + be32(width) +
           be16(depth) + be16(mode) + be32(uint32_t(modeData.size())) + modeData + be32(0) +
           be32(0) + data;
}

TEST(Psd, BitmapsDuotonesAndOverrunningRowsRead) {
    const struct {
        const char* what;
        std::string file;
        std::string expected;  // grey levels, top row first
    } cases[] = {
        // 1 is black; rows of 10 pixels take two bytes.
        {"bitmap", document(1, 10, 2, 1, 0, "", be16(0) + std::string("\xA0\x40\x00\xC0", 4)),
         std::string("\x00\xFF\x00\xFF\xFF\xFF\xFF\xFF\xFF\x00"
                     "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x00\x00",
                     20)},
        // The duotone inks (mode data) are not applied: the channel is grey.
        {"duotone", document(1, 3, 1, 8, 8, std::string(16, '\x07'), be16(0) + "\x10\x80\xF0"),
         "\x10\x80\xF0"},
        // A run of 5 for a row of 3 keeps 3; the next row starts at its own length.
        {"overrun",
         document(1, 3, 2, 8, 1, "", be16(1) + be16(2) + be16(4) + "\xFC\x22" + "\x02\x01\x02\x03"),
         "\x22\x22\x22\x01\x02\x03"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Image image = readFromBytes(c.file, makePsdReader);
        ASSERT_EQ(size_t{image.width()} * image.height(), c.expected.size());
        for (uint32_t i = 0; i < c.expected.size(); ++i) {
            const uint8_t v = uint8_t(c.expected[i]);
            EXPECT_EQ(colourAt(image, i % image.width(), i / image.width()), rgb(v, v, v)) << i;
        }
    }
}

TEST(Psd, UnsupportedDocumentsAreRefusedWithTheirError) {
    const std::string pixels = be16(0) + std::string(64, '\0');
    const struct {
        const char* what;
        std::string file;
        PSDERROR expected;
    } cases[] = {
        {"32-bit channels", document(3, 2, 2, 32, 3, "", pixels), PSDERROR::UnsupportedDepth},
        {"16-bit indexed", document(1, 2, 2, 16, 2, std::string(768, '\0'), pixels),
         PSDERROR::UnsupportedDepth},
        {"8-bit bitmap", document(1, 2, 2, 8, 0, "", pixels), PSDERROR::UnsupportedDepth},
        {"multichannel", document(2, 2, 2, 8, 7, "", pixels), PSDERROR::UnsupportedColourMode},
        {"zip compression", document(1, 2, 2, 8, 1, "", be16(2) + pixels),
         PSDERROR::UnsupportedCompression},
        {"RGB of two channels", document(2, 2, 2, 8, 3, "", pixels), PSDERROR::DataIntegrity},
        {"indexed without palette", document(1, 2, 2, 8, 2, "", pixels), PSDERROR::DataIntegrity},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(thrownBy<PSDERROR>([&] { readFromBytes(c.file, makePsdReader); }), c.expected);
    }
}

}  // namespace
}  // namespace vivark
