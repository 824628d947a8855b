// RLE8 and RLE4 bitmap data, both ways.
//
// Decoding fills one row of indices at a time and stores it packed into the
// image. Pixels that a delta skips stay index 0. A run or an absolute span
// that passes the end of a row, a delta that leaves the image, or pixel data
// after the last row is refused with BMPERROR::DataOverrun. Pixels that fall
// in a row's padding (as stored uncompressed: some encoders pad runs to an
// even or four-byte count) are dropped. Data that ends after the last row without an end-of-bitmap
// code is accepted.
//
// Encoding writes runs of two or more equal pixels as encoded runs and other
// spans as absolute runs (three pixels or more; shorter ones as runs of one),
// each at most 255 pixels. The caller adds the end-of-line and end-of-bitmap
// codes.
#include <algorithm>
#include <vector>

#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/bmp/BmpFormat.h"

namespace vivark::bmp {
namespace {

class RleDecoder {
  public:
    RleDecoder(InFile& file, const BmpHeader& h, Image& image, const ReadOptions& options)
        : file_(file),
          h_(h),
          image_(image),
          options_(options),
          bits_(h.compression == kRle8 ? 8 : 4),
          paddedWidth_(static_cast<uint32_t>(storedRowBytes(h.width, bits_) * 8 / bits_)),
          indices_(h.width, 0) {}

    void run() {
        for (;;) {
            if (row_ >= h_.height && bytesLeft(file_) < 2) return;
            const uint8_t count = file_.readByte();
            const uint8_t value = file_.readByte();
            if (count != 0) {
                for (unsigned i = 0; i < count; ++i)
                    put(bits_ == 8 ? value : (i & 1 ? value & 0x0F : value >> 4));
                continue;
            }
            switch (value) {
                case 0:  // end of line
                    nextRows(1);
                    x_ = 0;
                    break;
                case 1:  // end of bitmap
                    if (row_ < h_.height) storeRow();
                    return;
                case 2: {  // delta
                    const uint8_t dx = file_.readByte();
                    const uint8_t dy = file_.readByte();
                    x_ += dx;
                    if (dy != 0) nextRows(dy);
                    if (x_ > h_.width) throw BMPERROR::DataOverrun;
                    break;
                }
                default:
                    absolute(value);
                    break;
            }
        }
    }

  private:
    void put(uint8_t index) {
        if (row_ >= h_.height) throw BMPERROR::DataOverrun;
        if (x_ >= h_.width) {
            if (x_ >= paddedWidth_) throw BMPERROR::DataOverrun;
            ++x_;
            return;
        }
        indices_[x_++] = index;
    }

    void absolute(unsigned count) {
        const unsigned bytes = bits_ == 8 ? count : (count + 1) / 2;
        for (unsigned i = 0; i < count; ++i) {
            if (bits_ == 8) {
                put(file_.readByte());
            } else {
                if ((i & 1) == 0) pair_ = file_.readByte();
                put(i & 1 ? pair_ & 0x0F : pair_ >> 4);
            }
        }
        if (bytes & 1) file_.readByte();
    }

    void storeRow() {
        const uint32_t y = h_.topDown ? row_ : h_.height - 1 - row_;
        packIndices(indices_.data(), image_.plane.mutableRow(y), h_.width, bits_);
        std::fill(indices_.begin(), indices_.end(), 0);
    }

    void nextRows(uint32_t count) {
        if (uint64_t{row_} + count > h_.height) throw BMPERROR::DataOverrun;
        storeRow();
        for (uint32_t i = 0; i < count; ++i) {
            ++row_;
            rowDone(options_, row_, h_.height);
        }
    }

    InFile& file_;
    const BmpHeader& h_;
    Image& image_;
    const ReadOptions& options_;
    const unsigned bits_;
    const uint32_t paddedWidth_;
    std::vector<uint8_t> indices_;
    uint32_t x_ = 0;
    uint32_t row_ = 0;  // rows in file order
    uint8_t pair_ = 0;
};

}  // namespace

void readRlePixels(InFile& file, const BmpHeader& header, Image& image,
                   const ReadOptions& options) {
    RleDecoder(file, header, image, options).run();
}

void encodeRleRow(const uint8_t* indices, uint32_t width, unsigned bits,
                  std::vector<uint8_t>& out) {
    auto runByte = [bits](uint8_t v) { return bits == 8 ? v : static_cast<uint8_t>(v << 4 | v); };
    uint32_t x = 0;
    while (x < width) {
        uint32_t run = 1;
        while (x + run < width && run < 255 && indices[x + run] == indices[x]) ++run;
        if (run >= 2) {
            out.push_back(static_cast<uint8_t>(run));
            out.push_back(runByte(indices[x]));
            x += run;
            continue;
        }
        const uint32_t start = x;
        while (x < width && x - start < 255) {
            if (x + 2 < width && indices[x] == indices[x + 1] && indices[x] == indices[x + 2])
                break;
            ++x;
        }
        const uint32_t count = x - start;
        if (count < 3) {
            for (uint32_t i = start; i < x; ++i) {
                out.push_back(1);
                out.push_back(runByte(indices[i]));
            }
            continue;
        }
        out.push_back(0);
        out.push_back(static_cast<uint8_t>(count));
        uint32_t bytes = 0;
        if (bits == 8) {
            out.insert(out.end(), indices + start, indices + x);
            bytes = count;
        } else {
            for (uint32_t i = start; i < x; i += 2) {
                const uint8_t low = i + 1 < x ? indices[i + 1] & 0x0F : 0;
                out.push_back(static_cast<uint8_t>((indices[i] & 0x0F) << 4 | low));
                ++bytes;
            }
        }
        if (bytes & 1) out.push_back(0);
    }
}

}  // namespace vivark::bmp
