// ASCII85 text and PostScript run-length codes (see EpsFilters.h).
#include "formats/eps/EpsFilters.h"

#include <cstring>

namespace vivark::eps {
namespace {

// Characters a line holds; DSC asks for at most 255.
constexpr uint32_t kLineLength = 76;

}  // namespace

void Ascii85Sink::begin() {
    cursor = buffer_.data();
    end = buffer_.data() + buffer_.size();
    column_ = 0;
}

void Ascii85Sink::put(char c) {
    // A line that began with '%' would read as a comment to DSC parsers; a
    // leading blank, which the decoder skips, avoids it.
    if (column_ == 0 && c == '%') {
        out_.writeByte(' ');
        ++column_;
    }
    out_.writeByte(static_cast<uint8_t>(c));
    if (++column_ >= kLineLength) {
        out_.writeByte('\n');
        column_ = 0;
    }
}

void Ascii85Sink::encodeGroups(size_t count) {
    for (size_t at = 0; at + 4 <= count; at += 4) {
        const uint8_t* p = buffer_.data() + at;
        uint32_t value = uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
        if (value == 0) {
            put('z');
            continue;
        }
        char digits[5];
        for (int i = 4; i >= 0; --i) {
            digits[i] = static_cast<char>('!' + value % 85);
            value /= 85;
        }
        for (char d : digits) put(d);
    }
}

void Ascii85Sink::flush() {
    const size_t held = static_cast<size_t>(cursor - buffer_.data());
    const size_t whole = held / 4 * 4;
    encodeGroups(whole);
    std::memmove(buffer_.data(), buffer_.data() + whole, held - whole);
    cursor = buffer_.data() + (held - whole);
}

void Ascii85Sink::finish() {
    flush();
    const size_t rest = static_cast<size_t>(cursor - buffer_.data());
    if (rest != 0) {
        uint8_t group[4] = {};
        std::memcpy(group, buffer_.data(), rest);
        uint32_t value = uint32_t{group[0]} << 24 | uint32_t{group[1]} << 16 |
                         uint32_t{group[2]} << 8 | group[3];
        char digits[5];
        for (int i = 4; i >= 0; --i) {
            digits[i] = static_cast<char>('!' + value % 85);
            value /= 85;
        }
        for (size_t i = 0; i <= rest; ++i) put(digits[i]);
    }
    cursor = buffer_.data();
    if (column_ + 2 > kLineLength) out_.writeByte('\n');
    out_.writeByte('~');
    out_.writeByte('>');
    out_.writeByte('\n');
    column_ = 0;
}

void RunLengthEncoder::encode(const uint8_t* data, size_t length) {
    size_t i = 0;
    while (i < length) {
        size_t run = 1;
        while (i + run < length && run < 128 && data[i + run] == data[i]) ++run;
        if (run >= 2) {
            sink_->putByte(static_cast<uint8_t>(257 - run));
            sink_->putByte(data[i]);
            i += run;
            continue;
        }
        // A literal string, up to where three equal bytes begin.
        size_t j = i + 1;
        while (j < length && j - i < 128 &&
               !(j + 2 < length && data[j] == data[j + 1] && data[j] == data[j + 2]))
            ++j;
        sink_->putByte(static_cast<uint8_t>(j - i - 1));
        sink_->write(data + i, j - i);
        i = j;
    }
}

void RunLengthEncoder::finish() {
    sink_->putByte(128);
}

}  // namespace vivark::eps
