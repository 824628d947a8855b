// Adler-32 (RFC 1950), the checksum of a zlib stream's uncompressed data,
// shared by the Deflate encoder and decoder. The running sums are reduced
// modulo 65521 after at most 5552 bytes, the longest run for which s2 cannot
// overflow 32 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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
#if defined(__SSE2__)
        // Sixteen bytes a step: s1 gains their sum, s2 gains 16 * s1 plus the
        // bytes weighted 16, 15, ..., 1.
        const __m128i zero = _mm_setzero_si128();
        const __m128i weightsLow = _mm_setr_epi16(16, 15, 14, 13, 12, 11, 10, 9);
        const __m128i weightsHigh = _mm_setr_epi16(8, 7, 6, 5, 4, 3, 2, 1);
        while (length >= 16) {
            size_t blocks = (length < kMaxRun ? length : kMaxRun) / 16;
            length -= blocks * 16;
            __m128i sums = zero, sumsBefore = zero, weighted = zero;
            uint64_t s2Wide = s2 + uint64_t(s1) * 16 * blocks;
            for (size_t i = 0; i < blocks; ++i) {
                const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data));
                data += 16;
                sumsBefore = _mm_add_epi32(sumsBefore, sums);
                sums = _mm_add_epi32(sums, _mm_sad_epu8(v, zero));
                weighted =
                    _mm_add_epi32(weighted, _mm_madd_epi16(_mm_unpacklo_epi8(v, zero), weightsLow));
                weighted = _mm_add_epi32(weighted,
                                         _mm_madd_epi16(_mm_unpackhi_epi8(v, zero), weightsHigh));
            }
            alignas(16) uint32_t a[4], b[4], c[4];
            _mm_store_si128(reinterpret_cast<__m128i*>(a), sums);
            _mm_store_si128(reinterpret_cast<__m128i*>(b), sumsBefore);
            _mm_store_si128(reinterpret_cast<__m128i*>(c), weighted);
            s1 += a[0] + a[2];
            s2Wide += 16 * (uint64_t(b[0]) + b[2]) + uint64_t(c[0]) + c[1] + c[2] + c[3];
            s1 %= kModulus;
            s2 = static_cast<uint32_t>(s2Wide % kModulus);
        }
#endif
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
    uint32_t value() const {
        return s2_ << 16 | s1_;
    }

  private:
    uint32_t s1_ = 1;
    uint32_t s2_ = 0;
};

}  // namespace vivark
