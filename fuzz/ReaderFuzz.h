// The body of the readers' fuzz harness: read one image from the bytes
// through an InFile of the chosen buffer size, within the caller's limits,
// and touch every pixel, palette entry and information item so the
// sanitizers see any byte the reader left unwritten.
//
// The error values of the system's own (plain enumerations) are the expected
// outcome of hostile input and end the run quietly. A standard exception
// (a logic error, an allocation the limits should have stopped) is a finding
// and escapes to the fuzzer, as does any crash.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <memory>
#include <span>

#include "core/InFile.h"
#include "formats/ImageReader.h"

namespace vivark::fuzz {

template <class MakeReader>
int readImage(std::span<const uint8_t> bytes, size_t bufferSize, const ReadOptions& options,
              MakeReader makeReader) {
    auto file = InFile::overMemory(bytes, bufferSize);
    Image image;
    try {
        makeReader(*file)->read(image, options);
    } catch (const std::exception&) {
        throw;
    } catch (...) {
        return 0;
    }
    if (image.plane.dataSize() > options.limits.maxBytes) std::abort();
    uint32_t sum = 0;
    for (uint32_t i = 0; i < image.plane.dataSize(); ++i) sum += image.plane.data()[i];
    for (Colour c : image.palette.entries) sum += c;
    for (const InfoItem& item : image.info) sum += static_cast<uint32_t>(item.valueText().size());
    return static_cast<int>(sum & 0);
}

}  // namespace vivark::fuzz
