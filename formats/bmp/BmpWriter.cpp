// The two bitmap writers over one routine: file header, info header of the
// chosen variant, palette, then the rows from the bottom up, uncompressed or
// RLE-encoded (the sizes of an encoded file are patched in at the end).
#include "formats/bmp/BmpWriter.h"

#include <cmath>
#include <vector>

#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/bmp/BmpFormat.h"

namespace vivark {
namespace {

enum class HeaderKind { Windows, Os2Core, Os2Extended };

int32_t pelsPerMetre(double value, ResolutionUnit unit) {
    if (unit == ResolutionUnit::PerMetre) return static_cast<int32_t>(std::lround(value));
    if (unit == ResolutionUnit::PerInch) return static_cast<int32_t>(std::lround(value / 0.0254));
    return 0;
}

void writeBitmap(const Image& image, OutFile& out, HeaderKind kind, bool encode,
                 ProgressCallback* progress) {
    using namespace bmp;
    const uint32_t bits = image.bitsPerPixel();
    const uint32_t width = image.width();
    const uint32_t height = image.height();
    if (kind == HeaderKind::Os2Core && (width > 0xFFFF || height > 0xFFFF))
        throw SAVEERROR::TooLargeForFormat;
    const uint32_t compression = !encode || kind == HeaderKind::Os2Core ? kNone
                                 : bits == 8                            ? kRle8
                                 : bits == 4                            ? kRle4
                                                                        : kNone;
    const uint32_t headerSize = kind == HeaderKind::Windows   ? kInfoHeaderSize
                                : kind == HeaderKind::Os2Core ? kCoreHeaderSize
                                                              : kOs2HeaderSize;
    const uint32_t entrySize = kind == HeaderKind::Os2Core ? 3 : 4;
    const uint32_t entries = bits <= 8 ? 1u << bits : 0;
    const uint32_t pixelOffset = kFileHeaderSize + headerSize + entries * entrySize;
    const uint32_t rawSize = image.plane.dataSize();
    const int64_t start = out.tell();

    out.writeLE16(kTypeBitmap);
    out.writeLE32(pixelOffset + rawSize);  // patched after encoding
    out.writeLE32(0);
    out.writeLE32(pixelOffset);
    out.writeLE32(headerSize);
    if (kind == HeaderKind::Os2Core) {
        out.writeLE16(static_cast<uint16_t>(width));
        out.writeLE16(static_cast<uint16_t>(height));
        out.writeLE16(1);
        out.writeLE16(static_cast<uint16_t>(bits));
    } else {
        out.writeLE32(width);
        out.writeLE32(height);
        out.writeLE16(1);
        out.writeLE16(static_cast<uint16_t>(bits));
        out.writeLE32(compression);
        out.writeLE32(rawSize);  // patched after encoding
        out.writeLE32(
            static_cast<uint32_t>(pelsPerMetre(image.resolution.x, image.resolution.unit)));
        out.writeLE32(
            static_cast<uint32_t>(pelsPerMetre(image.resolution.y, image.resolution.unit)));
        out.writeLE32(0);  // all entries of the depth are used
        out.writeLE32(0);
        if (kind == HeaderKind::Os2Extended) {
            const uint8_t rest[kOs2HeaderSize - kInfoHeaderSize] = {};  // units, rendering...
            out.write(rest, sizeof rest);
        }
    }
    for (uint32_t i = 0; i < entries; ++i) {
        const Colour c = image.palette[i];
        const uint8_t bgr0[4] = {blueOf(c), greenOf(c), redOf(c), 0};
        out.write(bgr0, entrySize);
    }

    if (compression == kNone) {
        for (uint32_t i = 0; i < height; ++i) {
            out.write(image.plane.row(height - 1 - i), image.plane.rowStride());
            if (progressCancelled(progress, i + 1, height)) throw OUTFILEERROR::Cancelled;
        }
        return;
    }
    std::vector<uint8_t> indices(width);
    std::vector<uint8_t> encoded;
    uint64_t encodedSize = 0;
    for (uint32_t i = 0; i < height; ++i) {
        unpackIndices(image.plane.row(height - 1 - i), indices.data(), width, bits);
        encoded.clear();
        encodeRleRow(indices.data(), width, bits, encoded);
        encoded.push_back(0);
        encoded.push_back(i + 1 == height ? 1 : 0);  // end of bitmap, or of line
        out.write(encoded.data(), encoded.size());
        encodedSize += encoded.size();
        if (progressCancelled(progress, i + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    if (encodedSize + pixelOffset > UINT32_MAX) throw SAVEERROR::TooLargeForFormat;
    const int64_t end = out.tell();
    out.seek(start + 2);
    out.writeLE32(static_cast<uint32_t>(pixelOffset + encodedSize));
    out.seek(start + kFileHeaderSize + 20);
    out.writeLE32(static_cast<uint32_t>(encodedSize));
    out.seek(end);
}

}  // namespace

void writeWindowsBitmap(const Image& image, OutFile& out, const SaveOptions& options,
                        ProgressCallback* progress) {
    writeBitmap(image, out, HeaderKind::Windows, options.flag(saveKey::WindowsBitmapEncode),
                progress);
}

void writeOs2Bitmap(const Image& image, OutFile& out, const SaveOptions& options,
                    ProgressCallback* progress) {
    const HeaderKind kind = options.integer(saveKey::Os2BitmapFormat) == 1 ? HeaderKind::Os2Extended
                                                                           : HeaderKind::Os2Core;
    writeBitmap(image, out, kind, options.flag(saveKey::Os2BitmapEncode), progress);
}

}  // namespace vivark
