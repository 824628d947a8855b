// Helpers of the text-image tests: running the encoders, a BinHex 4.0
// encoder (uuenview writes none), line-end conversion and a PNG to encode.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "formats/SaveOptions.h"
#include "formats/png/PngWriter.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"
#include "support/TempDir.h"
#include "textimg/Extractor.h"

namespace vivark::test {

inline int shell(const std::string& command) {
    std::string line(1, '(');
    line.append(command).append(") >/dev/null 2>&1");
    return std::system(line.c_str());
}

inline std::string quoted(const std::filesystem::path& path) {
    return shellQuoted(path.string());
}

// A PNG of some 20 KB: enough for uuenview to split into several parts.
inline const std::string& sourcePng() {
    static const std::string png = [] {
        StoredSaveOptions options;
        return writeToBytes(patternImage(160, 120, 24), writePng, options);
    }();
    return png;
}

inline std::string withCrLf(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '\n') out += '\r';
        out += c;
    }
    return out;
}

// BinHex 4.0 of a file with an empty resource fork, in 64-character lines.
inline std::string binHex(const std::string& name, const std::string& data) {
    auto crc16 = [](const std::vector<uint8_t>& bytes) {
        uint32_t crc = 0;
        for (uint8_t b : bytes)
            for (int k = 7; k >= 0; --k) {
                const bool top = crc & 0x8000;
                crc = ((crc << 1) | ((b >> k) & 1)) & 0xFFFF;
                if (top) crc ^= 0x1021;
            }
        for (int k = 0; k < 16; ++k)
            crc = (crc & 0x8000) ? ((crc << 1) ^ 0x1021) & 0xFFFF : (crc << 1) & 0xFFFF;
        return crc;
    };
    std::vector<uint8_t> stream;
    auto section = [&](const std::vector<uint8_t>& bytes) {
        stream.insert(stream.end(), bytes.begin(), bytes.end());
        const uint32_t crc = crc16(bytes);
        stream.push_back(uint8_t(crc >> 8));
        stream.push_back(uint8_t(crc));
    };
    std::vector<uint8_t> header{uint8_t(name.size())};
    header.insert(header.end(), name.begin(), name.end());
    header.push_back(0);
    for (char c : std::string("PNGfVIVK")) header.push_back(uint8_t(c));
    header.insert(header.end(), {0, 0});
    const uint32_t size = uint32_t(data.size());
    header.insert(header.end(), {uint8_t(size >> 24), uint8_t(size >> 16), uint8_t(size >> 8),
                                 uint8_t(size), 0, 0, 0, 0});
    section(header);
    section(std::vector<uint8_t>(data.begin(), data.end()));
    section({});
    // Runs of three or more become byte, 0x90, count; 0x90 itself is 0x90 0.
    std::vector<uint8_t> rle;
    for (size_t i = 0; i < stream.size();) {
        size_t run = 1;
        while (i + run < stream.size() && stream[i + run] == stream[i] && run < 255) ++run;
        rle.push_back(stream[i]);
        if (stream[i] == 0x90) rle.push_back(0);
        if (run >= 3) {
            rle.insert(rle.end(), {0x90, uint8_t(run)});
            i += run;
        } else {
            ++i;
        }
    }
    static const char kAlphabet[] =
        "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
    std::string chars = ":";
    for (size_t i = 0; i < rle.size(); i += 3) {
        uint32_t group = uint32_t(rle[i]) << 16;
        if (i + 1 < rle.size()) group |= uint32_t(rle[i + 1]) << 8;
        if (i + 2 < rle.size()) group |= rle[i + 2];
        const size_t count = std::min<size_t>(4, (rle.size() - i) * 4 / 3 + ((rle.size() - i) < 3));
        for (size_t k = 0; k < count; ++k) chars += kAlphabet[(group >> (18 - 6 * k)) & 63];
    }
    chars += ":";
    std::string text = "(This file must be converted with BinHex 4.0)\n";
    for (size_t i = 0; i < chars.size(); i += 64) text += chars.substr(i, 64) + "\n";
    return text;
}

// Every file decoded from `paths`, read together.
inline std::vector<textimg::Decoded> extractPaths(const std::vector<std::filesystem::path>& paths) {
    std::vector<std::unique_ptr<InFile>> files;
    std::vector<textimg::TextSource> sources;
    for (const auto& path : paths) {
        files.push_back(std::make_unique<InFile>());
        files.back()->open(path.string());
        sources.push_back({files.back().get(), path.filename().string()});
    }
    return textimg::extractAll(sources, {});
}

}  // namespace vivark::test
