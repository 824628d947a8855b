// Fuzzes the text-image extractor: the block scanner and the uuencode,
// xxencode, base64, yEnc and BinHex decoders, the joining of parts and the
// loader's fallback.
//
// The first input byte is the control: its low 3 bits split the rest into
// that many texts (1 to 8, cut at equal lengths) read together, so parts of
// split postings meet; bit 3 picks a 1 to 16-byte InFile buffer (from the
// second byte) so lines straddle refills; bit 4 runs the loader's fallback
// with its 100-line limit instead. Decoded files are capped at 1 MiB.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core/Errors.h"
#include "core/InFile.h"
#include "textimg/Extractor.h"
#include "textimg/LoaderFallback.h"

using namespace vivark;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const uint8_t control = data[0];
    const size_t bufferSize = (control & 8) ? 1 + (data[1] & 15) : 4096;
    std::span<const uint8_t> text(data + 2, size - 2);
    try {
        if (control & 16) {
            auto file = InFile::overMemory(text, bufferSize);
            (void)textimg::decodeTextImage(*file, 100);
            return 0;
        }
        const size_t count = 1 + (control & 7);
        const size_t piece = (text.size() + count - 1) / count;
        std::vector<std::unique_ptr<InFile>> files;
        std::vector<textimg::TextSource> sources;
        for (size_t at = 0; at < text.size() || files.empty(); at += std::max<size_t>(piece, 1)) {
            const size_t length = std::min(piece, text.size() - std::min(at, text.size()));
            files.push_back(
                InFile::overMemory(text.subspan(std::min(at, text.size()), length), bufferSize));
            sources.push_back({files.back().get(), "part"});
            if (piece == 0) break;
        }
        textimg::ExtractOptions options;
        options.maxFileBytes = 1 << 20;
        (void)textimg::extractAll(sources, options);
    } catch (INFILEERROR) {
        // The InFile's own failures are the only ones that may escape.
    }
    return 0;
}
