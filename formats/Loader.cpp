// The load sequence and its fallbacks; see Loader.h.
#include "formats/Loader.h"

#include <atomic>

#include "core/Errors.h"
#include "formats/ErrorMessages.h"

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

}  // namespace

void setTextImageDecoder(TextImageDecoder decoder) {
    gTextImageDecoder.store(decoder);
}

TextImageDecoder textImageDecoder() {
    return gTextImageDecoder.load();
}

const FormatEntry* findFormat(InFile& file, int32_t loadMode, FormatInfo* info,
                              std::unique_ptr<InFile>* decoded) {
    const bool quick = loadMode > 0;
    if (const FormatEntry* entry = probeWithMacBinary(file, info)) return entry;

    if (TextImageDecoder decoder = textImageDecoder()) {
        file.rewind();
        std::unique_ptr<InFile> text =
            decoder(file, quick ? kQuickTextImageLineLimit : kTextImageLineLimit);
        file.rewind();
        if (text != nullptr) {
            // The decoded file is probed like a file of its own: at its
            // start, behind a MacBinary header, then for an embedded image.
            const FormatEntry* entry = probeWithMacBinary(*text, info);
            if (entry == nullptr)
                entry =
                    scanEmbedded(*text, quick ? kQuickEmbeddedScanBytes : kEmbeddedScanBytes, info);
            if (entry != nullptr) {
                if (decoded != nullptr) *decoded = std::move(text);
                return entry;
            }
        }
    }

    return scanEmbedded(file, quick ? kQuickEmbeddedScanBytes : kEmbeddedScanBytes, info);
}

LoadResult load(Image& image, InFile& file, const ReadOptions& options) {
    LoadResult result;
    try {
        std::unique_ptr<InFile> decoded;
        result.format = findFormat(file, options.loadMode, &result.info, &decoded);
        if (result.format == nullptr) {
            result.message = msg::UnrecognizedFormat;
        } else if (result.format->formatTag == makeTag("SSHW")) {
            result.message = msg::SlideShowList;
        } else if (result.format->create == nullptr) {
            result.message = msg::InvalidFile;
        } else {
            InFile& source = decoded != nullptr ? *decoded : file;
            std::unique_ptr<ImageReader> reader = result.format->create(source);
            source.rewind();
            reader->read(image, options);
            image.formatTag = result.info.formatTag;
            result.completed = true;
        }
    } catch (...) {
        result.message = loadMessageForCurrentException(result.format);
    }
    image.loadMessage = result.message;
    return result;
}

LoadResult loadFile(Image& image, const std::string& path, const ReadOptions& options) {
    InFile file;
    try {
        file.open(path);
    } catch (...) {
        LoadResult result;
        result.message = loadMessageForCurrentException();
        image.loadMessage = result.message;
        return result;
    }
    return load(image, file, options);
}

}  // namespace vivark
