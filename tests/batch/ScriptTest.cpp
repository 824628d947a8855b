// Script files, the step reader's rules, shards and the journal.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>

#include "batch/Journal.h"
#include "batch/ScriptFile.h"
#include "batch/Shard.h"
#include "support/Commands.h"
#include "support/TempDir.h"

namespace vivark::batch {
namespace {

Step parsed(std::string_view line) {
    std::string problem;
    const auto step = parseStep(line, problem);
    EXPECT_TRUE(step) << line << ": " << problem;
    return step.value_or(Step{});
}

TEST(ScriptFileTest, ExampleScriptReadsWithItsSteps) {
    test::TempDir dir;
    const auto file = dir.write("example.vvs",
                                "Vivark Script\r\n"
                                "Resize;height=600;letterbox=no;proportional=yes;resample=yes;"
                                "width=800\r\n"
                                "IndexedColor;colors=256;dither=diffusion;palette=adaptive\r\n"
                                "FileFormat;filetype=png\r\n");
    const ScriptLoad load = loadScript(file);
    ASSERT_TRUE(load.script) << load.problem;
    ASSERT_EQ(load.script->size(), 3u);
    EXPECT_EQ((*load.script)[0].id, OperationId::Resize);
    EXPECT_EQ((*load.script)[0].parameters.at("width"), "800");
    EXPECT_EQ((*load.script)[1].parameters.at("dither"), "diffusion");
    EXPECT_EQ((*load.script)[2].parameters.at("filetype"), "png");
    EXPECT_TRUE(load.warnings.empty());
}

// Every operation written with all its keys by --write-script reads back to
// the same steps; the lines are in key order whatever order keys were given.
TEST(ScriptFileTest, WrittenScriptReadsBackToTheSameSteps) {
    test::TempDir dir;
    std::vector<std::string> args = {"batch", "--write-script", (dir / "all.vvs").string()};
    for (const OperationRow& row : operationTable()) {
        args.push_back("--step");
        args.push_back(std::string(row.section));
    }
    args.insert(args.end(), {"--step", "Rotate;resample=no;angle=90", "--step", "negative"});
    std::string err;
    ASSERT_EQ(test::runVivark(args, nullptr, &err), 0) << err;
    const ScriptLoad load = loadScript(dir / "all.vvs");
    ASSERT_TRUE(load.script) << load.problem;
    ASSERT_EQ(load.script->size(), operationTable().size() + 2);
    for (size_t i = 0; i < operationTable().size(); ++i)
        EXPECT_EQ((*load.script)[i], completeStep(Step{operationTable()[i].id, {}}));
    const std::string text = test::readWholeFile(dir / "all.vvs");
    EXPECT_NE(text.find("\r\nRotate;angle=90;resample=no\r\nNegative\r\n"), std::string::npos);
    EXPECT_TRUE(text.starts_with("Vivark Script\r\nFileFormat;filetype=\r\n"));
}

TEST(ScriptFileTest, RefusedScriptsNameTheirLine) {
    const std::string longLine = "Negative;" + std::string(4100, 'x');
    const struct {
        std::string text;
        std::string expected;
    } cases[] = {
        {"Vivark Script\r\nNegative\r\nSepia;tone=3\r\n", ":3: unknown step 'Sepia'"},
        {"Vivark Script\r\nResize;widht=800\r\n", ":2: Resize has no key 'widht'"},
        {"Vivark Script\r\nBlur;strength=3;STRENGTH=4\r\n", ":2: key 'strength' given twice"},
        {"Vivark Script\r\n" + longLine + "\r\n", ":2: line too long"},
        {"Vivark Scrip\r\nNegative\r\n", ":1: not a script file"},
        {"", ":1: not a script file"},
        {std::string("Vivark Script\r\nNeg\0ative\r\n", 27), ":2: not a script file"},
    };
    test::TempDir dir;
    for (const auto& c : cases) {
        const auto file = dir.write("bad.vvs", c.text);
        const ScriptLoad load = loadScript(file);
        EXPECT_FALSE(load.script) << c.expected;
        EXPECT_NE(load.problem.find(file.string() + c.expected), std::string::npos) << load.problem;
    }
    // The header is compared over its 13 characters, ignoring case; a blank
    // line and LF line ends are accepted.
    const ScriptLoad lenient = loadScript(
        dir.write("ok.vvs", "VIVARK SCRIPT v3\nnegative\n\nMirror;direction=Vertical\n"));
    ASSERT_TRUE(lenient.script) << lenient.problem;
    EXPECT_EQ(lenient.script->size(), 2u);
}

// What the reading half of an operation's pair takes, and what it leaves.
TEST(ScriptStepTest, ValuesOutsideWhatAKeyTakesLeaveTheSetting) {
    const struct {
        const char* line;
        const char* key;
        const char* value;  // the setting afterwards
    } cases[] = {
        {"IndexedColor;colors=1", "colors", "256"},
        {"IndexedColor;colors=257", "colors", "256"},
        {"IndexedColor;colors=2", "colors", "2"},
        {"IndexedColor;colors=256", "colors", "256"},
        {"IndexedColor;colors=", "colors", "256"},
        {"IndexedColor;palette=222", "palette", "adaptive"},
        {"IndexedColor;palette=884", "palette", "884"},
        {"IndexedColor;dither=Ordered", "dither", "ordered"},
        {"Mirror;direction=vertical", "direction", "vertical"},
        {"Mirror;direction=diagonal", "direction", "horizontal"},
        {"Resize;resample=No", "resample", "no"},
        {"Resize;resample=maybe", "resample", "yes"},
        {"Rotate;angle=-90", "angle", "-90"},
        {"Rotate;angle=9x", "angle", "0"},
        {"Gamma;gamma=2.2", "gamma", "2.2"},
        {"Gamma;gamma=0", "gamma", "1"},
        {"BCC;contrast=101", "contrast", "0"},
    };
    for (const auto& c : cases) {
        const Step step = completeStep(parsed(c.line));
        EXPECT_EQ(step.parameters.at(c.key), c.value) << c.line;
    }
}

TEST(ShardTest, ParsingAndTheSchedulersVariables) {
    std::string problem;
    EXPECT_TRUE(parseShard("2/3", problem));
    for (const char* bad : {"0/3", "4/3", "1/0", "3", "a/b", "1/3x", "-1/3"})
        EXPECT_FALSE(parseShard(bad, problem)) << bad;

    using Env = std::map<std::string, std::string>;
    const struct {
        Env env;
        uint32_t count;
        uint32_t index;  // 0: refused
        uint32_t total;
    } cases[] = {
        {{{"SLURM_ARRAY_TASK_ID", "0"}, {"SLURM_ARRAY_TASK_COUNT", "4"}}, 0, 1, 4},
        {{{"SLURM_ARRAY_TASK_ID", "10"},
          {"SLURM_ARRAY_TASK_MIN", "1"},
          {"SLURM_ARRAY_TASK_COUNT", "10"}},
         0,
         10,
         10},
        {{{"SLURM_ARRAY_TASK_ID", "5"}, {"SLURM_ARRAY_TASK_COUNT", "5"}}, 0, 0, 0},
        {{{"JOB_COMPLETION_INDEX", "2"}, {"VIVARK_SHARD_COUNT", "3"}}, 0, 3, 3},
        {{{"JOB_COMPLETION_INDEX", "2"}}, 8, 3, 8},
        {{{"JOB_COMPLETION_INDEX", "2"}}, 0, 0, 0},
        {{}, 3, 0, 0},
    };
    for (const auto& c : cases) {
        const auto shard = shardFromEnvironment(
            [&](const char* name) {
                const auto found = c.env.find(name);
                return found == c.env.end() ? nullptr : found->second.c_str();
            },
            c.count, problem);
        ASSERT_EQ(bool(shard), c.index != 0) << problem;
        if (shard) {
            EXPECT_EQ(std::pair(shard->index, shard->count), std::pair(c.index, c.total));
        }
    }
}

TEST(ShardTest, ShardsAreDisjointAndCoverTheSet) {
    for (uint32_t count = 1; count <= 7; ++count) {
        std::vector<int> owners(2000, 0);
        for (uint32_t k = 1; k <= count; ++k)
            for (size_t i = 0; i < owners.size(); ++i)
                owners[i] += inShard("shoot/" + std::to_string(i) + ".jpg", Shard{k, count});
        for (size_t i = 0; i < owners.size(); ++i) ASSERT_EQ(owners[i], 1) << i << " of " << count;
    }
}

TEST(JournalTest, RecordsSurviveAReopenAndACutLastLine) {
    test::TempDir dir;
    const auto output = dir.write("a.png", "x");
    JournalRecord record{"/in/\"odd\"\tname.jpg", 1234, 1700000000123456789, "00ff",
                         output.string()};
    {
        Journal journal(dir / "j.jsonl");
        ASSERT_TRUE(journal.append(record));
    }
    // A crash in the middle of the next record leaves a line without its end.
    std::ofstream(dir / "j.jsonl", std::ios::app) << "{\"input\":\"/in/b.jpg\",\"si";
    Journal reopened(dir / "j.jsonl");
    EXPECT_TRUE(reopened.finished(record));
    JournalRecord changed = record;
    changed.modified += 1;
    EXPECT_FALSE(reopened.finished(changed));
    changed = record;
    changed.script = "00fe";
    EXPECT_FALSE(reopened.finished(changed));
    ASSERT_TRUE(reopened.append(JournalRecord{"/in/c.jpg", 1, 2, "00ff", output.string()}));
    EXPECT_TRUE(Journal(dir / "j.jsonl").finished(JournalRecord{"/in/c.jpg", 1, 2, "00ff", ""}));
}

}  // namespace
}  // namespace vivark::batch
