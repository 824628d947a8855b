// ImageReader: the base of every format's reader.
//
// A reader is made by its format's factory over an open InFile positioned at
// the image's origin, reads one image into an Image, and is destroyed. It does
// not own the file. It throws its format's error values (and lets InFile's and
// its codecs' errors pass); the loader maps them to a message and discards the
// partly read image.
//
// Readers report progress once per row through ReadOptions::progress; a cancel
// throws INFILEERROR::Cancelled. They check every size from the file against
// ReadOptions::limits before allocating. The page of a multi-image file is the
// Image's pageNumber (1-based), set by the caller before the read; the reader
// sets pageCount.
#pragma once

#include "core/Image.h"
#include "core/InFile.h"
#include "core/Limits.h"
#include "core/Progress.h"
#include "formats/RowDisplay.h"

namespace vivark {

struct ReadOptions {
    ProgressCallback* progress = nullptr;
    Limits limits;
    // A preview of about this many pixels on the longer side is enough (0: full size).
    uint32_t previewSize = 0;
    // Follows the rows as they arrive, where the reader supports it; may be null.
    RowDisplay* display = nullptr;
};

class ImageReader {
  public:
    explicit ImageReader(InFile& file) : file_(&file) {}
    virtual ~ImageReader() = default;
    ImageReader(const ImageReader&) = delete;
    ImageReader& operator=(const ImageReader&) = delete;

    // Reads the image at the file's origin into `image`.
    virtual void read(Image& image, const ReadOptions& options) = 0;

  protected:
    InFile* file_;
};

}  // namespace vivark
