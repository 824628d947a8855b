// The vivark tool's front door: help and version succeed on stdout, wrong
// usage fails with status 2 and says why on stderr, both through the library
// entry point and as a real process.
#include <sys/wait.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "app/cli/Cli.h"
#include "support/TempDir.h"

namespace vivark {
namespace {

struct Case {
    std::vector<std::string> args;
    int status;
    bool printsOut, printsErr;
};

const Case kCases[] = {
    {{"--help"}, 0, true, false},
    {{"--version"}, 0, true, false},
    {{}, 2, false, true},
    {{"--no-such-option"}, 2, false, true},
    {{"no-such-command"}, 2, false, true},
};

std::string describe(const std::vector<std::string>& args) {
    std::string text = "vivark";
    for (const std::string& arg : args) text += " " + arg;
    return text;
}

TEST(Cli, HelpAndVersionSucceedAndWrongUsageFailsWithStatus2) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(describe(c.args));
        std::vector<std::string> storage = {"vivark"};
        storage.insert(storage.end(), c.args.begin(), c.args.end());
        std::vector<char*> argv;
        for (std::string& arg : storage) argv.push_back(arg.data());
        argv.push_back(nullptr);
        std::ostringstream out, err;

        EXPECT_EQ(cli::run(static_cast<int>(storage.size()), argv.data(), out, err), c.status);
        EXPECT_EQ(!out.str().empty(), c.printsOut) << out.str();
        EXPECT_EQ(!err.str().empty(), c.printsErr) << err.str();
    }
}

TEST(Cli, VersionNamesTheRelease) {
    char name[] = "vivark", flag[] = "--version";
    char* argv[] = {name, flag, nullptr};
    std::ostringstream out, err;
    cli::run(2, argv, out, err);
    EXPECT_NE(out.str().find(VIVARK_VERSION), std::string::npos) << out.str();
}

TEST(Cli, TheProgramExitsWithTheStatusOfItsCommandLine) {
    test::TempDir dir;
    for (const Case& c : kCases) {
        SCOPED_TRACE(describe(c.args));
        std::string command = std::string("'") + VIVARK_TOOL + "'";
        for (const std::string& arg : c.args) command += " '" + arg + "'";
        command += " >'" + (dir / "out").string() + "' 2>'" + (dir / "err").string() + "'";

        const int result = std::system(command.c_str());

        ASSERT_TRUE(WIFEXITED(result)) << result;
        EXPECT_EQ(WEXITSTATUS(result), c.status);
        EXPECT_EQ(!test::readWholeFile(dir / "out").empty(), c.printsOut);
        EXPECT_EQ(!test::readWholeFile(dir / "err").empty(), c.printsErr);
    }
}

}  // namespace
}  // namespace vivark
