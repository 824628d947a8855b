// The modified Huffman decoder against a fax written by ImageMagick (an
// independent encoder) and its pixels as a raw bitmap, and its refusals:
// invalid codes, overlong rows, rows asked for after the end of the page.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "codecs/ByteSources.h"
#include "codecs/FaxDecoder.h"
#include "core/Errors.h"

namespace vivark {
namespace {

std::vector<uint8_t> readSample(const std::string& name) {
    std::ifstream in(std::string(VIVARK_TEST_DATA) + "/formats/fax/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The pixel rows of a raw ("P4") bitmap whose header is "P4\n<w> <h>\n".
std::vector<uint8_t> bitmapPixels(const std::vector<uint8_t>& pbm, uint32_t& width,
                                  uint32_t& height) {
    std::string header(pbm.begin(), pbm.begin() + 32);
    size_t at = header.find('\n') + 1;
    size_t end = header.find('\n', at);
    std::sscanf(header.substr(at, end - at).c_str(), "%u %u", &width, &height);
    return {pbm.begin() + static_cast<ptrdiff_t>(end + 1), pbm.end()};
}

std::vector<uint8_t> packBits(const std::string& bits) {
    std::vector<uint8_t> out((bits.size() + 7) / 8);
    for (size_t i = 0; i < bits.size(); ++i)
        if (bits[i] == '1') out[i / 8] |= static_cast<uint8_t>(0x80 >> (i % 8));
    return out;
}

class FaxChunks : public ::testing::TestWithParam<size_t> {};

TEST_P(FaxChunks, DecodesAnImageMagickFaxToItsBitmapInAnyRequestSize) {
    uint32_t width = 0, height = 0;
    const auto pixels = bitmapPixels(readSample("ramp.pbm"), width, height);
    const auto coded = readSample("ramp.g3");
    ASSERT_EQ(pixels.size(), size_t{(width + 7) / 8} * height);

    MemorySource source(coded);
    Fax3Decoder decoder(width);
    decoder.attach(&source);
    std::vector<uint8_t> decoded(pixels.size());
    for (size_t at = 0; at < decoded.size(); at += GetParam())
        decoder.decode(decoded.data() + at, std::min(GetParam(), decoded.size() - at));
    EXPECT_EQ(decoded, pixels);
    EXPECT_EQ(decoder.rowsDecoded(), height);
    std::vector<uint8_t> row(decoder.rowBytes());
    EXPECT_FALSE(decoder.decodeRow(row.data()));  // the page has ended
}

INSTANTIATE_TEST_SUITE_P(RequestSizes, FaxChunks, ::testing::Values(1, 7, 275, 100000));

TEST(Fax3Decoder, MeasuresTheWidthOfTheFirstRows) {
    const auto coded = readSample("ramp.g3");
    MemorySource source(coded);
    Fax3Decoder decoder(Fax3Decoder::kMaxColumns);
    decoder.attach(&source);
    EXPECT_EQ(decoder.measureRow(), 2200u);
    EXPECT_EQ(decoder.measureRow(), 2200u);
    EXPECT_EQ(decoder.rowsDecoded(), 2u);
}

TEST(Fax3Decoder, RefusesWhatIsNoRow) {
    const std::string eol = "000000000001";
    struct Case {
        const char* name;
        uint32_t columns;
        std::string bits;
    };
    const Case cases[] = {
        {"eight zeros and a one are no code", 8, eol + "000000001000000000000000"},
        {"a white run past the row's end", 8, eol + "10100" + "0000000000000000"},
        {"a black run past the row's end", 4, eol + "0111" + "10" + "0000000000000000"},
        {"an end of line inside a row", 16, eol + "1011" + eol + "00000000"},
        {"a make-up code without its terminating code", 128, eol + "10010" + eol},
    };
    for (const Case& c : cases) {
        const auto bytes = packBits(c.bits);
        MemorySource source(bytes);
        Fax3Decoder decoder(c.columns);
        decoder.attach(&source);
        std::vector<uint8_t> row(decoder.rowBytes());
        EXPECT_THROW(decoder.decodeRow(row.data()), CCITTERROR) << c.name;
    }
}

TEST(Fax3Decoder, EndsOfLineAreOptionalUnlessRequired) {
    // Two rows of 8: white 3, black 5 ("1000" "0011"); then white 8 ("10011").
    const auto bytes = packBits("1000001110011");
    for (bool required : {false, true}) {
        MemorySource source(bytes);
        Fax3Decoder decoder(8, {.eolRequired = required});
        decoder.attach(&source);
        uint8_t rows[2];
        if (required) {
            EXPECT_THROW(decoder.decodeRow(rows), CCITTERROR);
        } else {
            decoder.decode(rows, 2);
            EXPECT_EQ(rows[0], 0x1F);
            EXPECT_EQ(rows[1], 0x00);
        }
    }
}

}  // namespace
}  // namespace vivark
