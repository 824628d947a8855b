// Convolution and the adjustment table on a 2560 x 1600 24-bit picture:
// the built-in 3 x 3 and 5 x 5 filters, the largest user grid, and a
// brightness/contrast/gamma table. Reports pixels per second. No peer
// library filters in process; the peer figure is ImageMagick's user time
// for -convolve and -morphology Convolve Binomial:2 on a picture of this
// size, less its time for the same conversion without a filter.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "core/Image.h"
#include "ops/ColourAdjust.h"
#include "ops/Convolution.h"

namespace vivark {
namespace {

constexpr uint32_t kWidth = 2560, kHeight = 1600;

Image picture() {
    Image image(kWidth, kHeight, 24);
    uint32_t seed = 11;
    for (uint32_t y = 0; y < kHeight; ++y) {
        uint8_t* row = image.plane.mutableRow(y);
        for (uint32_t i = 0; i < kWidth * 3; ++i) {
            seed = seed * 1103515245u + 12345u;
            row[i] = uint8_t((i / 3 + y) / 12 + (seed >> 29));
        }
    }
    return image;
}

void runFilter(benchmark::State& state, const ConvolutionFilter& filter) {
    const Image source = picture();
    for (auto _ : state) benchmark::DoNotOptimize(convolve(source, filter));
    state.SetItemsProcessed(int64_t(state.iterations()) * kWidth * kHeight);
}

void BM_Sharpen3x3(benchmark::State& state) {
    runFilter(state, builtinFilter(BuiltinFilter::Sharpen, 50));
}
void BM_Blur5x5(benchmark::State& state) {
    runFilter(state, builtinFilter(BuiltinFilter::Blur, 100));
}
void BM_User9x9(benchmark::State& state) {
    ConvolutionFilter filter{9, 9, std::vector<int32_t>(81, 1), 81, 0, false};
    runFilter(state, filter);
}
void BM_AdjustTable(benchmark::State& state) {
    const Image source = picture();
    ColourAdjustment record;
    record.brightness = 10, record.contrast = 20, record.gamma = 1.4;
    for (auto _ : state) benchmark::DoNotOptimize(adjustColours(source, record));
    state.SetItemsProcessed(int64_t(state.iterations()) * kWidth * kHeight);
}

BENCHMARK(BM_Sharpen3x3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Blur5x5)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_User9x9)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AdjustTable)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vivark
