// PixelBuffer and PixelPlane: shared pixel storage and the raster over it.
//
// A PixelPlane is one raster of rows stored bottom-up (picture row 0 is the
// last row of the block), each padded to a multiple of four bytes. Its pixels
// live in a PixelBuffer shared between copies by reference count: copying a
// plane never copies pixels. The count is atomic, so copies of one image may
// travel to other threads. Writing through a plane whose buffer is shared
// first gives that plane a private copy, so no plane ever changes pixels that
// another plane shows.
//
// Sizes are computed in 64 bits; a plane whose pixel block would need 2 GiB or
// more is refused with IMAGEERROR::TooLarge before anything is allocated.
// Depths are 1, 4, 8 (through the palette) and 24 (blue, green, red).
#pragma once

#include <cstdint>
#include <memory>

namespace vivark {

class PixelBuffer {
  public:
    // A block of `size` bytes, zero-filled when `clear` is set. Large blocks
    // are mapped from the system in huge pages where it offers them: a
    // 12-megabyte photo then costs a handful of page faults, not three
    // thousand, and arrives zeroed at no extra cost.
    PixelBuffer(uint32_t size, bool clear);
    ~PixelBuffer();
    PixelBuffer(const PixelBuffer&) = delete;
    PixelBuffer& operator=(const PixelBuffer&) = delete;

    uint8_t* data() { return block_; }
    const uint8_t* data() const { return block_; }
    uint32_t size() const { return size_; }

  private:
    uint8_t* block_ = nullptr;  // null when size is 0
    void* mapping_ = nullptr;   // the mapped region holding a large block
    size_t mappedBytes_ = 0;
    uint32_t size_;
};

struct PlaneHeader {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t bitsPerPixel = 0;
};

class PixelPlane {
  public:
    // Bytes per row, or 0 when the row would not fit in 32 bits.
    static constexpr uint64_t strideFor(uint32_t width, uint32_t bitsPerPixel) {
        return (uint64_t{width} * bitsPerPixel + 31) / 32 * 4;
    }
    static constexpr bool isSupportedDepth(uint32_t bitsPerPixel) {
        return bitsPerPixel == 1 || bitsPerPixel == 4 || bitsPerPixel == 8 || bitsPerPixel == 24;
    }
    // The largest pixel block a plane may hold, exclusive.
    static constexpr uint64_t kSizeLimit = 0x80000000u;

    // An empty plane: no pixels, all sizes 0.
    PixelPlane() = default;
    // A plane of the given size; its pixels are zeroed when `clear` is set and
    // left for the caller to fill otherwise (the padding at each row's end is
    // zeroed either way). Throws IMAGEERROR::TooLarge.
    PixelPlane(uint32_t width, uint32_t height, uint32_t bitsPerPixel, bool clear);
    PixelPlane(const PlaneHeader& header, bool clear)
        : PixelPlane(header.width, header.height, header.bitsPerPixel, clear) {}
    // A plane initialised from dataSize bytes at `pixels`, or zeroed when null.
    PixelPlane(uint32_t width, uint32_t height, uint32_t bitsPerPixel, const uint8_t* pixels);

    // Copies share the pixels. A moved-from plane is empty.
    PixelPlane(const PixelPlane&) = default;
    PixelPlane& operator=(const PixelPlane&) = default;
    PixelPlane(PixelPlane&& other) noexcept { swap(other); }
    PixelPlane& operator=(PixelPlane&& other) noexcept {
        PixelPlane taken;
        taken.swap(other);
        swap(taken);
        return *this;
    }
    void swap(PixelPlane& other) noexcept;

    uint32_t width() const { return width_; }
    uint32_t height() const { return height_; }
    uint32_t bitsPerPixel() const { return bitsPerPixel_; }
    uint32_t rowStride() const { return rowStride_; }
    uint32_t dataSize() const { return dataSize_; }
    bool empty() const { return dataSize_ == 0; }

    // The whole block, bottom row first.
    const uint8_t* data() const { return buffer_ ? buffer_->data() : nullptr; }
    uint8_t* mutableData() {
        detach();
        return buffer_ ? buffer_->data() : nullptr;
    }
    // Picture row y, counted from the top.
    const uint8_t* row(uint32_t y) const { return data() + rowOffset(y); }
    uint8_t* mutableRow(uint32_t y) { return mutableData() + rowOffset(y); }
    size_t rowOffset(uint32_t y) const { return size_t{height_ - 1 - y} * rowStride_; }

    // Replaces every pixel with dataSize bytes from `pixels`, in a new buffer
    // (a shared buffer is never written).
    void replacePixels(const uint8_t* pixels);

    // Sharing, for callers that want to know (and tests).
    bool sharesPixelsWith(const PixelPlane& other) const { return buffer_ == other.buffer_; }
    long shareCount() const { return buffer_.use_count(); }

    double factorX = 1.0;
    double factorY = 1.0;

  private:
    void detach();

    uint32_t width_ = 0;
    uint32_t height_ = 0;
    uint32_t bitsPerPixel_ = 0;
    uint32_t rowStride_ = 0;
    uint32_t dataSize_ = 0;
    std::shared_ptr<PixelBuffer> buffer_;  // null for an empty plane
};

}  // namespace vivark
