// The two stages of the EPS writer's data stream that PostScript decodes:
// Ascii85Sink, a ByteSink that writes what it is given as ASCII85 text lines
// to an OutFile and ends it with "~>", and RunLengthEncoder, the encoder
// whose output RunLengthDecode reads (runs of 2 to 128 equal bytes, literal
// strings of 1 to 128 bytes, the end-of-data byte 128 on finish()).
#pragma once

#include <array>
#include <cstdint>

#include "codecs/StreamCodec.h"
#include "core/OutFile.h"

namespace vivark::eps {

class Ascii85Sink final : public ByteSink {
  public:
    explicit Ascii85Sink(OutFile& out) : out_(out) {}

    void begin() override;
    void flush() override;
    // Writes the last group (partial groups give one character more than
    // their bytes) and the end-of-data mark.
    void finish() override;

  private:
    void encodeGroups(size_t count);
    void put(char c);

    OutFile& out_;
    std::array<uint8_t, 4096> buffer_{};
    uint32_t column_ = 0;
};

class RunLengthEncoder final : public StreamEncoder {
  public:
    // Each call is coded on its own: no code spans two calls.
    void encode(const uint8_t* data, size_t length) override;
    void finish() override;
};

}  // namespace vivark::eps
