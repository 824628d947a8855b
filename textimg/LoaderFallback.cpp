// The loader's text fallback; see LoaderFallback.h.
#include "textimg/LoaderFallback.h"

#include <vector>

#include "core/Errors.h"
#include "formats/Loader.h"
#include "textimg/Extractor.h"

namespace vivark::textimg {
namespace {

// A memory device that owns its bytes, so the stream the loader gets keeps
// the decoded file alive.
class OwnedBytesDevice final : public InFileDevice {
  public:
    explicit OwnedBytesDevice(std::vector<uint8_t> bytes)
        : bytes_(std::move(bytes)), memory_(bytes_) {}
    int64_t open(const std::string& name, bool textMode) override {
        return memory_.open(name, textMode);
    }
    size_t read(uint8_t* buffer, size_t count, int64_t& position) override {
        return memory_.read(buffer, count, position);
    }
    void close() noexcept override {}
    uint64_t size() const override { return bytes_.size(); }

  private:
    std::vector<uint8_t> bytes_;
    MemoryDevice memory_;
};

std::unique_ptr<InFile> streamOver(std::vector<uint8_t> bytes) {
    return std::make_unique<InFile>(std::make_unique<OwnedBytesDevice>(std::move(bytes)));
}

bool recognised(const std::vector<uint8_t>& bytes) {
    auto file = InFile::overMemory(bytes);
    if (identifyFormat(*file, nullptr) != nullptr) return true;
    if (bytes.size() > 128 && bytes[0] == 0 && bytes[74] == 0) {
        file->setOrigin(128);
        file->rewind();
        return identifyFormat(*file, nullptr) != nullptr;
    }
    return false;
}

}  // namespace

std::unique_ptr<InFile> decodeTextImage(InFile& file, uint32_t lineLimit) {
    ExtractOptions options;
    options.lineLimit = lineLimit;
    Extractor extractor({{&file, {}}}, options);
    std::vector<uint8_t> first;
    std::vector<DecodedBlock> yencParts;
    try {
        while (auto block = extractor.nextBlock()) {
            if (block->yencPart) {
                yencParts.push_back(std::move(*block));
                continue;
            }
            if (block->file.bytes.empty()) continue;
            if (recognised(block->file.bytes)) return streamOver(std::move(block->file.bytes));
            if (first.empty()) first = std::move(block->file.bytes);
        }
    } catch (INFILEERROR error) {
        // A text that cannot be read to its end still gives what was decoded.
        if (error != INFILEERROR::UnexpectedEnd && error != INFILEERROR::BinaryData) throw;
    }
    for (Decoded& joined : joinYencParts(std::move(yencParts))) {
        if (joined.bytes.empty()) continue;
        if (recognised(joined.bytes)) return streamOver(std::move(joined.bytes));
        if (first.empty()) first = std::move(joined.bytes);
    }
    if (first.empty()) return nullptr;
    return streamOver(std::move(first));
}

void installLoaderFallback() {
    setTextImageDecoder(decodeTextImage);
}

}  // namespace vivark::textimg
