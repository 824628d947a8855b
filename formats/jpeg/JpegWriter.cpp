// The JFIF writer (see JpegWriter.h). Library calls run through guarded().
#include "formats/jpeg/JpegWriter.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "codecs/jpeg/JpegLibrary.h"
#include "core/Errors.h"
#include "formats/jpeg/JpegExif.h"
#include "formats/jpeg/JpegFormat.h"

namespace vivark {
namespace {

constexpr size_t kMaxComment = 65533;

uint16_t roundedDensity(double value) {
    return static_cast<uint16_t>(std::clamp(value + 0.5, 0.0, 65535.0));
}

}  // namespace

void writeJfif(const Image& image, OutFile& out, const SaveOptions& options,
               ProgressCallback* progress) {
    JpegCompressor compressor(progress);
    JpegOutFileDestination destination;
    jpeg_compress_struct& c = compressor.cinfo;
    destination.attach(&c, out);

    const bool grey = image.bitsPerPixel() <= 8 && image.isGrey();
    const uint32_t width = image.width();
    const uint32_t height = image.height();
    c.image_width = width;
    c.image_height = height;
    c.input_components = grey ? 1 : 3;
    c.in_color_space = grey ? JCS_GRAYSCALE : JCS_RGB;

    const int quality = std::clamp<int>(options.integer(saveKey::JfifQuality), 0, 100);
    const int smooth = std::clamp<int>(options.integer(saveKey::JfifSmooth), 0, 100);
    const bool optimise = options.flag(saveKey::JfifEntropy);
    const bool progressive = options.flag(saveKey::JfifProgressive);

    std::vector<uint8_t> exif;
    if (options.flag(saveKey::JfifExif) && image.exif && !image.exif->empty()) {
        static const uint8_t kHeader[6] = {'E', 'x', 'i', 'f', 0, 0};
        exif.assign(kHeader, kHeader + 6);
        exif.insert(exif.end(), image.exif->begin(), image.exif->end());
        std::span<uint8_t> block(exif.data() + 6, exif.size() - 6);
        if (auto found = findExifOrientation(block)) resetExifOrientation(block, *found);
        updateExifPixelSize(block, width, height);
        if (exif.size() > 65533) exif.clear();
    }

    Resolution r = image.resolution;
    uint8_t unit = 0;
    if (r.unit == ResolutionUnit::PerInch) {
        unit = 1;
    } else if (r.unit == ResolutionUnit::PerMetre) {
        unit = 2;
        r.x *= 0.01;
        r.y *= 0.01;
    }

    guarded(compressor.state, [&] {
        jpeg_set_defaults(&c);
        jpeg_set_quality(&c, quality, TRUE);
        c.smoothing_factor = smooth;
        c.optimize_coding = optimise ? TRUE : FALSE;
        if (progressive) jpeg_simple_progression(&c);
        if (r.unit != ResolutionUnit::None && r.x > 0 && r.y > 0) {
            c.density_unit = unit;
            c.X_density = roundedDensity(r.x);
            c.Y_density = roundedDensity(r.y);
        }
        c.write_JFIF_header = exif.empty() ? TRUE : FALSE;
        jpeg_start_compress(&c, TRUE);
        if (!exif.empty())
            jpeg_write_marker(&c, JPEG_APP0 + 1, exif.data(), static_cast<unsigned>(exif.size()));
    });
    if (!image.comment.empty()) {
        const size_t length = std::min(image.comment.size(), kMaxComment);
        const auto* text = reinterpret_cast<const JOCTET*>(image.comment.data());
        guarded(compressor.state,
                [&] { jpeg_write_marker(&c, JPEG_COM, text, static_cast<unsigned>(length)); });
    }

    std::vector<uint8_t> row(size_t{width} * (grey ? 1 : 3));
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* source = image.plane.row(y);
        if (grey) {
            for (uint32_t x = 0; x < width; ++x) row[x] = image.palette[source[x]] & 0xFF;
        } else if (image.bitsPerPixel() <= 8) {
            for (uint32_t x = 0; x < width; ++x) {
                const Colour colour = image.palette[source[x]];
                row[3 * x] = static_cast<uint8_t>(colour >> 16);
                row[3 * x + 1] = static_cast<uint8_t>(colour >> 8);
                row[3 * x + 2] = static_cast<uint8_t>(colour);
            }
        } else {
            for (uint32_t x = 0; x < width; ++x) {
                row[3 * x] = source[3 * x + 2];
                row[3 * x + 1] = source[3 * x + 1];
                row[3 * x + 2] = source[3 * x];
            }
        }
        JSAMPROW rows[1] = {row.data()};
        guarded(compressor.state, [&] { jpeg_write_scanlines(&c, rows, 1); });
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    guarded(compressor.state, [&] { jpeg_finish_compress(&c); });
}

}  // namespace vivark
