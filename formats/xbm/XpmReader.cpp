// Decoding of X pixmaps, in the "/* XPM */" layout and the older format-1
// layout.
//
// "/* XPM */": the strings of a C array: the values "width height ncolors
// chars_per_pixel" (a hot spot and an extension flag may follow and are not
// kept), ncolors colour lines, then height pixel rows; anything after the
// rows (extensions) is not read. Format 1: "#define <name>_format 1" and the
// _width, _height, _ncolors and _chars_per_pixel defines, then a colour
// array of character and value string pairs, then the pixel array.
//
// A colour line is the pixel's characters followed by key and value pairs:
// c (colour), g (grey), g4 (four-level grey), m (mono) and s (a symbolic
// name, not a colour). The colour value is taken first, then g, g4 and m.
// Values: "#" with 3, 6, 9 or 12 hexadecimal digits (the top eight bits of
// each channel kept), an X colour name (XColourNames.h; names of several
// words are joined), or "None", the transparent colour.
// Characters per pixel: 1 to 4.
//
// Result: up to 2 colours a 1-bit image, up to 16 a 4-bit one, up to 256 an
// 8-bit one, each with its colours as the palette and the first "None"
// colour as the transparent index (its palette colour is black); more
// colours give a 24-bit image in which "None" is black.
//
// XPMERROR: BadHeader for a values line or defines that do not give four
// non-zero numbers, characters per pixel above 4, or more colours than the
// characters can name or the file can hold; BadColourMap for a colour line
// shorter than its characters or without a colour key; UnknownColour for a
// colour value that is none of the above; UnknownPixel for rows the file is
// too short to hold, a row that is too short or holds characters no colour
// line names.
#include <algorithm>
#include <string>
#include <vector>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "core/RowOps.h"
#include "formats/IdentifySupport.h"
#include "formats/xbm/CTextScanner.h"
#include "formats/xbm/XColourNames.h"
#include "formats/xbm/XbmReader.h"

namespace vivark {
namespace {

constexpr uint32_t kMaxColours = 1u << 20;
constexpr size_t kMaxColourLine = 4096;
constexpr uint32_t kNoColour = 0xFFFFFFFFu;

struct XpmHeader {
    uint32_t width = 0, height = 0, colours = 0, charsPerPixel = 0;
    bool formatOne = false;
};

// Words split at blanks.
std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    size_t at = 0;
    while (at < text.size()) {
        while (at < text.size() && (text[at] == ' ' || text[at] == '\t')) ++at;
        const size_t start = at;
        while (at < text.size() && text[at] != ' ' && text[at] != '\t') ++at;
        if (at > start) words.push_back(text.substr(start, at - start));
    }
    return words;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// A colour value; nullopt for "None" (transparent); throws UnknownColour.
std::optional<Colour> parseColour(std::string_view value) {
    if (value.size() == 4 && (value[0] == 'N' || value[0] == 'n') &&
        (value.substr(1) == "one" || value.substr(1) == "ONE"))
        return std::nullopt;
    if (!value.empty() && value[0] == '#') {
        const std::string_view digits = value.substr(1);
        const size_t n = digits.size() / 3;
        if (n == 0 || n > 4 || digits.size() != 3 * n) throw XPMERROR::UnknownColour;
        uint8_t channel[3];
        for (size_t k = 0; k < 3; ++k) {
            uint32_t v = 0;
            for (size_t d = 0; d < n; ++d) {
                const int h = hexValue(digits[k * n + d]);
                if (h < 0) throw XPMERROR::UnknownColour;
                v = v << 4 | unsigned(h);
            }
            channel[k] = n == 1 ? uint8_t(v * 17) : uint8_t(v >> (4 * n - 8));
        }
        return rgb(channel[0], channel[1], channel[2]);
    }
    if (const auto named = xColourByName(value)) return *named;
    throw XPMERROR::UnknownColour;
}

// The colour of a colour line's keys and values (after its characters).
std::optional<Colour> colourOfLine(std::string_view rest) {
    static constexpr std::string_view kKeys[] = {"c", "g", "g4", "m", "s"};
    std::string values[5];
    bool seen[5] = {};
    int key = -1;
    for (std::string_view word : wordsOf(rest)) {
        const auto found = std::find(std::begin(kKeys), std::end(kKeys), word);
        if (found != std::end(kKeys)) {
            key = int(found - std::begin(kKeys));
            seen[key] = true;
            values[key].clear();
        } else if (key >= 0) {
            values[key] += word;  // a name of several words, joined
        }
    }
    for (int k = 0; k < 4; ++k)
        if (seen[k] && !values[k].empty()) return parseColour(values[k]);
    throw XPMERROR::BadColourMap;
}

uint32_t keyOf(const char* chars, uint32_t count) {
    uint32_t key = 0;
    for (uint32_t i = 0; i < count; ++i) key = key << 8 | static_cast<uint8_t>(chars[i]);
    return key;
}

// Pixel characters to colour index: a direct table for one and two
// characters, a sorted list for three and four.
class ColourLookup {
  public:
    explicit ColourLookup(uint32_t charsPerPixel) : chars_(charsPerPixel) {
        if (chars_ <= 2) direct_.assign(size_t{1} << (8 * chars_), kNoColour);
    }
    void add(uint32_t key, uint32_t index) {
        if (chars_ <= 2)
            direct_[key] = index;
        else
            sorted_.push_back({key, index});
    }
    void finish() {
        // A repeated name keeps its first colour.
        std::stable_sort(sorted_.begin(), sorted_.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
    }
    uint32_t find(uint32_t key) const {
        if (chars_ <= 2) return direct_[key];
        const auto it = std::lower_bound(sorted_.begin(), sorted_.end(), key,
                                         [](const auto& e, uint32_t k) { return e.first < k; });
        return it != sorted_.end() && it->first == key ? it->second : kNoColour;
    }

  private:
    uint32_t chars_;
    std::vector<uint32_t> direct_;
    std::vector<std::pair<uint32_t, uint32_t>> sorted_;
};

XpmHeader readHeader(CTextScanner& text) {
    XpmHeader h;
    text.skipBlanks();
    if (text.peek() == '#') {
        // Format 1: defines up to the colour array.
        h.formatOne = true;
        for (;;) {
            text.skipBlanks();
            if (text.peek() != '#') break;
            const std::string_view word = text.word();
            if (word != "#define") {
                text.skipLine();
                continue;
            }
            text.skipBlanks();
            const std::string name(text.name());
            const auto value = text.number();
            if (!value) throw XPMERROR::BadHeader;
            if (endsWith(name, "_width")) h.width = *value;
            if (endsWith(name, "_height")) h.height = *value;
            if (endsWith(name, "_ncolors")) h.colours = *value;
            if (endsWith(name, "_chars_per_pixel")) h.charsPerPixel = *value;
        }
    } else {
        std::string values;
        if (!text.string(values, 256)) throw XPMERROR::BadHeader;
        const auto words = wordsOf(values);
        uint32_t numbers[4] = {};
        if (words.size() < 4) throw XPMERROR::BadHeader;
        for (size_t i = 0; i < 4; ++i) {
            uint64_t v = 0;
            for (char c : words[i]) {
                if (c < '0' || c > '9') throw XPMERROR::BadHeader;
                v = std::min<uint64_t>(v * 10 + unsigned(c - '0'), 0xFFFFFFFFu);
            }
            numbers[i] = uint32_t(v);
        }
        h = {numbers[0], numbers[1], numbers[2], numbers[3], false};
    }
    if (h.width == 0 || h.height == 0 || h.colours == 0 || h.charsPerPixel == 0 ||
        h.charsPerPixel > 4 || h.colours > kMaxColours ||
        (h.charsPerPixel < 3 && h.colours > (1u << (8 * h.charsPerPixel))))
        throw XPMERROR::BadHeader;
    return h;
}

class XpmReader final : public ImageReader {
  public:
    using ImageReader::ImageReader;
    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        CTextScanner text(file);
        const XpmHeader h = readHeader(text);
        // Every colour line takes some bytes of the file, so a count the file
        // cannot hold is refused before the table is made.
        const uint64_t length = lengthFromOrigin(file);
        if (length != 0 && h.colours > length) throw XPMERROR::BadHeader;
        const uint32_t depth = h.colours <= 2 ? 1 : h.colours <= 16 ? 4 : h.colours <= 256 ? 8 : 24;
        if (!options.limits.allows(h.width, h.height, depth)) throw IMAGEERROR::TooLarge;
        if (options.headerOnly) {
            image.formatTag = makeTag("XPM ");
            return;
        }
        const uint64_t rowChars = uint64_t{h.width} * h.charsPerPixel;
        if (length != 0 && rowChars * h.height > length) throw XPMERROR::UnknownPixel;

        std::vector<Colour> colours(h.colours, 0);
        std::optional<uint32_t> transparent;
        ColourLookup lookup(h.charsPerPixel);
        std::string line, value;
        for (uint32_t i = 0; i < h.colours; ++i) {
            if (!text.string(line, kMaxColourLine)) throw XPMERROR::BadColourMap;
            if (line.size() < h.charsPerPixel) throw XPMERROR::BadColourMap;
            std::optional<Colour> colour;
            if (h.formatOne) {
                if (!text.string(value, kMaxColourLine)) throw XPMERROR::BadColourMap;
                colour = parseColour(value);
            } else {
                colour = colourOfLine(std::string_view(line).substr(h.charsPerPixel));
            }
            if (colour)
                colours[i] = *colour;
            else if (!transparent)
                transparent = i;
            lookup.add(keyOf(line.data(), h.charsPerPixel), i);
        }
        lookup.finish();

        Image result(h.width, h.height, depth, false);
        if (depth <= 8) {
            for (uint32_t i = 0; i < h.colours; ++i) result.palette[i] = colours[i];
            result.paletteCount = h.colours;
            if (transparent) result.transparentIndex = static_cast<uint8_t>(*transparent);
        }
        std::vector<uint8_t> indices(depth <= 8 ? h.width : 0);
        for (uint32_t y = 0; y < h.height; ++y) {
            if (!text.string(line, rowChars + 4096) || line.size() < rowChars)
                throw XPMERROR::UnknownPixel;
            uint8_t* row = result.plane.mutableRow(y);
            const char* at = line.data();
            for (uint32_t x = 0; x < h.width; ++x, at += h.charsPerPixel) {
                const uint32_t index = lookup.find(keyOf(at, h.charsPerPixel));
                if (index == kNoColour) throw XPMERROR::UnknownPixel;
                if (depth <= 8) {
                    indices[x] = static_cast<uint8_t>(index);
                } else {
                    const Colour c = colours[index];
                    row[3 * x] = blueOf(c);
                    row[3 * x + 1] = greenOf(c);
                    row[3 * x + 2] = redOf(c);
                }
            }
            if (depth <= 8) packIndices(indices.data(), row, h.width, depth);
            if (progressCancelled(options.progress, y + 1, h.height)) throw INFILEERROR::Cancelled;
        }
        result.formatTag = makeTag("XPM ");
        result.keepRequestOf(image);
        image = std::move(result);
    }
};

}  // namespace

std::unique_ptr<ImageReader> makeXpmReader(InFile& file) {
    return std::make_unique<XpmReader>(file);
}

}  // namespace vivark
