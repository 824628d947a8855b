// Builds GIF files with giflib for the reader's and writer's tests: a
// screen, frames with their own tables, offsets, interlace, graphic control
// blocks, comments and the NETSCAPE2.0 loop block.
#pragma once

#include <gif_lib.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "core/Palette.h"

namespace vivark::test {

struct GifFrameDesc {
    uint32_t left = 0, top = 0, width = 0, height = 0;
    std::vector<uint8_t> indices;  // width x height, top row first
    std::vector<Colour> localTable;
    bool interlaced = false;
    int disposal = -1;  // -1: no graphic control block
    int transparent = -1;
    int delay = 0;
};

struct GifFileLayout {
    bool gif89 = true;
    uint32_t width = 0, height = 0;
    std::vector<Colour> globalTable;
    int background = 0;
    std::string comment;
    int loopCount = -1;  // -1: no NETSCAPE2.0 block
    std::vector<GifFrameDesc> frames;
};

inline GifFrameDesc gifFrame(uint32_t left, uint32_t top, uint32_t width, uint32_t height,
                             std::vector<uint8_t> indices) {
    GifFrameDesc frame;
    frame.left = left;
    frame.top = top;
    frame.width = width;
    frame.height = height;
    frame.indices = std::move(indices);
    return frame;
}

inline ColorMapObject* makeMap(const std::vector<Colour>& table) {
    std::vector<GifColorType> colours;
    for (Colour c : table) colours.push_back({redOf(c), greenOf(c), blueOf(c)});
    return GifMakeMapObject(static_cast<int>(colours.size()), colours.data());
}

inline void writeGifWithGiflib(const std::filesystem::path& path, const GifFileLayout& layout) {
    int error = 0;
    GifFileType* gif = EGifOpenFileName(path.c_str(), false, &error);
    ASSERT_NE(gif, nullptr);
    EGifSetGifVersion(gif, layout.gif89);
    ColorMapObject* global = layout.globalTable.empty() ? nullptr : makeMap(layout.globalTable);
    ASSERT_EQ(EGifPutScreenDesc(gif, layout.width, layout.height, 8, layout.background, global),
              GIF_OK);
    if (global) GifFreeMapObject(global);
    if (!layout.comment.empty()) EGifPutComment(gif, layout.comment.c_str());
    if (layout.loopCount >= 0) {
        EGifPutExtensionLeader(gif, APPLICATION_EXT_FUNC_CODE);
        EGifPutExtensionBlock(gif, 11, "NETSCAPE2.0");
        uint8_t loop[3] = {1, uint8_t(layout.loopCount), uint8_t(layout.loopCount >> 8)};
        EGifPutExtensionBlock(gif, 3, loop);
        EGifPutExtensionTrailer(gif);
    }
    for (const GifFrameDesc& f : layout.frames) {
        if (f.disposal >= 0) {
            uint8_t gce[4] = {uint8_t(f.disposal << 2 | (f.transparent >= 0 ? 1 : 0)),
                              uint8_t(f.delay), uint8_t(f.delay >> 8),
                              uint8_t(f.transparent >= 0 ? f.transparent : 0)};
            EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, 4, gce);
        }
        ColorMapObject* local = f.localTable.empty() ? nullptr : makeMap(f.localTable);
        ASSERT_EQ(EGifPutImageDesc(gif, f.left, f.top, f.width, f.height, f.interlaced, local),
                  GIF_OK);
        if (local) GifFreeMapObject(local);
        // Interlaced rows go in four passes: every 8th from 0, every 8th
        // from 4, every 4th from 2, every 2nd from 1.
        const uint32_t starts[] = {0, 4, 2, 1}, steps[] = {8, 8, 4, 2};
        std::vector<uint32_t> order;
        for (uint32_t pass = 0; pass < (f.interlaced ? 4 : 1); ++pass)
            for (uint32_t y = starts[pass]; y < f.height; y += f.interlaced ? steps[pass] : 1)
                order.push_back(y);
        for (uint32_t y : order) {
            std::vector<GifPixelType> row(f.indices.begin() + y * f.width,
                                          f.indices.begin() + (y + 1) * f.width);
            ASSERT_EQ(EGifPutLine(gif, row.data(), f.width), GIF_OK);
        }
    }
    ASSERT_EQ(EGifCloseFile(gif, &error), GIF_OK);
}

inline std::vector<Colour> rampTable(uint32_t count) {
    std::vector<Colour> table;
    for (uint32_t i = 0; i < count; ++i)
        table.push_back(rgb(uint8_t(i * 3), uint8_t(255 - i), uint8_t(i * 7 + 1)));
    return table;
}

inline std::vector<uint8_t> noiseIndices(uint32_t width, uint32_t height, uint32_t colours,
                                         uint32_t seed) {
    std::vector<uint8_t> v(width * height);
    uint32_t s = seed;
    for (size_t i = 0; i < v.size(); ++i) {
        s = s * 1103515245u + 12345u;
        v[i] = uint8_t(((i / 5) % 3 == 0 ? (s >> 16) : i / 7) % colours);
    }
    return v;
}

}  // namespace vivark::test
