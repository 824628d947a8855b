// The Seattle FilmWorks reader (see SfwReader.h).
#include "formats/jpeg/SfwReader.h"

#include <algorithm>
#include <cstring>

#include "core/Errors.h"
#include "formats/jpeg/JpegFormat.h"
#include "formats/jpeg/JpegReader.h"

namespace vivark {
namespace {

constexpr uint8_t kSoi = 0xD8, kEoi = 0xD9, kSos = 0xDA;

// The standard marker code behind a film lab code; others are kept.
uint8_t restoredMarker(uint8_t code) {
    switch (code) {
        case 0xC8:
            return kSoi;
        case 0xD0:
            return 0xE0;  // APP0
        case 0xCB:
            return 0xDB;  // quantisation tables
        case 0xA0:
            return 0xC0;  // baseline frame
        case 0xA4:
            return 0xC4;  // Huffman tables
        case 0xCA:
            return kSos;
        case 0xC9:
            return kEoi;
        default:
            return code;
    }
}

// True when 0xFF `next` inside entropy-coded data starts a marker: neither a
// stuffed zero, nor a restart marker, nor a fill byte.
bool endsEntropyData(uint8_t next) {
    return next != 0x00 && next != 0xFF && (next < 0xD0 || next > 0xD7);
}

std::vector<uint8_t> readRest(InFile& file) {
    std::vector<uint8_t> bytes;
    for (;;) {
        const auto window = file.window();
        bytes.insert(bytes.end(), window.begin(), window.end());
        file.consume(window.size());
        try {
            file.refill();
        } catch (INFILEERROR e) {
            if (e == INFILEERROR::UnexpectedEnd) return bytes;
            throw;
        }
    }
}

class SfwReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;

    void readInto(Image& image, const ReadOptions& options) override {
        const std::vector<uint8_t> jpeg = jpegOfSfw(readRest(*file_));
        if (jpeg.empty()) throw JPEGERROR::BadHeader;
        auto stream = InFile::overMemory(jpeg);
        makeJpegReader(*stream)->read(image, options);
        // Bottom line first in the file: turn the rows over.
        const uint32_t height = image.height();
        const uint32_t stride = image.plane.rowStride();
        for (uint32_t y = 0; y < height / 2; ++y)
            std::swap_ranges(image.plane.mutableRow(y), image.plane.mutableRow(y) + stride,
                             image.plane.mutableRow(height - 1 - y));
        image.formatTag = makeTag("SFW ");
    }
};

}  // namespace

std::vector<uint8_t> jpegOfSfw(std::span<const uint8_t> file) {
    static const uint8_t kMagic[4] = {'S', 'F', 'W', '9'};
    static const uint8_t kStart[4] = {0xFF, 0xC8, 0xFF, 0xD0};
    if (file.size() < 4 || std::memcmp(file.data(), kMagic, 4) != 0) return {};
    const auto found = std::search(file.begin() + 4, file.end(), kStart, kStart + 4);
    if (found == file.end()) return {};

    const size_t n = file.size();
    size_t at = static_cast<size_t>(found - file.begin());
    std::vector<uint8_t> out;
    out.reserve(n - at + 2);
    // A truncated or malformed stream is copied as far as it goes; the
    // library reports what is missing.
    while (at + 1 < n && file[at] == 0xFF) {
        const uint8_t code = restoredMarker(file[at + 1]);
        out.push_back(0xFF);
        out.push_back(code);
        at += 2;
        if (code == kEoi) break;
        if (code == kSoi || code == 0x01 || (code >= 0xD0 && code <= 0xD7)) continue;
        if (at + 2 > n) break;
        const size_t length = std::min<size_t>(size_t{file[at]} << 8 | file[at + 1], n - at);
        out.insert(out.end(), file.begin() + static_cast<ptrdiff_t>(at),
                   file.begin() + static_cast<ptrdiff_t>(at + length));
        at += length;
        if (code != kSos) continue;
        const size_t dataStart = at;
        while (at < n && !(file[at] == 0xFF && at + 1 < n && endsEntropyData(file[at + 1]))) ++at;
        out.insert(out.end(), file.begin() + static_cast<ptrdiff_t>(dataStart),
                   file.begin() + static_cast<ptrdiff_t>(at));
    }
    return out;
}

std::unique_ptr<ImageReader> makeSfwReader(InFile& file) {
    return std::make_unique<SfwReader>(file);
}

}  // namespace vivark
