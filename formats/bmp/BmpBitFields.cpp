// 16- and 32-bit bitmap pixels, with the masks the file gives (bit fields)
// or the defaults (5-5-5 for 16 bits, 8-8-8 for 32), widened to 24-bit
// blue-green-red. A channel of fewer than 8 bits is scaled to 0..255 with
// rounding; a wider one keeps its top 8 bits; an empty mask gives 0. Alpha is
// not kept.
#include <bit>
#include <vector>

#include "core/Errors.h"
#include "formats/bmp/BmpFormat.h"

namespace vivark::bmp {
namespace {

class Channel {
  public:
    explicit Channel(uint32_t mask) {
        if (mask == 0) return;
        shift_ = static_cast<unsigned>(std::countr_zero(mask));
        const uint32_t field = mask >> shift_;
        bits_ = 32 - static_cast<unsigned>(std::countl_zero(field));
        mask_ = mask;
        max_ = bits_ >= 32 ? UINT32_MAX : (1u << bits_) - 1;
    }

    uint8_t operator()(uint32_t pixel) const {
        if (mask_ == 0) return 0;
        const uint32_t v = (pixel & mask_) >> shift_;
        if (bits_ >= 8) return static_cast<uint8_t>(v >> (bits_ - 8));
        return static_cast<uint8_t>((v * 255 + max_ / 2) / max_);
    }

  private:
    uint32_t mask_ = 0;
    unsigned shift_ = 0;
    unsigned bits_ = 0;
    uint32_t max_ = 1;
};

}  // namespace

void readBitFieldPixels(InFile& file, const BmpHeader& h, Image& image,
                        const ReadOptions& options) {
    std::array<uint32_t, 3> masks = h.masks;
    if (h.compression == kNone || (masks[0] | masks[1] | masks[2]) == 0) {
        masks = h.bitCount == 16 ? std::array<uint32_t, 3>{0x7C00, 0x03E0, 0x001F}
                                 : std::array<uint32_t, 3>{0xFF0000, 0xFF00, 0xFF};
    }
    const Channel red(masks[0]), green(masks[1]), blue(masks[2]);
    const uint64_t stored = storedRowBytes(h.width, h.bitCount);
    if (*checkedMul(stored, h.height) > bytesLeft(file)) throw INFILEERROR::UnexpectedEnd;

    std::vector<uint8_t> row(stored);
    for (uint32_t i = 0; i < h.height; ++i) {
        file.read(row.data(), stored);
        uint8_t* out = image.plane.mutableRow(h.topDown ? i : h.height - 1 - i);
        for (uint32_t x = 0; x < h.width; ++x) {
            const uint32_t pixel =
                h.bitCount == 16 ? loadLE16(row.data() + 2 * x) : loadLE32(row.data() + 4 * x);
            out[3 * x] = blue(pixel);
            out[3 * x + 1] = green(pixel);
            out[3 * x + 2] = red(pixel);
        }
        rowDone(options, i + 1, h.height);
    }
}

}  // namespace vivark::bmp
