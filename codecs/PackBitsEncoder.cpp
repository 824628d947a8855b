// PackBits encoding; see PackBitsEncoder.h for the fixed output shape.
#include "codecs/PackBitsEncoder.h"

namespace vivark {

void PackBitsEncoder::encode(const uint8_t* buffer, size_t length) {
    ByteSink& sink = *sink_;
    while (length > 0) {
        const size_t chunk = length < 128 ? length : 128;
        size_t count = 1;
        if (length > 1) {
            // Bytes from the start equal to their successor, within the chunk.
            while (count < chunk && buffer[count] == buffer[0]) ++count;
            sink.putByte(static_cast<uint8_t>(1 - static_cast<int>(count)));
            sink.putByte(buffer[0]);
        } else {
            // The last byte of the input: a literal of one.
            sink.putByte(0);
            sink.putByte(buffer[0]);
        }
        buffer += count;
        length -= count;
    }
}

}  // namespace vivark
