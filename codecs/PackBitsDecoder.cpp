// PackBits decoding, one caller unit per call; see PackBitsDecoder.h.
//
// While the source's window holds a whole packet of any size and the unit
// has room for one, packets are copied with fixed 128-byte moves (the bytes
// past a packet's end are overwritten by the next ones) and nothing is
// checked per packet but its header; near either end, one packet at a time
// with every bound checked.
#include "codecs/PackBitsDecoder.h"

#include "core/Errors.h"

namespace vivark {

void PackBitsDecoder::decode(uint8_t* buffer, size_t length) {
    ByteSource& source = *source_;
    size_t remaining = length;
    while (remaining != 0) {
        const uint8_t* in = source.cursor;
        const uint8_t* const inEnd = source.end;
        while (remaining >= 128 && inEnd - in > 129) {
            const uint8_t header = *in;
            if (header < 128) {
                const size_t count = size_t{header} + 1;
                std::memcpy(buffer, in + 1, 128);
                in += count + 1;
                buffer += count;
                remaining -= count;
            } else if (header > 128) {
                const size_t count = 257 - size_t{header};
                std::memset(buffer, in[1], 128);
                in += 2;
                buffer += count;
                remaining -= count;
            } else {
                ++in;
            }
        }
        source.cursor = in;
        if (remaining == 0) break;
        const uint8_t header = source.nextByte();
        if (header < 128) {
            const size_t count = size_t{header} + 1;
            if (count <= remaining) {
                source.read(buffer, count);
                buffer += count;
                remaining -= count;
                continue;
            }
            if (!tolerant_) throw PACKBITSERROR::Overrun;
            source.read(buffer, remaining);
            source.skip(count - remaining);
            return;
        }
        if (header == 128) continue;
        size_t count = 257 - size_t{header};
        if (count > remaining) {
            if (!tolerant_) throw PACKBITSERROR::Overrun;
            count = remaining;
        }
        std::memset(buffer, source.nextByte(), count);
        buffer += count;
        remaining -= count;
    }
}

}  // namespace vivark
