// Adler-32 (RFC 1950), the checksum of a zlib stream's uncompressed data,
// shared by the Deflate encoder and decoder. The running sums are reduced
// modulo 65521 after at most 5552 bytes, the longest run for which s2 cannot
// overflow 32 bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vivark {

class Adler32 {
  public:
    static constexpr uint32_t kModulus = 65521;
    static constexpr size_t kMaxRun = 5552;

    void reset() {
        s1_ = 1;
        s2_ = 0;
    }
    void update(const uint8_t* data, size_t length) {
        uint32_t s1 = s1_;
        uint32_t s2 = s2_;
        while (length != 0) {
            size_t run = length < kMaxRun ? length : kMaxRun;
            length -= run;
            while (run >= 4) {
                s1 += data[0];
                s2 += s1;
                s1 += data[1];
                s2 += s1;
                s1 += data[2];
                s2 += s1;
                s1 += data[3];
                s2 += s1;
                data += 4;
                run -= 4;
            }
            while (run != 0) {
                s1 += *data++;
                s2 += s1;
                --run;
            }
            s1 %= kModulus;
            s2 %= kModulus;
        }
        s1_ = s1;
        s2_ = s2;
    }
    // s2 * 65536 + s1, as the zlib trailer holds it.
    uint32_t value() const { return s2_ << 16 | s1_; }

  private:
    uint32_t s1_ = 1;
    uint32_t s2_ = 0;
};

}  // namespace vivark
