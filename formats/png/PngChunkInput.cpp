// Chunk headers, data and CRC checks of the PNG reader.
#include "formats/png/PngChunkInput.h"

#include <algorithm>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "formats/png/PngFormat.h"

namespace vivark::png {

uint32_t ChunkInput::begin() {
    uint8_t header[8];
    file_.read(header, sizeof header);
    length_ = left_ = loadBE32(header);
    type_ = loadBE32(header + 4);
    crc_.reset();
    crc_.update(header + 4, 4);
    return type_;
}

void ChunkInput::read(uint8_t* destination, size_t count) {
    file_.read(destination, count);
    took(destination, count);
}

void ChunkInput::end() {
    while (left_ != 0) {
        if (file_.window().empty()) file_.refill();
        const auto window = file_.window();
        const size_t n = std::min<size_t>(window.size(), left_);
        took(window.data(), n);
        file_.consume(n);
    }
    if (file_.readBE32() != crc_.value()) throw PNGERROR::BadCrc;
}

}  // namespace vivark::png
