// What the text-image extractor hands out: the files it decoded from blocks
// of uuencode, xxencode, MIME base64, yEnc or BinHex 4.0 text, and what was
// wrong with each.
//
// Decoders never format text: a damaged block carries Problem values (the
// kind and the numbers that describe it) and the caller words them. A block
// with problems still carries what could be decoded, so a viewer can show a
// partly damaged image while `vivark extract` refuses to write it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vivark::textimg {

enum class Encoding : uint8_t { Uuencode, Xxencode, Base64, Yenc, BinHex };

// The name of an encoding as users know it ("uuencode", "yEnc" ...).
const char* encodingName(Encoding encoding);

// What a checksum covered.
enum class Checked : uint8_t {
    WholeFile,     // yEnc: the CRC32 of every part joined
    Part,          // yEnc: one part's CRC32 (Problem::part says which)
    Header,        // BinHex: the header's CRC-16
    DataFork,      // BinHex: the data fork's CRC-16
    ResourceFork,  // BinHex: the resource fork's CRC-16
};

enum class ProblemKind : uint8_t {
    ChecksumMismatch,  // expected and actual hold the stored and computed values
    SizeMismatch,      // expected and actual hold the declared and decoded sizes
    MissingParts,      // parts lists the absent part numbers
    ShortLine,         // a data line had fewer characters than its length needs
    MissingEnd,        // the text ended before the block's end line
    BadData,           // characters outside the alphabet, or a malformed record
    TooLarge,          // the decoded file would pass ExtractOptions::maxFileBytes
    MissingStart,      // parts of a multi-part posting whose first part is absent
};

struct Problem {
    ProblemKind kind = ProblemKind::BadData;
    Checked checked = Checked::WholeFile;  // ChecksumMismatch only
    uint32_t part = 0;                     // the part concerned, 0 for none
    uint64_t expected = 0;
    uint64_t actual = 0;
    uint64_t line = 0;                 // 1-based line in `Decoded::source` where seen, 0 for none
    std::vector<uint32_t> parts = {};  // MissingParts
};

// One decoded file.
struct Decoded {
    std::string name;  // as the text gave it (not yet made safe), may be empty
    Encoding encoding = Encoding::Uuencode;
    std::string source;  // the text file its first block came from
    uint64_t line = 0;   // the 1-based line of its first block in `source`
    uint32_t parts = 1;  // how many parts it was joined from (0: none arrived)
    std::vector<uint8_t> bytes;
    std::vector<Problem> problems;

    bool damaged() const { return !problems.empty(); }
};

struct ExtractOptions {
    // Lines examined while looking for a block (lines inside blocks do not
    // count); 0 for no limit.
    uint32_t lineLimit = 0;
    // The largest file decoded; a larger one stops at this size as TooLarge.
    uint64_t maxFileBytes = uint64_t{1} << 31;
    // Stop after the first block (the loader wants one image).
    bool firstOnly = false;
};

}  // namespace vivark::textimg
