// OutFile and SafeOutFile: typed writes across buffer boundaries, patching by
// seeking back, the classification of write failures, and the all-or-nothing
// appearance of a saved file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "core/Errors.h"
#include "core/OutFile.h"
#include "core/SafeOutFile.h"
#include "support/TempDir.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using test::readWholeFile;
using test::TempDir;
using test::thrownBy;

constexpr size_t kBufferSizes[] = {16, 17, 23, 4096};

int createFile(const std::filesystem::path& path) {
    return ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
}

std::set<std::string> namesIn(const std::filesystem::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}

TEST(OutFileWrites, TypedValuesLandInTheirByteOrderWhateverTheBufferSize) {
    const std::string round("\xAA\x34\x12\x12\x34\xEF\xCD\xAB\x89\x89\xAB\xCD\xEF", 13);
    for (size_t bufferSize : kBufferSizes) {
        SCOPED_TRACE(testing::Message() << "buffer " << bufferSize);
        TempDir dir;
        std::string expected;
        {
            OutFile out(bufferSize);
            out.attach(createFile(dir / "typed.bin"));
            for (int i = 0; i < 10; ++i) {
                out.writeByte(0xAA);
                out.writeLE16(0x1234);
                out.writeBE16(0x1234);
                out.writeLE32(0x89ABCDEF);
                out.writeBE32(0x89ABCDEF);
                out.write("block", 5);
                expected += round + "block";
                EXPECT_EQ(out.tell(), static_cast<int64_t>(expected.size()));
            }
            out.close();
        }
        EXPECT_EQ(readWholeFile(dir / "typed.bin"), expected);
    }
}

TEST(OutFileWrites, SeekingBackPatchesAndKeepsEverythingElse) {
    for (size_t bufferSize : kBufferSizes) {
        SCOPED_TRACE(testing::Message() << "buffer " << bufferSize);
        TempDir dir;
        std::string data;
        for (int i = 0; i < 100; ++i) data.push_back(static_cast<char>('a' + i % 26));
        {
            OutFile out(bufferSize);
            out.attach(createFile(dir / "patched.bin"));
            out.writeLE32(0);  // a length learnt later
            out.write(data.data(), data.size());
            const int64_t end = out.tell();
            out.seek(0);
            out.writeLE32(static_cast<uint32_t>(data.size()));
            out.seek(50);
            out.writeBE16(0x5859);  // "XY" in the middle of the data
            out.seek(end);
            EXPECT_EQ(out.tell(), end);
            out.write("tail", 4);
            out.close();
        }
        std::string expected = std::string("\x64\0\0\0", 4) + data + "tail";
        expected[50] = 'X';
        expected[51] = 'Y';
        EXPECT_EQ(readWholeFile(dir / "patched.bin"), expected);
    }
}

TEST(OutFileWrites, AttachContinuesAtTheDescriptorsPosition) {
    TempDir dir;
    int fd = createFile(dir / "continued.bin");
    ASSERT_EQ(::write(fd, "abc", 3), 3);
    OutFile out;
    out.attach(fd);
    EXPECT_EQ(out.tell(), 3);
    out.write("def", 3);
    out.close();
    EXPECT_EQ(readWholeFile(dir / "continued.bin"), "abcdef");
}

TEST(OutFileFailures, EachFailureIsClassifiedByItsCause) {
    TempDir dir;
    const auto existing = dir.write("existing.bin", "data");
    struct Case {
        const char* what;
        int (*open)(const std::filesystem::path& existing);
        size_t bytes;  // written before flushing; more than the buffer fails in write()
        OUTFILEERROR error;
    };
    const Case cases[] = {
        {"no space on the device", [](const auto&) { return ::open("/dev/full", O_WRONLY); }, 10,
         OUTFILEERROR::DiskFull},
        {"no space, found while writing", [](const auto&) { return ::open("/dev/full", O_WRONLY); },
         100, OUTFILEERROR::DiskFull},
        {"descriptor opened for reading", [](const auto& p) { return ::open(p.c_str(), O_RDONLY); },
         10, OUTFILEERROR::WriteFailed},
        {"descriptor opened for reading, found while writing",
         [](const auto& p) { return ::open(p.c_str(), O_RDONLY); }, 100, OUTFILEERROR::WriteFailed},
    };
    const std::string bytes(100, 'z');
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        int fd = c.open(existing);
        ASSERT_GE(fd, 0);
        OutFile out(16);
        out.attach(fd);
        EXPECT_EQ(thrownBy<OUTFILEERROR>([&] {
                      out.write(bytes.data(), c.bytes);
                      out.flush();
                  }),
                  c.error);
    }
    EXPECT_EQ(readWholeFile(existing), "data");
}

TEST(OutFileFailures, ADescriptorWithoutAPositionIsRefusedAtAttach) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    OutFile out;
    EXPECT_EQ(thrownBy<OUTFILEERROR>([&] { out.attach(ends[1], false); }),
              OUTFILEERROR::SeekFailed);
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(SafeOutFile, CommitPutsTheContentUnderTheTargetName) {
    TempDir dir;
    dir.write("other.txt", "x");
    {
        SafeOutFile file(dir / "out.bin", 16);
        file.out().write("0123456789abcdefghij", 20);
        file.out().writeLE16(0x2122);
        EXPECT_FALSE(std::filesystem::exists(dir / "out.bin"));
        file.commit();
    }
    EXPECT_EQ(readWholeFile(dir / "out.bin"), "0123456789abcdefghij\x22\x21");
    EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"other.txt", "out.bin"}));
}

TEST(SafeOutFile, WithoutCommitNothingIsLeftAndAnExistingTargetIsUntouched) {
    struct Case {
        const char* what;
        bool targetExists;
        bool flushed;
    };
    const Case cases[] = {
        {"new target, buffered only", false, false},
        {"new target, partly written", false, true},
        {"existing target, partly written", true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TempDir dir;
        if (c.targetExists) dir.write("image.gif", "the original");
        const auto before = namesIn(dir.path());
        {
            SafeOutFile file(dir / "image.gif");
            file.out().write("half an image", 13);
            if (c.flushed) file.out().flush();
        }
        EXPECT_EQ(namesIn(dir.path()), before);
        if (c.targetExists) {
            EXPECT_EQ(readWholeFile(dir / "image.gif"), "the original");
        }
    }
}

TEST(SafeOutFile, UncreatableTargetsAreCannotCreate) {
    TempDir dir;
    std::filesystem::create_directory(dir / "folder");
    for (const char* name : {"missing/out.gif", "folder"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(thrownBy<CREATEERROR>([&] { SafeOutFile file(dir / name); }),
                  CREATEERROR::CannotCreate);
    }
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"folder"});
    EXPECT_TRUE(std::filesystem::is_empty(dir / "folder"));
}

TEST(SafeOutFile, ReplacingATargetKeepsItsPermissions) {
    const mode_t umaskNow = ::umask(0);
    ::umask(umaskNow);
    for (mode_t mode : {0600, 0640, 0644, 0666, 0755, 0444}) {
        SCOPED_TRACE(testing::Message() << std::oct << mode);
        TempDir dir;
        const auto target = dir.write("kept.bin", "old");
        ASSERT_EQ(::chmod(target.c_str(), mode), 0);
        {
            SafeOutFile file(target);
            file.out().write("new", 3);
            file.commit();
        }
        struct stat st;
        ASSERT_EQ(::stat(target.c_str(), &st), 0);
        EXPECT_EQ(st.st_mode & 07777, mode);
        EXPECT_EQ(readWholeFile(target), "new");
    }
    TempDir dir;
    {
        SafeOutFile file(dir / "fresh.bin");
        file.commit();
    }
    struct stat st;
    ASSERT_EQ(::stat((dir / "fresh.bin").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0666 & ~umaskNow);
}

}  // namespace
}  // namespace vivark
