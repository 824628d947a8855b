// Decoding of X bitmaps, in the X11 form (an array of 8-bit chars) and the
// older X10 form (an array of 16-bit shorts).
//
// The "#define <name>_width" and "_height" lines give the size (the name
// itself is not checked; "_x_hot" and "_y_hot" are accepted and not kept);
// the element type named before the array's opening brace decides the form.
// Rows are padded to a whole element; within an element the leftmost pixel
// is the least significant bit, and a 1 bit is black. Whitespace, comments
// and commas are free between values; any C integer literal is a value.
// The result is a 1-bit image: index 0 white, 1 black.
//
// XBMERROR::DataIntegrity: a missing or zero width or height, a size the
// file is too short to hold, and an array that holds anything but numbers or
// ends before the picture does.
#include <algorithm>
#include <cstring>
#include <vector>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/pixels/Samples.h"
#include "formats/IdentifySupport.h"
#include "formats/xbm/CTextScanner.h"
#include "formats/xbm/XbmReader.h"

namespace vivark {
namespace {

struct XbmHeader {
    uint32_t width = 0;
    uint32_t height = 0;
    bool shorts = false;  // the X10 form
};

// Reads the defines and declarations up to and including the array's
// opening brace.
XbmHeader readHeader(CTextScanner& text) {
    XbmHeader h;
    for (;;) {
        text.skipBlanks();
        const uint8_t c = text.peek();
        if (c == '{') {
            text.get();
            break;
        }
        const std::string_view word = text.word();
        if (word.empty()) {
            text.get();  // punctuation: '=', '[', ']', '*'
        } else if (word == "#define") {
            text.skipBlanks();
            const std::string name(text.name());
            const auto value = text.number();
            if (!value) throw XBMERROR::DataIntegrity;
            if (endsWith(name, "_width")) h.width = *value;
            if (endsWith(name, "_height")) h.height = *value;
        } else if (word[0] == '#') {
            text.skipLine();
        } else if (word == "short") {
            h.shorts = true;
        } else if (word == "char") {
            h.shorts = false;
        }
    }
    if (h.width == 0 || h.height == 0) throw XBMERROR::DataIntegrity;
    return h;
}

class XbmReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        CTextScanner text(*file_);
        const XbmHeader h = readHeader(text);
        if (!options.limits.allows(h.width, h.height, 1)) throw IMAGEERROR::TooLarge;
        const uint32_t elementBits = h.shorts ? 16 : 8;
        const size_t elements = (size_t{h.width} + elementBits - 1) / elementBits;
        // Every value takes at least two bytes of text ("0,"): a picture the
        // file cannot hold is refused before it is allocated.
        const uint64_t length = lengthFromOrigin(*file_);
        if (length != 0 && uint64_t{elements} * h.height * 2 > length)
            throw XBMERROR::DataIntegrity;
        if (options.headerOnly) {
            image.formatTag = makeTag("XBM ");
            return;
        }
        Image result(h.width, h.height, 1, false);
        result.palette[0] = rgb(255, 255, 255);
        result.palette[1] = rgb(0, 0, 0);
        result.paletteCount = 2;
        const size_t packed = (size_t{h.width} + 7) / 8;
        std::vector<uint8_t> line(elements * (elementBits / 8));
        const uint8_t lastMask = static_cast<uint8_t>(0xFF00u >> ((h.width - 1) % 8 + 1));
        for (uint32_t y = 0; y < h.height; ++y) {
            for (size_t i = 0; i < elements; ++i) {
                text.skipBlanks();
                if (text.peek() == ',') text.get();
                const auto value = text.number();
                if (!value) throw XBMERROR::DataIntegrity;
                line[i * (elementBits / 8)] = static_cast<uint8_t>(*value);
                if (h.shorts) line[i * 2 + 1] = static_cast<uint8_t>(*value >> 8);
            }
            // Least significant bit first becomes the Image's most significant first.
            reverseBits(line.data(), packed);
            uint8_t* row = result.plane.mutableRow(y);
            std::memcpy(row, line.data(), packed);
            row[packed - 1] &= lastMask;
            if (progressCancelled(options.progress, y + 1, h.height)) throw INFILEERROR::Cancelled;
        }
        result.formatTag = makeTag("XBM ");
        result.keepRequestOf(image);
        image = std::move(result);
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeXbmReader(InFile& file) {
    return std::make_unique<XbmReader>(file);
}

}  // namespace vivark
