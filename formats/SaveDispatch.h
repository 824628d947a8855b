// The save dispatch: the one table of writers and the save sequence.
//
// Each WriterEntry names its format as the converter's menu does ("Windows
// Bitmap"), gives short names and file extensions for the command line, its
// format tag, the depths its write function takes and the colours it needs.
// saveImage() converts the image where the writer needs another depth
// (convertForWriter), then writes it through a SafeOutFile: the target
// appears only when complete, and a failure or a cancel leaves nothing.
//
// An image with more colours than the format holds is reduced on the way
// (ops/ColourReduce.h) to the writer's widest palette depth, with the palette
// and dither types of "Dither\\Palette\\PaletteType" and "DitherType" (the
// user's general reduction choice; the other Dither keys belong to the
// viewer's display); a format of one bit gets a black-and-white conversion
// with that dither type. A 24-bit image goes to PCX and DCX as 24 bits only
// when "SaveOptions\\PCX\\Enable24bit" is set.
//
// Failures: SAVEERROR::NeedsColourReduction when colour would have to become
// grey (grey conversion is an editing step), the writer's own errors,
// OUTFILEERROR (Cancelled also when the reduction is cancelled) and
// CREATEERROR from the file; saveMessageForCurrentException() turns each
// into a message.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <span>
#include <string_view>

#include "core/FormatTag.h"
#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"

namespace vivark {

using WriteFunction = void (*)(const Image&, OutFile&, const SaveOptions&, ProgressCallback*);

// What a format needs of a palette image's colours.
enum class ColourNeed : uint8_t { Any, Grey, BlackAndWhite };

struct WriterEntry {
    std::string_view menuName;                           // "Windows Bitmap"
    std::initializer_list<std::string_view> shortNames;  // "bmp"
    std::initializer_list<std::string_view> extensions;  // without the dot
    FormatTag formatTag;
    uint32_t depths;  // bit n set: n bits per pixel accepted
    ColourNeed colourNeed;
    WriteFunction write;

    bool accepts(uint32_t bitsPerPixel) const {
        return bitsPerPixel < 32 && (depths >> bitsPerPixel & 1) != 0;
    }
};

std::span<const WriterEntry> writerTable();

// Lookups, ignoring case; null when none matches.
const WriterEntry* findWriterByName(std::string_view menuOrShortName);
const WriterEntry* findWriterByExtension(std::string_view extension);  // "bmp" or ".bmp"
const WriterEntry* findWriterByTag(FormatTag tag);

// The image as the writer takes it: shared unchanged when it fits; palette
// images widened or expanded to a depth the writer takes, black-and-white
// ones packed to one bit; otherwise reduced as above. Throws
// SAVEERROR::NeedsColourReduction for colour to grey, OUTFILEERROR::Cancelled
// when `progress` cancels the reduction.
Image convertForWriter(const Image& image, const WriterEntry& writer, const SaveOptions& options,
                       ProgressCallback* progress = nullptr);

void saveImage(const Image& image, const std::filesystem::path& target, const WriterEntry& writer,
               const SaveOptions& options, ProgressCallback* progress = nullptr);

}  // namespace vivark
