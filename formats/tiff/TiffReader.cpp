// The TIFF reader: finds the page asked for along the directory chain, reads
// its tags (TiffPage), chooses the sample layout (TiffRows), and decodes its
// strips or tiles one at a time, each held whole in its coded form only
// while it is decoded, through the codec its compression needs.
//
// Where TIFFERROR 0, 5 and 9 are raised: samples the pixel stage has no form
// for (UnsupportedDataType), a colour map for more than 8 bits
// (ColourMapTooLarge), and a page whose PhotometricInterpretation is missing
// and cannot be guessed from its sample count (MissingPhotometric). A page
// the file does not have, strips or tiles fewer than the page needs, and a
// zero width or length are DataIntegrity.
#include "formats/tiff/TiffReader.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "codecs/ByteSources.h"
#include "core/Errors.h"
#include "core/pixels/Samples.h"
#include "formats/tiff/TiffCodecs.h"
#include "formats/tiff/TiffDirectory.h"
#include "formats/tiff/TiffFormat.h"
#include "formats/tiff/TiffJpeg.h"
#include "formats/tiff/TiffPage.h"
#include "formats/tiff/TiffRows.h"

namespace vivark {
namespace {

bool isFax(uint32_t compression) {
    return compression == 2 || compression == 3 || compression == 4 || compression == 32771;
}

bool isJpeg(uint32_t compression) {
    return compression == 6 || compression == 7;
}

// Where a page's strips or tiles lie.
struct ChunkGrid {
    uint32_t width = 0, height = 0;  // of one strip or tile
    uint32_t across = 1, down = 1;
    uint32_t planes = 1;
    std::vector<uint32_t> offsets, counts;
    bool tiled = false;
};

ChunkGrid chunkGrid(const TiffPageInfo& info, const TiffSampleLayout& layout) {
    ChunkGrid g;
    g.planes = layout.planar ? layout.samples : 1;
    g.tiled = info.tiled();
    if (info.compression == 6 && info.jpegInterchangeFormat != 0) {
        // One JPEG stream holds the whole page.
        g.width = layout.width;
        g.height = layout.height;
        g.offsets = {info.jpegInterchangeFormat};
        if (info.jpegInterchangeLength != 0) g.counts = {info.jpegInterchangeLength};
        g.planes = 1;
        g.tiled = false;
        return g;
    }
    if (g.tiled) {
        if (info.tileWidth == 0 || info.tileLength == 0) throw TIFFERROR::DataIntegrity;
        g.width = info.tileWidth;
        g.height = info.tileLength;
        g.across = static_cast<uint32_t>((uint64_t{layout.width} + g.width - 1) / g.width);
        g.offsets = info.tileOffsets.empty() ? info.stripOffsets : info.tileOffsets;
        g.counts = info.tileByteCounts.empty() ? info.stripByteCounts : info.tileByteCounts;
    } else {
        g.width = layout.width;
        g.height =
            info.rowsPerStrip == 0 ? layout.height : std::min(info.rowsPerStrip, layout.height);
        g.offsets = info.stripOffsets;
        g.counts = info.stripByteCounts;
    }
    g.down = static_cast<uint32_t>((uint64_t{layout.height} + g.height - 1) / g.height);
    const uint64_t needed = uint64_t{g.across} * g.down * g.planes;
    if (g.offsets.size() < needed) throw TIFFERROR::DataIntegrity;
    return g;
}

class TiffReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override;

  private:
    // Makes the coded bytes of chunk `index` ready for the decoder.
    void loadChunk(uint32_t index, uint64_t rawBytes);
    void startChunk(uint32_t columns, uint32_t rows);

    TiffDirectoryReader* dir_ = nullptr;
    const TiffPageInfo* info_ = nullptr;
    const ChunkGrid* grid_ = nullptr;
    std::vector<uint8_t> coded_;
    std::optional<MemorySource> source_;
    std::unique_ptr<StreamDecoder> decoder_;
    TiffJpegDecoder* jpeg_ = nullptr;
};

void TiffReader::loadChunk(uint32_t index, uint64_t rawBytes) {
    const uint64_t fileLength = dir_->fileLength();
    const uint64_t offset = grid_->offsets[index];
    if (offset >= fileLength) throw TIFFERROR::DataIntegrity;
    // A missing byte count: what an uncompressed chunk holds, or the rest of the file.
    uint64_t count = index < grid_->counts.size() ? grid_->counts[index]
                     : info_->compression == 1    ? rawBytes
                                                  : fileLength - offset;
    count = std::min(count, fileLength - offset);
    coded_.resize(static_cast<size_t>(count));
    file_->seek(static_cast<int64_t>(offset));
    file_->read(coded_.data(), coded_.size());
    if (info_->fillOrder == 2 && !isFax(info_->compression))
        reverseBits(coded_.data(), coded_.size());
}

void TiffReader::startChunk(uint32_t columns, uint32_t rows) {
    if (jpeg_ != nullptr) {
        jpeg_->start(coded_, columns, rows);
        return;
    }
    source_.emplace(std::span<const uint8_t>(coded_));
    decoder_->attach(&*source_);
    decoder_->reset();
}

void TiffReader::readInto(Image& image, const ReadOptions& options) {
    InFile& file = *file_;
    TiffDirectoryReader dir(file);
    dir_ = &dir;
    if (!dir.checkHeader()) throw TIFFERROR::InvalidFile;
    if (!dir.firstDirectory()) throw TIFFERROR::InvalidFile;

    uint32_t pages = 0, pageOffset = 0;
    do {
        ++pages;
        if (pages == image.pageNumber) pageOffset = dir.directoryOffset();
    } while (dir.nextDirectory());
    if (pageOffset == 0) throw TIFFERROR::DataIntegrity;
    dir.openDirectory(pageOffset);

    TiffPageInfo info;
    readTiffPage(dir, info, file);
    info_ = &info;
    const TiffSampleLayout layout = tiffSampleLayout(info, dir.bigEndian());
    const ChunkGrid grid = chunkGrid(info, layout);
    grid_ = &grid;

    image.pageCount = pages;
    image.formatTag = makeTag("TIFF");
    const Orientation orientation = Orientation::of(info.orientation);
    const uint32_t bits = TiffRowWriter::outputBits(layout, info.orientation);
    const uint32_t outW = orientation.swap ? layout.height : layout.width;
    const uint32_t outH = orientation.swap ? layout.width : layout.height;
    if (!options.limits.allows(outW, outH, bits)) throw IMAGEERROR::TooLarge;
    if (info.xResolution > 0 && info.yResolution > 0) {
        Resolution r;
        const double scale = info.resolutionUnit == 3 ? 100.0 : 1.0;
        r.x = (orientation.swap ? info.yResolution : info.xResolution) * scale;
        r.y = (orientation.swap ? info.xResolution : info.yResolution) * scale;
        r.unit = info.resolutionUnit == 2   ? ResolutionUnit::PerInch
                 : info.resolutionUnit == 3 ? ResolutionUnit::PerMetre
                                            : ResolutionUnit::Ratio;
        image.resolution = r;
    }

    // A headers-only read ends here: page count, tag and resolution, no pixels.
    if (options.headerOnly) return;

    // Bytes of one stored row (or row of YCbCr blocks) of a chunk, and of a
    // band of chunks side by side. A tile row must start on a byte.
    const uint64_t chunkRowBytes = layout.rowBytes(grid.width);
    if (grid.tiled &&
        (uint64_t{grid.width} * layout.bits * (layout.planar ? 1 : layout.samples)) % 8)
        throw TIFFERROR::UnsupportedDataType;
    const uint64_t bandRowBytes = chunkRowBytes * grid.across;
    const uint32_t unitRows = layout.unitRows();
    const uint32_t unitsPerChunk = (grid.height + unitRows - 1) / unitRows;
    // Chunky strips are decoded a row at a time; tiles and planes a band of
    // one strip or tile height at a time.
    const bool rowAtATime = !grid.tiled && grid.planes == 1;
    const uint64_t bandUnits = rowAtATime ? 1 : std::min<uint64_t>(unitsPerChunk, layout.height);
    const uint64_t bandBytes = bandRowBytes * bandUnits * grid.planes;
    const uint64_t allowance = options.limits.maxBytes * 4 + 65536;
    const uint64_t rowSamples = uint64_t{layout.width} * layout.samples;
    if (bandBytes > allowance || chunkRowBytes > allowance || rowSamples > allowance)
        throw IMAGEERROR::TooLarge;

    if (isJpeg(info.compression)) {
        auto jpeg = std::make_unique<TiffJpegDecoder>(info, static_cast<uint32_t>(chunkRowBytes));
        jpeg_ = jpeg.get();
        decoder_ = std::move(jpeg);
    } else {
        decoder_ = makeTiffDecoder(info, grid.width, static_cast<uint32_t>(chunkRowBytes));
    }

    TiffRowWriter writer(layout, info, image);
    std::vector<uint8_t> band(static_cast<size_t>(bandBytes) + 8);
    std::vector<uint8_t*> planes(grid.planes);
    const uint32_t chunksPerPlane = grid.across * grid.down;
    uint32_t done = 0;
    auto report = [&](uint32_t rows) {
        done = std::min(done + rows, layout.height);
        if (progressCancelled(options.progress, done, layout.height)) throw INFILEERROR::Cancelled;
    };

    for (uint32_t cy = 0; cy < grid.down; ++cy) {
        const uint32_t top = cy * grid.height;
        const uint32_t rowsHere = std::min(grid.height, layout.height - top);
        const uint32_t unitsHere = (rowsHere + unitRows - 1) / unitRows;
        if (rowAtATime) {
            loadChunk(cy, chunkRowBytes * unitsHere);
            startChunk(grid.width, rowsHere);
            planes[0] = band.data();
            for (uint32_t u = 0; u < unitsHere; ++u) {
                const uint32_t y = top + u * unitRows;
                // Rows already in the Image's form are decoded into it.
                if (uint8_t* direct = writer.directRow(y)) {
                    decoder_->decode(direct, static_cast<size_t>(chunkRowBytes));
                } else {
                    decoder_->decode(band.data(), static_cast<size_t>(chunkRowBytes));
                    writer.write(y, planes.data());
                }
                report(std::min(unitRows, layout.height - y));
            }
            continue;
        }
        for (uint32_t p = 0; p < grid.planes; ++p) {
            uint8_t* plane = band.data() + size_t(bandRowBytes * bandUnits * p);
            for (uint32_t tx = 0; tx < grid.across; ++tx) {
                const uint32_t index = p * chunksPerPlane + cy * grid.across + tx;
                loadChunk(index, chunkRowBytes * unitsPerChunk);
                startChunk(grid.width, grid.tiled ? grid.height : rowsHere);
                for (uint32_t u = 0; u < unitsHere; ++u)
                    decoder_->decode(plane + size_t(bandRowBytes * u + chunkRowBytes * tx),
                                     static_cast<size_t>(chunkRowBytes));
            }
        }
        for (uint32_t u = 0; u < unitsHere; ++u) {
            for (uint32_t p = 0; p < grid.planes; ++p)
                planes[p] = band.data() + size_t(bandRowBytes * bandUnits * p + bandRowBytes * u);
            const uint32_t y = top + u * unitRows;
            writer.write(y, planes.data());
            report(std::min(unitRows, layout.height - y));
        }
    }
    writer.finish();
}

}  // namespace

std::unique_ptr<ImageReader> makeTiffReader(InFile& file) {
    return std::make_unique<TiffReader>(file);
}

}  // namespace vivark
