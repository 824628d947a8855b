// GIF decoding with our reader against giflib's DGifSlurp on the same file,
// and our LZW codecs alone, in one process. Every run checks its output
// against the source pixels; throughput is reported per decoded pixel byte.
#include <benchmark/benchmark.h>
#include <gif_lib.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/ByteSources.h"
#include "codecs/LzwDecoder.h"
#include "codecs/LzwEncoder.h"
#include "core/Image.h"
#include "core/InFile.h"
#include "core/SafeOutFile.h"
#include "formats/SaveOptions.h"
#include "formats/gif/GifReader.h"
#include "formats/gif/GifWriter.h"

namespace vivark {
namespace {

constexpr uint32_t kWidth = 1024, kHeight = 768;

// A picture with flat areas, gradients and noise, 256 colours.
Image sampleImage() {
    Image image(kWidth, kHeight, 8);
    for (uint32_t i = 0; i < 256; ++i)
        image.palette[i] = rgb(uint8_t(i), uint8_t(255 - i), uint8_t(i * 3));
    uint32_t s = 1;
    for (uint32_t y = 0; y < kHeight; ++y) {
        uint8_t* row = image.plane.mutableRow(y);
        for (uint32_t x = 0; x < kWidth; ++x) {
            s = s * 1103515245u + 12345u;
            row[x] = x < kWidth / 3       ? uint8_t(y / 16)
                     : x < 2 * kWidth / 3 ? uint8_t(x + y)
                                          : uint8_t(s >> 24);
        }
    }
    return image;
}

struct Sample {
    Image image = sampleImage();
    std::string gif;
    Sample() {
        auto path = std::filesystem::temp_directory_path() / "vivark-bench.gif";
        StoredSaveOptions options;
        {
            SafeOutFile file(path);
            writeGif(image, file.out(), options, nullptr);
            file.commit();
        }
        std::ifstream in(path, std::ios::binary);
        gif.assign(std::istreambuf_iterator<char>(in), {});
        std::filesystem::remove(path);
    }
};

const Sample& sample() {
    static const Sample s;
    return s;
}

void BM_GifDecodeVivark(benchmark::State& state) {
    const Sample& s = sample();
    for (auto _ : state) {
        auto file =
            InFile::overMemory({reinterpret_cast<const uint8_t*>(s.gif.data()), s.gif.size()});
        Image image;
        makeGifReader(*file)->read(image, ReadOptions{});
        if (std::memcmp(image.plane.row(kHeight - 1), s.image.plane.row(kHeight - 1), kWidth) != 0)
            state.SkipWithError("pixels differ");
        benchmark::DoNotOptimize(image.plane.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kWidth * kHeight);
}
BENCHMARK(BM_GifDecodeVivark);

struct MemoryRead {
    const std::string* data;
    size_t at;
};

int readMemory(GifFileType* gif, GifByteType* out, int count) {
    auto* m = static_cast<MemoryRead*>(gif->UserData);
    size_t n = std::min<size_t>(size_t(count), m->data->size() - m->at);
    std::memcpy(out, m->data->data() + m->at, n);
    m->at += n;
    return int(n);
}

void BM_GifDecodeGiflib(benchmark::State& state) {
    const Sample& s = sample();
    for (auto _ : state) {
        MemoryRead m{&s.gif, 0};
        int error = 0;
        GifFileType* gif = DGifOpen(&m, readMemory, &error);
        if (gif == nullptr || DGifSlurp(gif) != GIF_OK) {
            state.SkipWithError("giflib failed");
            break;
        }
        if (std::memcmp(gif->SavedImages[0].RasterBits + size_t(kHeight - 1) * kWidth,
                        s.image.plane.row(kHeight - 1), kWidth) != 0)
            state.SkipWithError("pixels differ");
        DGifCloseFile(gif, &error);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kWidth * kHeight);
}
BENCHMARK(BM_GifDecodeGiflib);

std::vector<uint8_t> rawBytes() {
    const Image& image = sample().image;
    std::vector<uint8_t> raw;
    for (uint32_t y = 0; y < kHeight; ++y)
        raw.insert(raw.end(), image.plane.row(y), image.plane.row(y) + kWidth);
    return raw;
}

void BM_LzwEncode(benchmark::State& state) {
    const std::vector<uint8_t> raw = rawBytes();
    const bool tiff = state.range(0) != 0;
    auto encoder = std::make_unique<LzwEncoder>(8, tiff);
    std::vector<uint8_t> coded;
    for (auto _ : state) {
        coded.clear();
        MemorySink sink(coded);
        encoder->attach(&sink);
        encoder->reset();
        encoder->encode(raw.data(), raw.size());
        encoder->finish();
        encoder->close();
        benchmark::DoNotOptimize(coded.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(raw.size()));
}
BENCHMARK(BM_LzwEncode)->Arg(0)->Arg(1);

void BM_LzwDecode(benchmark::State& state) {
    const std::vector<uint8_t> raw = rawBytes();
    const bool tiff = state.range(0) != 0;
    std::vector<uint8_t> coded;
    {
        MemorySink sink(coded);
        LzwEncoder encoder(8, tiff);
        encoder.attach(&sink);
        encoder.reset();
        encoder.encode(raw.data(), raw.size());
        encoder.finish();
        encoder.close();
    }
    std::vector<uint8_t> out(raw.size());
    auto decoder = std::make_unique<LzwDecoder>(8, tiff, tiff);
    for (auto _ : state) {
        MemorySource source(coded);
        decoder->attach(&source);
        decoder->reset();
        decoder->decode(out.data(), out.size());
        if (out != raw) state.SkipWithError("round trip differs");
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(raw.size()));
}
BENCHMARK(BM_LzwDecode)->Arg(0)->Arg(1);

}  // namespace
}  // namespace vivark
