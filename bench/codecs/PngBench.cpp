// PNG decoding to 24 bits with our reader against libpng's simplified API on
// the same file in memory, and PNG encoding with our writer against libpng at
// compression level 9, in one process. Throughput is per pixel byte of the
// 24-bit image. Each of our benchmarks also reports speed_vs_libpng (libpng's
// CPU time per image over ours: above 1 means faster) and the encoder
// size_vs_libpng (our file over libpng's), from the libpng run just before.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <png.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "core/Image.h"
#include "core/InFile.h"
#include "core/OutFile.h"
#include "formats/SaveOptions.h"
#include "formats/png/PngReader.h"
#include "formats/png/PngWriter.h"

namespace vivark {
namespace {

constexpr uint32_t kWidth = 1024, kHeight = 768;
constexpr int64_t kImageBytes = int64_t{kWidth} * kHeight * 3;

// A photo-like picture: smooth gradients, a flat band and mild noise.
Image sampleImage() {
    Image image(kWidth, kHeight, 24);
    uint32_t s = 7;
    for (uint32_t y = 0; y < kHeight; ++y) {
        uint8_t* row = image.plane.mutableRow(y);
        for (uint32_t x = 0; x < kWidth; ++x) {
            s = s * 1103515245u + 12345u;
            const uint8_t noise = uint8_t(s >> 29);
            const bool band = y > kHeight / 3 && y < kHeight / 2;
            row[3 * x] = band ? 40 : uint8_t(x / 4 + noise);
            row[3 * x + 1] = band ? 90 : uint8_t(y / 3 + noise);
            row[3 * x + 2] = band ? 140 : uint8_t((x + y) / 7 + noise);
        }
    }
    return image;
}

void appendToString(png_structp png, png_bytep data, size_t length) {
    static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<char*>(data), length);
}

// libpng's file of the image (RGB, all filters, the given level).
std::string encodeWithLibpng(const Image& image, int level, bool interlaced) {
    std::string bytes;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return {};
    }
    png_set_write_fn(png, &bytes, appendToString, nullptr);
    png_set_compression_level(png, level);
    png_set_IHDR(png, info, image.width(), image.height(), 8, PNG_COLOR_TYPE_RGB,
                 interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_filter(png, 0, PNG_ALL_FILTERS);
    png_write_info(png, info);
    png_set_bgr(png);  // the image holds blue, green, red
    std::vector<png_bytep> rows(image.height());
    for (uint32_t y = 0; y < image.height(); ++y)
        rows[y] = const_cast<png_bytep>(image.plane.row(y));
    png_write_image(png, rows.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

struct Sample {
    Image image = sampleImage();
    std::string file[2] = {encodeWithLibpng(image, 6, false), encodeWithLibpng(image, 6, true)};
};

const Sample& sample() {
    static const Sample s;
    return s;
}

// Seconds per image of the last libpng run, per benchmark kind.
double libpngDecodeSeconds[2] = {0, 0};
double libpngEncodeSeconds = 0;
size_t libpngEncodedSize = 0;

// The calling thread's CPU time: other processes on a shared machine do not
// skew the ratios.
double cpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

double secondsPerIteration(benchmark::State& state, double start) {
    return (cpuSeconds() - start) / double(state.iterations());
}

void BM_PngDecodeLibpng(benchmark::State& state) {
    const Sample& s = sample();
    const std::string& file = s.file[state.range(0)];
    std::vector<uint8_t> pixels(static_cast<size_t>(kImageBytes));
    const double start = cpuSeconds();
    for (auto _ : state) {
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        if (!png_image_begin_read_from_memory(&image, file.data(), file.size())) {
            state.SkipWithError("libpng failed");
            break;
        }
        image.format = PNG_FORMAT_BGR;
        png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr);
        benchmark::DoNotOptimize(pixels.data());
    }
    libpngDecodeSeconds[state.range(0)] = secondsPerIteration(state, start);
    if (std::memcmp(pixels.data(), s.image.plane.row(0), kWidth * 3) != 0)
        state.SkipWithError("pixels differ");
    state.SetBytesProcessed(int64_t(state.iterations()) * kImageBytes);
}
BENCHMARK(BM_PngDecodeLibpng)->Arg(0)->Arg(1);

void BM_PngDecodeVivark(benchmark::State& state) {
    const Sample& s = sample();
    const std::string& file = s.file[state.range(0)];
    const double start = cpuSeconds();
    for (auto _ : state) {
        auto in = InFile::overMemory({reinterpret_cast<const uint8_t*>(file.data()), file.size()});
        Image image;
        makePngReader(*in)->read(image, ReadOptions{});
        if (std::memcmp(image.plane.row(0), s.image.plane.row(0), kWidth * 3) != 0)
            state.SkipWithError("pixels differ");
        benchmark::DoNotOptimize(image.plane.data());
    }
    const double ours = secondsPerIteration(state, start);
    state.SetBytesProcessed(int64_t(state.iterations()) * kImageBytes);
    if (libpngDecodeSeconds[state.range(0)] > 0)
        state.counters["speed_vs_libpng"] = libpngDecodeSeconds[state.range(0)] / ours;
}
BENCHMARK(BM_PngDecodeVivark)->Arg(0)->Arg(1);

void BM_PngEncodeLibpng9(benchmark::State& state) {
    const Sample& s = sample();
    const double start = cpuSeconds();
    for (auto _ : state) {
        std::string bytes = encodeWithLibpng(s.image, 9, false);
        libpngEncodedSize = bytes.size();
        benchmark::DoNotOptimize(bytes.data());
    }
    libpngEncodeSeconds = secondsPerIteration(state, start);
    state.SetBytesProcessed(int64_t(state.iterations()) * kImageBytes);
    state.counters["bytes"] = double(libpngEncodedSize);
}
BENCHMARK(BM_PngEncodeLibpng9)->Unit(benchmark::kMillisecond);

void BM_PngEncodeVivark(benchmark::State& state) {
    const Sample& s = sample();
    // One scratch file, rewritten in place: no creation or sync in the timing.
    const auto path = std::filesystem::temp_directory_path() / "vivark-bench.png";
    const int handle = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    StoredSaveOptions options;
    const double start = cpuSeconds();
    for (auto _ : state) {
        if (::ftruncate(handle, 0) != 0 || ::lseek(handle, 0, SEEK_SET) != 0) {
            state.SkipWithError("scratch file");
            break;
        }
        OutFile out;
        out.attach(handle, false);
        writePng(s.image, out, options, nullptr);
        out.flush();
    }
    const double ours = secondsPerIteration(state, start);
    ::close(handle);
    const auto size = std::filesystem::file_size(path);
    std::filesystem::remove(path);
    state.SetBytesProcessed(int64_t(state.iterations()) * kImageBytes);
    state.counters["bytes"] = double(size);
    if (libpngEncodeSeconds > 0) state.counters["speed_vs_libpng"] = libpngEncodeSeconds / ours;
    if (libpngEncodedSize > 0)
        state.counters["size_vs_libpng"] = double(size) / double(libpngEncodedSize);
}
BENCHMARK(BM_PngEncodeVivark)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vivark
