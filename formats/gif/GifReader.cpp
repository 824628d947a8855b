// The GIF reader's block walk, frame decoding (with interlaced row order)
// and frame composition; see GifReader.h for the rules.
#include "formats/gif/GifReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "codecs/LzwDecoder.h"
#include "core/Errors.h"
#include "formats/gif/GifFormat.h"

namespace vivark {
namespace {

using ColourTable = std::array<Colour, 256>;

// One image as the walk found it.
struct Frame {
    uint32_t left, top, width, height;
    bool interlaced;
    bool localTable;
    uint8_t disposal;
    int32_t transparentIndex;  // -1: none
    int64_t dataOffset;        // the code size byte
    ColourTable table;         // global table with the local one read over it
};

uint32_t readTable(InFile& file, uint8_t flags, ColourTable& table) {
    const uint32_t bits = (flags & 7u) + 1;
    uint8_t bytes[768];
    file.read(bytes, 3u << bits);
    for (uint32_t i = 0; i < (1u << bits); ++i)
        table[i] = rgb(bytes[3 * i], bytes[3 * i + 1], bytes[3 * i + 2]);
    return bits;
}

class GifReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override;

  private:
    void walk(Image& image);
    void readExtension(Image& image);
    void decodeFrame(const Frame& frame, Image& canvas, bool direct, bool cancellable,
                     const ReadOptions& options);

    uint16_t screenWidth_ = 0, screenHeight_ = 0;
    uint8_t background_ = 0;
    bool hasGlobal_ = false;
    ColourTable global_{};
    std::vector<Frame> frames_;
    // The graphic control extension waiting for the next image.
    uint8_t pendingDisposal_ = 0;
    uint32_t pendingDelayMs_ = 0;
    int32_t pendingTransparent_ = -1;
    bool sawLoop_ = false;
    int32_t loopCount_ = 0;
};

void GifReader::walk(Image& image) {
    InFile& file = *file_;
    uint8_t header[13];
    file.read(header, sizeof header);
    if (std::memcmp(header, "GIF8", 4) != 0 || (header[4] != '7' && header[4] != '9') ||
        header[5] != 'a')
        throw GIFERROR::Unknown;
    screenWidth_ = static_cast<uint16_t>(header[6] | header[7] << 8);
    screenHeight_ = static_cast<uint16_t>(header[8] | header[9] << 8);
    background_ = header[11];
    global_.fill(0);
    uint32_t globalBits = 0;
    if (header[10] & 0x80) {
        hasGlobal_ = true;
        globalBits = readTable(file, header[10], global_);
    }
    if (image.keepInfo) {
        image.info.push_back(gif::infoItem(gif::kVersion, header[4] == '9'));
        image.info.push_back(
            gif::infoItem(gif::kGlobalColourMap, hasGlobal_ ? 1u << globalBits : 0));
        image.info.push_back(gif::infoItem(gif::kBackgroundIndex, background_));
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
        frame.table = global_;
        uint32_t localBits = 0;
        if (frame.localTable) localBits = readTable(file, d[8], frame.table);
        if (!frame.localTable && !hasGlobal_) throw GIFERROR::NoColourMap;
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
        frames_.push_back(frame);
        gif::skipSubBlocks(file);
    }
}

void GifReader::readExtension(Image& image) {
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

// Rows of the frame in the order the file stores them.
uint32_t storedRow(uint32_t i, uint32_t height, bool interlaced) {
    if (!interlaced) return i;
    static constexpr uint32_t kStart[4] = {0, 4, 2, 1};
    static constexpr uint32_t kStep[4] = {8, 8, 4, 2};
    for (int pass = 0; pass < 4; ++pass) {
        const uint32_t rows =
            height > kStart[pass] ? (height - kStart[pass] + kStep[pass] - 1) / kStep[pass] : 0;
        if (i < rows) return kStart[pass] + i * kStep[pass];
        i -= rows;
    }
    return height;  // not reached for i < height
}

void GifReader::decodeFrame(const Frame& frame, Image& canvas, bool direct, bool cancellable,
                            const ReadOptions& options) {
    InFile& file = *file_;
    file.seek(frame.dataOffset);
    const uint8_t codeSize = file.readByte();
    gif::GifBlockSource source(file);
    auto decoder = std::make_unique<LzwDecoder>(codeSize, false, false);
    decoder->attach(&source);
    decoder->reset();
    std::vector<uint8_t> row(frame.width);
    const uint32_t canvasWidth = canvas.width();
    for (uint32_t i = 0; i < frame.height; ++i) {
        decoder->decode(row.data(), row.size());
        const uint32_t y = frame.top + storedRow(i, frame.height, frame.interlaced);
        if (y < canvas.height() && frame.left < canvasWidth) {
            uint8_t* out = canvas.plane.mutableRow(y);
            const uint32_t count = std::min(frame.width, canvasWidth - frame.left);
            for (uint32_t x = 0; x < count; ++x) {
                const uint8_t index = row[x];
                if (static_cast<int32_t>(index) == frame.transparentIndex) continue;
                const uint32_t cx = frame.left + x;
                if (direct) {
                    out[cx] = index;
                } else {
                    const Colour c = frame.table[index];
                    out[3 * cx] = blueOf(c);
                    out[3 * cx + 1] = greenOf(c);
                    out[3 * cx + 2] = redOf(c);
                }
            }
        }
        if (cancellable && progressCancelled(options.progress, i + 1, frame.height))
            throw INFILEERROR::Cancelled;
    }
    decoder->finish();
    source.skipRest();
}

void GifReader::readInto(Image& image, const ReadOptions& options) {
    walk(image);
    image.formatTag = gif::kTag;
    image.pageCount = static_cast<uint32_t>(frames_.size());
    if (image.animation) image.animation->loopCount = sawLoop_ ? loopCount_ : 0;
    if (sawLoop_ && !image.animation) image.animation.emplace().loopCount = loopCount_;
    if (frames_.empty()) throw GIFERROR::PrematureEnd;
    const uint32_t target = std::clamp<uint32_t>(image.pageNumber, 1, image.pageCount);

    const Frame& first = frames_[0];
    const uint32_t width = std::max<uint32_t>(screenWidth_, first.left + first.width);
    const uint32_t height = std::max<uint32_t>(screenHeight_, first.top + first.height);
    bool sameTable = true;
    for (uint32_t k = 1; k < target; ++k)
        if (frames_[k].localTable || frames_[0].localTable) sameTable = false;
    const uint32_t bits = sameTable ? 8 : 24;
    if (width == 0 || height == 0 || !options.limits.allows(width, height, bits))
        throw IMAGEERROR::TooLarge;

    Image canvas(width, height, bits, false);
    const Colour backgroundColour = hasGlobal_ ? global_[background_] : rgb(0, 0, 0);
    auto fillRect = [&](uint32_t left, uint32_t top, uint32_t w, uint32_t h) {
        for (uint32_t y = top; y < std::min(top + h, height); ++y) {
            uint8_t* out = canvas.plane.mutableRow(y);
            for (uint32_t x = left; x < std::min(left + w, width); ++x) {
                if (bits == 8) {
                    out[x] = background_;
                } else {
                    out[3 * x] = blueOf(backgroundColour);
                    out[3 * x + 1] = greenOf(backgroundColour);
                    out[3 * x + 2] = redOf(backgroundColour);
                }
            }
        }
    };
    fillRect(0, 0, width, height);
    if (bits == 8) {
        for (uint32_t i = 0; i < 256; ++i) canvas.palette[i] = first.table[i];
        canvas.paletteCount = 256;
    }

    std::vector<uint8_t> saved;  // what a "restore to previous" frame covered
    const uint32_t bytesPerPixel = bits / 8;
    for (uint32_t k = 0; k < target; ++k) {
        const Frame& frame = frames_[k];
        const uint32_t left = std::min(frame.left, width), top = std::min(frame.top, height);
        const uint32_t w = std::min(frame.width, width - left),
                       h = std::min(frame.height, height - top);
        const bool restore = frame.disposal == 3 && k + 1 < target;
        if (restore) {
            saved.resize(static_cast<size_t>(w) * h * bytesPerPixel);
            for (uint32_t y = 0; y < h; ++y)
                std::memcpy(&saved[static_cast<size_t>(y) * w * bytesPerPixel],
                            canvas.plane.row(top + y) + left * bytesPerPixel, w * bytesPerPixel);
        }
        decodeFrame(frame, canvas, bits == 8, k + 1 == target, options);
        if (k + 1 == target) break;
        if (frame.disposal == 2) {
            fillRect(left, top, w, h);
        } else if (restore) {
            for (uint32_t y = 0; y < h; ++y)
                std::memcpy(canvas.plane.mutableRow(top + y) + left * bytesPerPixel,
                            &saved[static_cast<size_t>(y) * w * bytesPerPixel], w * bytesPerPixel);
        }
    }

    image.plane = std::move(canvas.plane);
    if (bits == 8) {
        image.palette = canvas.palette;
        image.paletteCount = 256;
    }
}

}  // namespace

std::unique_ptr<ImageReader> makeGifReader(InFile& file) {
    return std::make_unique<GifReader>(file);
}

}  // namespace vivark
