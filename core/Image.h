// Image: the in-memory raster every reader fills and every writer, viewer and
// operation reads.
//
// An Image is a device-independent bitmap: a PixelPlane (rows bottom-up,
// padded to four bytes; 1, 4 and 8 bits through the palette, 24 bits as blue,
// green, red), a 256-entry Palette of which paletteCount entries are valid,
// and the descriptive state the formats read and write:
//
//  - pageNumber, pageCount: the page asked for before a load (1-based) and
//    the number of pages or frames the file holds; both 1 for a single image.
//  - formatTag: the format it was last identified as, loaded from or saved to.
//  - resolution, comment, exif (the TIFF-structured block of an EXIF APP1
//    after its "Exif\0\0" header, shared read-only between copies).
//  - info: the labelled items a reader records (GIFInfo and its kin); readers
//    record them only when keepInfo is set, comments only when keepComment is.
//  - animation: loop count and frames of a multi-image file, when it has any.
//  - secondPlane, secondPlaneKind: a second raster of the same size where a
//    format carries one: an alpha channel (8 bits a pixel, 0 transparent to
//    255 opaque; PNG, Targa, TIFF, PSD) or the AND mask of an icon or cursor
//    (1 bit a pixel, 1 where the screen shows through).
//  - transparentIndex: the palette index a file declares transparent (GIF,
//    a PNG whose palette has one transparent entry), when it declares one.
//  - loadMessage: the message of the last failed load into this image (0 when
//    none); loadMode: when positive, loading searches less.
//
// Copies share the pixels (see PixelPlane) and copy everything else; every
// Image made or assigned gets a new serial from the process-wide counter, so
// two images that may differ never share a serial. Size failures throw
// IMAGEERROR::TooLarge.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/FormatTag.h"
#include "core/ImageInfo.h"
#include "core/Messages.h"
#include "core/Palette.h"
#include "core/PixelPlane.h"
#include "core/Progress.h"

namespace vivark {

// What an Image's second plane holds.
enum class SecondPlane : uint8_t { None, Alpha, AndMask };

// The next value of the process-wide image serial counter (never 0).
uint32_t nextImageSerial();

// An image's serial. Copying draws a new one (a copy may be changed apart from
// its original); moving hands the serial over with the content. Being a member
// type of its own, it lets Image copy every other member by construction.
class ImageSerial {
  public:
    ImageSerial() : value_(nextImageSerial()) {}
    ImageSerial(const ImageSerial&) : value_(nextImageSerial()) {}
    ImageSerial& operator=(const ImageSerial&) {
        value_ = nextImageSerial();
        return *this;
    }
    ImageSerial(ImageSerial&&) noexcept = default;
    ImageSerial& operator=(ImageSerial&&) noexcept = default;
    uint32_t value() const { return value_; }

  private:
    uint32_t value_;
};

class Image {
  public:
    Image();
    // An image with a new plane (zeroed when `clear` is set) and a cleared palette.
    Image(uint32_t width, uint32_t height, uint32_t bitsPerPixel, bool clear = true);
    Image(const Image& other) = default;
    Image& operator=(const Image& other) = default;
    Image(Image&& other) noexcept = default;
    Image& operator=(Image&& other) noexcept = default;

    // Takes over what a caller sets up before a load (page asked for, what to
    // keep, how hard to search), so a reader that builds its result in a
    // fresh Image hands those back unchanged.
    void keepRequestOf(const Image& request) {
        pageNumber = request.pageNumber;
        keepInfo = request.keepInfo;
        keepComment = request.keepComment;
        loadMode = request.loadMode;
    }

    uint32_t serial() const { return serial_.value(); }
    uint32_t width() const { return plane.width(); }
    uint32_t height() const { return plane.height(); }
    uint32_t bitsPerPixel() const { return plane.bitsPerPixel(); }
    bool hasPalette() const { return plane.bitsPerPixel() <= 8; }

    // Palette operations; they do nothing, or answer false, above 8 bits.
    void copyPaletteTo(Colour* destination, unsigned count) const;
    bool isBlackAndWhite() const;
    bool isGrey() const;
    void setGreyPalette();               // 256 grey levels
    void setGreyPalette(unsigned bits);  // 2^bits levels widened by bit replication
    // Counts the entries among the first paletteCount whose colour no earlier
    // entry has; stores and returns it as colourCount.
    uint32_t countPaletteColours();

    enum class CountMode {
        Quick,              // entries in use only
        WeedOutDuplicates,  // entries in use, then distinct colours among them
    };
    // Counts colours and stores the answer in colourCount (0 = not counted):
    //  - 8 bits or less: paletteCount becomes the number of entries up to the
    //    highest index in use; colourCount is that number (Quick) or the
    //    distinct colours among them (WeedOutDuplicates). Pixels never change.
    //  - 24 bits: the number of distinct colours. The callback is asked after
    //    every row; when it cancels, 0 is returned and nothing is stored.
    uint32_t countColours(ProgressCallback* callback = nullptr, CountMode mode = CountMode::Quick);

    PixelPlane plane;
    Palette palette;
    std::array<uint32_t, 256> paletteExtra{};
    uint32_t paletteCount = 256;
    uint32_t colourCount = 0;
    MessageId loadMessage = msg::None;
    int32_t loadMode = 0;

    uint32_t pageNumber = 1;
    uint32_t pageCount = 1;
    FormatTag formatTag = 0;
    Resolution resolution;
    std::string comment;
    std::shared_ptr<const std::vector<uint8_t>> exif;
    bool keepInfo = true;
    bool keepComment = true;
    std::vector<InfoItem> info;
    std::optional<Animation> animation;
    PixelPlane secondPlane;
    SecondPlane secondPlaneKind = SecondPlane::None;
    std::optional<uint8_t> transparentIndex;
    double scaleX = 1.0;
    double scaleY = 1.0;

  private:
    ImageSerial serial_;
};

}  // namespace vivark
