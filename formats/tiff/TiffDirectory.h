// TiffDirectoryReader: the walk over a TIFF file's structure, shared by the
// reader and the tag information display. It owns the byte order, the chain
// of image file directories (IFDs) and the current entry of the current
// directory, and reads entry values in the file's byte order.
//
// The walk is quiet about damage: an entry of an unknown field type, or whose
// data would lie outside the file, ends the directory; a next-directory
// offset outside the file, or one already visited, ends the chain. What such
// a page is still good for is decided by the reader's checks.
#pragma once

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "core/InFile.h"

namespace vivark {

class TiffDirectoryReader {
  public:
    explicit TiffDirectoryReader(InFile& file);

    // Reads the four-byte mark at the file's origin and sets the byte order;
    // false when it is neither "II" 42 nor "MM" 42.
    bool checkHeader();
    // Moves to the first directory (after checkHeader); false when there is none.
    bool firstDirectory();
    // Moves past the current directory to the next; false at the chain's end.
    bool nextDirectory();
    // Moves to the directory at `offset` (one the chain walk has met).
    bool openDirectory(uint32_t offset);
    // Reads the next entry of the current directory; false when the walk of
    // this directory is over.
    bool nextEntry();

    bool bigEndian() const { return bigEndian_; }
    uint64_t fileLength() const { return fileLength_; }
    // The current directory's position (from the origin).
    uint32_t directoryOffset() const { return directoryOffset_; }

    // The current entry.
    uint16_t tag() const { return tag_; }
    uint16_t type() const { return type_; }
    uint32_t count() const { return count_; }
    // The offset of the value's data, or of the entry's value field when inline.
    uint32_t valueOffset() const { return valueOffset_; }

    // Value readers. Integer types (BYTE, SHORT, LONG and their signed forms)
    // read as 32-bit values; other types read as 0.
    uint32_t integer();
    std::vector<uint32_t> integers();
    // RATIONAL and SRATIONAL as doubles (a zero denominator gives 0).
    std::vector<double> rationals();
    // The value's bytes as stored (at most `limit`).
    std::vector<uint8_t> bytes(uint32_t limit = 0xFFFFFFFFu);

    // Byte-order helpers over memory.
    uint16_t u16(const uint8_t* p) const;
    uint32_t u32(const uint8_t* p) const;

  private:
    bool enterDirectory(uint32_t offset);
    // Reads the value's raw bytes (count x type size, capped) into `out`.
    void rawValue(std::vector<uint8_t>& out, uint64_t limit);

    InFile& file_;
    bool bigEndian_ = false;
    uint64_t fileLength_ = 0;
    uint32_t directoryOffset_ = 0;
    uint32_t entryCount_ = 0;
    uint32_t entryIndex_ = 0;
    bool directoryOpen_ = false;
    std::unordered_set<uint32_t> visited_;

    uint16_t tag_ = 0, type_ = 0;
    uint32_t count_ = 0;
    uint32_t valueOffset_ = 0;
    uint8_t inline_[4] = {};
};

// Bytes of one value of field type 1..12 (0 for unknown types).
uint32_t tiffTypeSize(uint32_t type);

}  // namespace vivark
