// Size checks, allocation and copy-on-write of pixel planes.
#include "core/PixelPlane.h"

#if defined(__linux__)
#include <sys/mman.h>
#endif

#include <atomic>
#include <cstddef>
#include <cstring>
#include <stdexcept>

#include "core/Errors.h"

namespace vivark {

namespace {

#if defined(__linux__)
constexpr size_t kHugePage = size_t{2} << 20;
// Blocks from this size on are mapped; smaller ones come from the heap.
constexpr size_t kMappedFrom = size_t{4} << 20;
#endif

}  // namespace

PixelBuffer::PixelBuffer(uint32_t size, bool clear) : size_(size) {
    if (size == 0) return;
#if defined(__linux__)
    if (size >= kMappedFrom) {
        // Mapped with room to start on a huge-page boundary; anonymous pages
        // are zero, so `clear` needs no pass.
        const size_t wanted = (size_t{size} + kHugePage - 1) / kHugePage * kHugePage;
        const size_t length = wanted + kHugePage;
        void* region =
            ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (region != MAP_FAILED) {
            const uintptr_t start = reinterpret_cast<uintptr_t>(region);
            const uintptr_t aligned = (start + kHugePage - 1) / kHugePage * kHugePage;
            (void)::madvise(reinterpret_cast<void*>(aligned), wanted, MADV_HUGEPAGE);
            mapping_ = region;
            mappedBytes_ = length;
            block_ = reinterpret_cast<uint8_t*>(aligned);
            return;
        }
    }
#endif
    block_ = clear ? new uint8_t[size]() : new uint8_t[size];
}

PixelBuffer::~PixelBuffer() {
#if defined(__linux__)
    if (mapping_ != nullptr) {
        ::munmap(mapping_, mappedBytes_);
        return;
    }
#endif
    delete[] block_;
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
    if (!clear) {
        // A reader fills the pixels; the padding past each row's last byte
        // is zeroed here so that a plane's bytes never depend on the heap.
        const uint32_t used = static_cast<uint32_t>((uint64_t{width} * bitsPerPixel + 7) / 8);
        if (used < rowStride_)
            for (uint32_t y = 0; y < height_; ++y)
                std::memset(buffer_->data() + size_t{y} * rowStride_ + used, 0, rowStride_ - used);
    }
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
