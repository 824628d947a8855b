// How people read and write setting values: the text forms that the
// "vivark settings" command prints and accepts.
//
//   boolean  "yes" / "no"; accepts yes, no, 1, 0 (any case)
//   integer  decimal; accepts decimal or 0x and up to 8 hex digits
//     tag    the four characters ("BMP "); accepts four characters or a number
//     colour 0xRRGGBB; accepts 0xRRGGBB, #RRGGBB or any number
//   real     the shortest decimal that reads back as the same double; accepts
//            a finite decimal number
//   text     the text as it stands
//
// Nothing here touches the store except currentText and setFromText, which go
// through the setting.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "app/settings/SettingKeys.h"

namespace vivark::settings {

std::string_view kindName(SettingKind kind);

std::string formatBool(bool value);
std::string formatInteger(uint32_t value, IntegerFormat format);
std::string formatReal(double value);

std::optional<bool> parseBool(std::string_view text);
std::optional<uint32_t> parseInteger(std::string_view text, IntegerFormat format);
std::optional<double> parseReal(std::string_view text);

// What a value of the setting's kind looks like, for messages:
// "a boolean (yes, no, 1 or 0)".
std::string expectedForm(const SettingRef& setting);

std::string defaultText(const SettingRef& setting);
std::string currentText(const SettingRef& setting);

enum class SetFromText {
    Stored,     // the setting holds the value and so does the store
    NotStored,  // the setting holds the value; the store could not be written
    BadValue,   // the text is not a value of the setting's kind; nothing changed
};
SetFromText setFromText(const SettingRef& setting, std::string_view text);

}  // namespace vivark::settings
