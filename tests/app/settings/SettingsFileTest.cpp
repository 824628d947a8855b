// The text form of the store: every type and size survives a round trip,
// hand-written files read as expected, damage is confined to its lines.
// Files without the signature are left to the file store's tests.
#include <gtest/gtest.h>

#include "app/settings/SettingsFile.h"
#include "tests/app/settings/SettingsFixture.h"

namespace vivark::settings {
namespace {

using test::dword;
using test::raw;
using test::text;

TEST(SettingsFile, EveryTypeAndSizeSurvivesARoundTrip) {
    SettingsTree tree;
    tree.set("", "EditMode", dword(1));
    tree.set("Display", "Gamma", raw(kTypeBinary, {0x9a, 0x99, 0x99, 0x99, 0x99, 0x99, 1, 0x40}));
    tree.set("SaveOptions\\TIFF\\Compression", "Color", dword(0xFFFFFFFF));
    tree.set("FileConverter", "SelectedScript", text("a \"q\" \\ b\n\r\t\x01\x7f \xc3\xa9"));
    tree.set("Odd", "Embedded zero", raw(kTypeString, {'a', 0, 'b', 0}));
    tree.set("Odd", "No terminator", raw(kTypeString, {'a', 'b'}));
    tree.set("Odd", "Short dword", raw(kTypeDword, {1, 2}));
    tree.set("Odd", "Multi-string", raw(7, {'a', 0, 0}));
    tree.set("Print\\Printers\\HP [Lab] 2", "Name \"quoted\" = odd", dword(3));

    std::string formatted = formatSettingsFile(tree);
    ParsedSettingsFile parsed = parseSettingsFile(formatted);
    EXPECT_FALSE(parsed.damaged()) << formatted;
    EXPECT_EQ(parsed.tree, tree) << formatted;
    EXPECT_EQ(formatSettingsFile(parsed.tree), formatted);
}

TEST(SettingsFile, ReadsHandWrittenText) {
    const std::string_view file =
        "\xEF\xBB\xBFVivark Settings\r\n"
        "; a comment\r\n"
        "\"EditMode\" = dword:1\r\n"
        "\r\n"
        "  [SaveOptions\\GIF]  \r\n"
        "\"Interlace\"=dword:00000001\r\n"
        "# another comment\n"
        "[saveoptions\\gif]\n"
        "\"TRANSPARENT INDEX\"=dword:0000000A\n"
        "[Display]\n"
        "\"Gamma\"=hex:9A, 99,99 ,99,99,99,01,40\n"
        "[]\n"
        "\"Root\"=\"x\\x41\\ty\"\n";
    ParsedSettingsFile parsed = parseSettingsFile(file);
    EXPECT_FALSE(parsed.damaged());
    const SettingsTree& tree = parsed.tree;
    EXPECT_EQ(tree.find("", "EditMode"), dword(1));
    EXPECT_EQ(tree.find("SaveOptions\\GIF", "Interlace"), dword(1));
    EXPECT_EQ(tree.find("SaveOptions\\GIF", "Transparent Index"), dword(10));
    EXPECT_EQ(tree.find("Display", "Gamma"),
              raw(kTypeBinary, {0x9a, 0x99, 0x99, 0x99, 0x99, 0x99, 1, 0x40}));
    EXPECT_EQ(tree.find("", "Root"), text("xA\ty"));
    EXPECT_EQ(tree.subkeys().size(), 3u);  // the two spellings share one subkey
}

TEST(SettingsFile, DamageIsConfinedToItsLines) {
    const struct {
        const char* lines;
        int badLines;
    } cases[] = {
        {"\"X\"=dword:123456789", 1},
        {"\"X\"=dword:12g4", 1},
        {"\"X\"=hex:1,2", 1},
        {"\"X\"=hex(zz):00", 1},
        {"\"X\"=\"unterminated", 1},
        {"\"X\"=\"bad \\q escape\"", 1},
        {"\"X\"=\"a\" trailing", 1},
        {"X=dword:1", 1},
        {"[Unclosed", 1},
        {"\x01\xff\xfe garbage", 1},
        // Values under a section that cannot be read are lost with it.
        {"[Tab\tInside]\n\"Y\"=dword:1\n[A]", 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.lines);
        std::string file = "Vivark Settings\n[A]\n\"Before\"=dword:1\n";
        file += c.lines;
        file += "\n\"After\"=dword:2\n";
        ParsedSettingsFile parsed = parseSettingsFile(file);
        EXPECT_FALSE(parsed.foreign);
        EXPECT_EQ(parsed.badLineCount, c.badLines);
        EXPECT_EQ(parsed.firstBadLine, 4);
        EXPECT_EQ(parsed.tree.find("A", "Before"), dword(1));
        EXPECT_EQ(parsed.tree.find("A", "After"), dword(2));
        EXPECT_EQ(parsed.tree.subkeys().size(), 1u);
    }
}

}  // namespace
}  // namespace vivark::settings
