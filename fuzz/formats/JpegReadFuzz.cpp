// Fuzzes the JFIF reader (through libjpeg) over arbitrary bytes. The last input byte picks the
// InFile buffer size (1 to 256 bytes, so refills fall everywhere); pixel
// memory is capped at 64 MiB through the read limits, and every pixel and
// palette byte of a decoded image is touched so MemorySanitizer sees it.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "core/Errors.h"
#include "core/InFile.h"
#include "formats/jpeg/JpegReader.h"

using namespace vivark;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const size_t bufferSize = size_t{data[size - 1]} + 1;
    auto file = InFile::overMemory(std::span<const uint8_t>(data, size - 1), bufferSize);
    ReadOptions options;
    options.limits.maxBytes = 64u << 20;
    Image image;
    try {
        makeJpegReader(*file)->read(image, options);
    } catch (JFIFERROR) {
        return 0;
    } catch (JPEGERROR) {
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
    return static_cast<int>(sum & 0);
}
