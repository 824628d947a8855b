// InFile: line reading, the end of the data, typed reads, seeking and the
// origin, buffer resizing, open failures and the growing-file device. Most
// cases run over several buffer sizes so that every refill boundary falls
// inside a line end, a typed value or a seek target.
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

// Every line until the data ends; the end must be reported as UnexpectedEnd.
std::vector<std::string> readAllLines(InFile& in, size_t capacity = 256) {
    std::vector<std::string> lines;
    std::vector<char> line(capacity, 'x');
    for (;;) {
        size_t length = 0;
        try {
            length = in.readLine(line.data(), capacity);
        } catch (INFILEERROR e) {
            EXPECT_EQ(e, INFILEERROR::UnexpectedEnd);
            return lines;
        }
        EXPECT_LT(length, capacity);
        EXPECT_EQ(line[length], '\0');
        lines.emplace_back(line.data(), length);
    }
}

TEST(InFileLines, EveryLineEndAndBufferSizeGivesTheSameLines) {
    using Lines = std::vector<std::string>;
    struct Case {
        std::string input;
        Lines lines;
    };
    const Case cases[] = {
        {"one\ntwo\nthree\n", {"one", "two", "three"}},
        {"one\rtwo\rthree\r", {"one", "two", "three"}},
        {"one\r\ntwo\r\nthree\r\n", {"one", "two", "three"}},
        {"one\n\rtwo\n\rthree\n\r", {"one", "two", "three"}},
        {"one\ntwo\r\nthree", {"one", "two", "three"}},
        {"a\r\rb", {"a", "", "b"}},
        {"a\n\nb\n", {"a", "", "b"}},
        {"a\r\n\r\nb", {"a", "", "b"}},
        {"a\r\n\n\rb", {"a", "", "b"}},
        {"a\n\r\n\rb", {"a", "", "b"}},
        {"a\r\r\nb", {"a", "", "b"}},
        {"\r\n\r\n", {"", ""}},
        {"\n", {""}},
        {"x", {"x"}},
        {"", {}},
    };
    for (size_t bufferSize : kBufferSizes) {
        for (const Case& c : cases) {
            SCOPED_TRACE(testing::Message() << "buffer " << bufferSize << ", input "
                                            << testing::PrintToString(c.input));
            auto in = InFile::overMemory(bytesOf(c.input), bufferSize);
            EXPECT_EQ(readAllLines(*in), c.lines);
        }
    }
}

TEST(InFileLines, LongerLinesThanTheDestinationComeInPieces) {
    struct Case {
        std::string input;
        size_t capacity;
        std::vector<std::string> lines;
    };
    const Case cases[] = {
        {"abcdefghij\nxy\n", 5, {"abcd", "efgh", "ij", "xy"}},
        {"abcdefgh", 5, {"abcd", "efgh"}},
        {"abc\r\ndefgh\r\n", 3, {"ab", "c", "de", "fg", "h"}},
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

TEST(InFileLines, ZeroByteInALineIsBinaryData) {
    struct Case {
        std::string input;
        size_t linesBefore;
    };
    const Case cases[] = {
        {std::string("ab\0cd\n", 6), 0},     {std::string("\0", 1), 0},
        {std::string("ok\nab\0", 6), 1},     {std::string("ok\r\0\n", 5), 1},
        {std::string("one\ntwo\n\0", 9), 2},
    };
    for (size_t bufferSize : kBufferSizes) {
        for (const Case& c : cases) {
            SCOPED_TRACE(testing::Message() << "buffer " << bufferSize << ", input "
                                            << testing::PrintToString(c.input));
            auto in = InFile::overMemory(bytesOf(c.input), bufferSize);
            char line[64];
            for (size_t i = 0; i < c.linesBefore; ++i) in->readLine(line, sizeof line);
            EXPECT_EQ(thrownBy<INFILEERROR>([&] { in->readLine(line, sizeof line); }),
                      INFILEERROR::BinaryData);
        }
    }
}

TEST(InFileEnd, ReadingToTheLastByteSucceedsAndOneMoreThrows) {
    TempDir dir;
    const std::string content = patternFile(100);
    const auto path = dir.write("hundred.bin", content);
    for (size_t bufferSize : {1, 3, 7, 64, 99, 100, 101, 0}) {
        SCOPED_TRACE(testing::Message() << "buffer " << bufferSize);
        InFile in(bufferSize);
        in.open(path);
        std::string got(99, '\0');
        in.read(got.data(), 99);
        got.push_back(static_cast<char>(in.readByte()));
        EXPECT_EQ(got, content);
        EXPECT_EQ(in.tell(), 100);
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readByte(); }), INFILEERROR::UnexpectedEnd);
        char one;
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.read(&one, 1); }), INFILEERROR::UnexpectedEnd);

        in.seek(99);
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readLE16(); }), INFILEERROR::UnexpectedEnd);
        in.rewind();
        std::string tooMuch(101, '\0');
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.read(tooMuch.data(), 101); }),
                  INFILEERROR::UnexpectedEnd);
    }
}

TEST(InFileTypedReads, BothByteOrdersAcrossBufferBoundaries) {
    std::string bytes;
    for (int i = 0; i < 40; ++i) bytes.push_back(static_cast<char>(0x81 + i * 3));
    auto at = [&](size_t i) { return static_cast<uint32_t>(static_cast<uint8_t>(bytes[i])); };
    for (size_t bufferSize : {1, 2, 3, 5, 7, 0}) {
        SCOPED_TRACE(testing::Message() << "buffer " << bufferSize);
        auto in = InFile::overMemory(bytesOf(bytes), bufferSize);
        size_t p = 0;
        EXPECT_EQ(in->readByte(), at(0));
        p = 1;
        for (int round = 0; round < 3; ++round) {
            EXPECT_EQ(in->readLE16(), at(p) | at(p + 1) << 8);
            p += 2;
            EXPECT_EQ(in->readBE16(), at(p) << 8 | at(p + 1));
            p += 2;
            EXPECT_EQ(in->readLE32(), at(p) | at(p + 1) << 8 | at(p + 2) << 16 | at(p + 3) << 24);
            p += 4;
            EXPECT_EQ(in->readBE32(), at(p) << 24 | at(p + 1) << 16 | at(p + 2) << 8 | at(p + 3));
            p += 4;
        }
        EXPECT_EQ(in->tell(), static_cast<int64_t>(p));
    }
}

TEST(InFileSeek, WithinAndOutsideTheBufferReadsTheRightBytes) {
    TempDir dir;
    const std::string content = patternFile(1000);
    const auto path = dir.write("thousand.bin", content);
    const int64_t targets[] = {500, 3, 999, 0, 10, 9, 8, 600, 601, 40, 999, 1};
    for (size_t bufferSize : {7, 64, 0}) {
        SCOPED_TRACE(testing::Message() << "buffer " << bufferSize);
        InFile in(bufferSize);
        in.open(path);
        for (int64_t p : targets) {
            in.seek(p);
            EXPECT_EQ(in.tell(), p);
            EXPECT_EQ(in.readByte(), static_cast<uint8_t>(content[p])) << "at " << p;
        }
        in.seek(20);
        in.skip(30);
        EXPECT_EQ(in.readByte(), static_cast<uint8_t>(content[50]));

        in.seek(5000);  // past the end: only a read fails
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readByte(); }), INFILEERROR::UnexpectedEnd);
        in.seek(998);
        EXPECT_EQ(in.readBE16(),
                  static_cast<uint8_t>(content[998]) << 8 | static_cast<uint8_t>(content[999]));
    }
}

TEST(InFileSeek, PositionsCountFromTheOrigin) {
    TempDir dir;
    const std::string content = patternFile(1000);
    const auto path = dir.write("embedded.bin", content);
    for (size_t bufferSize : {7, 64, 0}) {
        SCOPED_TRACE(testing::Message() << "buffer " << bufferSize);
        InFile in(bufferSize);
        in.open(path);
        char skipped[120];
        in.read(skipped, sizeof skipped);  // the origin lies in the buffered data or behind it

        in.setOrigin(100);
        in.seek(0);
        EXPECT_EQ(in.readByte(), static_cast<uint8_t>(content[100]));
        EXPECT_EQ(in.tell(), 1);
        in.seek(50);
        EXPECT_EQ(in.readByte(), static_cast<uint8_t>(content[150]));
        in.seek(-1);  // before the origin, still inside the file
        EXPECT_EQ(in.readByte(), static_cast<uint8_t>(content[99]));
        in.rewind();
        EXPECT_EQ(in.readByte(), static_cast<uint8_t>(content[100]));
        in.seek(899);
        EXPECT_EQ(in.readByte(), static_cast<uint8_t>(content[999]));
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readByte(); }), INFILEERROR::UnexpectedEnd);
        EXPECT_EQ(in.size(), 1000u);

        in.setOrigin(700);
        in.seek(10);
        EXPECT_EQ(in.readByte(), static_cast<uint8_t>(content[710]));
    }
}

TEST(InFileSeek, PositionsBeforeTheStartOfTheFileFailOnTheNextRead) {
    TempDir dir;
    const auto path = dir.write("short.bin", patternFile(50));
    for (int64_t p : {-1, -2, -7, -1000}) {
        SCOPED_TRACE(testing::Message() << "position " << p);
        InFile in(16);
        in.open(path);
        in.seek(20);
        in.readByte();
        in.seek(p);
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readByte(); }), INFILEERROR::SeekFailed);
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readByte(); }), INFILEERROR::SeekFailed);
        in.seek(7);  // a good position reads again
        EXPECT_EQ(in.readByte(), static_cast<uint8_t>(patternFile(50)[7]));

        auto memory = InFile::overMemory(bytesOf(patternFile(50)), 16);
        memory->seek(p);
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { memory->readByte(); }), INFILEERROR::SeekFailed);
    }
}

TEST(InFileResize, KeepsUnreadBytesAndClampsTheSize) {
    struct Case {
        size_t initial, consumed, requested, expected;
    };
    const Case cases[] = {
        {4096, 1, 0, 32768},         {4096, 1, 100000, 65536}, {4096, 1, 65536, 65536},
        {4096, 1, 100, 4095},        {16, 1, 8, 15},           {16, 16, 8, 8},
        {100000, 10, 100000, 99990}, {100000, 10, 0, 99990},   {300, 299, 1, 1},
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
        // The kept bytes, then at least one refill into the new buffer.
        const size_t more = c.expected + 1000;
        got.resize(c.consumed + more);
        in.read(got.data() + c.consumed, more);
        EXPECT_TRUE(got == content.substr(0, got.size()));
    }
}

TEST(InFileOpen, FailuresNameTheirCause) {
    TempDir dir;
    std::filesystem::create_directory(dir / "folder");
    struct Case {
        std::string name;
        INFILEERROR error;
    };
    const Case cases[] = {
        {(dir / "folder").string(), INFILEERROR::IsDirectory},
        {dir.path().string(), INFILEERROR::IsDirectory},
        {(dir / "missing.gif").string(), INFILEERROR::OpenFailed},
        {(dir / "folder" / "missing" / "a.gif").string(), INFILEERROR::OpenFailed},
        {"", INFILEERROR::OpenFailed},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        InFile in;
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.open(c.name); }), c.error);
    }
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
    EXPECT_EQ(got.size(), expected.size());
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
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readByte(); }), INFILEERROR::UnexpectedEnd);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
    }
}

TEST(GrowingFile, AStalledFileEndsAfterTheConfiguredNumberOfPauses) {
    TempDir dir;
    const auto path = dir.write("stalled.bin", "abc");
    const std::atomic<bool> waiting{true};
    GrowingFileDevice device(&waiting, 3, 20ms);
    InFile in(0, &device);
    in.open(path);
    char all[3];
    in.read(all, 3);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(thrownBy<INFILEERROR>([&] { in.readByte(); }), INFILEERROR::UnexpectedEnd);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 60ms);
}

}  // namespace
}  // namespace vivark
