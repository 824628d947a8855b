// "vivark batch" end to end: naming and the if-exists choices, failures that
// do not stop the run, deleting originals, and a run killed and resumed.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include "batch/Journal.h"
#include "formats/Loader.h"
#include "formats/SaveDispatch.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"
#include "support/TempDir.h"

namespace vivark {
namespace {
namespace fs = std::filesystem;

void writeBmp(const fs::path& path, uint32_t width, uint32_t height) {
    fs::create_directories(path.parent_path());
    StoredSaveOptions options;
    saveImage(test::patternImage(width, height, 24), path, *findWriterByName("bmp"), options);
}

Image loaded(const fs::path& path) {
    Image image;
    EXPECT_TRUE(loadFile(image, path.string(), ReadOptions{}).completed) << path;
    return image;
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) result.push_back(line);
    return result;
}

size_t count(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

TEST(BatchCommandTest, FolderRunReportsEveryFileInOrderAndGoesOnAfterAFailure) {
    test::TempDir dir;
    writeBmp(dir / "in/b.bmp", 40, 20);
    writeBmp(dir / "in/a.bmp", 20, 40);
    writeBmp(dir / "in/sub/c.bmp", 10, 10);
    dir.write("in/notes.txt", "not an image");
    writeBmp(dir / "in/cut.bmp", 30, 30);
    fs::resize_file(dir / "in/cut.bmp", 200);
    const std::vector<std::string> base = {
        "batch",  (dir / "in").string(),  "-r",     "--to",   "png",
        "--out",  (dir / "out").string(), "--json", "--jobs", "3",
        "--step", "Resize;width=16"};
    std::string out, err;
    EXPECT_EQ(test::runVivark(base, &out, &err), 1) << err;
    const auto records = lines(out);
    // A file of the folder that is no image is passed over; a damaged image
    // fails and the run goes on.
    ASSERT_EQ(records.size(), 5u) << out;
    const char* expected[][2] = {{"a.bmp", "converted"},
                                 {"b.bmp", "converted"},
                                 {"cut.bmp", "failed"},
                                 {"notes.txt", "skipped"},
                                 {"c.bmp", "converted"}};
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_NE(records[i].find(expected[i][0]), std::string::npos) << records[i];
        EXPECT_NE(records[i].find(std::string("\"status\":\"") + expected[i][1]), std::string::npos)
            << records[i];
    }
    EXPECT_EQ(loaded(dir / "out/a.png").width(), 16u);
    EXPECT_EQ(loaded(dir / "out/b.png").height(), 8u);
    EXPECT_EQ(loaded(dir / "out/sub/c.png").width(), 16u);

    // A second run meets the outputs: each choice of --if-exists.
    const struct {
        const char* choice;
        const char* status;
        const char* renamed;  // an output the run makes, or null
    } again[] = {{"skip", "skipped", nullptr},
                 {"rename", "converted", "out/a-1.png"},
                 {"overwrite", "converted", nullptr}};
    for (const auto& c : again) {
        auto args = base;
        args.insert(args.end(), {"--if-exists", c.choice, (dir / "in/a.bmp").string()});
        args[1] = (dir / "in/b.bmp").string();
        ASSERT_EQ(test::runVivark(args, &out, &err), 0) << c.choice << err;
        EXPECT_EQ(count(out, c.status), 2u) << c.choice << out;
        if (c.renamed) {
            EXPECT_TRUE(fs::exists(dir / c.renamed)) << c.choice;
        }
    }
}

TEST(BatchCommandTest, OutputsNeverReplaceSourcesAndOriginalsGoOnlyAfterReadBack) {
    test::TempDir dir;
    writeBmp(dir / "a.bmp", 8, 8);
    writeBmp(dir / "b.bmp", 8, 8);
    const auto run = [&](std::vector<std::string> extra, std::string& out) {
        std::vector<std::string> args = {"batch",
                                         "--use-original-dir",
                                         "--to",
                                         "bmp",
                                         "--json",
                                         "--journal",
                                         (dir / "journal").string(),
                                         (dir / "a.bmp").string(),
                                         (dir / "b.bmp").string()};
        args.insert(args.end(), extra.begin(), extra.end());
        return test::runVivark(args, &out);
    };
    std::string out;
    EXPECT_EQ(run({"--if-exists", "overwrite"}, out), 1);
    EXPECT_EQ(count(out, "would replace a source"), 2u) << out;
    EXPECT_EQ(run({"--if-exists", "rename", "--step", "Negative", "--delete-original"}, out), 0)
        << out;
    EXPECT_FALSE(fs::exists(dir / "a.bmp"));
    EXPECT_TRUE(fs::exists(dir / "a-1.bmp"));
    EXPECT_TRUE(fs::exists(dir / "b-1.bmp"));
}

// A script step runs the operation "vivark convert" runs.
TEST(BatchCommandTest, ScriptStepsGiveTheConvertCommandsPixels) {
    test::TempDir dir;
    writeBmp(dir / "in/p.bmp", 30, 20);
    const struct {
        const char* step;
        std::vector<std::string> options;
    } cases[] = {
        {"Resize;width=9;height=7;proportional=no", {"--resize", "9x7", "--stretch"}},
        {"Rotate;angle=30;resample=no", {"--rotate", "30", "--point"}},
        {"IndexedColor;colors=16;palette=666;dither=ordered",
         {"--colors", "16", "--palette", "666", "--dither", "ordered"}},
        {"BCC;brightness=20", {"--brightness", "20"}},
        {"Crop;left=2;bottom=3;width=5;height=6", {"--crop", "2,3,5,6"}},
    };
    for (const auto& c : cases) {
        std::string err;
        ASSERT_EQ(
            test::runVivark({"batch", (dir / "in/p.bmp").string(), "--to", "bmp", "--out",
                             (dir / "b").string(), "--if-exists", "overwrite", "--step", c.step},
                            nullptr, &err),
            0)
            << c.step << err;
        std::vector<std::string> convert = {"convert", (dir / "in/p.bmp").string(),
                                            (dir / "c.bmp").string()};
        convert.insert(convert.end(), c.options.begin(), c.options.end());
        ASSERT_EQ(test::runVivark(convert, nullptr, &err), 0) << c.step << err;
        EXPECT_TRUE(test::samePixels(loaded(dir / "b/p.bmp"), loaded(dir / "c.bmp"))) << c.step;
    }
}

// Killed with SIGKILL after a few files, then resumed: every file is
// converted once, and nothing partial is left.
TEST(BatchCommandTest, KilledRunResumesWithEveryFileConvertedOnce) {
    test::TempDir dir;
    constexpr int kFiles = 16;
    for (int i = 0; i < kFiles; ++i)
        writeBmp(dir / "in" / std::string(1, 'p').append(std::to_string(100 + i) + ".bmp"), 300,
                 200);
    const fs::path journal = dir / "out/.vivark-journal.jsonl";
    const std::vector<std::string> args = {VIVARK_TOOL, "batch",  (dir / "in").string(),  "--to",
                                           "png",       "--out",  (dir / "out").string(), "--jobs",
                                           "2",         "--step", "Resize;width=1200"};
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        std::vector<char*> argv;
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    const auto journalled = [&] {
        std::ifstream in(journal);
        return size_t(std::count(std::istreambuf_iterator<char>(in), {}, '\n'));
    };
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (journalled() < 4 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    const size_t first = journalled();
    ASSERT_GE(first, 4u);
    ASSERT_LT(first, size_t(kFiles)) << "the run ended before it was killed";

    std::string out, err;
    std::vector<std::string> resume(args.begin() + 1, args.end());
    resume.insert(resume.end(), {"--resume", "--json"});
    ASSERT_EQ(test::runVivark(resume, &out, &err), 0) << err;
    EXPECT_EQ(count(out, "\"converted\""), kFiles - first) << out;
    EXPECT_EQ(count(out, "converted by an earlier run"), first) << out;

    std::multiset<std::string> inputs;
    std::ifstream in(journal);
    for (std::string line; std::getline(in, line);) {
        batch::JournalRecord record;
        ASSERT_TRUE(batch::parseJournalLine(line, record)) << line;
        inputs.insert(record.input);
    }
    EXPECT_EQ(inputs.size(), size_t(kFiles));
    EXPECT_EQ(std::set<std::string>(inputs.begin(), inputs.end()).size(), size_t(kFiles));
    size_t outputs = 0;
    for (const auto& entry : fs::directory_iterator(dir / "out")) {
        const std::string name = entry.path().filename().string();
        EXPECT_FALSE(name.ends_with(".vvk-tmp")) << name;
        outputs += name.ends_with(".png");
    }
    EXPECT_EQ(outputs, size_t(kFiles));
}

}  // namespace
}  // namespace vivark
