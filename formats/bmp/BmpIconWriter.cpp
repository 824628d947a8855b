// The Windows icon and cursor writers: the directory (one 16-byte entry per
// picture) and, for each picture, a 40-byte header whose height counts the
// colour rows and the mask rows, the palette, the colour rows and the AND
// mask, all bottom-up and padded to four bytes.
//
// A cursor's hot spot is the centre of its picture: a picture converted to a
// cursor has no tip to point with, and the centre keeps a click where the
// picture is drawn.
#include <vector>

#include "core/Errors.h"
#include "formats/bmp/BmpFormat.h"
#include "formats/bmp/BmpIconWriter.h"

namespace vivark {
namespace {

constexpr uint32_t kDirectoryEntrySize = 16;
constexpr uint32_t kLargestEntry = 256;  // a directory byte of 0 stands for 256

struct IconKeys {
    std::string_view size, colourType, transparent;
};
constexpr IconKeys kIconKeys{saveKey::WindowsIconSize, saveKey::WindowsIconColorType,
                             saveKey::WindowsIconTransparent};
constexpr IconKeys kCursorKeys{saveKey::WindowsCursorSize, saveKey::WindowsCursorColorType,
                               saveKey::WindowsCursorTransparent};

uint32_t storedBits(const bmp::IconPicture& p) {
    return p.alpha.empty() ? p.pixels.bitsPerPixel() : 32;
}

uint32_t entryBytes(const bmp::IconPicture& p) {
    const uint32_t bits = storedBits(p);
    const uint32_t w = p.pixels.width(), h = p.pixels.height();
    const uint64_t palette = bits <= 8 ? (uint64_t{1} << bits) * 4 : 0;
    return static_cast<uint32_t>(bmp::kInfoHeaderSize + palette +
                                 (bmp::storedRowBytes(w, bits) + bmp::storedRowBytes(w, 1)) * h);
}

void writeEntry(const bmp::IconPicture& p, OutFile& out, ProgressCallback* progress,
                uint32_t& rowsDone, uint32_t rowsTotal) {
    const uint32_t bits = storedBits(p);
    const uint32_t w = p.pixels.width(), h = p.pixels.height();
    out.writeLE32(bmp::kInfoHeaderSize);
    out.writeLE32(w);
    out.writeLE32(2 * h);  // colour rows, then the mask's
    out.writeLE16(1);
    out.writeLE16(static_cast<uint16_t>(bits));
    out.writeLE32(bmp::kNone);
    out.writeLE32(entryBytes(p) - bmp::kInfoHeaderSize - (bits <= 8 ? (4u << bits) : 0));
    for (int i = 0; i < 4; ++i) out.writeLE32(0);  // resolution, colours used, important
    if (bits <= 8) {
        for (uint32_t i = 0; i < (1u << bits); ++i) {
            const Colour c = i < p.pixels.paletteCount || p.pixels.paletteCount == 0
                                 ? p.pixels.palette[i]
                                 : rgb(0, 0, 0);
            const uint8_t bgr0[4] = {blueOf(c), greenOf(c), redOf(c), 0};
            out.write(bgr0, 4);
        }
    }
    std::vector<uint8_t> bgra(bits == 32 ? size_t{w} * 4 : 0);
    for (uint32_t i = 0; i < h; ++i) {
        const uint32_t y = h - 1 - i;
        if (bits == 32) {
            const uint8_t* bgr = p.pixels.plane.row(y);
            const uint8_t* alpha = p.alpha.row(y);
            for (uint32_t x = 0; x < w; ++x) {
                bgra[4 * x] = bgr[3 * x];
                bgra[4 * x + 1] = bgr[3 * x + 1];
                bgra[4 * x + 2] = bgr[3 * x + 2];
                bgra[4 * x + 3] = alpha[x];
            }
            out.write(bgra.data(), bgra.size());
        } else {
            out.write(p.pixels.plane.row(y), p.pixels.plane.rowStride());
        }
        if (progressCancelled(progress, ++rowsDone, rowsTotal)) throw OUTFILEERROR::Cancelled;
    }
    for (uint32_t i = 0; i < h; ++i) out.write(p.mask.row(h - 1 - i), p.mask.rowStride());
}

void writeIconFile(std::span<const Image> pages, OutFile& out, const SaveOptions& options,
                   ProgressCallback* progress, bool cursor) {
    const IconKeys& keys = cursor ? kCursorKeys : kIconKeys;
    bmp::IconChoice choice;
    choice.size = pages.size() == 1 ? options.integer(keys.size) : 0;
    choice.colourType = options.integer(keys.colourType);
    choice.transparent = options.flag(keys.transparent);
    choice.allowAlpha = true;
    if (pages.size() > 0xFFFF) throw SAVEERROR::TooLargeForFormat;

    std::vector<bmp::IconPicture> pictures;
    uint32_t rowsTotal = 0;
    for (const Image& page : pages) {
        pictures.push_back(bmp::prepareIconPicture(page, choice, options, progress));
        const Image& p = pictures.back().pixels;
        if (p.width() > kLargestEntry || p.height() > kLargestEntry)
            throw SAVEERROR::TooLargeForFormat;
        rowsTotal += p.height();
    }

    out.writeLE16(0);
    out.writeLE16(cursor ? 2 : 1);
    out.writeLE16(static_cast<uint16_t>(pictures.size()));
    uint32_t offset = 6 + kDirectoryEntrySize * static_cast<uint32_t>(pictures.size());
    for (const bmp::IconPicture& p : pictures) {
        const uint32_t w = p.pixels.width(), h = p.pixels.height();
        const uint32_t bits = storedBits(p);
        out.writeByte(static_cast<uint8_t>(w));  // 256 wraps to 0, as it should
        out.writeByte(static_cast<uint8_t>(h));
        out.writeByte(bits < 8 ? static_cast<uint8_t>(1u << bits) : 0);
        out.writeByte(0);
        if (cursor) {
            out.writeLE16(static_cast<uint16_t>(w / 2));  // hot spot
            out.writeLE16(static_cast<uint16_t>(h / 2));
        } else {
            out.writeLE16(1);  // planes
            out.writeLE16(static_cast<uint16_t>(bits));
        }
        out.writeLE32(entryBytes(p));
        out.writeLE32(offset);
        offset += entryBytes(p);
    }
    uint32_t rowsDone = 0;
    for (const bmp::IconPicture& p : pictures) writeEntry(p, out, progress, rowsDone, rowsTotal);
}

}  // namespace

void writeWindowsIcon(const Image& image, OutFile& out, const SaveOptions& options,
                      ProgressCallback* progress) {
    writeIconFile({&image, 1}, out, options, progress, false);
}

void writeWindowsIconPages(std::span<const Image> pages, OutFile& out, const SaveOptions& options,
                           ProgressCallback* progress) {
    writeIconFile(pages, out, options, progress, false);
}

void writeWindowsCursor(const Image& image, OutFile& out, const SaveOptions& options,
                        ProgressCallback* progress) {
    writeIconFile({&image, 1}, out, options, progress, true);
}

void writeWindowsCursorPages(std::span<const Image> pages, OutFile& out, const SaveOptions& options,
                             ProgressCallback* progress) {
    writeIconFile(pages, out, options, progress, true);
}

}  // namespace vivark
