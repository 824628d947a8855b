// The icon, cursor and pointer writers: "Windows Icon", "Windows Cursor"
// (a directory of entries, each a 40-byte header, palette, colour rows and
// AND mask) and "OS/2 Icon", "OS/2 Pointer" (a "BA" array whose elements
// each hold a black-and-white mask bitmap and, for colour, a colour bitmap).
// One image makes one entry; several pages make one entry each.
//
// Options (each format under its own key):
//  - Size: the side of the square picture in pixels; the image is stretched
//    to it when it differs (as icon editors scale), 0 keeps the image's own
//    size. Pages of a multi-image save keep their own sizes: they already are
//    an icon's pictures.
//  - Color Type: 0 black and white, 1 16 colours, 2 256 colours, 3 true
//    colour, 4 (the default) the image's own depth. A Windows entry of true
//    colour whose image has an alpha plane is written with 32 bits, alpha
//    included.
//  - Transparent: the AND mask is set where the alpha plane is below half,
//    where the image's AND mask is set, or at the transparent index; off, the
//    picture is opaque.
//  - OS/2 Format: 0 the 1.x headers (12 bytes), 1 the 2.x headers (64
//    bytes); Encode: RLE4/RLE8 colour bitmaps, with the 2.x headers only.
// A cancel throws OUTFILEERROR::Cancelled; a picture beyond 256 pixels (a
// Windows entry) or 65535 (an OS/2 1.x header) SAVEERROR::TooLargeForFormat.
#pragma once

#include <span>

#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"
#include "formats/WriterEntry.h"

namespace vivark {

// Each writer takes one image; its Pages form writes several pages into one file.
WriteSignature writeWindowsIcon;
WritePagesSignature writeWindowsIconPages;
WriteSignature writeWindowsCursor;
WritePagesSignature writeWindowsCursorPages;
WriteSignature writeOs2Icon;
WritePagesSignature writeOs2IconPages;
WriteSignature writeOs2Pointer;
WritePagesSignature writeOs2PointerPages;

namespace bmp {

// One picture as an icon entry stores it: pixels of 1, 4, 8 or 24 bits, its
// AND mask (1 bit a pixel, 1 where the screen shows through, laid out as a
// 1-bit plane) and, for 32-bit entries, its alpha.
struct IconPicture {
    Image pixels;
    PixelPlane mask;
    PixelPlane alpha;  // empty unless written with 32 bits
};

struct IconChoice {
    int32_t size = 0;  // 0: as the image
    int32_t colourType = 4;
    bool transparent = true;
    bool allowAlpha = false;  // 32-bit entries (Windows only)
};

IconPicture prepareIconPicture(const Image& image, const IconChoice& choice,
                               const SaveOptions& options, ProgressCallback* progress);

}  // namespace bmp
}  // namespace vivark
