// The block decoders: each reads the lines of one block from a LineSource
// positioned after the block's start (Scanner), decodes them into a Decoded
// and leaves the source after the block's last line. Damage is recorded as
// Problems, never thrown; only the InFile's own failures propagate.
//
// The decoders work a line at a time through 256-entry tables and write into
// the output vector directly; the output grows with the data decoded, never
// with a size the text declares.
#pragma once

#include <optional>

#include "textimg/Alphabets.h"
#include "textimg/LineSource.h"
#include "textimg/Scanner.h"
#include "textimg/TextImage.h"

namespace vivark::textimg {

// Where one part of a yEnc posting belongs.
struct YencPart {
    uint32_t part = 0;                 // 1-based
    uint32_t total = 0;                // 0 when the posting does not say
    uint64_t begin = 0;                // 1-based offset of the first byte, from =ypart
    uint64_t end = 0;                  // offset of the last byte
    uint64_t fileSize = 0;             // the whole file's size, from =ybegin
    std::optional<uint32_t> wholeCrc;  // crc32= of =yend: the whole file's
};

struct DecodedBlock {
    Decoded file;
    std::optional<YencPart> yencPart;  // set for a part of a multi-part yEnc posting
};

// uuencode or xxencode, with the table the block uses.
DecodedBlock decodeUu(LineSource& lines, const BlockStart& start, const DecodeTable& table,
                      const ExtractOptions& options);
DecodedBlock decodeBase64(LineSource& lines, const BlockStart& start,
                          const ExtractOptions& options);
DecodedBlock decodeYenc(LineSource& lines, const BlockStart& start, const ExtractOptions& options);
DecodedBlock decodeBinHex(LineSource& lines, const BlockStart& start,
                          const ExtractOptions& options);

// Appends to a decoded file within its size limit.
class ByteSink {
  public:
    ByteSink(std::vector<uint8_t>& bytes, uint64_t limit) : bytes_(bytes), limit_(limit) {}
    // Room for up to `count` bytes at the end; null when that would pass the
    // limit. Call commit() with the bytes actually written.
    uint8_t* reserve(size_t count) {
        if (count > limit_ || bytes_.size() > limit_ - count) return nullptr;
        used_ = bytes_.size();
        bytes_.resize(used_ + count);
        return bytes_.data() + used_;
    }
    void commit(size_t written) { bytes_.resize(used_ + written); }

  private:
    std::vector<uint8_t>& bytes_;
    uint64_t limit_;
    size_t used_ = 0;
};

}  // namespace vivark::textimg
