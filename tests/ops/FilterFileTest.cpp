// Filter files byte for byte: trimming on writing, the refusals on reading
// with their messages, what acceptance checks, and a file applied as read.
#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "ops/FilterFile.h"
#include "support/TempDir.h"

namespace vivark {
namespace {

constexpr uint32_t kCentre = kFilterMaxSize / 2;

std::string written(const FilterGrid& grid) {
    test::TempDir dir;
    EXPECT_TRUE(writeFilterFile((dir / "f.flt").string(), grid));
    return test::readWholeFile(dir / "f.flt");
}

// A grid with the given cells set around the centre (dx, dy from it).
FilterGrid gridWith(std::initializer_list<std::tuple<int, int, const char*>> cells) {
    FilterGrid grid;
    grid.name = "test";
    for (auto [dx, dy, text] : cells) grid.cell(kCentre + dx, kCentre + dy) = text;
    return grid;
}

TEST(FilterFile, WritingTrimsEmptyOuterRingsSymmetrically) {
    const struct {
        const char* name;
        FilterGrid grid;
        const char* bytes;
    } cases[] = {
        {"sharpen, the outer rings empty or zero",
         gridWith({{0, -1, "-1"},
                   {-1, 0, "-1"},
                   {0, 0, "5"},
                   {1, 0, "-1"},
                   {0, 1, "-1"},
                   {-3, -3, "0"},
                   {2, 2, "0.0"}}),
         "Vivark Filter\r\n3 3\r\n0\r\n1 0\r\n0 -1 0\r\n-1 5 -1\r\n0 -1 0\r\n"},
        {"only zeros", gridWith({}), "Vivark Filter\r\n1 1\r\n0\r\n1 0\r\n0\r\n"},
        {"a weight in the leftmost column keeps the full width",
         gridWith({{-int(kCentre), 0, "2"}}),
         "Vivark Filter\r\n9 1\r\n0\r\n1 0\r\n2 0 0 0 0 0 0 0 0\r\n"},
        {"width and height trim apart", gridWith({{-1, 0, "1"}, {0, 2, "7"}}),
         "Vivark Filter\r\n3 5\r\n0\r\n1 0\r\n0 0 0\r\n0 0 0\r\n1 0 0\r\n0 0 0\r\n0 7 0\r\n"},
    };
    for (const auto& c : cases) EXPECT_EQ(written(c.grid), c.bytes) << c.name;

    FilterGrid edge = gridWith({{0, 0, "1"}});
    edge.absoluteValue = true;
    edge.divisor = "-4";
    edge.bias = "128";
    EXPECT_EQ(written(edge), "Vivark Filter\r\n1 1\r\n1\r\n-4 128\r\n1\r\n");
}

TEST(FilterFile, ReadingRefusesEvenAndOversizedFiltersWithTheirMessages) {
    const struct {
        const char* bytes;
        std::optional<FILTERERROR> error;
        const char* text;
    } cases[] = {
        {"anything\r\n4 3\r\n0\r\n1 0\r\n", FILTERERROR::EvenDimensions,
         "Filter dimensions must be odd (Filter has dimensions 4x3)"},
        {"Vivark Filter\r\n3 10\r\n", FILTERERROR::EvenDimensions,
         "Filter dimensions must be odd (Filter has dimensions 3x10)"},
        {"Vivark Filter\r\n11 3\r\n", FILTERERROR::TooLarge,
         "Filter too large (Filter has dimensions 11x3)"},
        {"Vivark Filter\r\nx\r\n", FILTERERROR::EvenDimensions,
         "Filter dimensions must be odd (Filter has dimensions 0x0)"},
        {"not even a signature\r\n3 3\r\n0\r\n1 0\r\n1 1 1\r\n1 1 1\r\n1 1 1", std::nullopt, ""},
    };
    test::TempDir dir;
    for (const auto& c : cases) {
        FilterGrid grid = gridWith({{0, 0, "kept"}});
        const auto failure = readFilterFile(dir.write("f.flt", c.bytes).string(), grid);
        ASSERT_EQ(failure.has_value(), c.error.has_value()) << c.bytes;
        if (!failure) continue;
        EXPECT_EQ(failure->error, *c.error);
        EXPECT_EQ(filterFailureText(*failure), c.text);
        EXPECT_EQ(grid.cell(kCentre, kCentre), "kept") << "a refused file leaves the grid";
    }
}

TEST(FilterFile, ReadBackGivesTheGridAndTheFilter) {
    test::TempDir dir;
    FilterGrid grid = gridWith({{-1, -1, "1"},
                                {0, -1, "0"},
                                {1, -1, "0"},
                                {-1, 0, "0"},
                                {0, 0, "-8"},
                                {1, 0, "0"},
                                {-1, 1, "0"},
                                {0, 1, "0"},
                                {1, 1, "3"}});
    grid.divisor = std::string("2");
    grid.bias = "-5";
    grid.absoluteValue = true;
    const std::string path = (dir / "My Edges.flt").string();
    ASSERT_TRUE(writeFilterFile(path, grid));
    const auto loaded = loadFilterFile(path);
    ASSERT_TRUE(std::holds_alternative<ConvolutionFilter>(loaded));
    const auto& f = std::get<ConvolutionFilter>(loaded);
    EXPECT_EQ(f.width, 3u);
    EXPECT_EQ(f.height, 3u);
    EXPECT_EQ(f.weights, (std::vector<int32_t>{1, 0, 0, 0, -8, 0, 0, 0, 3}));
    EXPECT_EQ(f.divisor, 2);
    EXPECT_EQ(f.bias, -5);
    EXPECT_TRUE(f.absoluteValue);
    FilterGrid read;
    ASSERT_FALSE(readFilterFile(path, read));
    EXPECT_EQ(read.name, "My Edges");
    EXPECT_EQ(read.cells, grid.cells);
}

TEST(FilterFile, AcceptanceNamesWhatIsWrong) {
    const struct {
        const char* name;
        const char* divisor;
        const char* weight;
        FILTERERROR error;
        const char* text;
    } cases[] = {
        {"", "1", "1", FILTERERROR::NoName, "No filter name specified"},
        {"f", "0", "1", FILTERERROR::ZeroDivisor, "Divisor must not be zero"},
        {"f", "1", "1.5", FILTERERROR::BadWeight, nullptr},
        {"f", "1", "10000", FILTERERROR::BadWeight, nullptr},
        {"f", "x", "1", FILTERERROR::BadWeight, nullptr},
    };
    for (const auto& c : cases) {
        FilterGrid grid = gridWith({{0, 0, c.weight}});
        grid.name = c.name;
        grid.divisor = c.divisor;
        const auto result = acceptFilter(grid);
        ASSERT_TRUE(std::holds_alternative<FilterFailure>(result)) << c.weight;
        EXPECT_EQ(std::get<FilterFailure>(result).error, c.error);
        if (c.text) {
            EXPECT_EQ(filterFailureText(std::get<FilterFailure>(result)), c.text);
        }
    }
}

}  // namespace
}  // namespace vivark
