// Helpers for format tests: pattern images, writing to bytes, reading from
// bytes, and comparing two images pixel by pixel by colour.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/Image.h"
#include "core/InFile.h"
#include "core/RowOps.h"
#include "core/SafeOutFile.h"
#include "formats/ImageReader.h"
#include "formats/SaveOptions.h"
#include "support/TempDir.h"

namespace vivark::test {

// The colour of pixel (x, y), through the palette when there is one.
inline Colour colourAt(const Image& image, uint32_t x, uint32_t y) {
    const uint8_t* row = image.plane.row(y);
    if (image.bitsPerPixel() == 24) return rgb(row[3 * x + 2], row[3 * x + 1], row[3 * x]);
    const unsigned bits = image.bitsPerPixel();
    const unsigned perByte = 8 / bits;
    const unsigned shift = 8 - bits * (x % perByte + 1);
    return image.palette[(row[x / perByte] >> shift) & ((1u << bits) - 1)];
}

inline ::testing::AssertionResult samePixels(const Image& a, const Image& b) {
    if (a.width() != b.width() || a.height() != b.height())
        return ::testing::AssertionFailure() << "size " << a.width() << "x" << a.height() << " vs "
                                             << b.width() << "x" << b.height();
    for (uint32_t y = 0; y < a.height(); ++y)
        for (uint32_t x = 0; x < a.width(); ++x)
            if (colourAt(a, x, y) != colourAt(b, x, y))
                return ::testing::AssertionFailure()
                       << "pixel " << x << "," << y << ": " << std::hex << colourAt(a, x, y)
                       << " vs " << colourAt(b, x, y);
    return ::testing::AssertionSuccess();
}

// A deterministic picture with runs and noise; palette images get distinct colours.
inline Image patternImage(uint32_t width, uint32_t height, uint32_t bits) {
    Image image(width, height, bits);
    if (bits <= 8) {
        const uint32_t count = 1u << bits;
        for (uint32_t i = 0; i < count; ++i)
            image.palette[i] = rgb(uint8_t(i * 37), uint8_t(255 - i * 11), uint8_t(i * 101 + 7));
        image.paletteCount = count;
    }
    std::vector<uint8_t> indices(width);
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* row = image.plane.mutableRow(y);
        if (bits == 24) {
            for (uint32_t x = 0; x < width; ++x) {
                row[3 * x] = uint8_t(x * 4);
                row[3 * x + 1] = uint8_t(y * 5);
                row[3 * x + 2] = uint8_t((x < width / 3) ? 200 : (x * y * 7));
            }
        } else {
            for (uint32_t x = 0; x < width; ++x)
                indices[x] = uint8_t(((x < width / 2) ? y : (x * 7 + y * 3)) % (1u << bits));
            packIndices(indices.data(), row, width, bits);
        }
    }
    return image;
}

using Writer = void (*)(const Image&, OutFile&, const SaveOptions&, ProgressCallback*);

inline std::string writeToBytes(const Image& image, Writer write, const SaveOptions& options) {
    TempDir dir;
    {
        SafeOutFile file(dir / "out");
        write(image, file.out(), options, nullptr);
        file.commit();
    }
    return readWholeFile(dir / "out");
}

using ReaderFactory = std::unique_ptr<ImageReader> (*)(InFile&);

inline Image readFromBytes(std::string_view bytes, ReaderFactory factory,
                           const ReadOptions& options = {}, size_t bufferSize = 0) {
    auto file = InFile::overMemory({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()},
                                   bufferSize);
    Image image;
    factory(*file)->read(image, options);
    return image;
}

}  // namespace vivark::test
