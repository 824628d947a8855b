// Identifies GIF files: the "GIF87a"/"GIF89a" signature, then the logical
// screen descriptor and any global colour table are skipped and the blocks are
// followed, past extensions, to the first image descriptor, whose size is
// reported. The depth is the bits of the colour table the image uses (its
// local one, else the global one; 8 when it has neither).
#include "formats/IdentifySupport.h"
#include "formats/gif/GifFormat.h"

namespace vivark {
namespace {

// Extensions and stray bytes a GIF may carry before its first image; a file
// with more is not taken for a GIF by identification.
constexpr int kMaxBlocks = 4096;

}  // namespace

bool identifyGif(InFile& file, FormatInfo* info) {
    uint8_t header[13];
    file.read(header, sizeof header);
    if (header[0] != 'G' || header[1] != 'I' || header[2] != 'F' || header[3] != '8') return false;
    if ((header[4] != '7' && header[4] != '9') || header[5] != 'a') return false;
    const uint8_t screenFlags = header[10];
    uint32_t bits = 8;
    if (screenFlags & 0x80) {
        bits = (screenFlags & 7u) + 1;
        file.skip(3u << bits);
    }
    for (int block = 0; block < kMaxBlocks; ++block) {
        const uint8_t introducer = file.readByte();
        if (introducer == ',') {
            uint8_t descriptor[9];
            file.read(descriptor, sizeof descriptor);
            const uint8_t imageFlags = descriptor[8];
            if (imageFlags & 0x80) bits = (imageFlags & 7u) + 1;
            return accept(info, loadLE16(descriptor + 4), loadLE16(descriptor + 6), bits,
                          makeTag("GIF "));
        }
        if (introducer == ';') return false;  // the trailer before any image
        if (introducer != '!') continue;      // a stray byte, skipped as the reader does
        file.readByte();                      // the extension's label
        for (uint8_t length = file.readByte(); length != 0; length = file.readByte()) {
            file.skip(length);
        }
    }
    return false;
}

}  // namespace vivark
