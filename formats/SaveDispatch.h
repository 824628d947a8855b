// The save dispatch: the writers of the registry's entries and the save
// sequence.
//
// The writers are declared by their format families (WriterEntry.h).
// saveImage() converts the image where the writer needs another depth
// (convertForWriter), then writes it through a SafeOutFile: the target
// appears only when complete, and a failure or a cancel leaves nothing.
//
// An image with more colours than the format holds is reduced on the way
// (ops/ColourReduce.h) to the writer's widest palette depth, with the palette
// and dither types of "Dither\\Palette\\PaletteType" and "DitherType" (the
// user's general reduction choice; the other Dither keys belong to the
// viewer's display); a format of one bit gets a black-and-white conversion
// with that dither type. A writer whose 24-bit form is an option (its
// trueColourKey) gets 24 bits only when that option is on. A palette image's
// transparent index goes to a writer that stores alpha but no transparent
// index as a 24-bit image with alpha; a 24-bit image whose alpha is only
// clear or opaque goes to a palette writer with a transparent index
// (DepthConvert.h).
//
// Failures: SAVEERROR::NeedsColourReduction when colour would have to become
// grey (grey conversion is an editing step), the writer's own errors,
// OUTFILEERROR (Cancelled also when the reduction is cancelled) and
// CREATEERROR from the file; saveMessageForCurrentException() turns each
// into a message.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "core/FormatTag.h"
#include "core/Image.h"
#include "core/OutFile.h"
#include "core/Progress.h"
#include "formats/SaveOptions.h"
#include "formats/WriterEntry.h"

namespace vivark {

// Every writer of the registry's entries, in registry order.
std::span<const WriterEntry* const> writerTable();

// Lookups, ignoring case; null when none matches.
const WriterEntry* findWriterByName(std::string_view menuOrShortName);
const WriterEntry* findWriterByExtension(std::string_view extension);  // "bmp" or ".bmp"
const WriterEntry* findWriterByTag(FormatTag tag);

struct FormatEntry;

// The name users know a file's format by. A variant's tag names it more
// closely than its family ("BMPW" is a Windows Bitmap): where the family
// writes several formats, the writer of `namedAs` (the identify test's
// FormatInfo::namedAs, where one tag is shared: "BMP " with a version 5
// header is a Windows Bitmap too) or else of `tag` gives the name. A family
// with one writer keeps its own name (TIFF's writer has the converter's
// wording, not the format's). `family` is the entry that identified the
// file, or null to look it up by `tag`; a tag no entry or writer knows is
// shown as its four characters.
std::string formatNameOf(FormatTag tag, FormatTag namedAs = 0, const FormatEntry* family = nullptr);

// The image as the writer takes it: shared unchanged when it fits; palette
// images widened or expanded to a depth the writer takes, black-and-white
// ones packed to one bit; otherwise reduced as above. Throws
// SAVEERROR::NeedsColourReduction for colour to grey, OUTFILEERROR::Cancelled
// when `progress` cancels the reduction.
Image convertForWriter(const Image& image, const WriterEntry& writer, const SaveOptions& options,
                       ProgressCallback* progress = nullptr);

void saveImage(const Image& image, const std::filesystem::path& target, const WriterEntry& writer,
               const SaveOptions& options, ProgressCallback* progress = nullptr);

// Several pages into one file, through the writer's writePages (a writer
// without one gets the first page only).
void saveImagePages(std::span<const Image> pages, const std::filesystem::path& target,
                    const WriterEntry& writer, const SaveOptions& options,
                    ProgressCallback* progress = nullptr);
// The same into an open descriptor (standard output), which stays open.
void saveImageTo(const Image& image, int descriptor, const WriterEntry& writer,
                 const SaveOptions& options, ProgressCallback* progress = nullptr);

}  // namespace vivark
