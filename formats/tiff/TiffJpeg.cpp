// JPEG strips and tiles of TIFF pages through the library adapter (see
// TiffJpeg.h).
#include "formats/tiff/TiffJpeg.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

#include "codecs/jpeg/JpegLibrary.h"
#include "formats/tiff/TiffFormat.h"

namespace vivark {

struct TiffJpegDecoder::State {
    explicit State(const TiffPageInfo& page) : info(page), decompressor(nullptr) {}
    const TiffPageInfo& info;
    JpegDecompressor decompressor;
    jpeg_source_mgr manager{};
    bool started = false;
    uint32_t rowBytes = 0;
    std::vector<uint8_t> scanline;
    std::vector<uint8_t> assembled;  // old-style pages: headers built from the tags
};

namespace {

// Byte by byte: vector::insert of a short list into a just-cleared vector
// draws a false overflow warning from GCC 12's optimiser.
void put(std::vector<uint8_t>& out, std::initializer_list<uint8_t> bytes) {
    for (uint8_t b : bytes) out.push_back(b);
}

void put16(std::vector<uint8_t>& out, uint32_t v) {
    out.push_back(uint8_t(v >> 8));
    out.push_back(uint8_t(v));
}

// The frame and scan headers of an old-style page that has only its tables
// as tags, for a strip of `columns` x `rows`, followed by the strip's data.
void assemble(const TiffPageInfo& info, std::span<const uint8_t> coded, uint32_t columns,
              uint32_t rows, std::vector<uint8_t>& out) {
    const uint32_t n = info.samplesPerPixel;
    if (n > 4 || info.jpegQTables.size() < n || info.jpegDcTables.size() < n ||
        info.jpegAcTables.size() < n)
        throw TIFFERROR::UnsupportedJpeg;
    out.clear();
    put(out, {0xFF, 0xD8});
    for (uint32_t i = 0; i < n; ++i) {
        put(out, {0xFF, 0xDB});
        put16(out, 2 + 65);
        out.push_back(uint8_t(i));
        out.insert(out.end(), info.jpegQTables[i].begin(), info.jpegQTables[i].end());
    }
    for (uint32_t kind = 0; kind < 2; ++kind) {
        for (uint32_t i = 0; i < n; ++i) {
            const auto& table = kind == 0 ? info.jpegDcTables[i] : info.jpegAcTables[i];
            put(out, {0xFF, 0xC4});
            put16(out, uint32_t(2 + 1 + table.size()));
            out.push_back(uint8_t(kind << 4 | i));
            out.insert(out.end(), table.begin(), table.end());
        }
    }
    if (info.jpegRestartInterval != 0) {
        put(out, {0xFF, 0xDD, 0x00, 0x04});
        put16(out, info.jpegRestartInterval & 0xFFFF);
    }
    put(out, {0xFF, 0xC0});
    put16(out, 8 + 3 * n);
    out.push_back(8);
    put16(out, rows & 0xFFFF);
    put16(out, columns & 0xFFFF);
    out.push_back(uint8_t(n));
    for (uint32_t i = 0; i < n; ++i) {
        out.push_back(uint8_t(i + 1));
        const bool luma = i == 0 && info.photometric == 6;
        out.push_back(luma ? uint8_t(info.ycbcrSubH << 4 | info.ycbcrSubV) : 0x11);
        out.push_back(uint8_t(i));
    }
    put(out, {0xFF, 0xDA});
    put16(out, 6 + 2 * n);
    out.push_back(uint8_t(n));
    for (uint32_t i = 0; i < n; ++i) {
        out.push_back(uint8_t(i + 1));
        out.push_back(uint8_t(i << 4 | i));
    }
    put(out, {0x00, 0x3F, 0x00});
    out.insert(out.end(), coded.begin(), coded.end());
    put(out, {0xFF, 0xD9});
}

}  // namespace

TiffJpegDecoder::TiffJpegDecoder(const TiffPageInfo& info, uint32_t rowBytes)
    : state_(std::make_unique<State>(info)) {
    state_->rowBytes = rowBytes;
    if (info.compression == 7 && info.jpegTables.size() > 2) {
        // The abbreviated table stream: the library keeps its tables for every strip.
        jpeg_decompress_struct& c = state_->decompressor.cinfo;
        attachJpegMemorySource(&c, state_->manager, info.jpegTables);
        guarded(state_->decompressor.state, [&] { jpeg_read_header(&c, FALSE); });
    }
}

TiffJpegDecoder::~TiffJpegDecoder() = default;

bool TiffJpegDecoder::writesBgr() {
#ifdef JCS_EXTENSIONS
    return true;
#else
    return false;
#endif
}

void TiffJpegDecoder::start(std::span<const uint8_t> coded, uint32_t columns, uint32_t rows) {
    State& s = *state_;
    jpeg_decompress_struct& c = s.decompressor.cinfo;
    if (s.started) jpeg_abort_decompress(&c);
    s.started = false;
    const TiffPageInfo& info = s.info;
    std::span<const uint8_t> stream = coded;
    const bool tablesOnly = info.compression == 6 && info.jpegInterchangeFormat == 0;
    if (tablesOnly) {
        assemble(info, coded, columns, rows, s.assembled);
        stream = s.assembled;
    }
    attachJpegMemorySource(&c, s.manager, stream);
    guarded(s.decompressor.state, [&] { jpeg_read_header(&c, TRUE); });
    // YCbCr becomes RGB; everything else goes through as it is stored.
    if (info.photometric == 6 && c.num_components == 3) {
        c.jpeg_color_space = JCS_YCbCr;
        c.out_color_space = JCS_RGB;
    } else if (c.num_components == 3 && info.compression == 7) {
        c.jpeg_color_space = JCS_RGB;
        c.out_color_space = JCS_RGB;
    }
#ifdef JCS_EXTENSIONS
    if (c.out_color_space == JCS_RGB) c.out_color_space = JCS_EXT_BGR;
#endif
    guarded(s.decompressor.state, [&] { jpeg_start_decompress(&c); });
    s.started = true;
    s.scanline.assign(size_t{c.output_width} * c.output_components + 8, 0);
}

void TiffJpegDecoder::decode(uint8_t* buffer, size_t length) {
    State& s = *state_;
    jpeg_decompress_struct& c = s.decompressor.cinfo;
    for (size_t done = 0; done + s.rowBytes <= length; done += s.rowBytes) {
        uint8_t* row = buffer + done;
        if (!s.started || c.output_scanline >= c.output_height) {
            std::memset(row, 0, s.rowBytes);
            continue;
        }
        // A row of the strip's own width goes where it belongs; one of
        // another width (a stream that disagrees with the tags) is cut or
        // padded through the scanline buffer.
        const size_t decoded = size_t{c.output_width} * c.output_components;
        const bool inPlace = decoded == s.rowBytes;
        JSAMPROW line = inPlace ? row : s.scanline.data();
        JDIMENSION got = 0;
        guarded(s.decompressor.state, [&] { got = jpeg_read_scanlines(&c, &line, 1); });
        if (got == 0) std::memset(line, 0, inPlace ? s.rowBytes : decoded);
        if (inPlace) continue;
        const size_t n = std::min<size_t>(s.rowBytes, decoded);
        std::memcpy(row, s.scanline.data(), n);
        if (n < s.rowBytes) std::memset(row + n, 0, s.rowBytes - n);
    }
}

}  // namespace vivark
