// Every encoding, single-part and split into parts given in reverse order,
// with LF and CR LF line ends, decodes to the very bytes that were encoded;
// the files were written by uuenview, uuencode and base64 (BinHex by the
// tests' own encoder, which uudeview decodes alike). Each single-part text
// also converts to an image through the command line.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <sstream>

#include "formats/Loader.h"
#include "formats/png/PngReader.h"
#include "textimg/LoaderFallback.h"
#include "textimg/TextTools.h"

namespace vivark {
namespace {

using namespace test;
namespace fs = std::filesystem;
using textimg::Encoding;

// The PNG with 40000 more bytes after its end (readers stop at IEND), so
// that every encoding splits into several parts of 200 lines.
const std::string& source() {
    static const std::string bytes = [] {
        std::string s = sourcePng();
        uint32_t x = 12345;
        for (int i = 0; i < 40000; ++i) {
            x = x * 1103515245u + 12345u;
            s += char(x >> 24);
        }
        return s;
    }();
    return bytes;
}

std::vector<fs::path> filesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// Splits `body` lines into `count` files, each opened by `header(n)`.
std::vector<fs::path> splitInto(const TempDir& dir, const std::string& stem,
                                const std::vector<std::string>& body, int count,
                                const std::function<std::string(int)>& header) {
    std::vector<fs::path> files;
    const size_t per = (body.size() + count - 1) / count;
    for (int n = 1; n <= count; ++n) {
        std::string text = header(n);
        for (size_t i = (n - 1) * per; i < std::min(body.size(), n * per); ++i)
            text += body[i] + "\n";
        files.push_back(dir.write(stem + "." + std::to_string(n), text));
    }
    return files;
}

std::string mimeHeader() {
    return "Content-Type: image/png; name=\"ignored.png\"\n"
           "Content-Transfer-Encoding: base64\n"
           "Content-Disposition: attachment;\n filename=\"pic.png\"\n\n";
}

struct Row {
    const char* name;
    Encoding encoding;
    bool split;
    // Writes the encoded text of `src` into `dir`; returns its files.
    std::function<std::vector<fs::path>(const TempDir& dir, const fs::path& src)> make;
};

const Row kRows[] = {
    {"uuencode", Encoding::Uuencode, false,
     [](const TempDir& d, const fs::path& src) {
         EXPECT_EQ(shell("uuencode " + quoted(src) + " pic.png > " + quoted(d / "u.txt")), 0);
         return std::vector<fs::path>{d / "u.txt"};
     }},
    {"uuenview -u", Encoding::Uuencode, true,
     [](const TempDir& d, const fs::path& src) {
         fs::create_directory(d / "parts");
         EXPECT_EQ(shell("uuenview -u -200 -od " + quoted(d / "parts") + " " + quoted(src)), 0);
         return filesIn(d / "parts");
     }},
    {"uuenview -x", Encoding::Xxencode, false,
     [](const TempDir& d, const fs::path& src) {
         EXPECT_EQ(shell("uuenview -x " + quoted(src) + " > " + quoted(d / "x.txt")), 0);
         return std::vector<fs::path>{d / "x.txt"};
     }},
    {"uuenview -x split", Encoding::Xxencode, true,
     [](const TempDir& d, const fs::path& src) {
         fs::create_directory(d / "parts");
         EXPECT_EQ(shell("uuenview -x -200 -od " + quoted(d / "parts") + " " + quoted(src)), 0);
         return filesIn(d / "parts");
     }},
    {"uuenview -b -a (multipart/mixed)", Encoding::Base64, false,
     [](const TempDir& d, const fs::path& src) {
         EXPECT_EQ(
             shell("echo Hello | uuenview -b -a " + quoted(src) + " > " + quoted(d / "m.txt")), 0);
         return std::vector<fs::path>{d / "m.txt"};
     }},
    {"base64 in a message", Encoding::Base64, false,
     [](const TempDir& d, const fs::path& src) {
         const fs::path body = d / "body";
         EXPECT_EQ(shell("base64 -w 64 " + quoted(src) + " > " + quoted(body)), 0);
         d.write("b.txt", "Subject: picture\n" + mimeHeader() + readWholeFile(body) + "\nBye\n");
         return std::vector<fs::path>{d / "b.txt"};
     }},
    {"base64 message/partial", Encoding::Base64, true,
     [](const TempDir& d, const fs::path& src) {
         const fs::path body = d / "body";
         EXPECT_EQ(shell("base64 " + quoted(src) + " > " + quoted(body)), 0);
         return splitInto(d, "partial", linesOf(readWholeFile(body)), 3, [](int n) {
             std::string outer =
                 "Content-Type: message/partial; id=\"p1@host\"; number=" + std::to_string(n) +
                 "; total=3\n\n";
             return n == 1 ? outer + mimeHeader() : outer;
         });
     }},
    {"uuenview -y", Encoding::Yenc, false,
     [](const TempDir& d, const fs::path& src) {
         EXPECT_EQ(shell("uuenview -y " + quoted(src) + " > " + quoted(d / "y.txt")), 0);
         return std::vector<fs::path>{d / "y.txt"};
     }},
    {"uuenview -y split", Encoding::Yenc, true,
     [](const TempDir& d, const fs::path& src) {
         fs::create_directory(d / "parts");
         EXPECT_EQ(shell("uuenview -y -200 -od " + quoted(d / "parts") + " " + quoted(src)), 0);
         return filesIn(d / "parts");
     }},
    {"BinHex", Encoding::BinHex, false,
     [](const TempDir& d, const fs::path&) {
         return std::vector<fs::path>{
             d.write("h.hqx", "From a Mac\n\n" + binHex("pic.png", source()))};
     }},
    {"BinHex split", Encoding::BinHex, true,
     [](const TempDir& d, const fs::path&) {
         return splitInto(d, "hqx", linesOf(binHex("pic.png", source())), 2, [](int n) {
             return "Subject: pic.png (" + std::to_string(n) + "/2)\n\n";
         });
     }},
};

TEST(TextImages, EveryEncodingDecodesToTheBytesEncoded) {
    for (const Row& row : kRows) {
        for (bool crlf : {false, true}) {
            SCOPED_TRACE(std::string(row.name) + (crlf ? ", CR LF" : ", LF"));
            TempDir dir;
            const fs::path src = dir.write("pic.png", source());
            std::vector<fs::path> files = row.make(dir, src);
            ASSERT_FALSE(files.empty());
            EXPECT_EQ(files.size() > 1, row.split);
            if (crlf)
                for (const fs::path& file : files)
                    dir.write(file.filename().string(), withCrLf(readWholeFile(file)));
            // Parts given last first still join in part order.
            std::reverse(files.begin(), files.end());
            const auto decoded = extractPaths(files);
            ASSERT_EQ(decoded.size(), 1u);
            EXPECT_FALSE(decoded[0].damaged());
            EXPECT_EQ(decoded[0].encoding, row.encoding);
            EXPECT_EQ(decoded[0].name, "pic.png");
            EXPECT_TRUE(std::string(decoded[0].bytes.begin(), decoded[0].bytes.end()) == source());

            if (row.split || crlf) continue;
            std::string err;
            EXPECT_EQ(runVivark({"convert", files[0].string(), (dir / "out.png").string()}, nullptr,
                                &err),
                      0)
                << err;
            Image converted = readFromBytes(readWholeFile(dir / "out.png"), makePngReader);
            EXPECT_TRUE(samePixels(converted, patternImage(160, 120, 24)));
        }
    }
}

TEST(TextImages, EveryBlockOfOneTextIsDecoded) {
    TempDir dir;
    const fs::path src = dir.write("pic.png", source());
    std::string all;
    size_t blocks = 0;
    for (const Row& row : kRows) {
        if (row.split) continue;
        for (const fs::path& file : row.make(dir, src)) all += readWholeFile(file) + "\n";
        ++blocks;
    }
    const auto decoded = extractPaths({dir.write("all.txt", all)});
    ASSERT_EQ(decoded.size(), blocks);
    for (const auto& file : decoded) {
        EXPECT_FALSE(file.damaged()) << textimg::encodingName(file.encoding);
        EXPECT_TRUE(std::string(file.bytes.begin(), file.bytes.end()) == source());
    }
}

TEST(TextImages, UudeviewReadsTheTestsBinHexAlike) {
    TempDir dir;
    dir.write("h.hqx", binHex("pic.png", source()));
    fs::create_directory(dir / "out");
    ASSERT_EQ(shell("cd " + quoted(dir / "out") + " && uudeview -i -o ../h.hqx"), 0);
    EXPECT_TRUE(readWholeFile(dir / "out" / "pic.png") == source());
}

}  // namespace
}  // namespace vivark
