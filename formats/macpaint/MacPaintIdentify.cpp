// Identifies MacPaint documents: a 512-byte header whose first big-endian
// word, the version, is 0, 2 or 3, followed by PackBits-coded rows of 72
// bytes (576 pixels) of which the first kCheckedRows must each decode to
// exactly 72 bytes, no run crossing a row's end (MacPaint codes each row on
// its own; the no-operation code 128 is refused). A document is 576 × 720 at one bit per pixel.
#include "formats/IdentifySupport.h"
#include "formats/macpaint/MacPaintFormat.h"

namespace vivark {
namespace {

constexpr int kCheckedRows = 8;
constexpr uint32_t kRowBytes = 72;

}  // namespace

bool identifyMacPaint(InFile& file, FormatInfo* info) {
    const uint32_t version = file.readBE32();
    if (version != 0 && version != 2 && version != 3) return false;
    file.seek(512);
    for (int row = 0; row < kCheckedRows; ++row) {
        uint32_t filled = 0;
        while (filled < kRowBytes) {
            const uint8_t control = file.readByte();
            uint32_t count;
            if (control < 128) {
                count = control + 1u;
                file.skip(count);
            } else if (control > 128) {
                count = 257u - control;
                file.readByte();
            } else {
                return false;  // 128, a no-operation MacPaint never writes
            }
            filled += count;
        }
        if (filled != kRowBytes) return false;
    }
    return accept(info, 576, 720, 1, makeTag("PNTG"));
}

}  // namespace vivark
