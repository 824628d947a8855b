// The format table: the entries of formats/Registry.inc in their order, and
// the probe over them.
#include "core/Errors.h"
#include "formats/FormatTable.h"

namespace vivark {

#define VIVARK_FORMAT(entry) extern const FormatEntry entry;
#include "formats/Registry.inc"
#undef VIVARK_FORMAT

namespace {

constexpr const FormatEntry* kFormats[] = {
#define VIVARK_FORMAT(entry) &entry,
#include "formats/Registry.inc"
#undef VIVARK_FORMAT
};

}  // namespace

std::span<const FormatEntry* const> formatTable() {
    return kFormats;
}

const FormatEntry* findFormatEntry(FormatTag tag) {
    for (const FormatEntry* entry : kFormats)
        if (entry->formatTag == tag) return entry;
    return nullptr;
}

const FormatEntry* identifyFormat(InFile& file, FormatInfo* info) {
    for (const FormatEntry* entry : kFormats) {
        if (entry->identify == nullptr) continue;
        file.rewind();
        FormatInfo found;
        bool accepted = false;
        try {
            accepted = entry->identify(file, &found);
        } catch (INFILEERROR error) {
            // A short file (or, for the text formats, a binary one) fails this
            // test only; any other read failure ends the probe.
            if (error != INFILEERROR::UnexpectedEnd && error != INFILEERROR::BinaryData) throw;
        }
        if (accepted) {
            if (info != nullptr) *info = found;
            file.rewind();
            return entry;
        }
    }
    file.rewind();
    return nullptr;
}

}  // namespace vivark
