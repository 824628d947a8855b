// Shared by the TIFF tests: running the libtiff, netpbm and ImageMagick tools,
// their decodes as colours, and the comparison of a decode with ours.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "core/Image.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"

namespace vivark::test {

inline bool haveTiffTools() {
    return std::system(
               "command -v tiffcp >/dev/null && command -v tifftopnm >/dev/null && "
               "command -v convert-im6.q16 >/dev/null && command -v pamdepth >/dev/null") == 0;
}

// A picture as colours, top row first.
struct Colours {
    uint32_t width = 0, height = 0;
    std::vector<Colour> pixels;
};

// Parses a P6 file of maxval 255 (the reference commands end in ppmtoppm).
inline bool parsePpm(const std::string& bytes, Colours& out) {
    unsigned w = 0, h = 0, maxval = 0;
    int consumed = 0;
    if (std::sscanf(bytes.c_str(), "P6 %u %u %u%n", &w, &h, &maxval, &consumed) != 3) return false;
    const size_t start = size_t(consumed) + 1;
    if (maxval != 255 || bytes.size() < start + size_t{w} * h * 3) return false;
    out.width = w;
    out.height = h;
    out.pixels.resize(size_t{w} * h);
    const auto* p = reinterpret_cast<const uint8_t*>(bytes.data()) + start;
    for (size_t i = 0; i < out.pixels.size(); ++i, p += 3) out.pixels[i] = rgb(p[0], p[1], p[2]);
    return true;
}

// Who decodes a file for comparison: netpbm's tifftopnm, libtiff's RGBA
// interface (tiff2rgba), or ImageMagick with alpha left out (tifftopnm
// blends colour with alpha).
enum class Reference { Netpbm, Rgba, ImageMagick };

inline Colours referenceDecode(const std::filesystem::path& file, Reference reference) {
    const std::string quoted = test::shellQuoted(file.string());
    std::string command;
    if (reference == Reference::Rgba) {
        const std::string converted = test::shellQuoted(file.string() + ".rgba.tif");
        command = "tiff2rgba -c none " + quoted + " " + converted + " && tifftopnm " + converted;
    } else if (reference == Reference::ImageMagick) {
        command = "convert-im6.q16 " + quoted + "[0] -auto-orient -alpha off -depth 8 ppm:-";
    } else {
        command = "tifftopnm " + quoted;
    }
    Colours c;
    parsePpm(test::commandOutput(command +
                                 " 2>/dev/null | pamdepth 255 2>/dev/null | ppmtoppm 2>/dev/null"),
             c);
    return c;
}

// The largest channel difference between a decode and our Image.
inline int worstDifference(const Colours& reference, const Image& ours) {
    if (reference.width != ours.width() || reference.height != ours.height()) return 1000;
    int worst = 0;
    for (uint32_t y = 0; y < reference.height; ++y) {
        for (uint32_t x = 0; x < reference.width; ++x) {
            const Colour a = reference.pixels[size_t{y} * reference.width + x];
            const Colour b = colourAt(ours, x, y);
            for (int shift : {0, 8, 16})
                worst = std::max(worst, std::abs(int(a >> shift & 0xFF) - int(b >> shift & 0xFF)));
        }
    }
    return worst;
}

}  // namespace vivark::test
