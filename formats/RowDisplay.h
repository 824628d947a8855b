// RowDisplay: how a viewer follows a reader that fills an image row by row
// and may show it before it is complete.
//
// A reader that supports it (the PNG reader) asks blockDisplay() once per
// pass: when true, each pixel of an interlaced pass is drawn as the block it
// stands for, so the picture sharpens pass by pass. After every
// rowThreshold() rows it calls showRows(); at the end of each pass it calls
// passFinished(). The image handed over is the one being filled, already
// sized. Readers work without one (ReadOptions::display null); progress and
// cancellation stay with ReadOptions::progress.
#pragma once

#include <cstdint>

namespace vivark {

class Image;

class RowDisplay {
  public:
    virtual ~RowDisplay() = default;
    virtual bool blockDisplay() const = 0;
    // Rows to decode between two showRows() calls (at least 1).
    virtual uint32_t rowThreshold() const = 0;
    // `rowsDone` rows of the current pass are decoded.
    virtual void showRows(const Image& image, uint32_t rowsDone) = 0;
    // Pass `pass` (0 when not interlaced, else 1 to 7) is complete.
    virtual void passFinished(const Image& image, uint32_t pass) = 0;
};

}  // namespace vivark
