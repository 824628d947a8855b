// FaxFormat.h: the family's error values, message identifiers, identify
// tests, readers and writers (raw Group 3 fax and structured fax files). The
// writers have no save options.
#pragma once

#include <span>

#include <cstdint>
#include <memory>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"
#include "formats/ImageReader.h"
#include "formats/WriterEntry.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class FAX3ERROR : uint32_t { Unknown = 0, DataIntegrity = 1 };
enum class SFFERROR : uint32_t {
    InvalidFile = 0,
    DataIntegrity = 1,
    NoPageHeader = 2,
    UnknownCoding = 3,
};
// Writers whose failures are their own (the save path maps them).
enum class FAX3WRITEERROR : uint32_t { Unknown = 0 };

namespace msg {
inline constexpr MessageId SffNoPageHeader = 11215;
inline constexpr MessageId SffCoding = 11216;
}  // namespace msg

// The identify tests (see formats/Identify.h for their contract).
bool identifySff(InFile& file, FormatInfo* info);
bool identifyFax3(InFile& file, FormatInfo* info);

// The CCITT mode of raw fax streams: modified Huffman rows, each after an end
// of line, white runs as 0 bits.
inline constexpr uint32_t kRawFaxMode = 0x0001 | 0x0040;
// The width of a raw fax stream from its first two rows (both must measure
// the same), or 0 when the stream does not start as a fax page. Leaves the
// file anywhere.
uint32_t measureRawFax(InFile& file);

std::unique_ptr<ImageReader> makeFax3Reader(InFile& file);
std::unique_ptr<ImageReader> makeSffReader(InFile& file);

class SaveOptions;
void writeFax3(const Image& image, OutFile& out, const SaveOptions& options,
               ProgressCallback* progress);
void writeSff(const Image& image, OutFile& out, const SaveOptions& options,
              ProgressCallback* progress);
void writeSffPages(std::span<const Image> pages, OutFile& out, const SaveOptions& options,
                   ProgressCallback* progress);

}  // namespace vivark
