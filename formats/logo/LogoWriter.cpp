// Writes OS/2 boot logos: the 32-byte header and the red, green and blue
// planes of a 320 × 240 picture (LogoReader.cpp has the layout).
//
// A boot logo is a whole screen, so an image of another size is scaled to
// fit it, keeping its proportions, centred on black: that is what a user who
// picks a photo as a boot logo expects to see, rather than a refusal or a
// crop.
//
// SaveOptions\OS/2 Boot Logo\Warp4 on (the default) keeps the colours as they
// are, which Warp 4's boot screen shows. Off, the picture is reduced to the
// 16 colours earlier versions show, still stored in the same three planes;
// Optimize then chooses those colours from the picture (otherwise they are
// the VGA's fixed sixteen) and Dither spreads the error (otherwise each pixel
// takes the nearest colour). Both options mean nothing with Warp4 on.
#include "formats/logo/LogoWriter.h"

#include <vector>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "formats/logo/LogoFormat.h"
#include "ops/ColourReduce.h"
#include "ops/Resize.h"

namespace vivark {

void writeBootLogo(const Image& source, OutFile& out, const SaveOptions& options,
                   ProgressCallback* progress) {
    constexpr uint32_t width = kBootLogoWidth, height = kBootLogoHeight;
    Image image = source;
    if (image.width() != width || image.height() != height) {
        OpResult scaled =
            resizeResampled(image, {width, height, resizeFlag::Centred, rgb(0, 0, 0)}, progress);
        if (!scaled) throw OUTFILEERROR::Cancelled;
        image = std::move(*scaled);
    }
    if (!options.flag(saveKey::BootLogoWarp4)) {
        const auto palette = options.flag(saveKey::BootLogoOptimize) ? PaletteType::Adaptive
                                                                     : PaletteType::FixedSystem;
        const auto dither =
            options.flag(saveKey::BootLogoDither) ? DitherType::Diffusion : DitherType::None;
        if (!reduceColours(image, 16, uint32_t(palette), uint32_t(dither), progress))
            throw OUTFILEERROR::Cancelled;
    }

    uint8_t header[kBootLogoHeaderBytes] = {};
    storeLE32(header, kBootLogoPlaneBytes);
    storeLE32(header + 4, kBootLogoFileBytes);
    out.write(header, sizeof header);

    // The planes are written one after the other, so the picture is turned
    // into them first.
    std::vector<uint8_t> planes(3 * size_t{kBootLogoPlaneBytes});
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = image.plane.row(y);
        const size_t at = size_t{y} * width;
        for (uint32_t x = 0; x < width; ++x) {
            Colour c;
            if (image.bitsPerPixel() == 24) {
                c = rgb(row[3 * x + 2], row[3 * x + 1], row[3 * x]);
            } else {
                const uint32_t bits = image.bitsPerPixel();
                const uint32_t shift = 8 - bits - (x * bits) % 8;
                c = image.palette[(row[x * bits / 8] >> shift) & ((1u << bits) - 1)];
            }
            planes[at + x] = redOf(c);
            planes[kBootLogoPlaneBytes + at + x] = greenOf(c);
            planes[2 * size_t{kBootLogoPlaneBytes} + at + x] = blueOf(c);
        }
        if (progressCancelled(progress, y + 1, height)) throw OUTFILEERROR::Cancelled;
    }
    out.write(planes.data(), planes.size());
}

}  // namespace vivark
