// Safe output names; see SafeName.h.
#include "textimg/SafeName.h"

#include <array>
#include <cctype>

namespace vivark::textimg {
namespace {

bool isDeviceName(std::string_view name) {
    const std::string_view stem = name.substr(0, name.find('.'));
    std::string upper;
    for (char c : stem) upper += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    while (!upper.empty() && upper.back() == ' ') upper.pop_back();
    static constexpr std::array<std::string_view, 6> kFixed = {"CON", "PRN",    "AUX",
                                                               "NUL", "CLOCK$", "CONIN$"};
    for (std::string_view device : kFixed)
        if (upper == device) return true;
    if (upper == "CONOUT$") return true;
    if (upper.size() == 4 && (upper.starts_with("COM") || upper.starts_with("LPT")) &&
        upper[3] >= '0' && upper[3] <= '9')
        return true;
    return false;
}

}  // namespace

std::string safeFileName(std::string_view name, std::string_view fallback) {
    const size_t cut = name.find_last_of("/\\:");
    if (cut != std::string_view::npos) name.remove_prefix(cut + 1);
    std::string result;
    for (char c : name) {
        const auto u = static_cast<unsigned char>(c);
        if (u < 0x20 || u == 0x7F) continue;
        if (c == '*' || c == '?' || c == '"' || c == '<' || c == '>' || c == '|') c = '_';
        result += c;
    }
    size_t lead = 0;
    while (lead < result.size() && (result[lead] == '.' || result[lead] == ' ')) ++lead;
    result.erase(0, lead);
    while (!result.empty() && (result.back() == '.' || result.back() == ' ')) result.pop_back();
    if (result.size() > 255) result.resize(255);
    if (result.empty()) return std::string(fallback);
    if (isDeviceName(result)) return "_" + result;
    return result;
}

}  // namespace vivark::textimg
