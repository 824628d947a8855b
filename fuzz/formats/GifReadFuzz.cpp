// Fuzzes the GIF reader over arbitrary bytes. The last input byte picks the
// InFile buffer size (low 5 bits, 1 to 32 bytes, so sub-blocks straddle
// refills) and the page to compose (high 3 bits, 1 to 8); pixel memory is
// capped at 64 MiB through the read limits, and every pixel and palette byte
// of a decoded image is touched so MemorySanitizer sees it.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "core/Errors.h"
#include "core/InFile.h"
#include "formats/gif/GifReader.h"

using namespace vivark;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t control = data[size - 1];
    auto file =
        InFile::overMemory(std::span<const uint8_t>(data, size - 1), size_t{control & 31u} + 1);
    ReadOptions options;
    options.limits.maxBytes = 64u << 20;
    Image image;
    image.pageNumber = (control >> 5) + 1u;
    try {
        makeGifReader(*file)->read(image, options);
    } catch (GIFERROR) {
        return 0;
    } catch (LZWERROR) {
        return 0;
    } catch (INFILEERROR) {
        return 0;
    } catch (IMAGEERROR) {
        return 0;
    }
    uint32_t sum = 0;
    for (uint32_t i = 0; i < image.plane.dataSize(); ++i) sum += image.plane.data()[i];
    for (Colour c : image.palette.entries) sum += c;
    if (image.plane.dataSize() > options.limits.maxBytes) std::abort();
    for (const InfoItem& item : image.info) sum += static_cast<uint32_t>(item.valueText().size());
    return static_cast<int>(sum & 0);
}
