// Builders of small sample files, byte by byte, for the identification and
// loader tests, and the header variants that no file of the registry checks
// carries.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/FormatTag.h"

namespace vivark::test {

class Bytes {
  public:
    Bytes& u8(uint32_t v) {
        data.push_back(static_cast<uint8_t>(v));
        return *this;
    }
    Bytes& le16(uint32_t v) { return u8(v).u8(v >> 8); }
    Bytes& be16(uint32_t v) { return u8(v >> 8).u8(v); }
    Bytes& le32(uint32_t v) { return le16(v).le16(v >> 16); }
    Bytes& be32(uint32_t v) { return be16(v >> 16).be16(v); }
    Bytes& text(std::string_view s) {
        data.insert(data.end(), s.begin(), s.end());
        return *this;
    }
    Bytes& fill(size_t count, uint8_t v = 0) {
        data.insert(data.end(), count, v);
        return *this;
    }
    // Pads with `v` up to `size` bytes.
    Bytes& padTo(size_t size, uint8_t v = 0) {
        if (data.size() < size) fill(size - data.size(), v);
        return *this;
    }
    // Hex digit pairs; spaces between them are ignored.
    Bytes& hex(std::string_view digits) {
        int high = -1;
        for (char c : digits) {
            if (c == ' ') continue;
            const int v = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
            if (high < 0) {
                high = v;
            } else {
                u8(uint32_t(high * 16 + v));
                high = -1;
            }
        }
        return *this;
    }
    Bytes& append(const std::vector<uint8_t>& more) {
        data.insert(data.end(), more.begin(), more.end());
        return *this;
    }
    std::vector<uint8_t> data;
};

struct Sample {
    std::string name;
    std::vector<uint8_t> bytes;
    FormatTag tag;
    uint32_t width, height, bitsPerPixel;
};

// Header variants each identify test must take (the formats without a writer
// or a committed file, and forms our writers do not make), with their tag,
// size and depth.
std::vector<Sample> formatSamples();

// A GIF file of 7 × 5 pixels whose image descriptor follows three extensions.
std::vector<uint8_t> gifSample();
// A PNG signature, an IHDR chunk (3 × 4, colour type 6, depth 8) and IEND.
std::vector<uint8_t> pngSample();

// A raw fax page: `rows` white rows of 1728 pixels, each after an end of
// line, and the six ends of line that close the page.
std::vector<uint8_t> whiteFaxPage(int rows);

}  // namespace vivark::test
