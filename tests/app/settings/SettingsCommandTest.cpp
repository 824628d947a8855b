// "vivark settings" through the built tool, with its store in a temporary
// directory.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "app/settings/SettingKeys.h"
#include "tests/support/TempDir.h"

namespace vivark {
namespace {

using test::readWholeFile;
using test::TempDir;

struct ToolRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

class SettingsCommandTest : public ::testing::Test {
  protected:
    // Runs "vivark settings ARGS..." with the store in config_.
    ToolRun settings(std::vector<std::string> args) {
        args.insert(args.begin(), {VIVARK_TOOL, "settings"});
        std::string outFile = (output_ / "out").string(), errFile = (output_ / "err").string();
        std::string home = "VIVARK_CONFIG_HOME=" + config_.path().string();
        pid_t child = ::fork();
        if (child == 0) {
            int out = ::open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            int err = ::open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            ::dup2(out, 1);
            ::dup2(err, 2);
            std::vector<char*> argv;
            for (auto& arg : args) argv.push_back(arg.data());
            argv.push_back(nullptr);
            char* envp[] = {home.data(), nullptr};
            ::execve(VIVARK_TOOL, argv.data(), envp);
            ::_exit(127);
        }
        ToolRun run;
        int status = 0;
        if (child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status))
            run.exitCode = WEXITSTATUS(status);
        run.out = readWholeFile(output_ / "out");
        run.err = readWholeFile(output_ / "err");
        return run;
    }
    std::string storeFile() const { return readWholeFile(config_ / "settings.conf"); }

    TempDir config_;
    TempDir output_;
};

TEST_F(SettingsCommandTest, SetGetAndBackToTheDefaultLeavesNoTrace) {
    ToolRun set = settings({"set", "SaveOptions\\GIF\\Interlace", "yes"});
    EXPECT_EQ(set.exitCode, 0) << set.err;
    EXPECT_EQ(settings({"get", "SaveOptions\\GIF\\Interlace"}).out, "yes\n");
    EXPECT_EQ(settings({"get", "saveoptions\\gif\\INTERLACE"}).out, "yes\n");
    EXPECT_NE(storeFile().find("\"Interlace\"=dword:00000001"), std::string::npos);

    EXPECT_EQ(settings({"set", "SaveOptions\\GIF\\Interlace", "0"}).exitCode, 0);
    EXPECT_EQ(settings({"get", "SaveOptions\\GIF\\Interlace"}).out, "no\n");
    std::string file = storeFile();
    EXPECT_EQ(file.find("Interlace"), std::string::npos) << file;
    EXPECT_EQ(file.find("GIF"), std::string::npos) << file;
}

TEST_F(SettingsCommandTest, ValueFormsOfEachKind) {
    struct Case {
        const char* key;
        const char* value;
        const char* printed;
    };
    const Case cases[] = {
        {"FileConverter\\FileType", "PNG ", "PNG "},
        {"FileConverter\\FileType", "0x46464954", "TIFF"},
        {"Window\\BackgroundColor", "#FF8000", "0xFF8000"},
        {"SaveOptions\\PNG\\Background Color", "0x00ff00", "0x00FF00"},
        {"SaveOptions\\JFIF\\Quality", "0x5A", "90"},
        {"Display\\Gamma", "2.2", "2.2"},
        {"FileConverter\\MRUDirectoryList", "/a b/c;/d", "/a b/c;/d"},
        {"Slideshow\\AutoStart", "YES", "yes"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.key);
        ToolRun set = settings({"set", c.key, c.value});
        EXPECT_EQ(set.exitCode, 0) << set.err;
        EXPECT_EQ(settings({"get", c.key}).out, std::string(c.printed) + "\n");
    }
}

TEST_F(SettingsCommandTest, UnknownKeysAndWrongKindsAreUsageErrors) {
    struct Case {
        std::vector<std::string> args;
        const char* message;
    };
    const Case cases[] = {
        {{"get", "No\\Such\\Key"},
         "vivark: No\\Such\\Key: unknown setting (see 'vivark settings list --all')\n"},
        {{"set", "SaveOptions\\GIF", "1"},
         "vivark: SaveOptions\\GIF: unknown setting (see 'vivark settings list --all')\n"},
        {{"set", "SaveOptions\\GIF\\Interlace", "maybe"},
         "vivark: SaveOptions\\GIF\\Interlace: \"maybe\" is not a boolean (yes, no, 1 or 0)\n"},
        {{"set", "SaveOptions\\JFIF\\Quality", "75%"},
         "vivark: SaveOptions\\JFIF\\Quality: \"75%\" is not an integer from 0 to 4294967295 "
         "(decimal, or hexadecimal with 0x)\n"},
        {{"set", "SaveOptions\\JFIF\\Quality", "4294967296"}, nullptr},
        {{"set", "FileConverter\\FileType", "BMP"},
         "vivark: FileConverter\\FileType: \"BMP\" is not a format tag of four characters "
         "such as \"BMP \"\n"},
        {{"set", "Window\\BackgroundColor", "#12345"},
         "vivark: Window\\BackgroundColor: \"#12345\" is not a colour (0xRRGGBB or #RRGGBB)\n"},
        {{"set", "Display\\Gamma", "nan"},
         "vivark: Display\\Gamma: \"nan\" is not a real number such as 2.2\n"},
        {{"reset"}, "vivark: settings reset: name one KEY or --all\n"},
        {{"reset", "--all", "EditMode"}, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.back());
        ToolRun run = settings(c.args);
        EXPECT_EQ(run.exitCode, 2);
        if (c.message != nullptr) {
            EXPECT_EQ(run.err, c.message);
        }
    }
    EXPECT_FALSE(std::filesystem::exists(config_ / "settings.conf"));
}

TEST_F(SettingsCommandTest, ListShowsChangedValuesOrAllAndResetClears) {
    EXPECT_EQ(settings({"list"}).out, "");
    settings({"set", "Display\\Gamma", "2.5"});
    settings({"set", "FileConverter\\FileType", "GIF "});
    EXPECT_EQ(settings({"list"}).out,
              "Display\\Gamma = 2.5 (real, default 1)\n"
              "FileConverter\\FileType = \"GIF \" (integer, default \"BMP \")\n");

    std::string all = settings({"list", "--all"}).out;
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'),
              static_cast<long>(settings::allSettings().size()));
    EXPECT_NE(all.find("FullScreen\\ShowPointer = no (boolean, default no)\n"), std::string::npos);

    EXPECT_EQ(settings({"list", "--json"}).out,
              "[\n"
              "  {\"key\": \"Display\\\\Gamma\", \"kind\": \"real\", \"value\": 2.5, "
              "\"default\": 1},\n"
              "  {\"key\": \"FileConverter\\\\FileType\", \"kind\": \"integer\", \"value\": "
              "541477191, \"default\": 542133570, \"format\": \"tag\", \"valueText\": \"GIF \", "
              "\"defaultText\": \"BMP \"}\n"
              "]\n");

    EXPECT_EQ(settings({"reset", "display\\gamma"}).exitCode, 0);
    EXPECT_EQ(settings({"list"}).out,
              "FileConverter\\FileType = \"GIF \" (integer, default \"BMP \")\n");
    EXPECT_EQ(settings({"reset", "--all"}).exitCode, 0);
    EXPECT_EQ(settings({"list", "--json"}).out, "[]\n");
    EXPECT_EQ(storeFile().find('['), std::string::npos);
}

}  // namespace
}  // namespace vivark
