// Extractor: every file carried in a set of text files.
//
// The texts are first sorted into postings: a text that says it is part N
// of M (a "Subject:" ending in "(N/M)" or "[N/M]", a MIME message/partial
// with number= and total=, the "_=_ Part N of M of file NAME" banner of
// split files) joins the other parts of the same posting, in part order
// whatever order the files were given in, and they are read as one text;
// every other text is read on its own. Each text is then scanned for blocks
// and every block decoded. The parts of a multi-part yEnc posting carry their
// own offsets, so they are joined by name and size wherever they were found.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/InFile.h"
#include "textimg/Decoders.h"
#include "textimg/TextImage.h"

namespace vivark::textimg {

struct TextSource {
    InFile* file = nullptr;  // open, positioned anywhere
    std::string name;        // for reports
};

class Extractor {
  public:
    Extractor(std::vector<TextSource> sources, ExtractOptions options);
    ~Extractor();

    // The next block decoded, in the order of the postings; nullopt when the
    // texts hold no more (or the line limit was reached).
    std::optional<DecodedBlock> nextBlock();

    // Problems of postings as a whole (missing parts of a split file) that
    // belong to no decoded block; filled as the postings are read.
    std::vector<Decoded>& orphanProblems() { return orphans_; }

  private:
    struct Posting;
    bool openNextPosting();

    std::vector<Posting> postings_;
    size_t nextPosting_ = 0;
    std::unique_ptr<LineSource> lines_;
    Scanner scanner_;
    ExtractOptions options_;
    uint64_t lineBudget_ = 0;
    std::vector<uint32_t> missingParts_;  // of the posting being read
    std::vector<Decoded> orphans_;
};

// Joins the parts of multi-part yEnc postings found among `blocks` (by name
// and size, in offset order), checking coverage, sizes and the whole file's
// CRC32; other blocks pass through. The result keeps the order in which
// each file's first block came.
std::vector<Decoded> joinYencParts(std::vector<DecodedBlock> blocks);

// Everything at once: every block of every source, yEnc parts joined,
// postings' own problems included.
std::vector<Decoded> extractAll(std::vector<TextSource> sources, const ExtractOptions& options);

}  // namespace vivark::textimg
