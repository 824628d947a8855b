// The CCITT mode word: the bits that tell CcittDecoder and CcittEncoder which
// fax coding a run of data uses and which pixel value its white runs carry.
//
// A TIFF reader builds the word from the page's tags: 64 when
// PhotometricInterpretation is 0; compression 2 adds 4, 32771 adds 8;
// compression 3 adds 16 when T4Options bit 0 (two-dimensional) is set and is
// combined with 0x8003; compression 4 is combined with 0x8082. The bits 0x0002
// and 0x8000 mark data that comes from a TIFF strip; they change nothing in
// the coding and are accepted and ignored. The raw fax and structured fax
// readers use the named combinations below.
//
// Pixel values. Rows go in and out packed, the first pixel in the most
// significant bit, (columns + 7) / 8 bytes, with 1 meaning a black pixel as
// displayed and the bits past the last column 0. With kMinIsWhite the coded
// white runs are 0 bits (a TIFF page with PhotometricInterpretation 0, and
// every fax). Without it the coded white runs are 1 bits: a TIFF page with
// PhotometricInterpretation 1 stores the same run codes, but its sample 0
// (a coded white run) displays as black. Either way the rows are the samples
// of a min-is-white bilevel image, so the TIFF reader maps both photometric
// values by passing the word and reading the rows as 1 = black.
#pragma once

#include <cstdint>

namespace vivark::ccitt {

// Rows are preceded by end-of-line codes (T.4, TIFF compression 3). Fill
// zeros before an end of line are always accepted.
inline constexpr uint32_t kEols = 0x0001;
// Marks of TIFF data (compressions 3 and 4); no effect on the coding.
inline constexpr uint32_t kTiffMark = 0x0002;
// Modified Huffman rows that each begin on a byte boundary (compression 2).
inline constexpr uint32_t kByteAlignedRows = 0x0004;
// Modified Huffman rows that each begin on a 16-bit boundary (32771).
inline constexpr uint32_t kWordAlignedRows = 0x0008;
// T.4 two-dimensional: each end of line is followed by a tag bit, 1 for a
// one-dimensional row and 0 for a two-dimensional one. Only with kEols.
inline constexpr uint32_t kTwoDimensional = 0x0010;
// Coded white runs are 0 bits (see above).
inline constexpr uint32_t kMinIsWhite = 0x0040;
// T.6 (Group 4): every row two-dimensional, no end-of-line codes; the page
// may end with an end-of-facsimile-block code (two end-of-line codes).
inline constexpr uint32_t kGroup4 = 0x0080;
// Encoder only: pad with zeros so that every end-of-line code ends on a byte
// boundary (TIFF T4Options bit 2).
inline constexpr uint32_t kByteAlignedEols = 0x0100;
// Encoder only: finish() writes the end-of-page code, six end-of-line codes
// (return to control) with kEols, or the end-of-facsimile block with kGroup4.
inline constexpr uint32_t kEndOfPage = 0x0200;
// Marks of TIFF data; no effect on the coding.
inline constexpr uint32_t kTiffStrip = 0x8000;

// The words of the TIFF compressions, before kMinIsWhite is added.
inline constexpr uint32_t kTiffModifiedHuffman = kByteAlignedRows;     // 2
inline constexpr uint32_t kTiffGroup3 = 0x8003;                        // 3, one-dimensional
inline constexpr uint32_t kTiffGroup3TwoD = 0x8003 | kTwoDimensional;  // 3, two-dimensional
inline constexpr uint32_t kTiffGroup4 = 0x8082;                        // 4
inline constexpr uint32_t kTiffWordAligned = kWordAlignedRows;         // 32771

// The word a TIFF page's tags give (compression 2, 3, 4 or 32771; any other
// compression gives 0).
constexpr uint32_t tiffMode(uint32_t compression, uint32_t photometric, uint32_t t4Options) {
    uint32_t mode = photometric == 0 ? kMinIsWhite : 0;
    switch (compression) {
        case 2:
            return mode + kByteAlignedRows;
        case 32771:
            return mode + kWordAlignedRows;
        case 3:
            if ((t4Options & 1) != 0) mode += kTwoDimensional;
            return mode | kTiffGroup3;
        case 4:
            return mode | kTiffGroup4;
        default:
            return 0;
    }
}

}  // namespace vivark::ccitt
