// Lookup and update of the in-memory settings hierarchy.
#include "core/settings/SettingsTree.h"

#include <algorithm>

namespace vivark::settings {
namespace {

char lowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

bool CaseInsensitiveLess::operator()(std::string_view a, std::string_view b) const {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return static_cast<unsigned char>(lowerAscii(x)) <
               static_cast<unsigned char>(lowerAscii(y));
    });
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return lowerAscii(x) == lowerAscii(y);
           });
}

std::optional<StoredValue> SettingsTree::find(std::string_view subkey,
                                              std::string_view name) const {
    auto values = subkeys_.find(subkey);
    if (values == subkeys_.end()) return std::nullopt;
    auto value = values->second.find(name);
    if (value == values->second.end()) return std::nullopt;
    return value->second;
}

bool SettingsTree::set(std::string_view subkey, std::string_view name, const StoredValue& value) {
    auto values = subkeys_.find(subkey);
    if (values == subkeys_.end()) values = subkeys_.emplace(std::string(subkey), Values{}).first;
    auto existing = values->second.find(name);
    if (existing == values->second.end()) {
        values->second.emplace(std::string(name), value);
        return true;
    }
    if (existing->second == value) return false;
    existing->second = value;
    return true;
}

bool SettingsTree::erase(std::string_view subkey, std::string_view name) {
    auto values = subkeys_.find(subkey);
    if (values == subkeys_.end()) return false;
    auto existing = values->second.find(name);
    if (existing == values->second.end()) return false;
    values->second.erase(existing);
    if (values->second.empty()) subkeys_.erase(values);
    return true;
}

}  // namespace vivark::settings
