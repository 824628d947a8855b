// PCX and Targa decoding through our readers, from files our writers made in
// memory, beside a plain memcpy of the same pixel bytes (the floor any reader
// of an uncompressed file sits on). Each run checks a row of its output;
// throughput is reported per decoded pixel byte.
#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "core/Image.h"
#include "core/InFile.h"
#include "core/SafeOutFile.h"
#include "formats/SaveOptions.h"
#include "formats/pcx/PcxReader.h"
#include "formats/pcx/PcxWriter.h"
#include "formats/tga/TgaReader.h"
#include "formats/tga/TgaWriter.h"

namespace vivark {
namespace {

constexpr uint32_t kWidth = 1024, kHeight = 768;

// Flat areas, gradients and noise, so run-length coding has work of each kind.
Image sampleImage(uint32_t bits) {
    Image image(kWidth, kHeight, bits);
    for (uint32_t i = 0; i < 256; ++i)
        image.palette[i] = rgb(uint8_t(i), uint8_t(255 - i), uint8_t(i * 3));
    const uint32_t bytes = bits / 8;
    uint32_t s = 1;
    for (uint32_t y = 0; y < kHeight; ++y) {
        uint8_t* row = image.plane.mutableRow(y);
        for (uint32_t x = 0; x < kWidth * bytes; ++x) {
            s = s * 1103515245u + 12345u;
            const uint32_t column = x / bytes;
            row[x] = column < kWidth / 3       ? uint8_t(y / 16)
                     : column < 2 * kWidth / 3 ? uint8_t(column + y)
                                               : uint8_t(s >> 24);
        }
    }
    return image;
}

using Writer = void (*)(const Image&, OutFile&, const SaveOptions&, ProgressCallback*);

std::string encoded(const Image& image, Writer write, const SaveOptions& options) {
    auto path = std::filesystem::temp_directory_path() / "vivark-bench.img";
    {
        SafeOutFile file(path);
        write(image, file.out(), options, nullptr);
        file.commit();
    }
    std::ifstream in(path, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(in), {});
    std::filesystem::remove(path);
    return bytes;
}

using ReaderFactory = std::unique_ptr<ImageReader> (*)(InFile&);

void decodeLoop(benchmark::State& state, const Image& source, const std::string& file,
                ReaderFactory factory) {
    const size_t rowBytes = size_t{kWidth} * source.bitsPerPixel() / 8;
    for (auto _ : state) {
        auto in = InFile::overMemory({reinterpret_cast<const uint8_t*>(file.data()), file.size()});
        Image image;
        factory(*in)->read(image, ReadOptions{});
        if (std::memcmp(image.plane.row(kHeight / 2), source.plane.row(kHeight / 2), rowBytes) != 0)
            state.SkipWithError("pixels differ");
        benchmark::DoNotOptimize(image.plane.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(rowBytes) * kHeight);
    state.counters["file KiB"] = double(file.size()) / 1024;
}

// Arg: bits per pixel (8 or 24).
void BM_PcxDecode(benchmark::State& state) {
    const Image image = sampleImage(uint32_t(state.range(0)));
    StoredSaveOptions stored;
    SaveOptionOverlay options(stored);
    options.set(saveKey::PcxEnable24bit, 1);
    decodeLoop(state, image, encoded(image, writePcx, options), makePcxReader);
}
BENCHMARK(BM_PcxDecode)->Arg(8)->Arg(24);

// Args: bits per pixel (8 or 24), run-length encoded (0 or 1).
void BM_TgaDecode(benchmark::State& state) {
    const Image image = sampleImage(uint32_t(state.range(0)));
    StoredSaveOptions stored;
    SaveOptionOverlay options(stored);
    options.set(saveKey::TgaEncode, state.range(1));
    decodeLoop(state, image, encoded(image, writeTga, options), makeTgaReader);
}
BENCHMARK(BM_TgaDecode)->Args({8, 0})->Args({8, 1})->Args({24, 0})->Args({24, 1});

// The floor: the same pixel bytes copied once into a new buffer.
void BM_PixelCopyBaseline(benchmark::State& state) {
    const Image image = sampleImage(uint32_t(state.range(0)));
    const size_t size = image.plane.dataSize();
    for (auto _ : state) {
        std::vector<uint8_t> copy(size);
        std::memcpy(copy.data(), image.plane.data(), size);
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kWidth) * kHeight *
                            int64_t(state.range(0) / 8));
}
BENCHMARK(BM_PixelCopyBaseline)->Arg(8)->Arg(24);

}  // namespace
}  // namespace vivark
