// Writes PC Paint/Pictor images in the layout the reader describes, packed
// in blocks.
//
// Layouts: 1-bit images as one 1-bit plane; 4-bit images as four 1-bit
// planes (the EGA's layout, which every program of the format reads); 8-bit
// images as one 8-bit plane. Palettes: the VGA form (6 bits a primary) for
// every depth, except that with SaveOptions\PC Paint/Pictor\EGA Palette on,
// 1- and 4-bit images carry EGA colour numbers, each entry the nearest of
// the EGA's 64 colours, as EGA screens show them. The video mode byte is 0
// (not stated).
//
// Blocks unpack to at most 32768 bytes; each takes as its run marker its
// least frequent byte, so a literal marker (written as a run of one) costs
// little. Runs of four or more bytes are packed, up to 255 with a count
// byte and up to 65535 with a 16-bit count.
#include "formats/pictor/PictorWriter.h"

#include <algorithm>
#include <array>
#include <vector>

#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/pictor/PictorFormat.h"

namespace vivark {
namespace {

constexpr size_t kBlockBytes = 32768;

uint8_t nearestEga(Colour c) {
    uint8_t best = 0;
    int bestDistance = 1 << 30;
    for (uint8_t n = 0; n < 64; ++n) {
        const Colour e = egaColour(n);
        const int dr = int(redOf(c)) - redOf(e), dg = int(greenOf(c)) - greenOf(e),
                  db = int(blueOf(c)) - blueOf(e);
        const int distance = dr * dr + dg * dg + db * db;
        if (distance < bestDistance) {
            bestDistance = distance;
            best = n;
        }
    }
    return best;
}

// Collects the picture's bytes and writes them as blocks.
class BlockWriter {
  public:
    explicit BlockWriter(OutFile& out) : out_(&out) { chunk_.reserve(kBlockBytes); }
    void put(const uint8_t* bytes, size_t count) {
        while (count != 0) {
            const size_t n = std::min(count, kBlockBytes - chunk_.size());
            chunk_.insert(chunk_.end(), bytes, bytes + n);
            bytes += n;
            count -= n;
            if (chunk_.size() == kBlockBytes) flush();
        }
    }
    void flush() {
        if (chunk_.empty()) return;
        std::array<uint32_t, 256> counts{};
        for (uint8_t b : chunk_) ++counts[b];
        const uint8_t marker =
            static_cast<uint8_t>(std::min_element(counts.begin(), counts.end()) - counts.begin());
        packed_.clear();
        for (size_t at = 0; at < chunk_.size();) {
            const uint8_t value = chunk_[at];
            size_t run = 1;
            while (run < 0xFFFF && at + run < chunk_.size() && chunk_[at + run] == value) ++run;
            if (run >= 4 || value == marker) {
                packed_.push_back(marker);
                if (run <= 255) {
                    packed_.push_back(static_cast<uint8_t>(run));
                } else {
                    packed_.push_back(0);
                    packed_.push_back(static_cast<uint8_t>(run));
                    packed_.push_back(static_cast<uint8_t>(run >> 8));
                }
                packed_.push_back(value);
                at += run;
            } else {
                packed_.insert(packed_.end(), run, value);
                at += run;
            }
        }
        // At most chunk + 2 × chunk / 256 bytes: well inside 16 bits.
        out_->writeLE16(static_cast<uint16_t>(packed_.size() + 5));
        out_->writeLE16(static_cast<uint16_t>(chunk_.size()));
        out_->writeByte(marker);
        out_->write(packed_.data(), packed_.size());
        chunk_.clear();
        ++blocks_;
    }
    uint32_t blocks() const { return blocks_; }

  private:
    OutFile* out_;
    std::vector<uint8_t> chunk_, packed_;
    uint32_t blocks_ = 0;
};

}  // namespace

void writePictor(const Image& image, OutFile& out, const SaveOptions& options,
                 ProgressCallback* progress) {
    const uint32_t width = image.width(), height = image.height();
    const uint32_t depth = image.bitsPerPixel();
    if (depth > 8 || width == 0 || height == 0 || width > 0xFFFF || height > 0xFFFF)
        throw PICERROR::InvalidFile;
    const uint32_t planes = depth == 4 ? 4 : 1, bits = depth == 4 ? 1 : depth;
    const uint32_t entries = 1u << depth;
    const bool ega = depth <= 4 && options.flag(saveKey::PictorEgaPalette);
    const size_t rowBytes = (size_t{width} * bits + 7) / 8;
    if (uint64_t{rowBytes} * height * planes > uint64_t{0xFFFF} * kBlockBytes)
        throw PICERROR::InvalidFile;

    out.writeLE16(0x1234);
    out.writeLE16(static_cast<uint16_t>(width));
    out.writeLE16(static_cast<uint16_t>(height));
    out.writeLE16(0);
    out.writeLE16(0);
    out.writeByte(static_cast<uint8_t>((planes - 1) << 4 | bits));
    out.writeByte(0xFF);
    out.writeByte(0);  // video mode
    out.writeLE16(ega ? pictorPalette::Ega : pictorPalette::Vga);
    out.writeLE16(static_cast<uint16_t>(ega ? entries : 3 * entries));
    for (uint32_t i = 0; i < entries; ++i) {
        const Colour c = image.palette[i];
        if (ega) {
            out.writeByte(nearestEga(c));
        } else {
            const uint8_t triple[3] = {static_cast<uint8_t>(redOf(c) >> 2),
                                       static_cast<uint8_t>(greenOf(c) >> 2),
                                       static_cast<uint8_t>(blueOf(c) >> 2)};
            out.write(triple, 3);
        }
    }
    const int64_t countAt = out.tell();
    out.writeLE16(0);  // block count, patched below

    BlockWriter blocks(out);
    std::vector<uint8_t> indices(depth == 4 ? width : 0), bitsOut(indices.size());
    std::vector<uint8_t> line(rowBytes);
    const uint32_t steps = planes * height;
    for (uint32_t p = 0; p < planes; ++p) {
        for (uint32_t r = 0; r < height; ++r) {
            const uint8_t* row = image.plane.row(height - 1 - r);
            if (depth == 4) {
                unpackIndices(row, indices.data(), width, 4);
                for (uint32_t x = 0; x < width; ++x) bitsOut[x] = (indices[x] >> p) & 1;
                packIndices(bitsOut.data(), line.data(), width, 1);
                blocks.put(line.data(), rowBytes);
            } else {
                std::copy(row, row + rowBytes, line.begin());
                if (depth == 1 && width % 8 != 0)
                    line[(width - 1) / 8] &= static_cast<uint8_t>(0xFF00u >> (width % 8));
                blocks.put(line.data(), rowBytes);
            }
            if (progressCancelled(progress, p * height + r + 1, steps))
                throw OUTFILEERROR::Cancelled;
        }
    }
    blocks.flush();
    const int64_t end = out.tell();
    out.seek(countAt);
    out.writeLE16(static_cast<uint16_t>(blocks.blocks()));
    out.seek(end);
}

}  // namespace vivark
