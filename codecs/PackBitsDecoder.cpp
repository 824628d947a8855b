// PackBits decoding, one caller unit per call; see PackBitsDecoder.h.
#include "codecs/PackBitsDecoder.h"

#include "core/Errors.h"

namespace vivark {

void PackBitsDecoder::decode(uint8_t* buffer, size_t length) {
    ByteSource& source = *source_;
    size_t remaining = length;
    while (remaining != 0) {
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
