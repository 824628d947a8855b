// OutFile and SafeOutFile: typed writes across buffer boundaries, patching by
// seeking back, the classification of write failures, and the all-or-nothing
// appearance of a saved file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>

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

TEST(OutFileWrites, TypedValuesAndPatchesLandWhateverTheBufferSize) {
    const std::string round(
        "\xAA\x34\x12\x12\x34\xEF\xCD\xAB\x89\x89\xAB\xCD\xEF"
        "block",
        18);
    for (size_t bufferSize : kBufferSizes) {
        SCOPED_TRACE(testing::Message() << "buffer " << bufferSize);
        TempDir dir;
        std::string expected("\x00\x00\x00\x00", 4);
        {
            OutFile out(bufferSize);
            out.attach(createFile(dir / "typed.bin"));
            out.writeLE32(0);  // a length learnt later
            for (int i = 0; i < 10; ++i) {
                out.writeByte(0xAA);
                out.writeLE16(0x1234);
                out.writeBE16(0x1234);
                out.writeLE32(0x89ABCDEF);
                out.writeBE32(0x89ABCDEF);
                out.write("block", 5);
                expected += round;
                EXPECT_EQ(out.tell(), static_cast<int64_t>(expected.size()));
            }
            const int64_t end = out.tell();
            out.seek(0);
            out.writeLE32(static_cast<uint32_t>(end));
            out.seek(100);
            out.writeBE16(0x5859);  // "XY" in the middle
            out.seek(end);
            out.write("tail", 4);
            out.close();
        }
        expected[0] = static_cast<char>(expected.size());
        expected.replace(100, 2, "XY");
        EXPECT_EQ(readWholeFile(dir / "typed.bin"), expected + "tail");
    }
}

TEST(OutFileWrites, AttachContinuesAtTheDescriptorsPositionAndRefusesAPipe) {
    TempDir dir;
    int fd = createFile(dir / "continued.bin");
    ASSERT_EQ(::write(fd, "abc", 3), 3);
    OutFile out;
    out.attach(fd);
    EXPECT_EQ(out.tell(), 3);
    out.write("def", 3);
    out.close();
    EXPECT_EQ(readWholeFile(dir / "continued.bin"), "abcdef");

    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    EXPECT_EQ(thrownBy<OUTFILEERROR>([&] { OutFile().attach(ends[1], false); }),
              OUTFILEERROR::SeekFailed);
    ::close(ends[0]);
    ::close(ends[1]);
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
    auto full = [](const auto&) { return ::open("/dev/full", O_WRONLY); };
    auto readOnly = [](const auto& p) { return ::open(p.c_str(), O_RDONLY); };
    const Case cases[] = {
        {"no space, found at flush", full, 10, OUTFILEERROR::DiskFull},
        {"no space, found while writing", full, 100, OUTFILEERROR::DiskFull},
        {"opened for reading, found at flush", readOnly, 10, OUTFILEERROR::WriteFailed},
        {"opened for reading, found while writing", readOnly, 100, OUTFILEERROR::WriteFailed},
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

TEST(SafeOutFile, WithoutCommitNothingIsLeftAndAnExistingTargetIsUntouched) {
    TempDir dir;
    dir.write("image.gif", "the original");
    for (const char* name : {"image.gif", "new.gif"}) {
        SafeOutFile file(dir / name);
        file.out().write("half an image", 13);
        file.out().flush();
    }
    SafeOutFile(dir / "buffered.gif").out().write("buffered only", 13);
    EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"image.gif"});
    EXPECT_EQ(readWholeFile(dir / "image.gif"), "the original");
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

TEST(SafeOutFile, CommitPutsTheContentUnderTheTargetNameKeepingItsPermissions) {
    const mode_t umaskNow = ::umask(0);
    ::umask(umaskNow);
    struct Case {
        mode_t mode;  // of the existing target; 0: none
        mode_t expected;
    };
    for (const Case& c : {Case{0600, 0600}, Case{0444, 0444}, Case{0, 0666 & ~umaskNow}}) {
        SCOPED_TRACE(testing::Message() << std::oct << c.mode);
        TempDir dir;
        const auto target = dir / "out.bin";
        if (c.mode != 0) {
            dir.write("out.bin", "old");
            ASSERT_EQ(::chmod(target.c_str(), c.mode), 0);
        }
        {
            SafeOutFile file(target, 16);
            file.out().write("0123456789abcdefghij", 20);
            EXPECT_EQ(std::filesystem::exists(target), c.mode != 0);
            file.commit();
        }
        struct stat st;
        ASSERT_EQ(::stat(target.c_str(), &st), 0);
        EXPECT_EQ(st.st_mode & 07777, c.expected);
        EXPECT_EQ(readWholeFile(target), "0123456789abcdefghij");
        EXPECT_EQ(namesIn(dir.path()), std::set<std::string>{"out.bin"});
    }
}

// Targets that are not plain files: a symbolic link stays a link to the
// replaced file, a file with two names is updated in place under both, and a
// FIFO or a device receives the bytes without being replaced. A save that
// never commits leaves each of them as it was.
TEST(SafeOutFile, LinksFifosAndDevicesAreWrittenThroughNotReplaced) {
    TempDir dir;
    dir.write("real.bin", "old");
    std::filesystem::create_symlink("real.bin", dir / "link.bin");
    dir.write("one.bin", "old");
    std::filesystem::create_hard_link(dir / "one.bin", dir / "two.bin");
    ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0600), 0);
    const std::string content(100000, 'x');

    for (bool commit : {false, true}) {
        for (const char* name : {"link.bin", "two.bin"}) {
            SCOPED_TRACE(name);
            SafeOutFile file(dir / name, 4096);
            file.out().write(content.data(), content.size());
            if (commit) file.commit();
        }
        EXPECT_TRUE(std::filesystem::is_symlink(dir / "link.bin"));
        EXPECT_EQ(readWholeFile(dir / "real.bin"), commit ? content : "old");
        EXPECT_EQ(readWholeFile(dir / "one.bin"), commit ? content : "old");
        EXPECT_TRUE(std::filesystem::equivalent(dir / "one.bin", dir / "two.bin"));
    }

    std::string received;
    std::thread reader([&] { received = readWholeFile(dir / "fifo"); });
    {
        SafeOutFile file(dir / "fifo", 4096);
        file.out().write(content.data(), content.size());
        file.out().seek(0);  // a writer that patches a header works on a pipe too
        file.out().write("y", 1);
        file.commit();
    }
    reader.join();
    EXPECT_EQ(received, content.substr(1).insert(0, 1, 'y'));
    EXPECT_TRUE(std::filesystem::is_fifo(dir / "fifo"));

    SafeOutFile null("/dev/null");
    null.out().write(content.data(), content.size());
    null.commit();
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    EXPECT_EQ(namesIn(dir.path()),
              (std::set<std::string>{"fifo", "link.bin", "one.bin", "real.bin", "two.bin"}));
}

}  // namespace
}  // namespace vivark
