// ChunkInput: the PNG reader's view of the chunk sequence in an InFile. It
// reads a chunk's length and type, hands out its data while adding it to the
// running CRC-32 (which starts over the type), and finishes the chunk by
// skipping what is left of the data and comparing the stored CRC with the
// running one. Every chunk passes through end(), known or not, so a single
// bad CRC anywhere fails the read with PNGERROR::BadCrc. A short file throws
// INFILEERROR::UnexpectedEnd from the InFile.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/InFile.h"
#include "formats/png/PngCrc.h"

namespace vivark::png {

class ChunkInput {
  public:
    explicit ChunkInput(InFile& file) : file_(file) {}

    // Reads the next chunk's length and type and returns the type.
    uint32_t begin();
    uint32_t type() const { return type_; }
    uint32_t length() const { return length_; }
    // Bytes of the current chunk's data not yet read.
    uint32_t left() const { return left_; }

    // Reads `count` bytes of data (at most left()).
    void read(uint8_t* destination, size_t count);
    // Skips the rest of the data and checks the stored CRC.
    void end();

    // For IdatSource, which reads data in place from the file's buffer:
    // data taken from the window and counted into the CRC.
    InFile& file() { return file_; }
    void took(const uint8_t* data, size_t count) {
        crc_.update(data, count);
        left_ -= static_cast<uint32_t>(count);
    }

  private:
    InFile& file_;
    Crc32 crc_;
    uint32_t type_ = 0;
    uint32_t length_ = 0;
    uint32_t left_ = 0;
};

}  // namespace vivark::png
