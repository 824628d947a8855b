// Writes IFF ILBM pictures: a FORM ILBM of a BMHD, a CMAP for palette images
// and a BODY. Palette images of 1, 4 and 8 bits become as many bit planes
// with a colour map of 2, 16 or 256 entries; 24-bit images become 24-plane
// deep ILBM (red in planes 0-7 from its lowest bit, then green, then blue).
// A palette image's transparent index is written as the transparent colour
// (masking 2); an alpha plane is not written (the one-bit mask of ILBM
// would lose it).
//
// SaveOptions\IFF\Encode codes each plane row with ByteRun1 (PackBits,
// compression 1); otherwise the planes are stored as they are.
#include "formats/iff/IffWriter.h"

#include <cstring>
#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/PackBitsEncoder.h"
#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "core/RowOps.h"

namespace vivark {
namespace {

void putChunk(OutFile& out, const char* name, const uint8_t* data, size_t length) {
    out.write(name, 4);
    out.writeBE32(static_cast<uint32_t>(length));
    out.write(data, length);
    if (length & 1) out.writeByte(0);
}

}  // namespace

void writeIff(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress) {
    const uint32_t width = image.width(), height = image.height();
    if (width == 0 || height == 0 || width > 0xFFFF || height > 0xFFFF)
        throw IFFERROR::UnsupportedPlanes;
    const uint32_t planes = image.bitsPerPixel();
    const bool byteRun = options.flag(saveKey::IffEncode);

    uint8_t header[20] = {};
    storeBE16(header, static_cast<uint16_t>(width));
    storeBE16(header + 2, static_cast<uint16_t>(height));
    header[8] = static_cast<uint8_t>(planes);
    header[10] = byteRun ? 1 : 0;
    if (image.hasPalette() && image.transparentIndex) {
        header[9] = 2;  // masking: a transparent colour
        storeBE16(header + 12, *image.transparentIndex);
    }
    header[14] = header[15] = 1;  // square pixels
    storeBE16(header + 16, static_cast<uint16_t>(width));
    storeBE16(header + 18, static_cast<uint16_t>(height));

    std::vector<uint8_t> map;
    if (image.hasPalette()) {
        for (uint32_t i = 0; i < (1u << planes); ++i) {
            const Colour c = image.palette[i];
            map.insert(map.end(), {redOf(c), greenOf(c), blueOf(c)});
        }
    }

    // The body, coded plane row by plane row.
    const size_t planeBytes = (size_t{width} + 15) / 16 * 2;
    std::vector<uint8_t> body;
    MemorySink sink(body);
    PackBitsEncoder packBits;
    StreamEncoder plain;
    StreamEncoder& encoder = byteRun ? static_cast<StreamEncoder&>(packBits) : plain;
    encoder.attach(&sink);
    std::vector<uint8_t> indices(width);
    std::vector<uint8_t> planeRow(planeBytes);
    std::vector<uint32_t> values(width);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = image.plane.row(y);
        if (planes == 24) {
            for (uint32_t x = 0; x < width; ++x)
                values[x] = uint32_t{row[3 * x + 2]} | uint32_t{row[3 * x + 1]} << 8 |
                            uint32_t{row[3 * x]} << 16;
        } else {
            unpackIndices(row, indices.data(), width, planes);
            for (uint32_t x = 0; x < width; ++x) values[x] = indices[x];
        }
        for (uint32_t b = 0; b < planes; ++b) {
            std::memset(planeRow.data(), 0, planeBytes);
            for (uint32_t x = 0; x < width; ++x)
                planeRow[x >> 3] |= static_cast<uint8_t>((values[x] >> b & 1) << (7 - (x & 7)));
            encoder.encode(planeRow.data(), planeBytes);
        }
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    encoder.finish();
    encoder.close();

    const auto padded = [](size_t n) { return n + (n & 1); };
    const uint64_t formLength = 4 + 8 + sizeof header + (map.empty() ? 0 : 8 + padded(map.size())) +
                                8 + padded(body.size());
    if (formLength > 0xFFFFFFFFu) throw IFFERROR::UnsupportedPlanes;
    out.write("FORM", 4);
    out.writeBE32(static_cast<uint32_t>(formLength));
    out.write("ILBM", 4);
    putChunk(out, "BMHD", header, sizeof header);
    if (!map.empty()) putChunk(out, "CMAP", map.data(), map.size());
    putChunk(out, "BODY", body.data(), body.size());
}

}  // namespace vivark
