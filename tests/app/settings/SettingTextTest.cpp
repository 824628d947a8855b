// The value forms people type: what is accepted, what is refused.
#include "app/settings/SettingText.h"

#include <gtest/gtest.h>

namespace vivark::settings {
namespace {

struct IntegerCase {
    const char* text;
    IntegerFormat format;
    std::optional<uint32_t> expected;
};

TEST(SettingText, IntegerForms) {
    const IntegerCase cases[] = {
        {"4294967295", IntegerFormat::Number, 0xFFFFFFFF},
        {"0xFFFFFFFF", IntegerFormat::Number, 0xFFFFFFFF},
        {"4294967296", IntegerFormat::Number, std::nullopt},
        {"0x100000000", IntegerFormat::Number, std::nullopt},
        {"-1", IntegerFormat::Number, std::nullopt},
        {"0x", IntegerFormat::Number, std::nullopt},
        {" 1", IntegerFormat::Number, std::nullopt},
        {"#FF8000", IntegerFormat::Number, std::nullopt},
        {"BMP ", IntegerFormat::Number, std::nullopt},
        {"BMP ", IntegerFormat::Tag, 0x20504D42},
        {"1234", IntegerFormat::Tag, 0x34333231},  // four characters win over a number
        {"BMP", IntegerFormat::Tag, std::nullopt},
        {"#FF8000", IntegerFormat::Colour, 0xFF8000},
        {"0xFF8000", IntegerFormat::Colour, 0xFF8000},
        {"#FF800", IntegerFormat::Colour, std::nullopt},
        {"#FF80001", IntegerFormat::Colour, std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(parseInteger(c.text, c.format), c.expected) << '"' << c.text << '"';
}

TEST(SettingText, BooleanAndRealForms) {
    for (auto [text, value] : {std::pair{"YES", true}, {"1", true}, {"No", false}, {"0", false}})
        EXPECT_EQ(parseBool(text), value) << text;
    for (const char* refused : {"true", "on", "2", "", "yes "})
        EXPECT_EQ(parseBool(refused), std::nullopt) << refused;

    EXPECT_EQ(parseReal("2.2"), 2.2);
    EXPECT_EQ(parseReal("-0.5e1"), -5.0);
    for (const char* refused : {"nan", "inf", "1e400", "2.2x", "", "+1", ",5"})
        EXPECT_EQ(parseReal(refused), std::nullopt) << refused;
}

TEST(SettingText, PrintedFormsReadBack) {
    for (double value : {0.1, 2.2, 1.0 / 3.0, 1e-300, -1.0})
        EXPECT_EQ(parseReal(formatReal(value)), value);
    EXPECT_EQ(formatInteger(0x00000041, IntegerFormat::Tag), "0x00000041");  // not printable
    for (uint32_t value : {0u, 0xFF8000u, 0xFFFFFFFFu})
        for (IntegerFormat format :
             {IntegerFormat::Number, IntegerFormat::Tag, IntegerFormat::Colour})
            EXPECT_EQ(parseInteger(formatInteger(value, format), format), value);
}

}  // namespace
}  // namespace vivark::settings
