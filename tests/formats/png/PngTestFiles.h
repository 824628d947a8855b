// PNG files for the tests: written by libpng (the independent encoder and
// decoder the reader and writer are held against) and assembled chunk by
// chunk with zlib for the damaged and unusual files libpng refuses to make.
#pragma once

#include <png.h>
#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/ByteOrder.h"

namespace vivark::test {

// What libpng is asked to write: raw sample rows as the file holds them
// (16-bit samples big-endian, sub-byte samples packed).
struct PngLayout {
    uint32_t width = 1, height = 1;
    int colourType = 0, depth = 8;
    bool interlaced = false;
    size_t idatSize = 0;        // libpng's IDAT size when not 0 (small: many IDAT chunks)
    std::vector<uint8_t> rows;  // height rows of rowBytes() each
    std::vector<png_color> palette;

    size_t channels() const {
        return colourType == 2 ? 3 : colourType == 4 ? 2 : colourType == 6 ? 4 : 1;
    }
    size_t rowBytes() const { return (size_t{width} * channels() * depth + 7) / 8; }
};

// libpng's warnings (a tRNS grey level beyond a 1-bit depth) are expected.
inline void ignoreWarning(png_structp, png_const_charp) {}

inline void appendToString(png_structp png, png_bytep data, size_t length) {
    static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<char*>(data), length);
}

inline std::string writeWithLibpng(const PngLayout& layout) {
    std::string bytes;
    png_structp png =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, ignoreWarning);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        throw std::runtime_error("libpng could not write the file");
    }
    png_set_write_fn(png, &bytes, appendToString, nullptr);
    if (layout.idatSize != 0) png_set_compression_buffer_size(png, layout.idatSize);
    png_set_IHDR(png, info, layout.width, layout.height, layout.depth, layout.colourType,
                 layout.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!layout.palette.empty())
        png_set_PLTE(png, info, layout.palette.data(), static_cast<int>(layout.palette.size()));
    // Every filter, so the reader's reverse filters all run.
    png_set_filter(png, 0, PNG_ALL_FILTERS);
    png_write_info(png, info);
    std::vector<png_bytep> rows(layout.height);
    for (uint32_t y = 0; y < layout.height; ++y)
        rows[y] = const_cast<png_bytep>(layout.rows.data() + y * layout.rowBytes());
    png_write_image(png, rows.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

// What libpng reads back from a file: the header and the raw samples of the
// deinterlaced rows (every chunk is read and checked on the way).
struct LibpngRead {
    uint32_t width = 0, height = 0;
    int colourType = -1, depth = 0, interlace = 0;
    std::vector<std::vector<uint8_t>> rows;
    std::vector<png_color> palette;
};

struct MemoryReader {
    const std::string* bytes;
    size_t at;
};

inline void readFromString(png_structp png, png_bytep data, size_t length) {
    auto* m = static_cast<MemoryReader*>(png_get_io_ptr(png));
    if (m->bytes->size() - m->at < length) png_error(png, "short file");
    std::memcpy(data, m->bytes->data() + m->at, length);
    m->at += length;
}

// Throws std::runtime_error when libpng rejects the file.
inline LibpngRead readWithLibpng(const std::string& bytes) {
    LibpngRead r;
    MemoryReader m{&bytes, 0};
    png_structp png =
        png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, ignoreWarning);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        throw std::runtime_error("libpng rejected the file");
    }
    png_set_read_fn(png, &m, readFromString);
    png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    r.width = png_get_image_width(png, info);
    r.height = png_get_image_height(png, info);
    r.colourType = png_get_color_type(png, info);
    r.depth = png_get_bit_depth(png, info);
    r.interlace = png_get_interlace_type(png, info);
    png_bytepp rows = png_get_rows(png, info);
    const size_t rowBytes = png_get_rowbytes(png, info);
    for (uint32_t y = 0; y < r.height; ++y) r.rows.emplace_back(rows[y], rows[y] + rowBytes);
    png_colorp palette = nullptr;
    int count = 0;
    if (png_get_PLTE(png, info, &palette, &count)) r.palette.assign(palette, palette + count);
    png_destroy_read_struct(&png, &info, nullptr);
    return r;
}

// One chunk with its length and CRC.
inline std::string pngChunk(const char* type, const std::string& data) {
    std::string c(4, '\0');
    storeBE32(reinterpret_cast<uint8_t*>(c.data()), static_cast<uint32_t>(data.size()));
    std::string body = std::string(type, 4) + data;
    uint32_t crc = static_cast<uint32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size())));
    std::string tail(4, '\0');
    storeBE32(reinterpret_cast<uint8_t*>(tail.data()), crc);
    return c + body + tail;
}

inline std::string pngSignature() {
    return std::string("\x89PNG\r\n\x1a\n", 8);
}

inline std::string ihdrData(uint32_t width, uint32_t height, int depth, int colourType,
                            int interlace = 0) {
    std::string d(13, '\0');
    storeBE32(reinterpret_cast<uint8_t*>(d.data()), width);
    storeBE32(reinterpret_cast<uint8_t*>(d.data()) + 4, height);
    d[8] = char(depth);
    d[9] = char(colourType);
    d[12] = char(interlace);
    return d;
}

inline std::string zlibCompress(const std::string& raw) {
    uLongf size = compressBound(static_cast<uLong>(raw.size()));
    std::string out(size, '\0');
    compress2(reinterpret_cast<Bytef*>(out.data()), &size,
              reinterpret_cast<const Bytef*>(raw.data()), static_cast<uLong>(raw.size()), 9);
    out.resize(size);
    return out;
}

}  // namespace vivark::test
