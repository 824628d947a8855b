// Fuzzes InFile's line reading and typed reads over arbitrary bytes. The last
// input byte picks the buffer size (1 to 256 bytes, so every refill boundary
// falls everywhere) and the line capacity; the harness then reads lines until
// the end and checks each line against the bytes it came from.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <vector>

#include "core/Errors.h"
#include "core/InFile.h"

using namespace vivark;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t options = data[size - 1];
    std::span<const uint8_t> bytes(data, size - 1);
    const size_t bufferSize = (options & 0x0F) * 16 + 1;
    const size_t capacity = (options >> 4) * 8 + 2;

    auto file = InFile::overMemory(bytes, bufferSize);
    std::vector<char> line(capacity);
    size_t consumed = 0;
    try {
        for (;;) {
            size_t length = file->readLine(line.data(), capacity);
            if (length >= capacity || line[length] != '\0') std::abort();
            if (std::memcmp(line.data(), bytes.data() + consumed, length) != 0) std::abort();
            consumed += length;
            int64_t at = file->tell();
            if (at < static_cast<int64_t>(consumed) || at > static_cast<int64_t>(bytes.size()))
                std::abort();
            consumed = static_cast<size_t>(at);
        }
    } catch (INFILEERROR) {
    }

    // Typed reads and seeks over the same bytes must agree with the memory.
    try {
        file->rewind();
        for (size_t at = 0; at + 4 <= bytes.size(); at += 4) {
            file->seek(static_cast<int64_t>(at));
            if (file->readLE32() != loadLE32(bytes.data() + at)) std::abort();
        }
    } catch (INFILEERROR) {
        std::abort();
    }
    return 0;
}
