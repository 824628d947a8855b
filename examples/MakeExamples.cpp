// Writes the sample images of examples/ with Vivark's own writers:
//   vivark_make_examples DIRECTORY
// gradient.bmp (64 x 48, 24 bits), palette.bmp (8-bit palette, RLE8),
// grey.pgm (raw graymap), checker.pbm (plain bitmap) and scene.png (a
// 24-bit picture with smooth shading, for colour reduction).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "formats/SaveDispatch.h"
#include "formats/bmp/BmpFormat.h"
#include "formats/pnm/PnmFormat.h"

using namespace vivark;

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: vivark_make_examples DIRECTORY\n");
        return 2;
    }
    const std::filesystem::path dir = argv[1];
    StoredSaveOptions stored;
    SaveOptionOverlay options(stored);

    Image gradient(64, 48, 24);
    for (uint32_t y = 0; y < 48; ++y)
        for (uint32_t x = 0; x < 64; ++x) {
            uint8_t* p = gradient.plane.mutableRow(y) + 3 * x;
            p[0] = uint8_t(255 - x * 4), p[1] = uint8_t(y * 5), p[2] = uint8_t(x * 4);
        }
    saveImage(gradient, dir / "gradient.bmp", *findWriterByName("bmp"), options);

    Image palette(40, 30, 8);
    for (uint32_t i = 0; i < 8; ++i)
        palette.palette[i] = rgb(uint8_t(i * 36), uint8_t(200 - i * 20), 128);
    palette.paletteCount = 8;
    for (uint32_t y = 0; y < 30; ++y)
        for (uint32_t x = 0; x < 40; ++x)
            palette.plane.mutableRow(y)[x] = uint8_t((x / 5 + y / 10) % 8);
    options.set(saveKey::WindowsBitmapEncode, 1);
    saveImage(palette, dir / "palette.bmp", *findWriterByName("bmp"), options);

    Image grey(32, 16, 8);
    grey.setGreyPalette();
    for (uint32_t y = 0; y < 16; ++y)
        for (uint32_t x = 0; x < 32; ++x) grey.plane.mutableRow(y)[x] = uint8_t(x * 8 + y);
    saveImage(grey, dir / "grey.pgm", *findWriterByName("pgm"), options);

    Image checker(24, 24, 1);
    checker.setGreyPalette(1);
    for (uint32_t y = 0; y < 24; ++y)
        for (uint32_t x = 0; x < 24; ++x)
            if (((x / 4) + (y / 4)) % 2)
                checker.plane.mutableRow(y)[x / 8] |= uint8_t(0x80 >> (x % 8));
    options.set(saveKey::PbmRawData, 0);
    saveImage(checker, dir / "checker.pbm", *findWriterByName("pbm"), options);

    // A sky over a hill with a sun: gradients and soft edges, many colours.
    Image scene(160, 120, 24);
    for (uint32_t y = 0; y < 120; ++y)
        for (uint32_t x = 0; x < 160; ++x) {
            const double top = y / 119.0;  // 0 at the top row
            const double hill = 80 + 14 * std::sin(x / 23.0);
            const double sun = std::hypot(x - 118.0, y - 28.0);
            double r = 70 + 120 * top, g = 130 + 90 * top, b = 235 - 40 * top;
            if (sun < 18) r = 255, g = 220 - sun * 3, b = 90 + sun * 4;
            if (y > hill) {
                const double depth = (y - hill) / 40.0;
                r = 40 + 50 * depth + (x % 7), g = 140 - 60 * depth, b = 50 + 10 * depth;
            }
            uint8_t* p = scene.plane.mutableRow(y) + 3 * x;
            p[0] = uint8_t(std::clamp(b, 0.0, 255.0));
            p[1] = uint8_t(std::clamp(g, 0.0, 255.0));
            p[2] = uint8_t(std::clamp(r, 0.0, 255.0));
        }
    saveImage(scene, dir / "scene.png", *findWriterByName("png"), options);
    return 0;
}
