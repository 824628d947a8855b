// The picture an icon, cursor or pointer entry stores, made from an image
// and the writer's options: stretched to the chosen size, its AND mask taken
// from the image's transparency, its colours brought to the chosen type.
//
// The mask is taken after the stretch (an AND mask or a transparent index is
// first turned into an alpha plane that the resampling carries along) and
// before any colour reduction, which renumbers the palette. Where the mask is
// set the colour is made black, so that the screen shows through unchanged
// (AND with 1, then XOR with 0) in programs that draw the two masks as such.
#include <algorithm>

#include "core/Errors.h"
#include "formats/SaveDispatch.h"
#include "formats/WriterEntry.h"
#include "formats/bmp/BmpIconWriter.h"
#include "ops/Resize.h"

namespace vivark::bmp {
namespace {

bool maskBit(const PixelPlane& mask, uint32_t x, uint32_t y) {
    return (mask.row(y)[x / 8] >> (7 - x % 8) & 1) != 0;
}

void setMaskBit(PixelPlane& mask, uint32_t x, uint32_t y) {
    mask.mutableRow(y)[x / 8] |= static_cast<uint8_t>(0x80 >> (x % 8));
}

uint8_t indexAt(const Image& image, uint32_t x, uint32_t y) {
    const uint32_t bits = image.bitsPerPixel();
    const uint8_t* row = image.plane.row(y);
    const uint32_t perByte = 8 / bits;
    const uint32_t shift = 8 - bits * (x % perByte + 1);
    return static_cast<uint8_t>(row[x / perByte] >> shift & ((1u << bits) - 1));
}

// 255 where the image is opaque, 0 where it is transparent, or an empty
// plane when it has no transparency.
PixelPlane opacityOf(const Image& image) {
    if (image.secondPlaneKind == SecondPlane::Alpha) return image.secondPlane;
    const bool andMask = image.secondPlaneKind == SecondPlane::AndMask;
    const bool index = image.hasPalette() && image.transparentIndex.has_value();
    if (!andMask && !index) return {};
    PixelPlane opacity(image.width(), image.height(), 8, false);
    for (uint32_t y = 0; y < image.height(); ++y) {
        uint8_t* row = opacity.mutableRow(y);
        for (uint32_t x = 0; x < image.width(); ++x) {
            const bool clear = andMask ? maskBit(image.secondPlane, x, y)
                                       : indexAt(image, x, y) == *image.transparentIndex;
            row[x] = clear ? 0 : 255;
        }
    }
    return opacity;
}

uint32_t depthOfType(int32_t colourType, uint32_t imageBits) {
    switch (colourType) {
        case 0:
            return 1;
        case 1:
            return 4;
        case 2:
            return 8;
        case 3:
            return 24;
        default:
            return imageBits;
    }
}

// Makes every masked pixel black; a palette without black gains it when it
// has a free entry (otherwise the pixels keep their colour, which a program
// honouring the AND mask hides all the same).
void blackenMasked(Image& image, const PixelPlane& mask) {
    const uint32_t bits = image.bitsPerPixel();
    uint32_t black = 0;
    if (bits <= 8) {
        const uint32_t count = image.paletteCount == 0 ? 256 : image.paletteCount;
        black = count;
        for (uint32_t i = 0; i < count; ++i)
            if ((image.palette[i] & 0xFFFFFF) == 0) {
                black = i;
                break;
            }
        if (black == count) {
            if (count >= (1u << bits)) return;
            image.palette[count] = rgb(0, 0, 0);
            image.paletteCount = count + 1;
        }
    }
    const uint32_t perByte = bits <= 8 ? 8 / bits : 1;
    for (uint32_t y = 0; y < image.height(); ++y) {
        for (uint32_t x = 0; x < image.width(); ++x) {
            if (!maskBit(mask, x, y)) continue;
            uint8_t* row = image.plane.mutableRow(y);
            if (bits == 24) {
                std::fill_n(row + 3 * x, 3, uint8_t{0});
            } else {
                const uint32_t shift = 8 - bits * (x % perByte + 1);
                const uint8_t field = static_cast<uint8_t>(((1u << bits) - 1) << shift);
                row[x / perByte] =
                    static_cast<uint8_t>((row[x / perByte] & ~field) | ((black << shift) & field));
            }
        }
    }
}

}  // namespace

IconPicture prepareIconPicture(const Image& image, const IconChoice& choice,
                               const SaveOptions& options, ProgressCallback* progress) {
    Image work = image;
    const uint32_t imageBits = image.bitsPerPixel();
    PixelPlane opacity = choice.transparent ? opacityOf(image) : PixelPlane{};
    const uint32_t side = choice.size > 0 ? static_cast<uint32_t>(choice.size) : 0;
    if (side != 0 && (work.width() != side || work.height() != side)) {
        if (!opacity.empty()) {
            work.secondPlane = opacity;
            work.secondPlaneKind = SecondPlane::Alpha;
        }
        std::optional<Image> resized = resizeResampled(work, {side, side, 0, 0}, progress);
        if (!resized) throw OUTFILEERROR::Cancelled;
        work = std::move(*resized);
        if (!opacity.empty()) opacity = work.secondPlane;
    }

    IconPicture picture;
    picture.mask = PixelPlane(work.width(), work.height(), 1, true);
    if (!opacity.empty())
        for (uint32_t y = 0; y < work.height(); ++y)
            for (uint32_t x = 0; x < work.width(); ++x)
                if (opacity.row(y)[x] < 128) setMaskBit(picture.mask, x, y);

    const uint32_t bits = depthOfType(choice.colourType, imageBits);
    // Only a real alpha channel makes a 32-bit entry; a mask or an index is
    // all the AND mask needs.
    if (choice.allowAlpha && bits == 24 && !opacity.empty() &&
        (image.secondPlaneKind == SecondPlane::Alpha))
        picture.alpha = opacity;

    // The save path's conversion, towards a writer taking this one depth.
    const WriterEntry only{{}, {}, {}, 0, depthSet({bits}), ColourNeed::Any, nullptr};
    work.secondPlane = {};
    work.secondPlaneKind = SecondPlane::None;
    picture.pixels = convertForWriter(work, only, options, progress);
    picture.pixels.transparentIndex.reset();
    if (picture.alpha.empty()) blackenMasked(picture.pixels, picture.mask);
    return picture;
}

}  // namespace vivark::bmp
