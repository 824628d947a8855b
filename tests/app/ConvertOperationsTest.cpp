// The operation chain of "vivark convert": the resize box rules on the
// 100 x 50 examples, the steps running in the order given and each being the
// operation it names, bad arguments as usage errors, and the help listing
// every operation.
#include <gtest/gtest.h>

#include <functional>
#include <sstream>

#include "app/cli/Cli.h"
#include "app/cli/ConvertOperations.h"
#include "formats/Loader.h"
#include "formats/SaveDispatch.h"
#include "formats/SaveOptions.h"
#include "ops/ColourAdjust.h"
#include "ops/ColourDepth.h"
#include "ops/Convolution.h"
#include "ops/Crop.h"
#include "ops/FilterFile.h"
#include "ops/Mirror.h"
#include "ops/PaletteFile.h"
#include "ops/Resize.h"
#include "ops/Rotate.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

// A 100 x 50 picture with no pure red in it, saved as a pixmap.
struct Input {
    TempDir dir;
    Image image = patternImage(100, 50, 24);
    std::string path = (dir / "in.ppm").string();
    Input() {
        for (uint32_t y = 0; y < 50; ++y)
            for (uint32_t x = 0; x < 100; ++x) image.plane.mutableRow(y)[3 * x + 1] |= 1;
        StoredSaveOptions options;
        saveImage(image, path, *findWriterByName("ppm"), options);
    }
    Image convert(std::vector<std::string> operations, const char* name = "out.ppm") {
        std::vector<std::string> args{"convert", path, (dir / name).string()};
        args.insert(args.end(), operations.begin(), operations.end());
        std::string err;
        EXPECT_EQ(test::runVivark(args, nullptr, &err), 0) << err;
        Image result;
        EXPECT_TRUE(loadFile(result, dir / name, ReadOptions{}).completed);
        return result;
    }
};

bool rowIs(const Image& image, uint32_t y, Colour colour) {
    for (uint32_t x = 0; x < image.width(); ++x)
        if (colourAt(image, x, y) != colour) return false;
    return true;
}

TEST(ConvertOperations, ResizeFitsStretchesOrLetterboxesTheBox) {
    Input input;
    const Colour red = rgb(255, 0, 0);
    const struct {
        std::vector<std::string> args;
        uint32_t width, height;
        uint32_t top, content;  // letterbox: first content row and content rows
    } cases[] = {
        {{"--resize", "60x60", "--letterbox", "--fill", "#ff0000"}, 60, 60, 15, 30},
        {{"--resize", "33x60", "--letterbox", "--fill", "red"}, 33, 60, 21, 17},
        {{"--resize", "60x60", "--letterbox", "--fill", "red", "--point"}, 60, 60, 15, 30},
        {{"--resize", "60x60"}, 60, 30, 0, 30},
        {{"--resize", "33x60", "--proportional"}, 33, 17, 0, 17},
        {{"--resize", "60x60", "--stretch"}, 60, 60, 0, 60},
        {{"--resize", "50%"}, 50, 25, 0, 25},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.args));
        const Image result = input.convert(c.args);
        ASSERT_EQ(result.width(), c.width);
        ASSERT_EQ(result.height(), c.height);
        for (uint32_t y = 0; y < c.height; ++y)
            EXPECT_EQ(rowIs(result, y, red), y < c.top || y >= c.top + c.content) << y;
    }
}

// Each step is the operation it names, applied in the order given.
TEST(ConvertOperations, StepsRunInTheOrderGiven) {
    Input input;
    using Step = std::function<OpResult(const Image&)>;
    const Step cw = [](const Image& i) { return turnClockwise(i); };
    const Step ccw = [](const Image& i) { return turnAnticlockwise(i); };
    const Step mirrorRow = [](const Image& i) { return mirror(i, {false, true}); };
    const Step flip = [](const Image& i) { return mirror(i, {true, false}); };
    const Step squash = [](const Image& i) { return resizeResampled(i, {10, 20, 0, 0}); };
    const Step rotate = [](const Image& i) { return rotatePoint(i, {30 * kAngleUnitsPerDegree}); };
    const Step tilt = [](const Image& i) {
        return rotateResampled(i, {-10 * kAngleUnitsPerDegree, rgb(0, 0, 255), false});
    };
    // The files the file-driven steps read.
    PaletteColours palette;
    palette.count = 3;
    palette.entries[0] = rgb(10, 20, 30), palette.entries[1] = rgb(200, 100, 0);
    palette.entries[2] = rgb(255, 255, 255);
    const std::string paletteFile = (input.dir / "three.pal").string();
    ASSERT_TRUE(writePaletteFile(paletteFile, palette));
    FilterGrid grid;
    grid.name = "edges";
    for (uint32_t row = 3; row < 6; ++row)
        for (uint32_t column = 3; column < 6; ++column)
            grid.cell(column, row) = row == 4 && column == 4 ? "8" : "-1";
    grid.absoluteValue = true;
    const std::string filterFile = (input.dir / "edges.flt").string();
    ASSERT_TRUE(writeFilterFile(filterFile, grid));
    const ConvolutionFilter edges = std::get<ConvolutionFilter>(acceptFilter(grid));

    const Step cropped = [](const Image& i) { return crop(i, {10, 5, 40, 20}); };
    const auto the = [](auto function, auto parameters) {
        return Step([=](const Image& i) { return function(i, parameters, nullptr, Limits{}); });
    };
    const struct {
        std::vector<std::string> args;
        std::vector<Step> steps;
    } cases[] = {
        {{"--turn", "cw", "--crop", "10,5,40,20"}, {cw, cropped}},
        {{"--crop", "10,5,40,20", "--turn", "cw"}, {cropped, cw}},
        {{"--turn", "cw", "--resize", "10x20", "--stretch"}, {cw, squash}},
        {{"--resize", "10x20", "--stretch", "--turn", "cw"}, {squash, cw}},
        {{"--mirror", "--turn", "ccw"}, {mirrorRow, ccw}},
        {{"--turn", "ccw", "--mirror"}, {ccw, mirrorRow}},
        {{"--flip", "--mirror", "--turn", "180"}, {}},
        {{"--mirror", "--flip", "--mirror"}, {flip}},
        {{"--point", "--rotate", "30"}, {rotate}},
        {{"--rotate", "-10", "--fill", "0x0000FF"}, {tilt}},
        {{"--brightness", "20", "--contrast", "-30"},
         {the(adjustBrightnessContrastColour, BrightnessContrastColour{20, 0, 0}),
          the(adjustBrightnessContrastColour, BrightnessContrastColour{0, -30, 0})}},
        {{"--color", "40", "--rgb", "10,-10,5"},
         {the(adjustBrightnessContrastColour, BrightnessContrastColour{0, 0, 40}),
          the(adjustRgbBalance, RgbBalance{10, -10, 5})}},
        {{"--gamma", "1.8", "--negative", "--solarize", "100"},
         {the(adjustGamma, GammaCorrection{1.8}), the(negative, Negative{}),
          the(solarize, Solarize{100})}},
        {{"--bw", "100"}, {the(toBlackAndWhite, BlackWhite{100})}},
        {{"--grey", "--deep-color"},
         {the(toGreyscale, Greyscale{}), the(toDeepColour, DeepColour{})}},
        {{"--blur", "50", "--soften", "30", "--sharpen", "60"},
         {the(blur, FilterStrength{50}), the(soften, FilterStrength{30}),
          the(sharpen, FilterStrength{60})}},
        {{"--filter", filterFile}, {the(convolve, edges)}},
        {{"--palette-file", paletteFile}, {the(applyPalette, ApplyPalette{palette})}},
    };
    std::vector<Image> results;
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.args));
        Image expected = input.image;
        for (const Step& step : c.steps) expected = *step(expected);
        results.push_back(input.convert(c.args));
        EXPECT_TRUE(samePixels(results.back(), expected));
    }
    // The order shows: the reversed pairs above differ.
    EXPECT_FALSE(samePixels(results[0], results[1]));
    EXPECT_FALSE(samePixels(results[2], results[3]));
    EXPECT_FALSE(samePixels(results[4], results[5]));

    // The resolution step states what the saved file carries.
    input.convert({"--resolution", "300,150"}, "dpi.bmp");
    input.convert({"--resolution", "100:dpcm"}, "dpcm.bmp");
    Image dpi, dpcm;
    ASSERT_TRUE(loadFile(dpi, input.dir / "dpi.bmp", ReadOptions{}).completed);
    ASSERT_TRUE(loadFile(dpcm, input.dir / "dpcm.bmp", ReadOptions{}).completed);
    EXPECT_NEAR(dpi.resolution.x / dpi.resolution.y, 2.0, 0.01);
    EXPECT_NEAR(dpcm.resolution.x, dpcm.resolution.unit == ResolutionUnit::PerInch ? 254 : 10000,
                1);
}

TEST(ConvertOperations, BadArgumentsAreUsageErrorsAndTheHelpListsEveryOperation) {
    Input input;
    const std::vector<std::string> bad[] = {
        {"--resize", "60"},  {"--resize", "0x60"}, {"--resize", "60x"},
        {"--resize", "-5%"}, {"--rotate", "ten"},  {"--rotate", "40000"},
        {"--turn", "90"},    {"--fill", "mauve"},  {"--stretch", "--proportional"},
        {"--colors", "1"},   {"--crop", "1,2,3"},  {"--rgb", "1,2,300"},
        {"--gamma", "0"},    {"--blur", "0"},      {"--resolution", "72:dpm"},
    };
    for (const auto& args : bad) {
        SCOPED_TRACE(testing::PrintToString(args));
        std::vector<std::string> command{"convert", input.path, (input.dir / "bad.ppm").string()};
        command.insert(command.end(), args.begin(), args.end());
        std::string err;
        EXPECT_EQ(test::runVivark(command, nullptr, &err), 2);
        EXPECT_FALSE(err.empty());
        EXPECT_FALSE(std::filesystem::exists(input.dir / "bad.ppm"));
    }
    std::string help;
    ASSERT_EQ(test::runVivark({"convert", "--help"}, &help), 0);
    for (const cli::OperationEntry& entry : cli::operationTable())
        EXPECT_NE(help.find(entry.option), std::string::npos) << entry.option;
    for (const char* setting : {"--point", "--stretch", "--proportional", "--letterbox", "--fill"})
        EXPECT_NE(help.find(setting), std::string::npos) << setting;
}

}  // namespace
}  // namespace vivark
