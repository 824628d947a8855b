// Fuzzes the GIF reader over arbitrary bytes. The last input byte picks the
// InFile buffer size (low 5 bits, 1 to 32 bytes, so sub-blocks straddle
// refills) and the page to compose (high 3 bits, 1 to 8); the rest is in
// fuzz/ReaderFuzz.h.
#include <cstdint>
#include <span>

#include "formats/gif/GifReader.h"
#include "fuzz/ReaderFuzz.h"

using namespace vivark;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t control = data[size - 1];
    return fuzz::readImage(std::span<const uint8_t>(data, size - 1), size_t{control & 31u} + 1,
                           (control >> 5) + 1u, makeGifReader);
}
