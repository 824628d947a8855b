// Fuzzes the Seattle FilmWorks reader (the marker restoration in front of the
// JFIF reader) over arbitrary bytes. The last input byte picks the InFile
// buffer size (1 to 256 bytes); the rest is in fuzz/ReaderFuzz.h.
#include <cstdint>
#include <span>

#include "formats/jpeg/SfwReader.h"
#include "fuzz/ReaderFuzz.h"

using namespace vivark;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    return fuzz::readImage(std::span<const uint8_t>(data, size - 1), size_t{data[size - 1]} + 1, 1,
                           makeSfwReader);
}
