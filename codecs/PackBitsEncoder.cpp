// PackBits encoding; see PackBitsEncoder.h for the fixed output shape. Every
// step writes two bytes, a header and a value: the header is 1 - n for a run
// of n equal bytes (0 for a lone byte, so a literal of one), n at most 128.
// The sink's write window is held in locals so the stores cannot alias it.
#include "codecs/PackBitsEncoder.h"

namespace vivark {

void PackBitsEncoder::encode(const uint8_t* buffer, size_t length) {
    ByteSink& sink = *sink_;
    uint8_t* out = sink.cursor;
    uint8_t* end = sink.end;
    const uint8_t* const inEnd = buffer + length;
    while (buffer != inEnd) {
        const size_t left = static_cast<size_t>(inEnd - buffer);
        const size_t chunk = left < 128 ? left : 128;
        const uint8_t value = buffer[0];
        size_t count = 1;
        while (count < chunk && buffer[count] == value) ++count;
        const uint8_t header = static_cast<uint8_t>(1 - static_cast<int>(count));
        if (end - out >= 2) {
            out[0] = header;
            out[1] = value;
            out += 2;
        } else {
            sink.cursor = out;
            sink.putByte(header);
            sink.putByte(value);
            out = sink.cursor;
            end = sink.end;
        }
        buffer += count;
    }
    sink.cursor = out;
}

}  // namespace vivark
