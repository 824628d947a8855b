// The codec set-up of TIFF compressions and the NeXT and ThunderScan row
// decoders (see TiffCodecs.h).
#include "formats/tiff/TiffCodecs.h"

#include <cstring>

#include "codecs/LzwDecoder.h"
#include "codecs/PackBitsDecoder.h"
#include "codecs/ZipDecoder.h"
#include "formats/tiff/TiffFormat.h"
#include "formats/tiff/TiffSgiLog.h"

namespace vivark {

std::unique_ptr<StreamDecoder> makeTiffDecoder(const TiffPageInfo& info, uint32_t columns,
                                               uint32_t rowBytes) {
    switch (info.compression) {
        case 1:
            return std::make_unique<StreamDecoder>();
        case 2:
        case 3:
        case 4:
        case 32771:
            return makeTiffFaxDecoder(info, columns);
        case 5:
            return std::make_unique<LzwDecoder>(8, true, true);
        case 8:
        case 32946:
            return std::make_unique<ZipDecoder>();
        case 32766:
            return std::make_unique<NextDecoder>(columns, rowBytes);
        case 32773:
            return std::make_unique<PackBitsDecoder>(true);
        case 32809:
            return std::make_unique<ThunderScanDecoder>(columns, rowBytes);
        case 34676:
        case 34677:
            // LogL pages code the same 16-bit runs under either compression;
            // LogLuv under 34677 is the packed 24-bit form.
            return std::make_unique<SgiLogDecoder>(
                columns, info.photometric == 32845,
                info.photometric == 32845 && info.compression == 34677);
        default:
            throw TIFFERROR::UnsupportedCompression;
    }
}

uint32_t tiffFaxMode(const TiffPageInfo& info) {
    uint32_t mode = info.photometric == 0 ? 64 : 0;
    switch (info.compression) {
        case 2:
            mode += 4;
            break;
        case 32771:
            mode += 8;
            break;
        case 3:
            if (info.t4Options & 1) mode += 16;
            mode |= 0x8003;
            break;
        case 4:
            mode |= 0x8082;
            break;
        default:
            break;
    }
    return mode;
}

void NextDecoder::decode(uint8_t* buffer, size_t length) {
    for (size_t done = 0; done + rowBytes_ <= length; done += rowBytes_) decodeRow(buffer + done);
}

void NextDecoder::decodeRow(uint8_t* row) {
    ByteSource& in = *source_;
    const uint8_t code = in.nextByte();
    if (code == 0x00) {
        in.read(row, rowBytes_);
        return;
    }
    if (code == 0x40) {
        // A span of literal bytes on a white row.
        std::memset(row, 0xFF, rowBytes_);
        uint8_t head[4];
        in.read(head, 4);
        const uint32_t offset = uint32_t{head[0]} << 8 | head[1];
        const uint32_t count = uint32_t{head[2]} << 8 | head[3];
        if (uint64_t{offset} + count > rowBytes_) throw TIFFERROR::DataIntegrity;
        in.read(row + offset, count);
        return;
    }
    std::memset(row, 0, rowBytes_);
    uint32_t x = 0;
    uint8_t n = code;
    for (;;) {
        const uint32_t grey = n >> 6;
        uint32_t run = n & 0x3F;
        for (; run != 0 && x < columns_; --run, ++x)
            row[x >> 2] |= static_cast<uint8_t>(grey << (6 - 2 * (x & 3)));
        if (x >= columns_) break;
        n = in.nextByte();
    }
}

void ThunderScanDecoder::decode(uint8_t* buffer, size_t length) {
    for (size_t done = 0; done + rowBytes_ <= length; done += rowBytes_) decodeRow(buffer + done);
}

void ThunderScanDecoder::decodeRow(uint8_t* row) {
    static constexpr int kTwoBitDeltas[4] = {0, 1, 0, -1};                  // 2: no pixel
    static constexpr int kThreeBitDeltas[8] = {0, 1, 2, 3, 0, -3, -2, -1};  // 4: no pixel
    ByteSource& in = *source_;
    std::memset(row, 0, rowBytes_);
    uint32_t x = 0;
    uint32_t last = 0;
    auto put = [&](uint32_t value) {
        row[x >> 1] |= static_cast<uint8_t>(value << ((x & 1) ? 0 : 4));
        ++x;
        last = value;
    };
    while (x < columns_) {
        const uint8_t code = in.nextByte();
        const uint32_t n = code & 0x3F;
        switch (code & 0xC0) {
            case 0x00:  // a run of the last value
                for (uint32_t i = 0; i < n && x < columns_; ++i) put(last);
                break;
            case 0x40: {  // three 2-bit deltas
                const uint32_t parts[3] = {n >> 4, (n >> 2) & 3, n & 3};
                for (uint32_t d : parts) {
                    if (d == 2 || x >= columns_) continue;
                    put((last + kTwoBitDeltas[d]) & 0xF);
                }
                break;
            }
            case 0x80: {  // two 3-bit deltas
                const uint32_t parts[2] = {n >> 3, n & 7};
                for (uint32_t d : parts) {
                    if (d == 4 || x >= columns_) continue;
                    put((last + kThreeBitDeltas[d]) & 0xF);
                }
                break;
            }
            default:  // a raw value
                put(n & 0xF);
                break;
        }
    }
}

}  // namespace vivark
