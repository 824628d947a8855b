// The byte endpoints of the stream codecs: windows over InFile and OutFile
// buffers must hand back exact positions, stop at range ends and survive any
// buffer size.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/ByteSources.h"
#include "core/Errors.h"
#include "support/TempDir.h"
#include "support/Throws.h"

namespace vivark {
namespace {

std::vector<uint8_t> countingBytes(size_t n) {
    std::vector<uint8_t> v(n);
    for (size_t i = 0; i < n; ++i) v[i] = static_cast<uint8_t>(i * 7 + (i >> 8));
    return v;
}

class SourceBufferSizes : public ::testing::TestWithParam<size_t> {};

TEST_P(SourceBufferSizes, InFileSourceHandsBackThePositionAfterTheConsumedBytes) {
    auto data = countingBytes(1000);
    auto file = InFile::overMemory(data, GetParam());
    file->seek(3);
    std::vector<uint8_t> got(500);
    {
        InFileSource source(*file);
        StreamDecoder passThrough;
        passThrough.attach(&source);
        passThrough.decode(got.data(), 200);
        passThrough.decode(got.data() + 200, 300);
        passThrough.finish();
    }
    EXPECT_TRUE(std::equal(got.begin(), got.end(), data.begin() + 3));
    EXPECT_EQ(file->tell(), 503);
    EXPECT_EQ(file->readByte(), data[503]);
}

TEST_P(SourceBufferSizes, RangeSourceStopsAtTheRangeEndAndLeavesTheRestUnread) {
    auto data = countingBytes(300);
    auto file = InFile::overMemory(data, GetParam());
    file->seek(10);
    InFileRangeSource source(*file, 100);
    source.begin();
    std::vector<uint8_t> got(100);
    source.read(got.data(), 60);
    EXPECT_EQ(source.remaining(), 40u);
    source.read(got.data() + 60, 40);
    EXPECT_TRUE(std::equal(got.begin(), got.end(), data.begin() + 10));
    EXPECT_THROW(source.nextByte(), INFILEERROR);
    source.finish();
    EXPECT_EQ(file->tell(), 110);
}

TEST_P(SourceBufferSizes, InFileSourceRunningDryThrowsUnexpectedEnd) {
    auto data = countingBytes(50);
    auto file = InFile::overMemory(data, GetParam());
    InFileSource source(*file);
    source.begin();
    source.skip(50);
    EXPECT_EQ(test::thrownBy<INFILEERROR>([&] { source.nextByte(); }),
              std::optional(INFILEERROR::UnexpectedEnd));
}

INSTANTIATE_TEST_SUITE_P(BufferSizes, SourceBufferSizes, ::testing::Values(1, 2, 7, 64, 0));

TEST(Sinks, OutFileSinkWritesInPlaceAcrossFlushesAndKeepsFileWritesInOrder) {
    test::TempDir dir;
    auto path = dir / "out.bin";
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ASSERT_GE(fd, 0);
    auto data = countingBytes(100000);
    {
        OutFile out(64);
        out.attach(fd);
        out.writeBE32(0xDEADBEEF);
        OutFileSink sink(out);
        StreamEncoder passThrough;
        passThrough.attach(&sink);
        passThrough.encode(data.data(), 33333);
        passThrough.encode(data.data() + 33333, data.size() - 33333);
        passThrough.finish();
        passThrough.close();
        out.writeByte(0x55);
        out.close();
    }
    std::string file = test::readWholeFile(path);
    ASSERT_EQ(file.size(), 4 + data.size() + 1);
    EXPECT_EQ(static_cast<uint8_t>(file[0]), 0xDE);
    EXPECT_TRUE(
        std::equal(data.begin(), data.end(), reinterpret_cast<const uint8_t*>(file.data()) + 4));
    EXPECT_EQ(static_cast<uint8_t>(file.back()), 0x55);
}

}  // namespace
}  // namespace vivark
