// Fuzzes the Photo CD residual decoder on its own: an image pack's residual
// sections lie megabytes into the file, out of reach of the readers' harness.
//
// The first input byte is the control: bit 0 picks one code table (luma
// only) or three, bits 1-2 the plane size (16 x 8 up to 128 x 64); the rest
// is the section, tables first. The planes start grey, so every residual
// lands on a known value and the sanitizers see any write out of bounds.
#include <cstdint>
#include <exception>

#include "formats/pcd/PcdResidual.h"

using namespace vivark;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const uint8_t control = data[0];
    PcdPlanes planes;
    planes.width = 16u << ((control >> 1) & 3);
    planes.height = planes.width / 2;
    planes.luma.assign(size_t{planes.width} * planes.height, 128);
    planes.chroma1.assign(size_t{planes.chromaWidth()} * planes.chromaHeight(), 128);
    planes.chroma2 = planes.chroma1;
    auto file = InFile::overMemory({data + 1, size - 1}, 64);
    try {
        addPcdResiduals(*file, size - 1, (control & 1) ? 3 : 1, planes, nullptr);
    } catch (const std::exception&) {
        throw;
    } catch (...) {
    }
    return 0;
}
