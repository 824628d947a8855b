// Identifies PNG files: the 8-byte signature, then chunks skipped to IHDR,
// whose width, height, bit depth and colour type are reported (the depth
// times 3 for colour types 2 and 6). Width, height and depth must be non-zero.
// A file that ends before IHDR fails in the InFile (INFILEERROR::UnexpectedEnd).
#include "formats/IdentifySupport.h"
#include "formats/png/PngFormat.h"

namespace vivark {

bool identifyPng(InFile& file, FormatInfo* info) {
    uint8_t signature[8];
    file.read(signature, sizeof signature);
    for (size_t i = 0; i < sizeof signature; ++i) {
        if (signature[i] != png::kSignature[i]) return false;
    }
    // However many chunks come before IHDR, the reader would skip them too;
    // the end of the file ends the walk.
    for (;;) {
        const uint32_t length = file.readBE32();
        const uint32_t type = file.readBE32();
        if (length > 0x7FFFFFFFu) return false;
        if (type == png::kIhdr) {
            uint8_t header[10];
            file.read(header, sizeof header);
            const uint32_t width = loadBE32(header);
            const uint32_t height = loadBE32(header + 4);
            const uint32_t depth = header[8];
            const uint8_t colourType = header[9];
            if (width == 0 || height == 0 || depth == 0) return false;
            const uint32_t bits =
                (colourType == png::kRgb || colourType == png::kRgba) ? depth * 3 : depth;
            if (info != nullptr && colourType <= png::kRgba) {
                static constexpr uint8_t kSamples[] = {1, 0, 3, 1, 2, 0, 4};
                info->samplesPerPixel = kSamples[colourType];
                info->bitsPerSample = static_cast<uint8_t>(depth);
                info->hasAlpha = colourType == png::kGreyAlpha || colourType == png::kRgba;
                info->indexed = colourType == png::kPaletted;
            }
            return accept(info, width, height, bits, png::kTag);
        }
        file.skip(uint64_t{length} + 4);  // data and CRC
    }
}

}  // namespace vivark
