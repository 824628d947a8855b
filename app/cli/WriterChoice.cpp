// Writer lookup by name or extension, and the names of formats read only.
#include "app/cli/WriterChoice.h"

#include <filesystem>

#include "formats/FormatTable.h"
#include "formats/SaveDispatch.h"

namespace vivark::cli {
namespace {

// The usual file extensions of formats that are read but not written, with
// the name a user knows them by. The name is the registry entry's, except
// where one entry reads several formats (the bitmap family's icons).
struct ReadOnlyName {
    std::string_view extension;
    FormatTag tag;
    std::string_view name;  // empty: the entry's own name
};
constexpr ReadOnlyName kReadOnlyNames[] = {
    {"tif", makeTag("TIFF"), {}},
    {"tiff", makeTag("TIFF"), {}},
    {"psd", makeTag("PSD "), {}},
    {"pcd", makeTag("PCD "), {}},
    {"iff", makeTag("IFF "), {}},
    {"lbm", makeTag("IFF "), {}},
    {"sgi", makeTag("SGI "), {}},
    {"rgb", makeTag("SGI "), {}},
    {"ras", makeTag("RAS "), {}},
    {"sun", makeTag("RAS "), {}},
    {"fits", makeTag("FITS"), {}},
    {"fit", makeTag("FITS"), {}},
    {"fts", makeTag("FITS"), {}},
    {"xpm", makeTag("XPM "), {}},
    {"xwd", makeTag("XWD "), {}},
    {"wbmp", makeTag("WBMP"), {}},
    {"wpg", makeTag("WPG "), {}},
    {"msp", makeTag("MSP "), {}},
    {"mac", makeTag("PNTG"), {}},
    {"pntg", makeTag("PNTG"), {}},
    {"img", makeTag("GEMP"), {}},
    {"sff", makeTag("SFF "), {}},
    {"pic", makeTag("PIC "), {}},
    {"rle", makeTag("RLEC"), {}},
    {"ico", makeTag("BMP "), "Windows Icon"},
    {"cur", makeTag("BMP "), "Windows Cursor"},
};

bool sameIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
        if (lower(a[i]) != lower(b[i])) return false;
    }
    return true;
}

std::string cannotBeWritten(std::string_view name) {
    return std::string(name) + " cannot be written";
}

// The name of a known format that has no writer, or empty.
std::string_view readOnlyName(std::string_view extensionOrName) {
    for (const ReadOnlyName& known : kReadOnlyNames) {
        if (!sameIgnoringCase(known.extension, extensionOrName)) continue;
        if (!known.name.empty()) return known.name;
        if (const FormatEntry* entry = findFormatEntry(known.tag)) return entry->name;
    }
    for (const FormatEntry* entry : formatTable())
        if (sameIgnoringCase(entry->name, extensionOrName)) return entry->name;
    return {};
}

}  // namespace

WriterChoice chooseWriter(std::string_view formatName, std::string_view outputPath) {
    if (!formatName.empty()) {
        if (const WriterEntry* writer = findWriterByName(formatName)) return {writer, {}};
        if (std::string_view known = readOnlyName(formatName); !known.empty())
            return {nullptr, cannotBeWritten(known), true};
        return {nullptr, "unknown format '" + std::string(formatName) + "'"};
    }
    std::string extension = std::filesystem::path(outputPath).extension().string();
    if (!extension.empty()) extension.erase(0, 1);
    if (const WriterEntry* writer = findWriterByExtension(extension)) return {writer, {}};
    if (std::string_view known = readOnlyName(extension); !known.empty() && !extension.empty())
        return {nullptr, cannotBeWritten(known), true};
    return {nullptr, "cannot tell the format from '" + std::string(outputPath) + "'; use --to"};
}

}  // namespace vivark::cli
