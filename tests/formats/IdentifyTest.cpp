// Identification: hand-made header variants (those no registry sample
// carries) are recognised with their tag, size and depth through the whole
// probe, at any buffer size; no cut-off one makes the probe throw; the
// probing order and the refusals that keep formats apart hold.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "SampleBytes.h"
#include "core/Errors.h"
#include "formats/FormatTable.h"
#include "formats/Identify.h"

namespace vivark {
namespace {

// The identify test of the format entry tagged `tag`.
IdentifyFunction identifyOf(FormatTag tag) {
    return findFormatEntry(tag)->identify;
}

using test::Bytes;
using test::Sample;

const FormatEntry* probe(const std::vector<uint8_t>& bytes, FormatInfo* info,
                         size_t bufferSize = 0) {
    auto file = InFile::overMemory(bytes, bufferSize);
    return identifyFormat(*file, info);
}

class SampleIdentification : public ::testing::TestWithParam<size_t> {};

TEST_P(SampleIdentification, EverySampleIsRecognisedWithItsSizeAndDepth) {
    for (const Sample& sample : test::formatSamples()) {
        SCOPED_TRACE(sample.name);
        FormatInfo info;
        const FormatEntry* entry = probe(sample.bytes, &info, GetParam());
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(tagText(info.formatTag), tagText(sample.tag));
        EXPECT_EQ(info.width, sample.width);
        EXPECT_EQ(info.height, sample.height);
        EXPECT_EQ(info.bitsPerPixel, sample.bitsPerPixel);
    }
}

TEST_P(SampleIdentification, NoCutOffSampleMakesTheProbeThrow) {
    for (const Sample& sample : test::formatSamples()) {
        SCOPED_TRACE(sample.name);
        for (size_t length = 0; length < sample.bytes.size(); ++length) {
            std::vector<uint8_t> cut(sample.bytes.begin(), sample.bytes.begin() + length);
            FormatInfo info;
            EXPECT_NO_THROW(probe(cut, &info, GetParam())) << "cut after " << length;
        }
    }
}

// The default buffer, and one so small that every header straddles refills.
INSTANTIATE_TEST_SUITE_P(BufferSizes, SampleIdentification, ::testing::Values(0, 7));

TEST(FormatTable, TheEarlierOfTwoAcceptingTestsWins) {
    // Both a Targa header (type 2, 24 bits) and a WAP bitmap (2 × 3).
    auto both = Bytes().u8(0).u8(0).u8(2).u8(3).fill(8).le16(4).le16(5).u8(24).u8(0).data;
    auto file = InFile::overMemory(both);
    ASSERT_TRUE(identifyOf(makeTag("WBMP"))(*file, nullptr));
    FormatInfo info;
    const FormatEntry* entry = probe(both, &info);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(tagText(info.formatTag), "TGA ");
}

TEST(FormatTable, AFileShorterThanEarlierHeadersReachesLaterTests) {
    // Three bytes: shorter than every header before the Compuserve RLE test.
    FormatInfo info;
    const FormatEntry* entry = probe({0x1B, 'G', 'M'}, &info);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(tagText(info.formatTag), "RLEC");
    EXPECT_EQ(info.width, 128u);
}

struct Refusal {
    const char* name;
    bool (*identify)(InFile&, FormatInfo*);
    std::vector<uint8_t> bytes;
};

TEST(FormatTable, NearMissesAreRefused) {
    const Refusal refusals[] = {
        {"P7 is no anymap", identifyOf(makeTag("PBM ")), Bytes().text("P7\nWIDTH 2\n").data},
        {"GIF87b", identifyOf(makeTag("GIF ")), Bytes().text("GIF87b").fill(20).data},
        {"GIF trailer before any image", identifyOf(makeTag("GIF ")),
         Bytes().text("GIF89a").le16(1).le16(1).u8(0).u8(0).u8(0).text(";").data},
        {"PNG with zero depth", identifyOf(makeTag("PNG ")),
         Bytes()
             .hex("89")
             .text("PNG\r\n\x1A\n")
             .hex("0000000D")
             .text("IHDR")
             .hex("00000001 00000001 00 00 00000000000000")
             .data},
        {"JPEG scan before a frame", identifyOf(makeTag("JFIF")),
         Bytes().be16(0xFFD8).be16(0xFFDA).be16(2).fill(20).data},
        {"TIFF with no width", identifyOf(makeTag("TIFF")),
         Bytes().text("II").hex("2A00 08000000 0100 0101 0300 01000000 05000000 00000000").data},
        {"PCX version 1", identifyOf(makeTag("PCX ")), Bytes().u8(0x0A).u8(1).padTo(128).data},
        {"bitmap header of 14 bytes", identifyOf(makeTag("BMP ")),
         Bytes().text("BM").fill(12).le32(14).le32(1).le32(1).le16(1).le16(1).data},
        {"bitmap of 33 bits", identifyOf(makeTag("BMP ")),
         Bytes().text("BM").fill(12).le32(40).le32(1).le32(1).le16(1).le16(33).fill(24).data},
        {"bitmap of width 0", identifyOf(makeTag("BMP ")),
         Bytes().text("BM").fill(12).le32(40).le32(0).le32(1).le16(1).le16(8).fill(24).data},
        {"targa type 1 without a colour map", identifyOf(makeTag("TGA ")),
         Bytes().u8(0).u8(0).u8(1).fill(9).le16(4).le16(4).u8(8).u8(0).data},
        {"targa type 4", identifyOf(makeTag("TGA ")),
         Bytes().u8(0).u8(0).u8(4).fill(9).le16(4).le16(4).u8(8).u8(0).data},
        {"targa map start beyond its length", identifyOf(makeTag("TGA ")),
         Bytes().u8(0).u8(1).u8(1).le16(4).le16(4).u8(24).fill(4).le16(4).le16(4).u8(8).u8(0).data},
        {"photoshop version 2", identifyOf(makeTag("PSD ")),
         Bytes().text("8BPS").be16(2).fill(6).be16(3).be32(5).be32(6).be16(8).be16(3).data},
        {"slide show signature in other case", identifyOf(makeTag("SSHW")),
         Bytes().text("vivark slideshow").data},
        {"boot logo of another size", identifyOf(makeTag("LOGO")),
         Bytes().le32(76800).le32(230433).padTo(32).data},
    };
    for (const Refusal& refusal : refusals) {
        auto file = InFile::overMemory(refusal.bytes);
        bool accepted = true;
        try {
            accepted = refusal.identify(*file, nullptr);
        } catch (INFILEERROR) {
            accepted = false;
        }
        EXPECT_FALSE(accepted) << refusal.name;
    }
}

TEST(FormatTable, RandomBytesAreNotTakenForARawFax) {
    uint32_t state = 12345;
    for (int trial = 0; trial < 200; ++trial) {
        std::vector<uint8_t> bytes(4096);
        for (auto& b : bytes)
            b = static_cast<uint8_t>((state = state * 1103515245u + 12345u) >> 24);
        // Start with an end of line, so that only the rows can refuse it.
        bytes[0] = 0x00;
        bytes[1] = 0x10 | (bytes[1] & 0x0F);
        auto file = InFile::overMemory(bytes);
        bool accepted = false;
        try {
            accepted = identifyOf(makeTag("FAX3"))(*file, nullptr);
        } catch (INFILEERROR) {
        }
        EXPECT_FALSE(accepted) << "trial " << trial;
    }
}

TEST(FormatTable, IdentifiesAFaxWrittenByImageMagick) {
    std::ifstream in(std::string(VIVARK_TEST_DATA) + "/formats/fax/ramp.g3", std::ios::binary);
    std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
    FormatInfo info;
    const FormatEntry* entry = probe(bytes, &info);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(tagText(info.formatTag), "FAX3");
    EXPECT_EQ(info.width, 2200u);
    EXPECT_EQ(info.height, 40u);
}

TEST(FormatTable, ARawFaxNeedsTwentyRows) {
    EXPECT_FALSE(identifyOf(makeTag("FAX3"))(*InFile::overMemory(test::whiteFaxPage(19)), nullptr));
    FormatInfo info;
    EXPECT_TRUE(identifyOf(makeTag("FAX3"))(*InFile::overMemory(test::whiteFaxPage(20)), &info));
    EXPECT_EQ(info.height, 20u);
}

}  // namespace
}  // namespace vivark
