// Size checks, allocation and copy-on-write of pixel planes.
#include "core/PixelPlane.h"

#include <atomic>
#include <cstring>
#include <stdexcept>

#include "core/Errors.h"

namespace vivark {

PixelBuffer::PixelBuffer(uint32_t size, bool clear) : size_(size) {
    if (size != 0) block_.reset(clear ? new uint8_t[size]() : new uint8_t[size]);
}

PixelPlane::PixelPlane(uint32_t width, uint32_t height, uint32_t bitsPerPixel, bool clear) {
    if (!isSupportedDepth(bitsPerPixel)) throw std::invalid_argument("unsupported pixel depth");
    uint64_t stride = strideFor(width, bitsPerPixel);
    uint64_t size = stride * height;  // both factors are below 2^35 and 2^32
    if (stride >= kSizeLimit || size >= kSizeLimit) throw IMAGEERROR::TooLarge;
    width_ = width;
    height_ = height;
    bitsPerPixel_ = bitsPerPixel;
    rowStride_ = static_cast<uint32_t>(stride);
    dataSize_ = static_cast<uint32_t>(size);
    buffer_ = std::make_shared<PixelBuffer>(dataSize_, clear);
}

PixelPlane::PixelPlane(uint32_t width, uint32_t height, uint32_t bitsPerPixel,
                       const uint8_t* pixels)
    : PixelPlane(width, height, bitsPerPixel, pixels == nullptr) {
    if (pixels != nullptr && dataSize_ != 0) std::memcpy(buffer_->data(), pixels, dataSize_);
}

void PixelPlane::replacePixels(const uint8_t* pixels) {
    // Copy before letting go of the old block: `pixels` may point into it.
    auto fresh = std::make_shared<PixelBuffer>(dataSize_, false);
    if (dataSize_ != 0) std::memcpy(fresh->data(), pixels, dataSize_);
    buffer_ = std::move(fresh);
}

void PixelPlane::swap(PixelPlane& other) noexcept {
    std::swap(width_, other.width_);
    std::swap(height_, other.height_);
    std::swap(bitsPerPixel_, other.bitsPerPixel_);
    std::swap(rowStride_, other.rowStride_);
    std::swap(dataSize_, other.dataSize_);
    std::swap(factorX, other.factorX);
    std::swap(factorY, other.factorY);
    buffer_.swap(other.buffer_);
}

void PixelPlane::detach() {
    if (!buffer_ || buffer_.use_count() <= 1) {
        // use_count() is a relaxed load. The acquire fence pairs with the
        // release of the last other holder, so its reads of the block (copying
        // out of it on another thread) happen before this plane writes.
        std::atomic_thread_fence(std::memory_order_acquire);
        return;
    }
    auto own = std::make_shared<PixelBuffer>(dataSize_, false);
    if (dataSize_ != 0) std::memcpy(own->data(), buffer_->data(), dataSize_);
    buffer_ = std::move(own);
}

}  // namespace vivark
