// Palette and filter files from the bytes: the first byte chooses the
// reader, the rest is the file. A palette must come back with 1..256
// entries; a filter that reads and is accepted is run over a small picture.
// The readers' own failures (PALERROR, INFILEERROR) are expected; anything
// else escapes and is reported.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <variant>

#include "core/Errors.h"
#include "ops/FilterFile.h"
#include "ops/PaletteFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace vivark;
    if (size < 1) return 0;
    auto file = InFile::overMemory(std::span(data + 1, size - 1));
    try {
        if (data[0] % 2 == 0) {
            const PaletteColours palette = readPalette(*file);
            if (palette.count < 1 || palette.count > 256) std::abort();
            return 0;
        }
        FilterGrid grid;
        if (readFilter(*file, "fuzz", grid)) return 0;
        const auto accepted = acceptFilter(grid);
        if (const auto* filter = std::get_if<ConvolutionFilter>(&accepted)) {
            Image picture(5, 3, 24);
            for (uint32_t y = 0; y < 3; ++y)
                for (uint32_t i = 0; i < 15; ++i) picture.plane.mutableRow(y)[i] = uint8_t(i * 17);
            if (!convolve(picture, *filter)) std::abort();
        }
    } catch (PALERROR) {
    } catch (INFILEERROR) {
    }
    return 0;
}
