// Scanner: finds where an encoded block starts in a text.
//
// Each line is tested at its start, in this order: "charmap" (the next line
// is the character map), "table" (the next lines give a custom xxencode
// alphabet), "begin" (uuencode or xxencode, told apart by the lines that
// follow), "(This file must be converted with BinHex 4.0)", "=ybegin" and
// "Content-Transfer-Encoding". At most 80 characters of a line take part in
// the tests, as if read into an 81-byte buffer. The scanner also notes the
// MIME header fields that name a file (Content-Type, Content-Disposition)
// and the boundary of a multipart body.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "textimg/Alphabets.h"
#include "textimg/LineSource.h"
#include "textimg/TextImage.h"

namespace vivark::textimg {

inline constexpr size_t kExaminedChars = 80;

struct BlockStart {
    Encoding encoding = Encoding::Uuencode;
    std::string name;
    uint64_t line = 0;   // the line of the keyword
    std::string source;  // the member the keyword was found in
    // yEnc: the fields of the =ybegin line (0 when absent).
    uint64_t size = 0;
    uint32_t part = 0;
    uint32_t total = 0;
    // base64: the multipart boundary in force, if any ("--" not included).
    std::string boundary;
};

class Scanner {
  public:
    // Reads lines until a block starts; the source is left at the block's
    // first line after the keyword line (for base64: after its headers).
    // Lines examined count against `lineBudget` (nullptr for none); a line
    // with a zero byte outside a block ends the scan when `stopAtBinary`.
    std::optional<BlockStart> next(LineSource& lines, uint64_t* lineBudget, bool stopAtBinary);

    // The uuencode/xxencode test on the lines after "begin"; the source is
    // left where it was. Public for the tests.
    enum class UuKind { Uuencode, Xxencode, Neither };
    UuKind classify(LineSource& lines) const;

    const DecodeTable& xxTable() const { return xxTable_; }
    const std::string& charmap() const { return charmap_; }

  private:
    void readTable(LineSource& lines);
    bool mimeBlock(LineSource& lines, std::string_view value, BlockStart& start);
    void noteHeader(std::string_view line);

    DecodeTable xxTable_ = kXxTable;
    std::string charmap_;
    // MIME state: the last header fields seen, joined with their folded lines.
    std::string contentType_;
    std::string contentDisposition_;
    std::string boundary_;
    std::string* folding_ = nullptr;  // the field a continuation line extends
};

// Helpers the decoders share.
bool startsWithNoCase(std::string_view text, std::string_view prefix);
// The value of `key=` in a header's parameters ("name", "filename",
// "boundary"), unquoted; empty when absent.
std::string headerParameter(std::string_view field, std::string_view key);

}  // namespace vivark::textimg
