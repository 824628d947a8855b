// "vivark extract": names from the text made safe, existing files kept
// unless asked, and damaged blocks reported with what is wrong while the
// good ones are still written.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdio>

#include "textimg/TextTools.h"

namespace vivark {
namespace {

using namespace test;
namespace fs = std::filesystem;

std::string hex8(uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%08x", value);
    return text;
}

// A yEnc posting of `data` in parts of `partSize` bytes (yEnc 1.3 layout).
std::vector<std::string> yencParts(const std::string& name, const std::string& data,
                                   size_t partSize) {
    std::vector<std::string> parts;
    const size_t total = (data.size() + partSize - 1) / partSize;
    const auto crc = [](const std::string& s) {
        return uint32_t(::crc32(0, reinterpret_cast<const Bytef*>(s.data()), uInt(s.size())));
    };
    for (size_t n = 0; n < total; ++n) {
        const std::string piece = data.substr(n * partSize, partSize);
        std::string text = "=ybegin part=" + std::to_string(n + 1) +
                           " total=" + std::to_string(total) +
                           " line=128 size=" + std::to_string(data.size()) + " name=" + name +
                           "\n=ypart begin=" + std::to_string(n * partSize + 1) +
                           " end=" + std::to_string(n * partSize + piece.size()) + "\n";
        size_t column = 0;
        for (char c : piece) {
            const uint8_t e = uint8_t(uint8_t(c) + 42);
            if (e == 0 || e == '\n' || e == '\r' || e == '=' || e == '\t' || e == ' ') {
                text += '=';
                text += char(e + 64);
            } else {
                text += char(e);
            }
            if (++column == 128) {
                text += '\n';
                column = 0;
            }
        }
        text += "\n=yend size=" + std::to_string(piece.size()) + " part=" + std::to_string(n + 1) +
                " pcrc32=" + hex8(crc(piece)) +
                (n + 1 == total ? " crc32=" + hex8(crc(data)) : "") + "\n";
        parts.push_back(text);
    }
    return parts;
}

struct Ran {
    int status;
    std::string out, err;
};

Ran extract(const TempDir& dir, std::vector<std::string> args) {
    Ran ran;
    args.insert(args.begin(), {"extract", "--out", (dir / "out").string()});
    ran.status = runVivark(args, &ran.out, &ran.err);
    return ran;
}

TEST(ExtractCommand, ReportsDamageAndStillWritesTheGoodFiles) {
    const std::string data(5000, 'v');
    std::string good = data;
    for (size_t i = 0; i < good.size(); ++i) good[i] = char(i * 7 + i / 251);
    const std::vector<std::string> parts = yencParts("y.bin", good, 2000);

    // Part 2 with one data byte changed: its CRC no longer matches.
    std::string corrupted = parts[1];
    const size_t at = corrupted.find('\n', corrupted.find("=ypart")) + 10;
    corrupted[at] = corrupted[at] == 'a' ? 'b' : 'a';
    std::string changed = good.substr(2000, 2000);
    changed[9] = char(uint8_t(corrupted[at]) - 42);
    const uint32_t stored =
        uint32_t(::crc32(0, reinterpret_cast<const Bytef*>(good.data() + 2000), 2000));
    const uint32_t computed =
        uint32_t(::crc32(0, reinterpret_cast<const Bytef*>(changed.data()), 2000));

    const std::string xxShort = "begin 644 short.bin\nhAAAA\n+\nend\n";
    const std::string ok = "begin 644 ../../etc/x.gif\n#86)C\n`\nend\n";

    const struct {
        const char* name;
        std::vector<std::pair<std::string, std::string>> files;  // name, text
        int status;
        std::vector<std::string> errors;  // all must appear on the error stream
        std::vector<std::string> written;
    } cases[] = {
        {"a name with folders is written as its base name", {{"a.txt", ok}}, 0, {}, {"x.gif"}},
        {"a corrupted yEnc part reports both CRCs",
         {{"p1", parts[0]}, {"p2", corrupted}, {"p3", parts[2]}, {"x.txt", ok}},
         1,
         {"y.bin (yEnc): CRC32 mismatch of part 2: stored " + hex8(stored) + ", computed " +
          hex8(computed)},
         {"x.gif"}},
        {"a missing yEnc part is named",
         {{"p3", parts[2]}, {"p1", parts[0]}},
         1,
         {"y.bin (yEnc): missing part 2"},
         {}},
        {"all parts in any order",
         {{"p3", parts[2]}, {"p1", parts[0]}, {"p2", parts[1]}},
         0,
         {},
         {"y.bin"}},
        {"a short xxencoded line",
         {{"s.txt", xxShort}},
         1,
         {"short.bin (xxencode): short line (line 2): 4 characters of 60"},
         {}},
        {"a text without blocks",
         {{"t.txt", "Dear reader,\nnothing here.\n"}},
         1,
         {"no encoded files found"},
         {}},
        {"a missing first part of a split posting",
         {{"b.002", "\n_=_ Part 002 of 002 of file big.gif\n\nMxxxx\nend\n"}, {"x.txt", ok}},
         1,
         {"big.gif: missing part 1"},
         {"x.gif"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TempDir dir;
        std::vector<std::string> args;
        for (const auto& [name, text] : c.files) args.push_back(dir.write(name, text).string());
        const Ran ran = extract(dir, args);
        EXPECT_EQ(ran.status, c.status) << ran.err;
        for (const std::string& error : c.errors)
            EXPECT_NE(ran.err.find(error), std::string::npos) << ran.err;
        std::vector<std::string> written;
        if (fs::exists(dir / "out"))
            for (const auto& entry : fs::directory_iterator(dir / "out"))
                written.push_back(entry.path().filename().string());
        std::sort(written.begin(), written.end());
        EXPECT_EQ(written, c.written);
        if (std::find(written.begin(), written.end(), "y.bin") != written.end()) {
            EXPECT_EQ(readWholeFile(dir / "out" / "y.bin"), good);
        }
    }
}

TEST(ExtractCommand, KeepsExistingFilesUnlessAskedAndReportsInJson) {
    TempDir dir;
    const fs::path text = dir.write("a.txt", "begin 644 abc.txt\n#86)C\n`\nend\n");
    fs::create_directory(dir / "out");
    dir.write("out/abc.txt", "old");
    Ran ran = extract(dir, {text.string()});
    EXPECT_EQ(ran.status, 0);
    EXPECT_NE(ran.err.find("exists; not overwritten"), std::string::npos);
    EXPECT_EQ(readWholeFile(dir / "out" / "abc.txt"), "old");

    ran = extract(dir, {"--overwrite", "--json", text.string()});
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(readWholeFile(dir / "out" / "abc.txt"), "abc");
    EXPECT_NE(ran.out.find("\"status\":\"written\""), std::string::npos) << ran.out;
    EXPECT_EQ(runVivark({"extract"}), 2);
}

}  // namespace
}  // namespace vivark
