// Identifies Electronic Arts IFF pictures: a "FORM", "LIST" or "CAT " header,
// then chunks followed (into nested FORM, LIST, CAT and PROP groups) to the
// first "BMHD", whose 20 bytes give width, height and plane count. Width and
// height must be non-zero.
#include "formats/IdentifySupport.h"
#include "formats/iff/IffFormat.h"

namespace vivark {
namespace {

constexpr uint32_t kForm = 0x464F524Du, kList = 0x4C495354u, kCat = 0x43415420u;
constexpr uint32_t kProp = 0x50524F50u, kBmhd = 0x424D4844u;
// Chunks followed before giving up on finding the bitmap header.
constexpr int kMaxChunks = 256;

}  // namespace

bool identifyIff(InFile& file, FormatInfo* info) {
    const uint32_t group = file.readBE32();
    if (group != kForm && group != kList && group != kCat) return false;
    file.readBE32();  // the group's length
    file.readBE32();  // its type
    for (int chunk = 0; chunk < kMaxChunks; ++chunk) {
        const uint32_t id = file.readBE32();
        const uint32_t length = file.readBE32();
        if (id == kForm || id == kList || id == kCat || id == kProp) {
            file.readBE32();  // enter the group: only its type precedes its chunks
            continue;
        }
        if (id == kBmhd) {
            if (length < 20) return false;
            uint8_t header[20];
            file.read(header, sizeof header);
            const uint32_t width = loadBE16(header);
            const uint32_t height = loadBE16(header + 2);
            if (width == 0 || height == 0) return false;
            return accept(info, width, height, header[8], makeTag("IFF "));
        }
        file.skip(uint64_t{length} + (length & 1));
    }
    return false;
}

}  // namespace vivark
