// Replay runner for fuzz harnesses in builds without libFuzzer: feeds every
// file named on the command line (directories are walked) to the harness once.
// A missing path is skipped, so an empty corpus is not an error.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void replay(const std::filesystem::path& file, size_t& count) {
    std::ifstream in(file, std::ios::binary);
    std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in),
                               std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    ++count;
}

}  // namespace

int main(int argc, char** argv) {
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path path(argv[i]);
        std::error_code error;
        if (std::filesystem::is_directory(path, error)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
                if (entry.is_regular_file()) replay(entry.path(), count);
        } else if (std::filesystem::is_regular_file(path, error)) {
            replay(path, count);
        }
    }
    std::printf("replayed %zu inputs\n", count);
    return 0;
}
