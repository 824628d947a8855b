// The load sequence: from an open file (or a file name) to a filled Image.
//
// The loader owns the search for a file's format beyond the plain probe of
// the format table: a MacBinary header, an image encoded as text, an image
// embedded in the first bytes of another file. It creates the reader of the
// format found, lets it read the image (ImageReader.h: the caller's Image is
// replaced only by a complete read) and turns whatever was thrown into a
// message. Nothing escapes a load: its outcome is the LoadResult, whose
// message is also stored in the Image's loadMessage (msg::None on success).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/Image.h"
#include "core/InFile.h"
#include "formats/FormatInfo.h"
#include "formats/FormatTable.h"
#include "formats/ImageReader.h"

namespace vivark {

// Scanned for an image embedded in another file: this many bytes from the
// start, or kQuickEmbeddedScanBytes when the image's loadMode is positive.
inline constexpr uint32_t kEmbeddedScanBytes = 131072;
inline constexpr uint32_t kQuickEmbeddedScanBytes = 4096;
// Lines searched for a text-encoded image, likewise.
inline constexpr uint32_t kTextImageLineLimit = 1000;
inline constexpr uint32_t kQuickTextImageLineLimit = 100;

// Looks through at most `lineLimit` lines of `file` (from its origin) for an
// image encoded as text; returns a stream over the decoded bytes (owning
// them), or null when there is none.
using TextImageDecoder = std::unique_ptr<InFile> (*)(InFile& file, uint32_t lineLimit);

// The decoder the loader asks for text-encoded images; null (the step is
// skipped) until one is installed at start-up.
void setTextImageDecoder(TextImageDecoder decoder);
TextImageDecoder textImageDecoder();

// Finds the format of `file`, in order: the format table at the origin; the
// same behind a 128-byte MacBinary header (bytes 0 and 74 both zero); an
// image encoded as text (decoded into `*decoded`, which then holds the image;
// probed at its start and behind a MacBinary header); an image embedded in
// the first bytes, found by its first four bytes ("GIF8", the PNG signature,
// the two TIFF headers, "8BPS" or FF FF FF E0). On a match the file's origin
// is where the image starts (the decoded stream's, for a text image) and the
// position is 0; otherwise the origin is back where it was. A positive
// `loadMode` searches less; `info` and `decoded` may be null.
const FormatEntry* findFormat(InFile& file, int32_t loadMode, FormatInfo* info,
                              std::unique_ptr<InFile>* decoded = nullptr);

// What a load found and how it ended.
struct LoadResult {
    const FormatEntry* format = nullptr;  // the format identified, or null
    FormatInfo info;                      // what its identify test reported
    MessageId message = msg::None;        // msg::None on success and on a cancel
    bool completed = false;               // the image was read and replaced the caller's
};

// Loads the image of `file` into `image`: findFormat, then the format's reader
// over the file positioned at the image's origin. The message is:
// msg::UnrecognizedFormat when no format is found; msg::SlideShowList for a
// slide show list (no pixels are read); msg::InvalidFile when the format has
// no reader; the mapped message of anything thrown. On success `image` is the
// new image and its formatTag the identified tag; otherwise only its
// loadMessage changes. A cancelled load ends with msg::None and the image
// unchanged.
LoadResult load(Image& image, InFile& file, const ReadOptions& options);

// Opens the named file and loads it; an open failure becomes the message.
LoadResult loadFile(Image& image, const std::string& path, const ReadOptions& options);

}  // namespace vivark
