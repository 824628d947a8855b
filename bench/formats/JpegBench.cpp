// JPEG decoding through our reader into an Image, beside libjpeg used
// directly on the same in-memory file (memory source, RGB scanlines into one
// buffer): the difference is what the adapter costs (source manager, error
// guard per call, the copy into bottom-up BGR rows). Files are made here by
// libjpeg at quality 85: 4:2:0 baseline and progressive, and greyscale.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <jpeglib.h>

#include "core/Image.h"
#include "core/InFile.h"
#include "formats/jpeg/JpegReader.h"

namespace vivark {
namespace {

constexpr int kWidth = 1600, kHeight = 1200;

// A photograph stand-in: smooth gradients with mild noise and a few edges.
std::vector<uint8_t> picture(int components) {
    std::vector<uint8_t> samples(size_t(kWidth) * kHeight * components);
    uint32_t s = 7;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            s = s * 1103515245u + 12345u;
            const int noise = int(s >> 28) - 8;
            const bool edge = (x / 200 + y / 150) % 2 == 0;
            for (int c = 0; c < components; ++c) {
                const int v = (x * (c + 1) / 8 + y / (c + 2)) % 256 + noise + (edge ? 30 : 0);
                samples[(size_t(y) * kWidth + x) * components + c] = uint8_t(std::clamp(v, 0, 255));
            }
        }
    return samples;
}

std::vector<uint8_t> compress(int components, bool progressive) {
    const std::vector<uint8_t> samples = picture(components);
    jpeg_compress_struct c{};
    jpeg_error_mgr err{};
    c.err = jpeg_std_error(&err);
    jpeg_create_compress(&c);
    unsigned char* out = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&c, &out, &size);
    c.image_width = kWidth;
    c.image_height = kHeight;
    c.input_components = components;
    c.in_color_space = components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&c);
    jpeg_set_quality(&c, 85, TRUE);
    if (progressive) jpeg_simple_progression(&c);
    jpeg_start_compress(&c, TRUE);
    while (c.next_scanline < c.image_height) {
        JSAMPROW row =
            const_cast<JSAMPROW>(&samples[size_t(c.next_scanline) * kWidth * components]);
        jpeg_write_scanlines(&c, &row, 1);
    }
    jpeg_finish_compress(&c);
    jpeg_destroy_compress(&c);
    std::vector<uint8_t> file(out, out + size);
    std::free(out);
    return file;
}

// Arg 0: 0 colour baseline, 1 colour progressive, 2 greyscale.
std::vector<uint8_t> sampleFile(int64_t kind) {
    return compress(kind == 2 ? 1 : 3, kind == 1);
}

void BM_JpegDecodeVivark(benchmark::State& state) {
    const std::vector<uint8_t> file = sampleFile(state.range(0));
    for (auto _ : state) {
        auto in = InFile::overMemory(file);
        Image image;
        makeJpegReader(*in)->read(image, ReadOptions{});
        if (image.width() != kWidth) state.SkipWithError("wrong size");
        benchmark::DoNotOptimize(image.plane.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(file.size()));
    state.counters["Mpixel/s"] = benchmark::Counter(
        double(state.iterations()) * kWidth * kHeight / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_JpegDecodeVivark)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

// The library with the reader's choices: RGB (or grey) output, default
// methods, buffered-image mode for progressive files showing each pass, and
// a new zeroed picture per file.
void BM_JpegDecodeLibjpeg(benchmark::State& state) {
    const std::vector<uint8_t> file = sampleFile(state.range(0));
    for (auto _ : state) {
        jpeg_decompress_struct d{};
        jpeg_error_mgr err{};
        d.err = jpeg_std_error(&err);
        jpeg_create_decompress(&d);
        jpeg_mem_src(&d, file.data(), static_cast<unsigned long>(file.size()));
        jpeg_read_header(&d, TRUE);
        d.out_color_space = d.jpeg_color_space == JCS_GRAYSCALE ? JCS_GRAYSCALE : JCS_RGB;
        const bool buffered = jpeg_has_multiple_scans(&d);
        d.buffered_image = buffered ? TRUE : FALSE;
        jpeg_start_decompress(&d);
        const size_t stride = size_t(d.output_width) * d.output_components;
        std::vector<uint8_t> pixels(stride * d.output_height);  // a new picture, as a reader makes
        for (;;) {
            if (buffered) jpeg_start_output(&d, d.input_scan_number);
            while (d.output_scanline < d.output_height) {
                JSAMPROW row = &pixels[size_t(d.output_scanline) * stride];
                jpeg_read_scanlines(&d, &row, 1);
            }
            if (!buffered) break;
            jpeg_finish_output(&d);
            if (jpeg_input_complete(&d)) break;
        }
        jpeg_finish_decompress(&d);
        jpeg_destroy_decompress(&d);
        benchmark::DoNotOptimize(pixels.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(file.size()));
    state.counters["Mpixel/s"] = benchmark::Counter(
        double(state.iterations()) * kWidth * kHeight / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_JpegDecodeLibjpeg)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vivark
