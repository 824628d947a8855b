// The load sequence and its fallbacks; see Loader.h.
#include "formats/Loader.h"

#include <atomic>

#include "core/ErrorMapping.h"
#include "core/Errors.h"

namespace vivark {
namespace {

std::atomic<TextImageDecoder> gTextImageDecoder{nullptr};

constexpr int64_t kMacBinaryHeader = 128;
constexpr uint32_t kEmbeddedStarts[] = {
    0x47494638u,  // "GIF8"
    0x89504E47u,  // PNG signature
    0x49492A00u,  // TIFF, little-endian
    0x4D4D002Au,  // TIFF, big-endian
    0x38425053u,  // "8BPS"
    0xFFFFFFE0u,
};

bool isShortFile(INFILEERROR error) {
    return error == INFILEERROR::UnexpectedEnd;
}

// The byte at position p, or -1 when the file is shorter.
int byteAt(InFile& file, int64_t p) {
    try {
        file.seek(p);
        return file.readByte();
    } catch (INFILEERROR error) {
        if (!isShortFile(error)) throw;
        return -1;
    }
}

// The probe at the origin, then behind a MacBinary header.
const FormatEntry* probeWithMacBinary(InFile& file, FormatInfo* info) {
    if (const FormatEntry* entry = identifyFormat(file, info)) return entry;
    if (byteAt(file, 0) != 0 || byteAt(file, 74) != 0) {
        file.rewind();
        return nullptr;
    }
    const int64_t origin = file.origin();
    file.setOrigin(origin + kMacBinaryHeader);
    if (const FormatEntry* entry = identifyFormat(file, info)) return entry;
    file.setOrigin(origin);
    file.rewind();
    return nullptr;
}

// Slides a four-byte window over the first `scanBytes` bytes (every start
// whose four bytes lie inside them) and probes wherever it holds the start of
// an embeddable format.
const FormatEntry* scanEmbedded(InFile& file, uint32_t scanBytes, FormatInfo* info) {
    const int64_t origin = file.origin();
    file.rewind();
    uint32_t window = 0;
    try {
        for (uint32_t i = 0; i < scanBytes; ++i) {
            window = (window << 8) | file.readByte();
            if (i < 3) continue;
            bool candidate = false;
            for (uint32_t start : kEmbeddedStarts) candidate |= window == start;
            if (!candidate) continue;
            const int64_t start = static_cast<int64_t>(i) - 3;
            file.setOrigin(origin + start);
            if (const FormatEntry* entry = identifyFormat(file, info)) return entry;
            file.setOrigin(origin);
            file.seek(static_cast<int64_t>(i) + 1);
        }
    } catch (INFILEERROR error) {
        if (!isShortFile(error)) throw;
    }
    file.setOrigin(origin);
    file.rewind();
    return nullptr;
}

// Replaces `image` by an empty one that keeps what the caller set up.
void discardImage(Image& image, MessageId message) {
    Image empty;
    empty.keepRequestOf(image);
    empty.loadMessage = message;
    image = std::move(empty);
}

}  // namespace

void setTextImageDecoder(TextImageDecoder decoder) {
    gTextImageDecoder.store(decoder);
}

TextImageDecoder textImageDecoder() {
    return gTextImageDecoder.load();
}

const FormatEntry* findFormat(InFile& file, const Image& image, FormatInfo* info,
                              std::unique_ptr<InFile>* decoded) {
    const bool quick = image.loadMode > 0;
    if (const FormatEntry* entry = probeWithMacBinary(file, info)) return entry;

    if (TextImageDecoder decoder = textImageDecoder()) {
        file.rewind();
        std::unique_ptr<InFile> text =
            decoder(file, quick ? kQuickTextImageLineLimit : kTextImageLineLimit);
        file.rewind();
        if (text != nullptr) {
            if (const FormatEntry* entry = probeWithMacBinary(*text, info)) {
                if (decoded != nullptr) *decoded = std::move(text);
                return entry;
            }
        }
    }

    return scanEmbedded(file, quick ? kQuickEmbeddedScanBytes : kEmbeddedScanBytes, info);
}

const FormatEntry* load(Image& image, InFile& file, const ReadOptions& options) {
    image.loadMessage = msg::None;
    const FormatEntry* entry = nullptr;
    try {
        std::unique_ptr<InFile> decoded;
        FormatInfo info;
        entry = findFormat(file, image, &info, &decoded);
        if (entry == nullptr) {
            image.loadMessage = msg::UnrecognizedFormat;
            return nullptr;
        }
        if (entry->formatTag == makeTag("SSHW")) {
            image.loadMessage = msg::SlideShowList;
            return entry;
        }
        if (entry->create == nullptr) {
            image.loadMessage = msg::InvalidFile;
            return entry;
        }
        InFile& source = decoded != nullptr ? *decoded : file;
        std::unique_ptr<ImageReader> reader = entry->create(source);
        source.rewind();
        reader->read(image, options);
        image.formatTag = info.formatTag;
    } catch (...) {
        discardImage(image, loadMessageForCurrentException());
    }
    return entry;
}

const FormatEntry* loadFile(Image& image, const std::string& path, const ReadOptions& options) {
    InFile file;
    try {
        file.open(path);
    } catch (...) {
        image.loadMessage = loadMessageForCurrentException();
        return nullptr;
    }
    return load(image, file, options);
}

}  // namespace vivark
