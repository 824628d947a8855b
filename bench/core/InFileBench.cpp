// Buffered reading: InFile's typed reads and line reading against stdio's
// buffered FILE on the same file, reporting bytes per second.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "core/Errors.h"
#include "core/InFile.h"

namespace {

// A 16 MiB file of text lines, made once per process.
const std::string& sampleFile() {
    static const std::string path = [] {
        char name[] = "/tmp/vivark-bench-XXXXXX";
        int fd = ::mkstemp(name);
        std::string text;
        for (int i = 0; text.size() < (16u << 20); ++i)
            text += "line " + std::to_string(i * 7919) + " of sample text\r\n";
        if (::write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            std::abort();
        ::close(fd);
        std::atexit([] { ::unlink(sampleFile().c_str()); });
        return std::string(name);
    }();
    return path;
}

void BM_InFileReadLE32(benchmark::State& state) {
    const std::string& path = sampleFile();
    size_t bytes = 0;
    for (auto _ : state) {
        vivark::InFile file;
        file.open(path);
        uint32_t sum = 0;
        uint64_t words = file.size() / 4;
        for (uint64_t i = 0; i < words; ++i) sum += file.readLE32();
        benchmark::DoNotOptimize(sum);
        bytes += words * 4;
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}
BENCHMARK(BM_InFileReadLE32);

void BM_StdioReadLE32(benchmark::State& state) {
    const std::string& path = sampleFile();
    size_t bytes = 0;
    for (auto _ : state) {
        FILE* f = std::fopen(path.c_str(), "rb");
        uint32_t sum = 0;
        int c0, c1, c2, c3;
        while ((c0 = std::getc(f)) != EOF && (c1 = std::getc(f)) != EOF &&
               (c2 = std::getc(f)) != EOF && (c3 = std::getc(f)) != EOF) {
            sum += uint32_t(c0) | uint32_t(c1) << 8 | uint32_t(c2) << 16 | uint32_t(c3) << 24;
            bytes += 4;
        }
        benchmark::DoNotOptimize(sum);
        std::fclose(f);
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}
BENCHMARK(BM_StdioReadLE32);

void BM_InFileReadLine(benchmark::State& state) {
    const std::string& path = sampleFile();
    std::vector<char> line(1024);
    size_t bytes = 0;
    for (auto _ : state) {
        vivark::InFile file;
        file.open(path);
        try {
            for (;;) bytes += file.readLine(line.data(), line.size()) + 2;
        } catch (vivark::INFILEERROR) {
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}
BENCHMARK(BM_InFileReadLine);

void BM_StdioFgets(benchmark::State& state) {
    const std::string& path = sampleFile();
    std::vector<char> line(1024);
    size_t bytes = 0;
    for (auto _ : state) {
        FILE* f = std::fopen(path.c_str(), "rb");
        while (std::fgets(line.data(), static_cast<int>(line.size()), f))
            bytes += std::strlen(line.data());
        std::fclose(f);
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}
BENCHMARK(BM_StdioFgets);

}  // namespace
