// The format registry: one FormatEntry per format, the ordered table of them,
// and the probe that runs their identify tests.
//
// A FormatEntry is everything the rest of the system knows of one format,
// declared once in the format family's own folder (its *Descriptor.cpp):
// its names and tag, its identify test, the factory of its reader, how its
// error enumeration maps to messages, its writers and its save settings. The
// table (Registry.cpp) lists the entries in the probing order, where a file
// that two tests could accept goes to the earlier; a new format adds its
// folder and one line to formats/Registry.inc, and nothing else. The writer
// table, the save-option keys, the settings list and the loader's error
// mapping are all derived from the entries.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "core/FormatTag.h"
#include "core/InFile.h"
#include "core/Messages.h"
#include "core/settings/Setting.h"
#include "formats/FormatInfo.h"
#include "formats/ImageReader.h"
#include "formats/WriterEntry.h"

namespace vivark {

// How one error enumeration maps to messages. `current` answers for the
// exception in flight when it is of this enumeration's type and returns
// nothing otherwise; `valueCount` and `throwValue` let checks over the
// registry raise every value (0 to valueCount - 1) and see its message.
struct ErrorMapping {
    std::optional<MessageId> (*current)() noexcept = nullptr;
    uint32_t valueCount = 0;
    void (*throwValue)(uint32_t value) = nullptr;
};

// The mapping of enumeration E through `map`, a function that switches over
// E's named enumerators (so the compiler reports one that has no message);
// E's values are 0 to Count - 1.
template <typename E, MessageId (*map)(E), uint32_t Count>
constexpr ErrorMapping errorMapping() {
    return {[]() noexcept -> std::optional<MessageId> {
                try {
                    throw;
                } catch (E e) {
                    return map(e);
                } catch (...) {
                    return std::nullopt;
                }
            },
            Count, [](uint32_t value) { throw static_cast<E>(value); }};
}

struct FormatEntry {
    const char* name;     // "Graphics Interchange Format"
    FormatTag formatTag;  // the primary tag; the test may report a variant ("BMPW")
    // Null for a format that is written only (it takes no part in probing).
    bool (*identify)(InFile& file, FormatInfo* info) = nullptr;
    // Null while the format has no reader in this build.
    std::unique_ptr<ImageReader> (*create)(InFile& file) = nullptr;
    // The format's own error enumerations (its readers' and writers').
    std::span<const ErrorMapping> errors = {};
    // The formats this family writes under this entry ("Windows Bitmap" and
    // "OS/2 Bitmap" under the bitmap entry).
    std::span<const WriterEntry> writers = {};
    // The persistent options of those writers ("SaveOptions\\GIF\\Interlace").
    std::span<const settings::SettingRef> saveSettings = {};
};

// All entries in probing order (write-only entries last).
std::span<const FormatEntry* const> formatTable();

// The entry whose primary tag is `tag`, or null.
const FormatEntry* findFormatEntry(FormatTag tag);

// Runs the identify tests in table order from the file's origin and returns
// the first entry whose test accepts the file (filling `info` when it is not
// null), or null. Before each test the stream is repositioned to the origin;
// while the start is buffered only the read pointer moves, so probing costs
// about one buffer fill. A test that runs out of data (a file shorter than
// its header) simply fails and the later tests still run; other read
// failures propagate.
const FormatEntry* identifyFormat(InFile& file, FormatInfo* info);

}  // namespace vivark
