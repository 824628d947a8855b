// WriterEntry: what a format family declares about one format it writes.
//
// Each entry names its format as the converter's menu does ("Windows
// Bitmap"), gives short names and file extensions for the command line, its
// format tag, the depths its write function takes and the colours it needs.
// The save path (SaveDispatch.h) converts an image to what the entry takes
// before it calls `write`.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>

#include "core/FormatTag.h"
#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"

namespace vivark {

class SaveOptions;

// A writer's signature; a family with several writers may declare them as
// `WriteSignature writeThing;`.
using WriteSignature = void(const Image&, OutFile&, const SaveOptions&, ProgressCallback*);
// Writes several pages (each already converted for the writer) into one file.
using WritePagesSignature = void(std::span<const Image>, OutFile&, const SaveOptions&,
                                 ProgressCallback*);
using WriteFunction = WriteSignature*;
using WritePagesFunction = WritePagesSignature*;

// What a format needs of a palette image's colours.
enum class ColourNeed : uint8_t { Any, Grey, BlackAndWhite };

// What a format stores besides the pixels of one image; a conversion that
// loses the rest says so (the command line warns).
enum WriterKeeps : uint8_t {
    kKeepsAlpha = 1,             // an alpha plane (Image::secondPlane)
    kKeepsTransparentIndex = 2,  // a palette image's transparent entry
    kKeepsPages = 4,             // every page or frame of a multi-image file
};

// The set of depths {d...}: bit d set.
constexpr uint32_t depthSet(std::initializer_list<uint32_t> depths) {
    uint32_t set = 0;
    for (uint32_t d : depths) set |= 1u << d;
    return set;
}

struct WriterEntry {
    std::string_view menuName;                           // "Windows Bitmap"
    std::initializer_list<std::string_view> shortNames;  // "bmp"
    std::initializer_list<std::string_view> extensions;  // without the dot
    FormatTag formatTag;
    uint32_t depths;  // bit n set: n bits per pixel accepted
    ColourNeed colourNeed;
    WriteFunction write;
    // A boolean save option that must be on for 24 bits to be written as they
    // are (a format whose 24-bit form few programs read); empty when 24 bits
    // always are.
    std::string_view trueColourKey = {};
    // WriterKeeps bits.
    uint8_t keeps = 0;
    // Null when the format holds one page only.
    WritePagesFunction writePages = nullptr;
    // The largest picture the format holds, for formats of a fixed page
    // (MacPaint's 576 × 720): the writer cuts a larger one down and the
    // command line warns. Zero when any size is kept.
    uint32_t canvasWidth = 0;
    uint32_t canvasHeight = 0;

    bool accepts(uint32_t bitsPerPixel) const {
        return bitsPerPixel < 32 && (depths >> bitsPerPixel & 1) != 0;
    }
};

}  // namespace vivark
