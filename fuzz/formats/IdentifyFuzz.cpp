// Fuzzes identification: the probe of the format table and the loader's
// fallback search (MacBinary, embedded images) over arbitrary bytes. The last
// input byte picks the InFile's buffer size (so headers straddle refills
// everywhere) and the load mode. Nothing but a read failure other than the end
// of the data may leave the probe, a match must leave the stream at the
// image's origin, and the same bytes must be identified alike at every
// buffer size.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "core/Errors.h"
#include "core/Image.h"
#include "core/InFile.h"
#include "formats/FormatTable.h"
#include "formats/Loader.h"

using namespace vivark;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t options = data[size - 1];
    std::span<const uint8_t> bytes(data, size - 1);
    const size_t bufferSize = (options & 0x3F) * 13 + 1;

    FormatInfo small, whole;
    const FormatEntry* inSmall = nullptr;
    const FormatEntry* inWhole = nullptr;
    try {
        auto file = InFile::overMemory(bytes, bufferSize);
        inSmall = identifyFormat(*file, &small);
        if (file->tell() != 0) std::abort();
        auto reference = InFile::overMemory(bytes);
        inWhole = identifyFormat(*reference, &whole);

        const int32_t loadMode = (options & 0x40) ? 1 : 0;
        FormatInfo found;
        auto search = InFile::overMemory(bytes, bufferSize);
        if (findFormat(*search, loadMode, &found) != nullptr) {
            if (search->tell() != 0 || search->origin() < 0) std::abort();
            if (search->origin() > static_cast<int64_t>(bytes.size())) std::abort();
        } else if (search->origin() != 0) {
            std::abort();
        }
    } catch (...) {
        std::abort();  // memory streams fail only by running out, which the probe absorbs
    }
    if (inSmall != inWhole) std::abort();
    if (inSmall != nullptr &&
        (small.width != whole.width || small.height != whole.height ||
         small.bitsPerPixel != whole.bitsPerPixel || small.formatTag != whole.formatTag)) {
        std::abort();
    }
    return 0;
}
