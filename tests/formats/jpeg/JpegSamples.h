// JPEG files made in the tests by libjpeg, and libjpeg's own decode (what
// djpeg runs) as the reference.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <vector>

#include <jpeglib.h>

namespace vivark::test {

using JpegBytes = std::vector<uint8_t>;

// A picture of w x h RGB samples with gradients and a sharp corner mark.
inline JpegBytes jpegPicture(int w, int h) {
    JpegBytes rgb(size_t(w) * h * 3);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t* p = &rgb[(size_t(y) * w + x) * 3];
            const bool mark = x < w / 3 && y < h / 4;
            p[0] = mark ? 250 : uint8_t(x * 255 / w);
            p[1] = mark ? 10 : uint8_t(y * 255 / h);
            p[2] = uint8_t((x * y) & 0xFF);
        }
    return rgb;
}

struct LibjpegOptions {
    J_COLOR_SPACE input = JCS_RGB;       // JCS_RGB, JCS_GRAYSCALE or JCS_CMYK samples
    J_COLOR_SPACE stored = JCS_UNKNOWN;  // JCS_UNKNOWN: the library's default
    bool progressive = false;
    unsigned restartInterval = 0;  // in MCUs
    int restartRows = 0;           // in MCU rows (used when restartInterval is 0)
};

// `samples` (w x h, components as options.input) compressed by libjpeg at
// quality 90; CMYK and YCCK get libjpeg's Adobe marker.
inline JpegBytes libjpegCompress(const JpegBytes& samples, int w, int h,
                                 const LibjpegOptions& options) {
    jpeg_compress_struct c{};
    jpeg_error_mgr err{};
    c.err = jpeg_std_error(&err);
    jpeg_create_compress(&c);
    unsigned char* out = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&c, &out, &size);
    c.image_width = JDIMENSION(w);
    c.image_height = JDIMENSION(h);
    c.in_color_space = options.input;
    c.input_components = options.input == JCS_GRAYSCALE ? 1 : options.input == JCS_CMYK ? 4 : 3;
    jpeg_set_defaults(&c);
    if (options.stored != JCS_UNKNOWN) jpeg_set_colorspace(&c, options.stored);
    jpeg_set_quality(&c, 90, TRUE);
    c.restart_interval = options.restartInterval;
    c.restart_in_rows = options.restartRows;
    if (options.progressive) jpeg_simple_progression(&c);
    jpeg_start_compress(&c, TRUE);
    const size_t stride = size_t(w) * c.input_components;
    while (c.next_scanline < c.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(&samples[c.next_scanline * stride]);
        jpeg_write_scanlines(&c, &row, 1);
    }
    jpeg_finish_compress(&c);
    jpeg_destroy_compress(&c);
    JpegBytes file(out, out + size);
    free(out);
    return file;
}

// The picture above compressed by libjpeg.
inline JpegBytes libjpegFile(int w, int h, const LibjpegOptions& options = {}) {
    return libjpegCompress(jpegPicture(w, h), w, h, options);
}

// What djpeg decodes: libjpeg with its default output colour space.
struct LibjpegDecoded {
    int width = 0, height = 0, components = 0;
    JpegBytes samples;
};

inline LibjpegDecoded libjpegDecode(const JpegBytes& file) {
    jpeg_decompress_struct d{};
    jpeg_error_mgr err{};
    d.err = jpeg_std_error(&err);
    err.output_message = [](j_common_ptr) {};
    jpeg_create_decompress(&d);
    jpeg_mem_src(&d, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&d, TRUE);
    jpeg_start_decompress(&d);
    LibjpegDecoded result;
    result.width = int(d.output_width);
    result.height = int(d.output_height);
    result.components = d.output_components;
    const size_t stride = size_t(result.width) * result.components;
    result.samples.resize(stride * result.height);
    while (d.output_scanline < d.output_height) {
        JSAMPROW row = &result.samples[d.output_scanline * stride];
        jpeg_read_scanlines(&d, &row, 1);
    }
    jpeg_finish_decompress(&d);
    jpeg_destroy_decompress(&d);
    return result;
}

// SOI, an EXIF APP1 holding one orientation entry, then the rest of `file`.
inline JpegBytes withExif(const JpegBytes& file, uint16_t orientation, bool big) {
    const uint8_t hi = uint8_t(orientation >> 8), lo = uint8_t(orientation);
    JpegBytes out = {0xFF, 0xD8, 0xFF, 0xE1, 0, 34, 'E', 'x', 'i', 'f', 0, 0};
    const JpegBytes tiff = big ? JpegBytes{'M', 'M', 0, 0x2A, 0, 0,  0,  8, 0, 1, 0x01, 0x12, 0,
                                           3,   0,   0, 0,    1, hi, lo, 0, 0, 0, 0,    0,    0}
                               : JpegBytes{'I', 'I', 0x2A, 0, 8, 0,  0,  0, 1, 0, 0x12, 0x01, 3,
                                           0,   1,   0,    0, 0, lo, hi, 0, 0, 0, 0,    0,    0};
    out.insert(out.end(), tiff.begin(), tiff.end());
    out.insert(out.end(), file.begin() + 2, file.end());
    return out;
}

}  // namespace vivark::test
