// The GIF reader: the block walk, then the composer (GifComposer.h) brought
// to the frame asked for; see GifReader.h.
#include "formats/gif/GifReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "formats/gif/GifComposer.h"
#include "formats/gif/GifFormat.h"

namespace vivark::gif {
namespace {

uint32_t readTable(InFile& file, uint8_t flags, ColourTable& table) {
    const uint32_t bits = (flags & 7u) + 1;
    uint8_t bytes[768];
    file.read(bytes, 3u << bits);
    for (uint32_t i = 0; i < (1u << bits); ++i)
        table[i] = rgb(bytes[3 * i], bytes[3 * i + 1], bytes[3 * i + 2]);
    return bits;
}

// The state of one walk over the blocks.
class Walk {
  public:
    Walk(InFile& file, Screen& screen) : file_(&file), screen_(screen) {}
    void run(Image& image);

  private:
    void readExtension(Image& image);

    InFile* file_;
    Screen& screen_;
    // The graphic control extension waiting for the next image.
    uint8_t pendingDisposal_ = 0;
    uint32_t pendingDelayMs_ = 0;
    int32_t pendingTransparent_ = -1;
    bool sawLoop_ = false;
    int32_t loopCount_ = 0;
};

void Walk::run(Image& image) {
    InFile& file = *file_;
    uint8_t header[13];
    file.read(header, sizeof header);
    if (std::memcmp(header, "GIF8", 4) != 0 || (header[4] != '7' && header[4] != '9') ||
        header[5] != 'a')
        throw GIFERROR::Unknown;
    screen_.width = static_cast<uint16_t>(header[6] | header[7] << 8);
    screen_.height = static_cast<uint16_t>(header[8] | header[9] << 8);
    screen_.background = header[11];
    screen_.global.fill(0);
    uint32_t globalBits = 0;
    if (header[10] & 0x80) {
        screen_.hasGlobal = true;
        globalBits = readTable(file, header[10], screen_.global);
    }
    if (image.keepInfo) {
        image.info.push_back(gif::infoItem(gif::kVersion, header[4] == '9'));
        image.info.push_back(
            gif::infoItem(gif::kGlobalColourMap, screen_.hasGlobal ? 1u << globalBits : 0));
        image.info.push_back(gif::infoItem(gif::kBackgroundIndex, screen_.background));
    }
    for (;;) {
        const uint8_t introducer = file.readByte();
        if (introducer == gif::kTrailer) break;
        if (introducer == gif::kExtensionIntroducer) {
            readExtension(image);
            continue;
        }
        if (introducer != gif::kImageIntroducer) continue;  // stray byte
        Frame frame{};
        uint8_t d[9];
        file.read(d, sizeof d);
        frame.left = d[0] | d[1] << 8;
        frame.top = d[2] | d[3] << 8;
        frame.width = d[4] | d[5] << 8;
        frame.height = d[6] | d[7] << 8;
        frame.interlaced = (d[8] & 0x40) != 0;
        frame.localTable = (d[8] & 0x80) != 0;
        frame.table = screen_.global;
        uint32_t localBits = 0;
        if (frame.localTable) localBits = readTable(file, d[8], frame.table);
        if (!frame.localTable && !screen_.hasGlobal) throw GIFERROR::NoColourMap;
        frame.tableSize = static_cast<uint16_t>(1u << (frame.localTable ? localBits : globalBits));
        frame.dataOffset = file.tell();
        const uint8_t codeSize = file.readByte();
        if (codeSize < 2 || codeSize > 11) throw GIFERROR::BadLzwCodeSize;
        if (image.keepInfo) {
            image.info.push_back(gif::infoItem(gif::kInterlaced, frame.interlaced));
            image.info.push_back(
                gif::infoItem(gif::kLocalColourMap, frame.localTable ? 1u << localBits : 0));
        }
        frame.disposal = pendingDisposal_;
        frame.transparentIndex = pendingTransparent_;
        if (!image.animation) image.animation.emplace();
        image.animation->frames.push_back(AnimationFrame{frame.left, frame.top, frame.width,
                                                         frame.height, pendingDelayMs_,
                                                         frame.disposal, frame.transparentIndex});
        pendingDisposal_ = 0;
        pendingDelayMs_ = 0;
        pendingTransparent_ = -1;
        screen_.frames.push_back(frame);
        gif::skipSubBlocks(file);
    }
    image.pageCount = static_cast<uint32_t>(screen_.frames.size());
    if (image.animation) image.animation->loopCount = sawLoop_ ? loopCount_ : 0;
    if (sawLoop_ && !image.animation) image.animation.emplace().loopCount = loopCount_;
    if (screen_.frames.empty()) throw GIFERROR::PrematureEnd;
}

void Walk::readExtension(Image& image) {
    InFile& file = *file_;
    const uint8_t label = file.readByte();
    uint8_t length = file.readByte();
    if (label == gif::kGraphicControlLabel && length >= 4) {
        uint8_t g[4];
        file.read(g, 4);
        file.skip(length - 4u);
        pendingDisposal_ = static_cast<uint8_t>((g[0] & 0x1C) >> 2);
        pendingDelayMs_ = (g[1] | g[2] << 8) * 10u;
        pendingTransparent_ = (g[0] & 1) ? g[3] : -1;
        if (image.keepInfo) {
            image.info.push_back(gif::infoItem(gif::kDisposal, pendingDisposal_));
            image.info.push_back(gif::infoItem(gif::kDelay, pendingDelayMs_));
            image.info.push_back(gif::infoItem(gif::kTransparent, g[0] & 1));
            image.info.push_back(gif::infoItem(gif::kTransparencyIndex, g[3]));
        }
    } else if (label == gif::kCommentLabel) {
        while (length != 0) {
            char text[255];
            file.read(text, length);
            if (image.keepComment) image.comment.append(text, length);
            length = file.readByte();
        }
        return;
    } else if (label == gif::kApplicationLabel && length >= 11) {
        char id[11];
        file.read(id, 11);
        file.skip(length - 11u);
        if (std::memcmp(id, "NETSCAPE2.0", 11) == 0) {
            length = file.readByte();
            if (length == 0) return;
            if (length >= 3) {
                file.readByte();
                const int32_t loops = file.readLE16();
                loopCount_ = loops == 0 ? -1 : loops;
                sawLoop_ = true;
                file.skip(length - 3u);
            } else {
                file.skip(length);
            }
        }
    } else {
        file.skip(length);
    }
    if (length != 0) gif::skipSubBlocks(file);
}

class GifReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;

  protected:
    void readInto(Image& image, const ReadOptions& options) override {
        image.formatTag = gif::kTag;
        walkScreen(*file_, image, screen_);
        if (options.headerOnly) return;
        GifComposer composer(*file_, screen_, options.limits);
        composer.composeTo(image.pageNumber, options);
        const Image& canvas = composer.canvas();
        image.plane = canvas.plane;
        image.transparentIndex = canvas.transparentIndex;
        image.secondPlane = canvas.secondPlane;
        image.secondPlaneKind = canvas.secondPlaneKind;
        if (canvas.bitsPerPixel() == 8) {
            image.palette = canvas.palette;
            image.paletteCount = canvas.paletteCount;
        }
    }

  private:
    Screen screen_;
};

}  // namespace

void walkScreen(InFile& file, Image& image, Screen& screen) {
    Walk(file, screen).run(image);
}

}  // namespace vivark::gif

namespace vivark {

std::unique_ptr<ImageReader> makeGifReader(InFile& file) {
    return std::make_unique<gif::GifReader>(file);
}

}  // namespace vivark
