// ImageReader: the base of every format's reader, and what a read is asked.
//
// A reader is made by its format's factory over an open InFile positioned at
// the image's origin, reads one image, and is destroyed. It does not own the
// file. The caller's entry is read(), which is not virtual: it hands the
// format's readInto() a fresh Image carrying the request (page, what to
// keep, how hard to search) and moves the result into the caller's Image only
// when readInto() returns. A failed or cancelled read therefore leaves the
// caller's image exactly as it was, and nothing of an earlier load (comment,
// information items, animation, resolution, alpha) survives into a new one.
//
// readInto() throws its format's error values (and lets InFile's and its
// codecs' errors pass); the caller maps them to a message. It reports
// progress once per row through ReadOptions::progress (a cancel throws
// INFILEERROR::Cancelled) and checks every size from the file against
// ReadOptions::limits before allocating. The page of a multi-image file is
// the fresh Image's pageNumber (1-based); the reader sets pageCount.
#pragma once

#include <cstdint>

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
    // The page or frame asked for, 1-based.
    uint32_t page = 1;
    // Whether the reader records information items and comments.
    bool keepInfo = true;
    bool keepComment = true;
    // When positive, the loader searches less for an image inside another file.
    int32_t loadMode = 0;
    // Only the header and the information items are wanted: a reader that can
    // stops before the pixels (the Image then has its size and depth but an
    // empty plane); one that cannot reads the whole image.
    bool headerOnly = false;
};

class ImageReader {
  public:
    explicit ImageReader(InFile& file) : file_(&file) {}
    virtual ~ImageReader() = default;
    ImageReader(const ImageReader&) = delete;
    ImageReader& operator=(const ImageReader&) = delete;

    // Reads the image at the file's origin and replaces `image` with it; on
    // any failure `image` is left as it was.
    void read(Image& image, const ReadOptions& options);

    // The request as a fresh Image starts with it.
    static Image freshImage(const ReadOptions& options);

  protected:
    // Fills `image`, a fresh Image that carries the request.
    virtual void readInto(Image& image, const ReadOptions& options) = 0;

    InFile* file_;
};

}  // namespace vivark
