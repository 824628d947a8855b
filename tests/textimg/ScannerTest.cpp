// Recognition of blocks: telling uuencode from xxencode by the lines after
// "begin" (custom tables included), the loader's line limits, and what a
// decoded file is probed for (MacBinary, an embedded image); and the names
// decoded files may be written under.
#include <gtest/gtest.h>

#include <algorithm>

#include "formats/Loader.h"
#include "formats/SampleBytes.h"
#include "textimg/LoaderFallback.h"
#include "textimg/SafeName.h"
#include "textimg/Scanner.h"

namespace vivark {
namespace {

using textimg::Encoding;

std::optional<textimg::BlockStart> firstBlock(const std::string& text) {
    auto file = InFile::overMemory({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    textimg::LineSource lines({{file.get(), "t"}}, false);
    textimg::Scanner scanner;
    return scanner.next(lines, nullptr, true);
}

TEST(Scanner, TellsUuencodeFromXxencodeByTheLinesAfterBegin) {
    const std::string uuLine = "M" + std::string(60, '!');  // 45 bytes, 60 characters
    const std::string xxLine = "h" + std::string(60, 'A');  // 'h' is 45 in xxencode
    const std::string custom = "table\n" + std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdef\n") +
                               "ghijklmnopqrstuvwxyz0123456789+/\n";  // 't' is 45
    const struct {
        const char* name;
        std::string text;
        std::optional<Encoding> expected;
    } cases[] = {
        {"uuencode", "begin 644 a\n" + uuLine + "\n`\nend\n", Encoding::Uuencode},
        {"xxencode", "begin 644 a\n" + xxLine + "\n+\nend\n", Encoding::Xxencode},
        {"xxencode first: a line both accept", "begin 644 a\n+\nend\n", Encoding::Xxencode},
        {"a match on the fourth line", "begin 644 a\n\n\n\n" + uuLine + "\n", Encoding::Uuencode},
        {"none of four lines: a usual begin line is uuencode", "begin 644 a\n\n\n\n\n" + uuLine,
         Encoding::Uuencode},
        {"none of four lines and no mode: text", "beginning of a letter\nDear Sir\n", std::nullopt},
        {"custom table", custom + "begin 644 a\nt" + std::string(60, 'A') + "\n",
         Encoding::Xxencode},
        {"keywords of BinHex and yEnc ignore case",
         "(THIS FILE MUST BE CONVERTED WITH BINHEX 4.0)\n", Encoding::BinHex},
        {"yEnc", "=YBEGIN line=128 size=3 name=a\n", Encoding::Yenc},
        {"begin is not matched across case", "BEGIN 644 a\n" + uuLine + "\n", std::nullopt},
        {"a zero byte ends the search", std::string("text\0more\n", 10) + "begin 644 a\n" + uuLine,
         std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto block = firstBlock(c.text);
        ASSERT_EQ(block.has_value(), c.expected.has_value());
        if (block) {
            EXPECT_EQ(block->encoding, *c.expected);
        }
    }
}

TEST(Scanner, ReadsTheFileNameOfEachKindOfBlock) {
    const struct {
        std::string text;
        std::string name;
    } cases[] = {
        {"begin 644 my picture.gif\n`\nend\n", "my picture.gif"},
        {"=ybegin line=128 size=10 name=Big Name.JPG\n", "Big Name.JPG"},
        {"Content-Type: multipart/mixed;\n\tboundary=\"--b--\"\n\n----b--\n"
         "Content-Type: image/gif; name=\"n.gif\"\nContent-Transfer-Encoding: base64\n"
         "Content-Disposition: attachment; filename=\"d.gif\"\n\nR0lG\n",
         "d.gif"},
        {"Content-Type: image/gif; name=n.gif\nContent-Transfer-Encoding: base64\n\nR0lG\n",
         "n.gif"},
    };
    for (const auto& c : cases) {
        const auto block = firstBlock(c.text);
        ASSERT_TRUE(block.has_value()) << c.text;
        EXPECT_EQ(block->name, c.name);
    }
}

// A GIF uuencoded by hand: 45 bytes a line.
std::string uuencoded(const std::vector<uint8_t>& bytes) {
    std::string text = "begin 644 pic\n";
    for (size_t at = 0; at < bytes.size(); at += 45) {
        const size_t n = std::min<size_t>(45, bytes.size() - at);
        text += char(32 + n);
        for (size_t i = 0; i < n; i += 3) {
            uint32_t g = 0;
            for (size_t k = 0; k < 3; ++k)
                g = g << 8 | (at + i + k < bytes.size() && i + k < n ? bytes[at + i + k] : 0);
            for (int k = 3; k >= 0; --k)
                text += char(((g >> (6 * k)) & 63) == 0 ? '`' : 32 + ((g >> (6 * k)) & 63));
        }
        text += "\n";
    }
    return text + "`\nend\n";
}

TEST(LoaderFallback, FindsImagesWithinTheLineLimitAndProbesThemLikeFiles) {
    textimg::installLoaderFallback();
    const std::vector<uint8_t> gif = test::gifSample();
    std::vector<uint8_t> macBinary(128 + gif.size(), 0);
    macBinary[1] = 3;
    std::copy(gif.begin(), gif.end(), macBinary.begin() + 128);
    std::vector<uint8_t> embedded(300 + gif.size(), 'x');
    std::copy(gif.begin(), gif.end(), embedded.begin() + 300);
    const auto lines = [](int n) {
        std::string text;
        for (int i = 0; i < n; ++i) text += "a line of text\n";
        return text;
    };
    const struct {
        const char* name;
        std::string text;
        int32_t loadMode;
        bool found;
    } cases[] = {
        {"at once", uuencoded(gif), 0, true},
        {"after 990 lines", lines(990) + uuencoded(gif), 0, true},
        {"after 1000 lines", lines(1000) + uuencoded(gif), 0, false},
        {"after 99 lines, quick", lines(99) + uuencoded(gif), 1, true},
        {"after 100 lines, quick", lines(100) + uuencoded(gif), 1, false},
        {"behind a MacBinary header", uuencoded(macBinary), 0, true},
        {"embedded", uuencoded(embedded), 0, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto file =
            InFile::overMemory({reinterpret_cast<const uint8_t*>(c.text.data()), c.text.size()});
        FormatInfo info;
        const FormatEntry* entry = findFormat(*file, c.loadMode, &info);
        EXPECT_EQ(entry != nullptr, c.found);
        if (c.found) {
            EXPECT_EQ(info.width, 7u);
        }
    }
    setTextImageDecoder(nullptr);
}

TEST(SafeName, KeepsDecodedFilesInsideTheOutputFolder) {
    const struct {
        std::string name;
        std::string safe;
    } cases[] = {
        {"../../etc/x.gif", "x.gif"},
        {"/etc/passwd", "passwd"},
        {"C:\\dos\\a.pcx", "a.pcx"},
        {"D:b.gif", "b.gif"},
        {"..", "fallback"},
        {"", "fallback"},
        {"dir/", "fallback"},
        {".profile", "profile"},
        {"name. ", "name"},
        {"CON", "_CON"},
        {"nul.gif", "_nul.gif"},
        {"Com1.txt", "_Com1.txt"},
        {"console.gif", "console.gif"},
        {"a\x01\x1b"
         "b?.gif",
         "ab_.gif"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(textimg::safeFileName(c.name, "fallback"), c.safe) << c.name;
}

}  // namespace
}  // namespace vivark
