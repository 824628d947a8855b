// GifComposer: the canvas of a GIF animation, kept from frame to frame.
//
// The reader's block walk gives a GifScreen (logical screen, global table,
// every frame's placement, table, disposal and transparency). The composer
// draws frames onto a canvas in order and keeps it: asked for frame k after
// frame k - 1 it applies frame k - 1's disposal and draws frame k alone, so
// paging or animating through n frames costs n frames, not n * n / 2. Asked
// for an earlier frame, it starts again from the background.
//
// The canvas is as large as the logical screen, grown to hold the first frame
// when it reaches beyond it (later frames are clipped to the canvas), and
// starts filled with the background colour index. A pixel equal to a frame's
// transparent index leaves the canvas unchanged. Before a frame is drawn, the
// previous frame's disposal is applied to the previous frame's rectangle: 0
// and 1 leave it, 2 fills it with the background, 3 puts back what it
// covered. The canvas has 8 bits per pixel, with the file's one colour table
// as its palette, when every frame uses that table (the global one, or a
// single frame's own); otherwise it has 24 bits, and the background is the
// global table's colour at the background index (black without a global
// table). The depth is the file's, not the frame's, so every frame of one
// animation has the same depth.
//
// A file whose first frame has a transparent index keeps its transparency,
// as browsers and image tools show such a file: the canvas starts clear, not
// filled with the background, and "restore to background" clears again. On
// an 8-bit canvas the clear colour is that index (the canvas's
// transparentIndex), which needs every frame to leave out that same index so
// that none can draw it; otherwise the canvas has 24 bits and an alpha plane
// (0 where nothing is drawn, 255 where a frame drew).
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "core/Image.h"
#include "core/InFile.h"
#include "formats/ImageReader.h"

namespace vivark::gif {

using ColourTable = std::array<Colour, 256>;

// One image as the block walk found it.
struct Frame {
    uint32_t left, top, width, height;
    bool interlaced;
    bool localTable;
    uint16_t tableSize;  // entries the file gives its table: 2 to 256
    uint8_t disposal;
    int32_t transparentIndex;  // -1: none
    int64_t dataOffset;        // the code size byte
    ColourTable table;         // global table with the local one read over it
};

struct Screen {
    uint32_t width = 0, height = 0;
    uint8_t background = 0;
    bool hasGlobal = false;
    ColourTable global{};
    std::vector<Frame> frames;
};

// Walks the blocks of the GIF at the file's origin into `screen`, recording
// in `image` what the reader reports besides pixels: the GIFInfo items (when
// keepInfo is set), the comment (when keepComment is), the animation record
// and the page count. Throws the walk's GIFERROR values.
void walkScreen(InFile& file, Image& image, Screen& screen);

class GifComposer {
  public:
    // Sizes the canvas from `screen`; throws IMAGEERROR::TooLarge beyond
    // `limits`. `file` and `screen` must outlive the composer.
    GifComposer(InFile& file, const Screen& screen, const Limits& limits);

    // Brings the canvas to frame `page` (1-based, clamped to the frames
    // present). Progress is reported over the rows of that frame; a cancel
    // throws INFILEERROR::Cancelled and leaves the composer to start again.
    void composeTo(uint32_t page, const ReadOptions& options);

    // The canvas as it stands: frame composed() of the file.
    const Image& canvas() const { return canvas_; }
    uint32_t composed() const { return drawn_; }

  private:
    void start();
    void fillRect(uint32_t left, uint32_t top, uint32_t width, uint32_t height);
    void drawFrame(const Frame& frame, const ReadOptions* progress);
    void dispose(const Frame& frame);

    InFile& file_;
    const Screen& screen_;
    Image canvas_;
    uint32_t bytesPerPixel_ = 1;
    int32_t clearIndex_ = -1;     // the transparent index an 8-bit canvas starts with; -1: none
    uint32_t drawn_ = 0;          // frames drawn; the last one's disposal is pending
    bool stale_ = false;          // a failed or cancelled frame left the canvas half drawn
    std::vector<uint8_t> saved_;  // what a "restore to previous" frame covered
    std::vector<uint8_t> savedAlpha_;  // and its alpha, on a canvas with alpha
    std::vector<uint8_t> row_;         // one decoded row of a frame
};

}  // namespace vivark::gif
