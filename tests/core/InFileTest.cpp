// InFile: line reading, the end of the data, typed reads, seeking and the
// origin, buffer resizing, open failures and the growing-file device. Most
// cases run over several buffer sizes so that refills fall everywhere.
#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "core/Errors.h"
#include "core/InFile.h"
#include "support/TempDir.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using namespace std::chrono_literals;
using test::TempDir;
using test::thrownBy;

constexpr size_t kBufferSizes[] = {1, 2, 3, 7, 0};

std::span<const uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// Byte i of the test files: varied, and not simply i.
std::string patternFile(size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 31 + i / 251) & 0xFF);
    return bytes;
}

// Every line until the data ends, which must be reported as UnexpectedEnd, or
// until a zero byte, which is binary data and ends the list with kBinary.
constexpr const char* kBinary = "<binary data>";

std::vector<std::string> readAllLines(InFile& in, size_t capacity) {
    std::vector<std::string> lines;
    std::vector<char> line(capacity, 'x');
    for (;;) {
        size_t length = 0;
        try {
            length = in.readLine(line.data(), capacity);
        } catch (INFILEERROR e) {
            if (e == INFILEERROR::BinaryData)
                lines.emplace_back(kBinary);
            else
                EXPECT_EQ(e, INFILEERROR::UnexpectedEnd);
            return lines;
        }
        EXPECT_LT(length, capacity);
        EXPECT_EQ(line[length], '\0');
        lines.emplace_back(line.data(), length);
    }
}

TEST(InFileLines, EveryLineEndAndBufferSizeGivesTheSameLinesAndZeroBytesAreBinary) {
    struct Case {
        std::string input;
        std::vector<std::string> lines;
        size_t capacity = 256;
    };
    const Case cases[] = {
        {"one\ntwo\nthree\n", {"one", "two", "three"}},
        {"one\rtwo\rthree\r", {"one", "two", "three"}},
        {"one\n\rtwo\n\rthree\n\r", {"one", "two", "three"}},
        {"one\ntwo\r\nthree", {"one", "two", "three"}},
        {"a\r\rb", {"a", "", "b"}},
        {"a\r\n\r\nb", {"a", "", "b"}},
        {"a\n\r\n\rb", {"a", "", "b"}},
        {"a\r\r\nb", {"a", "", "b"}},
        {"\n", {""}},
        {"", {}},
        // Lines longer than the destination come in pieces.
        {"abcdefghij\nxy\n", {"abcd", "efgh", "ij", "xy"}, 5},
        {"abc\r\ndefgh\r\n", {"ab", "c", "de", "fg", "h"}, 3},
        {std::string("ab\0cd\n", 6), {kBinary}},
        {std::string("ok\r\0\n", 5), {"ok", kBinary}},
        {std::string("one\ntwo\n\0", 9), {"one", "two", kBinary}},
    };
    for (size_t bufferSize : kBufferSizes) {
        for (const Case& c : cases) {
            SCOPED_TRACE(testing::Message() << "buffer " << bufferSize << ", input "
                                            << testing::PrintToString(c.input));
            auto in = InFile::overMemory(bytesOf(c.input), bufferSize);
            EXPECT_EQ(readAllLines(*in, c.capacity), c.lines);
        }
    }
}

TEST(InFileTypedReads, BothByteOrdersAcrossBufferBoundariesUpToTheLastByte) {
    TempDir dir;
    const std::string bytes = patternFile(100);
    const auto path = dir.write("hundred.bin", bytes);
    auto at = [&](size_t i) { return static_cast<uint32_t>(static_cast<uint8_t>(bytes[i])); };
    for (size_t bufferSize : {1, 2, 3, 5, 7, 99, 100, 101, 0}) {
        SCOPED_TRACE(testing::Message() << "buffer " << bufferSize);
        InFile in(bufferSize);
        in.open(path);
        EXPECT_EQ(in.readByte(), at(0));
        size_t p = 1;
        for (int round = 0; round < 3; ++round, p += 12) {
            EXPECT_EQ(in.readLE16(), at(p) | at(p + 1) << 8);
            EXPECT_EQ(in.readBE16(), at(p + 2) << 8 | at(p + 3));
            EXPECT_EQ(in.readLE32(),
                      at(p + 4) | at(p + 5) << 8 | at(p + 6) << 16 | at(p + 7) << 24);
            EXPECT_EQ(in.readBE32(),
                      at(p + 8) << 24 | at(p + 9) << 16 | at(p + 10) << 8 | at(p + 11));
        }
        std::string rest(100 - p, '\0');
        in.read(rest.data(), rest.size());
        EXPECT_EQ(rest, bytes.substr(p));
        EXPECT_EQ(in.tell(), 100);
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readByte(); }), INFILEERROR::UnexpectedEnd);
        in.seek(99);
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readLE16(); }), INFILEERROR::UnexpectedEnd);
    }
}

TEST(InFileSeek, InsideAndOutsideTheBufferAndFromTheOrigin) {
    TempDir dir;
    const std::string content = patternFile(1000);
    const auto path = dir.write("thousand.bin", content);
    auto at = [&](size_t i) { return static_cast<uint8_t>(content[i]); };
    for (size_t bufferSize : {7, 64, 0}) {
        SCOPED_TRACE(testing::Message() << "buffer " << bufferSize);
        InFile in(bufferSize);
        in.open(path);
        for (int64_t p : {500, 3, 999, 0, 10, 9, 600, 40}) {
            in.seek(p);
            EXPECT_EQ(in.tell(), p);
            EXPECT_EQ(in.readByte(), at(p)) << "at " << p;
        }
        in.seek(20);
        in.skip(30);
        EXPECT_EQ(in.readByte(), at(50));
        in.seek(5000);  // past the end: only a read fails
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readByte(); }), INFILEERROR::UnexpectedEnd);
        in.seek(-1);  // before the start of the file
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readByte(); }), INFILEERROR::SeekFailed);

        in.seek(119);  // the origin lies in the buffered data or behind it
        in.readByte();
        in.setOrigin(100);
        in.seek(0);
        EXPECT_EQ(in.readByte(), at(100));
        EXPECT_EQ(in.tell(), 1);
        in.seek(-1);  // before the origin, still inside the file
        EXPECT_EQ(in.readByte(), at(99));
        in.seek(898);
        EXPECT_EQ(in.readBE16(), at(998) << 8 | at(999));
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readByte(); }), INFILEERROR::UnexpectedEnd);
    }
    auto memory = InFile::overMemory(bytesOf(content), 16);
    memory->seek(-1000);
    EXPECT_EQ(thrownBy<INFILEERROR>([&] { memory->readByte(); }), INFILEERROR::SeekFailed);
}

TEST(InFileResize, KeepsUnreadBytesAndClampsTheSize) {
    struct Case {
        size_t initial, consumed, requested, expected;
    };
    const Case cases[] = {
        {4096, 1, 0, 32768}, {4096, 1, 100000, 65536}, {16, 1, 8, 15},
        {16, 16, 8, 8},      {100000, 10, 0, 99990},   {300, 299, 1, 1},
    };
    TempDir dir;
    const std::string content = patternFile(250000);
    const auto path = dir.write("large.bin", content);
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "buffer " << c.initial << ", " << c.consumed
                                        << " read, resize(" << c.requested << ")");
        InFile in(c.initial);
        in.open(path);
        std::string got(c.consumed, '\0');
        in.read(got.data(), c.consumed);

        in.resize(c.requested);

        EXPECT_EQ(in.bufferSize(), c.expected);
        EXPECT_EQ(in.tell(), static_cast<int64_t>(c.consumed));
        const size_t more = c.expected + 1000;
        got.resize(c.consumed + more);
        in.read(got.data() + c.consumed, more);
        EXPECT_TRUE(got == content.substr(0, got.size()));
    }
}

TEST(InFileOpen, FailuresNameTheirCause) {
    TempDir dir;
    InFile in;
    EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.open(dir.path()); }), INFILEERROR::IsDirectory);
    EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.open(dir / "missing.gif"); }),
              INFILEERROR::OpenFailed);
    EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.open(""); }), INFILEERROR::OpenFailed);
}

TEST(GrowingFile, ReadsWhatAWriterAppendsUntilTheFileStopsGrowing) {
    TempDir dir;
    const auto path = dir.write("growing.bin", "");
    const std::string expected = patternFile(30 * 257);
    std::atomic<bool> wait{true};
    // The end is reported after 0.5 s without growth; the writer pauses 2 ms.
    GrowingFileDevice device(&wait, 250, 2ms);
    InFile in(64, &device);
    in.open(path);

    std::thread writer([&] {
        int fd = ::open(path.c_str(), O_WRONLY | O_APPEND);
        for (size_t at = 0; at < expected.size(); at += 257) {
            EXPECT_EQ(::write(fd, expected.data() + at, 257), 257);
            std::this_thread::sleep_for(2ms);
        }
        ::close(fd);
    });
    std::string got;
    auto error = thrownBy<INFILEERROR>([&] {
        for (;;) got.push_back(static_cast<char>(in.readByte()));
    });
    writer.join();
    EXPECT_EQ(error, INFILEERROR::UnexpectedEnd);
    EXPECT_TRUE(got == expected);
}

TEST(GrowingFile, WithoutAWaitingOwnerTheEndComesAtOnce) {
    TempDir dir;
    const auto path = dir.write("still.bin", "0123456789");
    const std::atomic<bool> notWaiting{false};
    for (const std::atomic<bool>* owner :
         {&notWaiting, static_cast<const std::atomic<bool>*>(nullptr)}) {
        SCOPED_TRACE(owner == nullptr ? "no owner" : "wait flag clear");
        GrowingFileDevice device(owner, 1000, 10s);
        InFile in(4, &device);
        in.open(path);
        char all[10];
        in.read(all, 10);
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readByte(); }), INFILEERROR::UnexpectedEnd);
    }
}

}  // namespace
}  // namespace vivark
