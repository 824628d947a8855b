// Frame decoding (with the interlaced row order) and incremental composition
// of GIF animations; see GifComposer.h for the rules.
#include "formats/gif/GifComposer.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "codecs/LzwDecoder.h"
#include "core/Errors.h"
#include "formats/gif/GifFormat.h"

namespace vivark::gif {
namespace {

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

// 8 bits when every frame draws with the same table: the global one, or the
// one frame's own.
bool oneTable(const Screen& screen) {
    for (size_t k = 0; k < screen.frames.size(); ++k)
        if (screen.frames[k].localTable && (k > 0 || screen.frames.size() > 1)) return false;
    return true;
}

// Whether every frame leaves out the same index `index`: then no frame can
// draw that index, and it can stand for "transparent" on an 8-bit canvas.
bool sameTransparentIndex(const Screen& screen, int32_t index) {
    for (const Frame& frame : screen.frames)
        if (frame.transparentIndex != index) return false;
    return true;
}

}  // namespace

GifComposer::GifComposer(InFile& file, const Screen& screen, const Limits& limits)
    : file_(file), screen_(screen) {
    if (screen.frames.empty()) throw GIFERROR::PrematureEnd;
    const Frame& first = screen.frames[0];
    const uint32_t width = std::max<uint32_t>(screen.width, first.left + first.width);
    const uint32_t height = std::max<uint32_t>(screen.height, first.top + first.height);
    const bool transparent = first.transparentIndex >= 0;
    const bool indexed =
        oneTable(screen) && (!transparent || sameTransparentIndex(screen, first.transparentIndex));
    const uint32_t bits = indexed ? 8 : 24;
    if (width == 0 || height == 0 || !limits.allows(width, height, bits))
        throw IMAGEERROR::TooLarge;
    canvas_ = Image(width, height, bits, false);
    bytesPerPixel_ = bits / 8;
    if (transparent && indexed) {
        clearIndex_ = first.transparentIndex;
        canvas_.transparentIndex = static_cast<uint8_t>(clearIndex_);
    } else if (transparent) {
        canvas_.secondPlane = PixelPlane(width, height, 8, false);
        canvas_.secondPlaneKind = SecondPlane::Alpha;
    }
    if (bits == 8) {
        // The file's own table size, so that a 4-colour GIF saves as one:
        // writers size their tables by the palette count.
        for (uint32_t i = 0; i < 256; ++i) canvas_.palette[i] = first.table[i];
        canvas_.paletteCount = first.tableSize;
    }
    uint32_t widest = 0;
    for (const Frame& frame : screen.frames) widest = std::max(widest, frame.width);
    row_.resize(widest);
    start();
}

void GifComposer::start() {
    fillRect(0, 0, canvas_.width(), canvas_.height());
    drawn_ = 0;
}

void GifComposer::fillRect(uint32_t left, uint32_t top, uint32_t w, uint32_t h) {
    const uint32_t width = canvas_.width(), height = canvas_.height();
    const Colour colour = screen_.hasGlobal ? screen_.global[screen_.background] : rgb(0, 0, 0);
    const uint8_t bgr[3] = {blueOf(colour), greenOf(colour), redOf(colour)};
    const uint8_t fill = clearIndex_ >= 0 ? static_cast<uint8_t>(clearIndex_) : screen_.background;
    const bool alpha = canvas_.secondPlaneKind == SecondPlane::Alpha;
    for (uint32_t y = top; y < std::min(top + h, height); ++y) {
        uint8_t* out = canvas_.plane.mutableRow(y);
        const uint32_t end = std::min(left + w, width);
        if (end <= left) continue;
        if (bytesPerPixel_ == 1) {
            std::memset(out + left, fill, end - left);
        } else {
            for (uint32_t x = left; x < end; ++x) std::memcpy(out + 3 * x, bgr, 3);
        }
        if (alpha) std::memset(canvas_.secondPlane.mutableRow(y) + left, 0, end - left);
    }
}

void GifComposer::drawFrame(const Frame& frame, const ReadOptions* progress) {
    file_.seek(frame.dataOffset);
    const uint8_t codeSize = file_.readByte();
    GifBlockSource source(file_);
    auto decoder = std::make_unique<LzwDecoder>(codeSize, false, false);
    decoder->attach(&source);
    decoder->reset();
    const uint32_t canvasWidth = canvas_.width();
    const bool direct = bytesPerPixel_ == 1;
    const bool alpha = canvas_.secondPlaneKind == SecondPlane::Alpha;
    for (uint32_t i = 0; i < frame.height; ++i) {
        decoder->decode(row_.data(), frame.width);
        const uint32_t y = frame.top + storedRow(i, frame.height, frame.interlaced);
        if (y < canvas_.height() && frame.left < canvasWidth) {
            uint8_t* out = canvas_.plane.mutableRow(y);
            uint8_t* opacity = alpha ? canvas_.secondPlane.mutableRow(y) : nullptr;
            const uint32_t count = std::min(frame.width, canvasWidth - frame.left);
            for (uint32_t x = 0; x < count; ++x) {
                const uint8_t index = row_[x];
                if (static_cast<int32_t>(index) == frame.transparentIndex) continue;
                const uint32_t cx = frame.left + x;
                if (direct) {
                    out[cx] = index;
                } else {
                    const Colour c = frame.table[index];
                    out[3 * cx] = blueOf(c);
                    out[3 * cx + 1] = greenOf(c);
                    out[3 * cx + 2] = redOf(c);
                    if (opacity) opacity[cx] = 255;
                }
            }
        }
        if (progress && progressCancelled(progress->progress, i + 1, frame.height))
            throw INFILEERROR::Cancelled;
    }
    decoder->finish();
    source.skipRest();
}

void GifComposer::dispose(const Frame& frame) {
    const uint32_t width = canvas_.width(), height = canvas_.height();
    const uint32_t left = std::min(frame.left, width), top = std::min(frame.top, height);
    // A frame wholly off the canvas covers nothing: no rows to save or restore.
    const uint32_t w = std::min(frame.width, width - left),
                   h = w == 0 ? 0 : std::min(frame.height, height - top);
    const size_t rowBytes = size_t{w} * bytesPerPixel_;
    if (frame.disposal == 2) {
        fillRect(left, top, w, h);
    } else if (frame.disposal == 3) {
        const bool alpha = canvas_.secondPlaneKind == SecondPlane::Alpha;
        for (uint32_t y = 0; y < h; ++y) {
            std::memcpy(canvas_.plane.mutableRow(top + y) + left * bytesPerPixel_,
                        saved_.data() + y * rowBytes, rowBytes);
            if (alpha)
                std::memcpy(canvas_.secondPlane.mutableRow(top + y) + left,
                            savedAlpha_.data() + size_t{y} * w, w);
        }
    }
}

void GifComposer::composeTo(uint32_t page, const ReadOptions& options) {
    const uint32_t count = static_cast<uint32_t>(screen_.frames.size());
    const uint32_t target = std::clamp<uint32_t>(page, 1, count);
    if (target < drawn_ || stale_) {
        start();
        stale_ = false;
    }
    try {
        while (drawn_ < target) {
            if (drawn_ > 0) dispose(screen_.frames[drawn_ - 1]);
            const Frame& frame = screen_.frames[drawn_];
            if (frame.disposal == 3) {
                // Keep what the frame covers, to put it back when it is disposed of.
                const uint32_t width = canvas_.width(), height = canvas_.height();
                const uint32_t left = std::min(frame.left, width);
                const uint32_t top = std::min(frame.top, height);
                const uint32_t w = std::min(frame.width, width - left);
                const uint32_t h = w == 0 ? 0 : std::min(frame.height, height - top);
                const size_t rowBytes = size_t{w} * bytesPerPixel_;
                const bool alpha = canvas_.secondPlaneKind == SecondPlane::Alpha;
                saved_.resize(rowBytes * h);
                savedAlpha_.resize(alpha ? size_t{w} * h : 0);
                for (uint32_t y = 0; y < h; ++y) {
                    std::memcpy(saved_.data() + y * rowBytes,
                                canvas_.plane.row(top + y) + left * bytesPerPixel_, rowBytes);
                    if (alpha)
                        std::memcpy(savedAlpha_.data() + size_t{y} * w,
                                    canvas_.secondPlane.row(top + y) + left, w);
                }
            }
            drawFrame(frame, drawn_ + 1 == target ? &options : nullptr);
            ++drawn_;
        }
    } catch (...) {
        stale_ = true;  // the canvas is half drawn: the next request starts again
        throw;
    }
}

}  // namespace vivark::gif
