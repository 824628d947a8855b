// The OS/2 icon and pointer writers: a "BA" array with one element per
// picture, every element's headers first and the bitmaps after them (as the
// system's icon editor lays them out). An element is a black-and-white
// bitmap of twice the picture's height, whose first (lower) half is the XOR
// mask and whose second half the AND mask, and for colour pictures ("CI",
// "CP") a colour bitmap besides. A black-and-white picture is written as
// "IC" or "PT" with the picture in its XOR half; a colour picture's XOR half
// is 0, its colours in the colour bitmap. Offsets count from the file's start.
//
// A pointer's hot spot is the centre of its picture (see BmpIconWriter.cpp);
// an icon's is 0, 0.
#include <vector>

#include "core/Errors.h"
#include "core/RowOps.h"
#include "formats/DepthConvert.h"
#include "formats/bmp/BmpFormat.h"
#include "formats/bmp/BmpIconWriter.h"

namespace vivark {
namespace {

constexpr uint32_t kArrayHeaderSize = 14;
// The 2.x header's fields after the 40 that the Windows header shares
// (units, reserved, recording, rendering, its two sizes, colour encoding,
// identifier) are all 0.
constexpr uint32_t kOs2ExtraBytes = bmp::kOs2HeaderSize - bmp::kInfoHeaderSize;

struct Os2Keys {
    std::string_view size, colourType, transparent, format, encode;
};
constexpr Os2Keys kIconKeys{saveKey::Os2IconSize, saveKey::Os2IconColorType,
                            saveKey::Os2IconTransparent, saveKey::Os2IconFormat,
                            saveKey::Os2IconEncode};
constexpr Os2Keys kPointerKeys{saveKey::Os2PointerSize, saveKey::Os2PointerColorType,
                               saveKey::Os2PointerTransparent, saveKey::Os2PointerFormat,
                               saveKey::Os2PointerEncode};

struct Element {
    Image pixels;  // the XOR half of a black-and-white element, else the colour bitmap
    PixelPlane mask;
    bool colour = false;
    uint32_t compression = bmp::kNone;
    std::vector<uint8_t> maskBits;    // both halves, bottom-up
    std::vector<uint8_t> colourBits;  // as stored (encoded or not)
};

class Os2Layout {
  public:
    explicit Os2Layout(bool version2)
        : headerSize_(version2 ? bmp::kOs2HeaderSize : bmp::kCoreHeaderSize),
          entrySize_(version2 ? 4 : 3),
          version2_(version2) {}

    // The array header with the first bitmap's file and info headers, which
    // the array header's size field counts.
    uint32_t arrayStructureBytes() const {
        return kArrayHeaderSize + bmp::kFileHeaderSize + headerSize_;
    }
    uint32_t bitmapHeaderBytes(uint32_t bits) const {
        return bmp::kFileHeaderSize + headerSize_ + (bits <= 8 ? entrySize_ << bits : 0);
    }
    uint32_t elementHeaderBytes(const Element& e) const {
        return kArrayHeaderSize + bitmapHeaderBytes(1) +
               (e.colour ? bitmapHeaderBytes(e.pixels.bitsPerPixel()) : 0);
    }

    void writeBitmapHeader(OutFile& out, uint16_t type, uint32_t hotX, uint32_t hotY,
                           uint32_t offset, uint32_t width, uint32_t height, uint32_t bits,
                           uint32_t compression, uint32_t imageBytes) const {
        out.writeLE16(type);
        out.writeLE32(bmp::kFileHeaderSize + headerSize_);
        out.writeLE16(static_cast<uint16_t>(hotX));
        out.writeLE16(static_cast<uint16_t>(hotY));
        out.writeLE32(offset);
        out.writeLE32(headerSize_);
        if (!version2_) {
            out.writeLE16(static_cast<uint16_t>(width));
            out.writeLE16(static_cast<uint16_t>(height));
            out.writeLE16(1);
            out.writeLE16(static_cast<uint16_t>(bits));
            return;
        }
        out.writeLE32(width);
        out.writeLE32(height);
        out.writeLE16(1);
        out.writeLE16(static_cast<uint16_t>(bits));
        out.writeLE32(compression);
        out.writeLE32(imageBytes);
        for (int i = 0; i < 4; ++i) out.writeLE32(0);  // resolution, colours used, important
        const uint8_t rest[kOs2ExtraBytes] = {};
        out.write(rest, sizeof rest);
    }

    void writePalette(OutFile& out, const Image& image) const {
        const uint32_t bits = image.bitsPerPixel();
        if (bits > 8) return;
        for (uint32_t i = 0; i < (1u << bits); ++i) {
            const Colour c =
                i < image.paletteCount || image.paletteCount == 0 ? image.palette[i] : rgb(0, 0, 0);
            const uint8_t bgr0[4] = {blueOf(c), greenOf(c), redOf(c), 0};
            out.write(bgr0, entrySize_);
        }
    }

  private:
    uint32_t headerSize_;
    uint32_t entrySize_;
    bool version2_;
};

void appendRows(const PixelPlane& plane, std::vector<uint8_t>& out) {
    for (uint32_t i = 0; i < plane.height(); ++i) {
        const uint8_t* row = plane.row(plane.height() - 1 - i);
        out.insert(out.end(), row, row + plane.rowStride());
    }
}

Element makeElement(const Image& page, const bmp::IconChoice& choice, bool encode,
                    const SaveOptions& options, ProgressCallback* progress) {
    bmp::IconPicture picture = bmp::prepareIconPicture(page, choice, options, progress);
    Element e;
    e.colour = !(picture.pixels.bitsPerPixel() == 1 && picture.pixels.isBlackAndWhite());
    e.pixels = e.colour ? std::move(picture.pixels) : packBlackAndWhite(picture.pixels);
    e.mask = std::move(picture.mask);
    const uint32_t w = e.pixels.width(), h = e.pixels.height();

    if (e.colour) {
        PixelPlane clear(w, h, 1, true);
        appendRows(clear, e.maskBits);
    } else {
        appendRows(e.pixels.plane, e.maskBits);
    }
    appendRows(e.mask, e.maskBits);
    if (!e.colour) return e;

    const uint32_t bits = e.pixels.bitsPerPixel();
    if (encode && (bits == 4 || bits == 8)) {
        e.compression = bits == 8 ? bmp::kRle8 : bmp::kRle4;
        std::vector<uint8_t> indices(w);
        for (uint32_t i = 0; i < h; ++i) {
            unpackIndices(e.pixels.plane.row(h - 1 - i), indices.data(), w, bits);
            bmp::encodeRleRow(indices.data(), w, bits, e.colourBits);
            e.colourBits.push_back(0);
            e.colourBits.push_back(i + 1 == h ? 1 : 0);  // end of bitmap, or of line
        }
    } else {
        appendRows(e.pixels.plane, e.colourBits);
    }
    return e;
}

void writeOs2File(std::span<const Image> pages, OutFile& out, const SaveOptions& options,
                  ProgressCallback* progress, bool pointer) {
    const Os2Keys& keys = pointer ? kPointerKeys : kIconKeys;
    const bool version2 = options.integer(keys.format) == 1;
    bmp::IconChoice choice;
    choice.size = pages.size() == 1 ? options.integer(keys.size) : 0;
    choice.colourType = options.integer(keys.colourType);
    choice.transparent = options.flag(keys.transparent);
    const bool encode = version2 && options.flag(keys.encode);
    const Os2Layout layout(version2);

    std::vector<Element> elements;
    uint64_t headers = 0, bitmaps = 0;
    for (const Image& page : pages) {
        elements.push_back(makeElement(page, choice, encode, options, progress));
        const Element& e = elements.back();
        if (!version2 && (e.pixels.width() > 0xFFFF || 2 * uint64_t{e.pixels.height()} > 0xFFFF))
            throw SAVEERROR::TooLargeForFormat;
        headers += layout.elementHeaderBytes(e);
        bitmaps += e.maskBits.size() + e.colourBits.size();
    }
    if (headers + bitmaps > UINT32_MAX) throw SAVEERROR::TooLargeForFormat;

    Image blackWhite(1, 1, 1, true);
    blackWhite.palette[0] = rgb(0, 0, 0);
    blackWhite.palette[1] = rgb(255, 255, 255);
    blackWhite.paletteCount = 2;
    uint32_t at = 0;
    uint32_t data = static_cast<uint32_t>(headers);
    for (size_t i = 0; i < elements.size(); ++i) {
        const Element& e = elements[i];
        const uint32_t w = e.pixels.width(), h = e.pixels.height();
        const uint32_t hotX = pointer ? w / 2 : 0, hotY = pointer ? h / 2 : 0;
        const uint32_t next = i + 1 == elements.size() ? 0 : at + layout.elementHeaderBytes(e);
        out.writeLE16(bmp::kTypeArray);
        out.writeLE32(layout.arrayStructureBytes());
        out.writeLE32(next);
        out.writeLE16(0);  // display size: any
        out.writeLE16(0);
        const uint16_t type = e.colour ? (pointer ? bmp::kTypeColourPointer : bmp::kTypeColourIcon)
                                       : (pointer ? bmp::kTypePointer : bmp::kTypeIcon);
        layout.writeBitmapHeader(out, type, hotX, hotY, data, w, 2 * h, 1, bmp::kNone,
                                 static_cast<uint32_t>(e.maskBits.size()));
        layout.writePalette(out, blackWhite);
        data += static_cast<uint32_t>(e.maskBits.size());
        if (e.colour) {
            layout.writeBitmapHeader(out, type, hotX, hotY, data, w, h, e.pixels.bitsPerPixel(),
                                     e.compression, static_cast<uint32_t>(e.colourBits.size()));
            layout.writePalette(out, e.pixels);
            data += static_cast<uint32_t>(e.colourBits.size());
        }
        at += layout.elementHeaderBytes(e);
    }
    for (size_t i = 0; i < elements.size(); ++i) {
        out.write(elements[i].maskBits.data(), elements[i].maskBits.size());
        out.write(elements[i].colourBits.data(), elements[i].colourBits.size());
        if (progressCancelled(progress, uint32_t(i + 1), uint32_t(elements.size())))
            throw OUTFILEERROR::Cancelled;
    }
}

}  // namespace

void writeOs2Icon(const Image& image, OutFile& out, const SaveOptions& options,
                  ProgressCallback* progress) {
    writeOs2File({&image, 1}, out, options, progress, false);
}

void writeOs2IconPages(std::span<const Image> pages, OutFile& out, const SaveOptions& options,
                       ProgressCallback* progress) {
    writeOs2File(pages, out, options, progress, false);
}

void writeOs2Pointer(const Image& image, OutFile& out, const SaveOptions& options,
                     ProgressCallback* progress) {
    writeOs2File({&image, 1}, out, options, progress, true);
}

void writeOs2PointerPages(std::span<const Image> pages, OutFile& out, const SaveOptions& options,
                          ProgressCallback* progress) {
    writeOs2File(pages, out, options, progress, true);
}

}  // namespace vivark
