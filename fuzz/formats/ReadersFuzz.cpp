// Fuzzes every reader of the format registry through one harness.
//
// The last two input bytes are the controls; the rest is the file. The file
// goes to the reader of the format identification finds, or, when no test
// accepts it, to the reader the selector byte picks, so one corpus reaches
// every reader without a harness per format. The control byte picks the
// InFile buffer size (bit 4 set: 1 to 16 bytes from the low 4 bits, so
// headers and data straddle refills; clear: 4096 bytes), a headers-only read (bit 5), the page (bit
// 6: page 2) and, for a PNG, whether every chunk's CRC is set right first (bit 7), so mutated
// chunks reach the checks behind the CRC. The limits are tight, so a header that asks for a large
// image is refused before any decoding and each reader runs thousands of inputs a second.
// VIVARK_FUZZ_READER=TAG keeps the harness to one reader.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "core/ByteOrder.h"
#include "formats/FormatTable.h"
#include "formats/png/PngCrc.h"
#include "fuzz/ReaderFuzz.h"

using namespace vivark;

namespace {

const uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};

// Rewrites the stored CRC of every whole chunk after the signature.
void fixCrcs(std::vector<uint8_t>& bytes) {
    for (size_t at = 8; at + 12 <= bytes.size();) {
        const uint32_t length = loadBE32(&bytes[at]);
        if (length > bytes.size() - at - 12) break;
        png::Crc32 crc;
        crc.update(&bytes[at + 4], length + 4);
        storeBE32(&bytes[at + 8 + length], crc.value());
        at += 12 + size_t{length};
    }
}

// Every entry with a reader, or only the one whose tag VIVARK_FUZZ_READER
// names ("GIF"), to measure or to work on one reader alone.
std::vector<const FormatEntry*> readers() {
    const char* only = std::getenv("VIVARK_FUZZ_READER");
    std::vector<const FormatEntry*> list;
    for (const FormatEntry* entry : formatTable()) {
        if (entry->create == nullptr) continue;
        std::string tag = tagText(entry->formatTag);
        while (!tag.empty() && tag.back() == ' ') tag.pop_back();
        if (only == nullptr || tag == only) list.push_back(entry);
    }
    return list;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::vector<const FormatEntry*> kReaders = readers();
    if (size < 2 || kReaders.empty()) return 0;
    const uint8_t control = data[size - 2];
    const uint8_t selector = data[size - 1];
    std::vector<uint8_t> bytes(data, data + size - 2);
    if ((control & 0x80) && bytes.size() >= 8 &&
        std::equal(kPngSignature, kPngSignature + 8, bytes.begin()))
        fixCrcs(bytes);

    const FormatEntry* entry = nullptr;
    try {
        auto probe = InFile::overMemory(bytes);
        entry = identifyFormat(*probe, nullptr);
    } catch (...) {
    }
    if (entry == nullptr || entry->create == nullptr ||
        std::find(kReaders.begin(), kReaders.end(), entry) == kReaders.end())
        entry = kReaders[selector % kReaders.size()];

    ReadOptions options;
    options.limits.maxWidth = 2048;
    options.limits.maxHeight = 2048;
    options.limits.maxBytes = 256u << 10;
    options.headerOnly = (control & 0x20) != 0;
    options.page = (control & 0x40) ? 2 : 1;
    const size_t bufferSize = (control & 16) ? size_t{control & 15u} + 1 : 4096;
    return fuzz::readImage(bytes, bufferSize, options, entry->create);
}
