// "vivark palette export": an indexed image's palette written as JASC and
// read back equal to what the loader gives; images without a palette and
// unreadable files fail with status 1 and leave no file.
#include <gtest/gtest.h>

#include <sstream>

#include "app/cli/Cli.h"
#include "formats/Loader.h"
#include "ops/PaletteFile.h"
#include "support/TempDir.h"

namespace vivark {
namespace {

int runTool(std::vector<std::string> args, std::string* err) {
    args.insert(args.begin(), "vivark");
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(a.data());
    std::ostringstream out, errors;
    const int status = cli::run(int(argv.size()), argv.data(), out, errors);
    *err = errors.str();
    return status;
}

TEST(PaletteCommand, ExportsTheLoadedPaletteOrSaysWhyNot) {
    const std::string good = std::string(VIVARK_TEST_DATA) + "/formats/bmp/good/";
    const struct {
        std::string input;
        int status;
        const char* message;  // part of the error text; null: success
    } cases[] = {
        {good + "netpbm-os2-8.bmp", 0, nullptr},
        {good + "mono.pbm", 0, nullptr},
        {good + "netpbm-os2-24.bmp", 1, "has no palette (24 bits per pixel)"},
        {good + "README.md", 1, "Unrecognized file format"},
    };
    test::TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.input);
        const std::string output = (dir / "out.pal").string();
        std::string err;
        EXPECT_EQ(runTool({"palette", "export", c.input, output}, &err), c.status);
        if (c.message) {
            EXPECT_NE(err.find(c.message), std::string::npos) << err;
            EXPECT_FALSE(std::filesystem::exists(output));
            continue;
        }
        Image image;
        ASSERT_TRUE(loadFile(image, c.input, {}).completed);
        const PaletteColours written = readPaletteFile(output);
        EXPECT_EQ(written.count, paletteOf(image)->count);
        EXPECT_TRUE(std::equal(written.entries.begin(), written.entries.begin() + written.count,
                               image.palette.entries.begin()));
        std::filesystem::remove(output);
    }
}

}  // namespace
}  // namespace vivark
