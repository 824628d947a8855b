// Identifies JPEG streams (0xFF 0xD8, then markers followed to the first start
// of frame) and Seattle FilmWorks files ("SFW9", whose JPEG stream starts at
// the first 0xFF 0xC8 0xFF 0xD0 and uses remapped markers, 0xD0 carrying a
// segment). Both report the frame's size and precision × components.
#include "formats/IdentifySupport.h"
#include "formats/jpeg/JpegFormat.h"
#include "formats/jpeg/JpegMarkers.h"

namespace vivark {
namespace {

// Segments followed before giving up on finding a frame.
constexpr int kMaxSegments = 1024;
// How far into a Seattle FilmWorks file its JPEG start is searched for.
constexpr int64_t kSfwSearchLimit = 4096;

}  // namespace

bool measureJpegFrame(InFile& file, FormatInfo& info, bool restartsStandAlone) {
    for (int segment = 0; segment < kMaxSegments; ++segment) {
        if (file.readByte() != 0xFF) return false;
        uint8_t marker = file.readByte();
        while (marker == 0xFF) marker = file.readByte();
        if (marker == 0xD9 || marker == 0xDA || marker == 0x00) return false;
        if (marker == 0x01 || (restartsStandAlone && marker >= 0xD0 && marker <= 0xD7)) continue;
        const uint16_t length = file.readBE16();
        if (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xCC) {
            uint8_t frame[6];
            file.read(frame, sizeof frame);
            info.height = loadBE16(frame + 1);
            info.width = loadBE16(frame + 3);
            info.bitsPerPixel = uint32_t{frame[0]} * frame[5];
            return true;
        }
        if (length < 2) return false;
        file.skip(length - 2u);
    }
    return false;
}

bool identifyJpeg(InFile& file, FormatInfo* info) {
    if (file.readByte() != 0xFF || file.readByte() != 0xD8) return false;
    FormatInfo frame;
    if (!measureJpegFrame(file, frame, true)) return false;
    return accept(info, frame.width, frame.height, frame.bitsPerPixel, makeTag("JFIF"));
}

bool identifySfw(InFile& file, FormatInfo* info) {
    uint8_t magic[4];
    file.read(magic, sizeof magic);
    if (magic[0] != 'S' || magic[1] != 'F' || magic[2] != 'W' || magic[3] != '9') return false;
    uint32_t window = 0;
    while (file.tell() < kSfwSearchLimit) {
        window = (window << 8) | file.readByte();
        if (window == 0xFFC8FFD0u) {
            file.seek(file.tell() - 2);  // back to the 0xFF 0xD0 marker
            FormatInfo frame;
            if (!measureJpegFrame(file, frame, false)) return false;
            return accept(info, frame.width, frame.height, frame.bitsPerPixel, makeTag("SFW "));
        }
    }
    return false;
}

}  // namespace vivark
