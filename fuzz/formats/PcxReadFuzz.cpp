// Fuzzes the PCX and DCX readers over arbitrary bytes. The last input byte
// picks the InFile buffer size, the byte before it the reader (bit 0: DCX)
// and the DCX page; the rest is in fuzz/ReaderFuzz.h.
#include <cstdint>
#include <span>

#include "formats/pcx/PcxReader.h"
#include "fuzz/ReaderFuzz.h"

using namespace vivark;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const uint8_t choice = data[size - 2];
    return fuzz::readImage(std::span<const uint8_t>(data, size - 2), size_t{data[size - 1]} + 1,
                           (choice >> 1) + 1u, [choice](InFile& file) {
                               return (choice & 1) != 0 ? makeDcxReader(file) : makePcxReader(file);
                           });
}
