// Finding a setting the way people name it, and checking a value against the
// range its option has.
//
// A save option can be named by its full key ("SaveOptions\JFIF\Quality"),
// without the "SaveOptions\" prefix ("JFIF\Quality"), or through the writer's
// menu or short name ("jpg\Quality", "JPEG File Interchange Format\Quality").
// An unknown key is answered with the nearest valid ones. Integer options
// whose meaning has a range (a quality in percent, a palette index) refuse a
// value outside it with a message that gives the range.
#pragma once

#include <string>
#include <string_view>

#include "core/settings/Setting.h"

namespace vivark::cli {

// The setting `key` names: any setting by its key, or a save option by the
// shorter forms above; null when none.
const settings::SettingRef* findNamedSetting(std::string_view key);

// "did you mean A, B or C?" with the keys nearest to `key` (by edit distance,
// ignoring case); save options only when `saveOptionsOnly`.
std::string nearestKeys(std::string_view key, bool saveOptionsOnly);

// Empty when `text` is within the setting's range (or the setting has none),
// else "must be from 1 to 100". Texts that are not numbers are left to the
// setting's own parser.
std::string rangeProblem(const settings::SettingRef& setting, std::string_view text);

// A --set assignment "KEY=VALUE" checked and rewritten with the full key;
// on failure `problem` says why and the result is empty.
std::string checkedAssignment(std::string_view assignment, std::string& problem);

}  // namespace vivark::cli
