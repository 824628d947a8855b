// The save dispatch: the one table of writers and the save sequence.
//
// Each WriterEntry names its format as the converter's menu does ("Windows
// Bitmap"), gives short names and file extensions for the command line, its
// format tag, the depths its write function takes and the colours it needs.
// saveImage() converts the image where the writer needs another depth
// (convertForWriter), then writes it through a SafeOutFile: the target
// appears only when complete, and a failure or a cancel leaves nothing.
//
// Failures: SAVEERROR::NeedsColourReduction when the image has more colours
// than the format holds (colour reduction is the caller's step), the writer's
// own errors, OUTFILEERROR and CREATEERROR from the file;
// saveMessageForCurrentException() turns each into a message.
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
// images widened or expanded to a depth the writer takes, and black-and-white
// ones packed to one bit. Throws SAVEERROR::NeedsColourReduction when that
// would need fewer colours (24 bits to a palette, colour to grey).
Image convertForWriter(const Image& image, const WriterEntry& writer);

void saveImage(const Image& image, const std::filesystem::path& target, const WriterEntry& writer,
               const SaveOptions& options, ProgressCallback* progress = nullptr);

}  // namespace vivark
