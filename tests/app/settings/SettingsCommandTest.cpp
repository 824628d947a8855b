// "vivark settings" through the built tool, with its store in a temporary
// directory.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>

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
    ToolRun settings(const std::vector<std::string>& args) {
        std::string command =
            "VIVARK_CONFIG_HOME='" + config_.path().string() + "' '" + VIVARK_TOOL + "' settings";
        for (const std::string& arg : args) command += " '" + arg + "'";
        command += " >'" + (output_ / "out").string() + "' 2>'" + (output_ / "err").string() + "'";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readWholeFile(output_ / "out"),
                readWholeFile(output_ / "err")};
    }
    std::string storeFile() const { return readWholeFile(config_ / "settings.conf"); }

    TempDir config_;
    TempDir output_;
};

TEST_F(SettingsCommandTest, SetGetAndBackToTheDefaultLeavesNoTrace) {
    EXPECT_EQ(settings({"set", "SaveOptions\\GIF\\Interlace", "yes"}).exitCode, 0);
    EXPECT_EQ(settings({"get", "saveoptions\\gif\\INTERLACE"}).out, "yes\n");
    EXPECT_NE(storeFile().find("\"Interlace\"=dword:00000001"), std::string::npos);
    EXPECT_EQ(settings({"set", "SaveOptions\\GIF\\Interlace", "0"}).exitCode, 0);
    EXPECT_EQ(settings({"get", "SaveOptions\\GIF\\Interlace"}).out, "no\n");
    EXPECT_EQ(storeFile().find("GIF"), std::string::npos) << storeFile();

    // Each kind prints its values in one form, whatever form was typed.
    const char* const cases[][3] = {
        {"FileConverter\\FileType", "0x46464954", "TIFF"},
        {"Window\\BackgroundColor", "#FF8000", "0xFF8000"},
        {"SaveOptions\\JFIF\\Quality", "0x5A", "90"},
        {"FileConverter\\MRUDirectoryList", "/a b/c;/d", "/a b/c;/d"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(settings({"set", c[0], c[1]}).exitCode, 0) << c[0];
        EXPECT_EQ(settings({"get", c[0]}).out, std::string(c[2]) + "\n");
    }
}

TEST_F(SettingsCommandTest, UnknownKeysAndWrongKindsAreUsageErrors) {
    const struct {
        std::vector<std::string> args;
        const char* message;
    } cases[] = {
        {{"get", "View\\FitMod"},
         "vivark: View\\FitMod: unknown setting; did you mean View\\FitMode, View\\FitImage or "
         "EditMode?\n"},
        {{"set", "SaveOptions\\GIF", "1"},
         "vivark: SaveOptions\\GIF: unknown setting; did you mean SaveOptions\\GIF\\Background, "
         "SaveOptions\\GIF\\Background Index or SaveOptions\\GIF\\GIF89a?\n"},
        {{"set", "SaveOptions\\GIF\\Interlace", "maybe"},
         "vivark: SaveOptions\\GIF\\Interlace: \"maybe\" is not a boolean (yes, no, 1 or 0)\n"},
        {{"set", "SaveOptions\\JFIF\\Quality", "75%"},
         "vivark: SaveOptions\\JFIF\\Quality: \"75%\" is not an integer from 0 to 4294967295 "
         "(decimal, or hexadecimal with 0x)\n"},
        {{"set", "FileConverter\\FileType", "BMP"},
         "vivark: FileConverter\\FileType: \"BMP\" is not a format tag of four characters "
         "such as \"BMP \"\n"},
        {{"set", "Window\\BackgroundColor", "#12345"},
         "vivark: Window\\BackgroundColor: \"#12345\" is not a colour (0xRRGGBB or #RRGGBB)\n"},
        {{"set", "Display\\Gamma", "nan"},
         "vivark: Display\\Gamma: \"nan\" is not a real number such as 2.2\n"},
        {{"reset"}, "vivark: settings reset: name one KEY or --all\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.back());
        ToolRun run = settings(c.args);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.err, c.message);
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
