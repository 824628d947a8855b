// Identifies TIFF files: the header (49 49 2A 00 or 4D 4D 00 2A) and the
// entries of the first directory. Width (256), length (257), bits per sample
// (258, first value), samples per pixel (277) and orientation (274: the
// transposing values 5 to 8 swap the reported width and height) give the
// reported size and depth. Pages of the SGI log compressions (259: 34676,
// 34677) report the 8-bit samples they decode to, not their stored log
// values. The resolutions (282, 283, rational only) are looked at by the
// reader, not here. The walk ends at an unknown field type or at an entry
// whose data lie outside the file, as the reader's directory walk does;
// width and length must be non-zero.
#include <utility>

#include "formats/IdentifySupport.h"
#include "formats/tiff/TiffFormat.h"

namespace vivark {
namespace {

// Entries of the first directory examined.
constexpr uint32_t kMaxEntries = 4096;
// Bytes of one value of each field type 1..12.
constexpr uint8_t kTypeSizes[13] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};

struct TiffOrder {
    bool bigEndian;
    uint16_t u16(const uint8_t* p) const { return bigEndian ? loadBE16(p) : loadLE16(p); }
    uint32_t u32(const uint8_t* p) const { return bigEndian ? loadBE32(p) : loadLE32(p); }
    uint16_t read16(InFile& f) const { return bigEndian ? f.readBE16() : f.readLE16(); }
    uint32_t read32(InFile& f) const { return bigEndian ? f.readBE32() : f.readLE32(); }
};

}  // namespace

bool identifyTiff(InFile& file, FormatInfo* info) {
    uint8_t header[8];
    file.read(header, sizeof header);
    const uint32_t mark = loadBE32(header);
    if (mark != 0x49492A00u && mark != 0x4D4D002Au) return false;
    const TiffOrder order{mark == 0x4D4D002Au};
    const uint64_t fileLength = lengthFromOrigin(file);

    file.seek(order.u32(header + 4));
    const uint32_t entryCount = order.read16(file);
    uint32_t width = 0, height = 0, bitsPerSample = 1, samplesPerPixel = 1, orientation = 1;
    uint32_t compression = 1;
    for (uint32_t i = 0; i < entryCount && i < kMaxEntries; ++i) {
        uint8_t entry[12];
        file.read(entry, sizeof entry);
        const uint16_t tag = order.u16(entry);
        const uint16_t type = order.u16(entry + 2);
        const uint32_t count = order.u32(entry + 4);
        if (type == 0 || type > 12) break;
        const uint64_t dataSize = uint64_t{count} * kTypeSizes[type];
        if (dataSize > fileLength) break;
        if (dataSize > 4 && uint64_t{order.u32(entry + 8)} + dataSize > fileLength) break;
        if (count == 0 || (type != 3 && type != 4)) continue;
        // The first integer value: inline when the data fit in four bytes.
        uint32_t value;
        if (dataSize <= 4) {
            value = type == 3 ? order.u16(entry + 8) : order.u32(entry + 8);
        } else {
            const int64_t resume = file.tell();
            file.seek(order.u32(entry + 8));
            value = type == 3 ? order.read16(file) : order.read32(file);
            file.seek(resume);
        }
        switch (tag) {
            case 256:
                width = value;
                break;
            case 257:
                height = value;
                break;
            case 258:
                bitsPerSample = value;
                break;
            case 259:
                compression = value;
                break;
            case 274:
                orientation = value;
                break;
            case 277:
                samplesPerPixel = value;
                break;
            default:
                break;
        }
    }
    if (width == 0 || height == 0) return false;
    if (orientation >= 5 && orientation <= 8) std::swap(width, height);
    if (compression == 34676 || compression == 34677) bitsPerSample = 8;
    const uint64_t bits = uint64_t{bitsPerSample} * samplesPerPixel;
    return accept(info, width, height, bits > 0xFFFFFFFFu ? 0xFFFFFFFFu : uint32_t(bits),
                  makeTag("TIFF"));
}

}  // namespace vivark
