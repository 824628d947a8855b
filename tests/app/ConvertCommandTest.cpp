// The vivark tool's command line: help, version and wrong usage (through the
// library entry and as a real process), then "vivark convert" and "vivark
// info": formats chosen by name or extension, per-run options, usage errors,
// and failures that leave no output file.
#include <sys/wait.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

#include "app/cli/Cli.h"
#include "formats/FormatTable.h"
#include "formats/Loader.h"
#include "formats/SaveDispatch.h"
#include "formats/SaveOptions.h"
#include "formats/bmp/BmpReader.h"
#include "formats/gif/GifReader.h"
#include "formats/png/PngWriter.h"
#include "formats/pnm/PnmReader.h"
#include "formats/tiff/TiffWriter.h"
#include "ops/FixedPalettes.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

TEST(Cli, HelpAndVersionSucceedAndWrongUsageFailsWithStatus2) {
    const struct {
        std::vector<std::string> args;
        int status;
    } cases[] = {{{"--help"}, 0},
                 {{"--version"}, 0},
                 {{}, 2},
                 {{"--no-such-option"}, 2},
                 {{"no-such-command"}, 2}};
    TempDir dir;
    for (const auto& c : cases) {
        std::string command = std::string("'") + VIVARK_TOOL + "'";
        for (const std::string& arg : c.args) command += " '" + arg + "'";
        SCOPED_TRACE(command);
        std::string out, err;
        EXPECT_EQ(test::runVivark(c.args, &out, &err), c.status);
        // Success speaks on stdout only, failure on stderr only.
        EXPECT_EQ(out.empty(), c.status != 0) << out;
        EXPECT_EQ(err.empty(), c.status == 0) << err;
        if (c.args == std::vector<std::string>{"--version"}) {
            EXPECT_NE(out.find(VIVARK_VERSION), std::string::npos) << out;
        }

        command += " >'" + (dir / "out").string() + "' 2>'" + (dir / "err").string() + "'";
        const int result = std::system(command.c_str());
        ASSERT_TRUE(WIFEXITED(result)) << result;
        EXPECT_EQ(WEXITSTATUS(result), c.status);
        EXPECT_EQ(readWholeFile(dir / "out").empty(), c.status != 0);
        EXPECT_EQ(readWholeFile(dir / "err").empty(), c.status == 0);
    }
}

TEST(ConvertCommand, ConvertsByExtensionOrNameAndReportsFailures) {
    TempDir dir;
    const std::string input = std::string(VIVARK_TEST_DATA) + "/formats/bmp/good/netpbm-win8.bmp";
    const struct {
        std::vector<std::string> extra;
        const char* output;
        int status;
        const char* start;  // of the written file; null: no file
    } cases[] = {
        {{}, "a.ppm", 0, "P6"},
        {{"--set", "PPM\\RawData=0"}, "b.ppm", 0, "P3"},
        {{"--to", "PBMPlus Portable Anymap"}, "c.out", 0, "P6"},
        {{"--to", "os2bmp"}, "d.bmp", 0, "BM"},
        {{}, "e.pgm", 1, nullptr},  // colour palette to a graymap
        {{"--set", "PPM\\RawData=perhaps"}, "g.ppm", 2, nullptr},
        {{}, "h.unknown", 2, nullptr},
        {{"--colors", "16", "--palette", "system", "--dither", "none"}, "i.bmp", 0, "BM"},
        {{"--colors", "40"}, "j.ppm", 0, "P6"},
        {{"--colors", "256", "--palette", "676", "--dither", "ordered"}, "k.gif", 0, "GI"},
        {{"--colors", "1"}, "l.bmp", 2, nullptr},
        {{"--palette", "cube"}, "m.bmp", 2, nullptr},
        {{"--dither", "random"}, "n.bmp", 2, nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.output);
        std::vector<std::string> args{"convert", input, (dir / c.output).string()};
        args.insert(args.end(), c.extra.begin(), c.extra.end());
        std::string err;
        EXPECT_EQ(test::runVivark(args, nullptr, &err), c.status) << err;
        EXPECT_EQ(std::filesystem::exists(dir / c.output), c.start != nullptr);
        if (c.start) {
            EXPECT_EQ(readWholeFile(dir / c.output).substr(0, 2), c.start);
        }
    }
    const Image converted = readFromBytes(readWholeFile(dir / "a.ppm"), makePnmReader);
    EXPECT_TRUE(
        samePixels(converted, readFromBytes(readWholeFile(std::string(VIVARK_TEST_DATA) +
                                                          "/formats/bmp/good/palette16.ppm"),
                                            makePnmReader)));
    // The reductions took the colours asked for.
    auto coloursIn = [&](const char* name, ReaderFactory factory) {
        const Image image = readFromBytes(readWholeFile(dir / name), factory);
        std::set<Colour> colours;
        for (uint32_t i = 0; i < image.width() * image.height(); ++i)
            colours.insert(colourAt(image, i % image.width(), i / image.width()));
        return colours;
    };
    for (Colour c : coloursIn("i.bmp", makeBmpReader))
        EXPECT_NE(std::find(FixedPalette16.begin(), FixedPalette16.end(), c), FixedPalette16.end());
    // Sixteen colours asked for are stored four bits a pixel (the bitmap's
    // bit count at byte 28); forty need eight.
    EXPECT_EQ(readWholeFile(dir / "i.bmp").at(28), 4);
    EXPECT_LE(coloursIn("j.ppm", makePnmReader).size(), 40u);
    for (Colour c : coloursIn("k.gif", makeGifReader))
        EXPECT_EQ(redOf(c) % 51 + blueOf(c) % 51, 0u) << std::hex << c;

    std::string err;
    const std::string missing = (dir / "missing.bmp").string();
    EXPECT_EQ(test::runVivark({"convert", missing, (dir / "x.bmp").string()}, nullptr, &err), 1);
    EXPECT_EQ(err.rfind("vivark: " + missing + ": ", 0), 0u) << err;
}

TEST(InfoCommand, JsonListsEachFileOrItsError) {
    const std::string good = std::string(VIVARK_TEST_DATA) + "/formats/bmp/good/";
    std::string out;
    EXPECT_EQ(
        test::runVivark({"info", "--json", good + "netpbm-win4.bmp", good + "README.md"}, &out), 1);
    EXPECT_NE(out.find("\"format\":\"BMPW\",\"name\":\"Windows Bitmap\",\"width\":23,\"height\":11,"
                       "\"bitsPerPixel\":4"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("\"error\":\"Unrecognized file format\",\"messageId\":11000"),
              std::string::npos);
    EXPECT_EQ(test::runVivark({"info", good + "mono.pbm"}, &out), 0);
    EXPECT_NE(out.find("PBMPlus Portable Bitmap (PBM), 23x11, 1 bit per pixel"), std::string::npos)
        << out;
}

// "-" reads standard input and writes standard output (through the real
// process and a pipe); a page the file does not have is refused with the
// number it has.
TEST(ConvertCommand, StandardStreamsAndPagesBeyondTheFile) {
    TempDir dir;
    const std::string png = std::string(VIVARK_TEST_DATA) + "/../examples/scene.png";
    const std::string tool = std::string("'") + VIVARK_TOOL + "'";
    const std::string out = (dir / "piped.bmp").string();
    ASSERT_EQ(std::system((tool + " convert - - --to bmp < '" + png + "' | " + tool +
                           " convert - '" + out + "'")
                              .c_str()),
              0);
    Image piped;
    ASSERT_TRUE(loadFile(piped, out, ReadOptions{}).completed);
    Image direct;
    ASSERT_TRUE(loadFile(direct, png, ReadOptions{}).completed);
    EXPECT_TRUE(samePixels(piped, direct));

    std::string err;
    EXPECT_EQ(test::runVivark({"convert", png, "-"}, nullptr, &err), 2);
    EXPECT_NE(err.find("needs --to"), std::string::npos) << err;
    EXPECT_EQ(
        test::runVivark({"convert", png, (dir / "x.bmp").string(), "--page", "2"}, nullptr, &err),
        1);
    EXPECT_EQ(err, "vivark: " + png + ": page 2 does not exist: the file has 1 page\n");
    EXPECT_FALSE(std::filesystem::exists(dir / "x.bmp"));
}

// A signal during a save stops it: status 1, and no file, not even a
// temporary one, is left beside the output.
TEST(ConvertCommand, ASignalStopsTheWorkAndLeavesNoFile) {
    TempDir dir;
    StoredSaveOptions options;
    // A photo-like picture, slow to deflate at level 9: the signal comes first.
    Image big(1500, 1500, 24);
    for (uint32_t y = 0; y < 1500; ++y) {
        uint8_t* row = big.plane.mutableRow(y);
        for (uint32_t x = 0; x < 4500; ++x)
            row[x] = uint8_t(std::sin(x / 37.0) * 50 + std::cos(y / 23.0) * 50 + 128 + (x * y) % 7);
    }
    saveImage(big, dir / "big.bmp", *findWriterByName("bmp"), options);
    std::filesystem::create_directory(dir / "out");
    const std::string command = test::shellQuoted(VIVARK_TOOL) + " convert " +
                                test::shellQuoted((dir / "big.bmp").string()) + " " +
                                test::shellQuoted((dir / "out/big.png").string()) +
                                " 2>/dev/null & pid=$!; sleep 0.3; kill -TERM $pid; wait $pid";
    const int status = std::system(command.c_str());
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_TRUE(std::filesystem::is_empty(dir / "out"));
}

// The listing names every entry of the registry and every writer, in text and
// JSON alike.
TEST(FormatsCommand, ListsEveryRegistryEntryAndWriter) {
    std::string text, json;
    ASSERT_EQ(test::runVivark({"formats"}, &text), 0);
    ASSERT_EQ(test::runVivark({"formats", "--json"}, &json), 0);
    for (const FormatEntry* entry : formatTable()) {
        if (entry->writers.empty()) {
            EXPECT_NE(text.find(entry->name), std::string::npos) << entry->name;
            EXPECT_NE(json.find(std::string("\"name\":\"") + entry->name + "\""),
                      std::string::npos);
        }
        for (const WriterEntry& writer : entry->writers) {
            EXPECT_NE(text.find(writer.menuName), std::string::npos) << writer.menuName;
            std::string quoted(1, '"');
            quoted.append(*writer.shortNames.begin()).push_back('"');
            EXPECT_NE(json.find(quoted), std::string::npos);
        }
    }
    EXPECT_NE(json.find("{\"tag\":\"GIF\",\"name\":\"Graphics Interchange Format\","
                        "\"shortNames\":[\"gif\"],\"extensions\":[\"gif\"],\"read\":true,"
                        "\"write\":true}"),
              std::string::npos)
        << json;
}

// A damaged file still shows what identification found, in text and JSON,
// next to the error; headers-only by default, and --check decodes in full.
TEST(InfoCommand, DamagedFileGivesItsIdentificationAndTheError) {
    StoredSaveOptions options;
    std::string png = writeToBytes(patternImage(40, 30, 24), writePng, options);
    const size_t idat = png.find("IDAT");
    ASSERT_NE(idat, std::string::npos);
    const size_t length = uint8_t(png[idat - 4]) << 24 | uint8_t(png[idat - 3]) << 16 |
                          uint8_t(png[idat - 2]) << 8 | uint8_t(png[idat - 1]);
    png[idat + 4 + length] ^= 0x55;  // the stored CRC no longer matches the data
    TempDir dir;
    const std::string path = (dir / "bad.png").string();
    std::ofstream(path, std::ios::binary) << png;

    for (const char* check : {"", "--check"}) {
        SCOPED_TRACE(check);
        std::vector<std::string> args{"info", path};
        if (*check) args.push_back(check);
        std::string out, err;
        EXPECT_EQ(test::runVivark(args, &out, &err), 1);
        EXPECT_EQ(out, path + ": Portable Network Graphics (PNG), 40x30, 24 bits per pixel\n");
        EXPECT_EQ(err, "vivark: " + path + ": CRC32 Error\n");
        args.push_back("--json");
        EXPECT_EQ(test::runVivark(args, &out, &err), 1);
        EXPECT_NE(out.find("\"format\":\"PNG\",\"name\":\"Portable Network "
                           "Graphics\",\"width\":40,\"height\":30,\"bitsPerPixel\":24,"
                           "\"error\":\"CRC32 Error\""),
                  std::string::npos)
            << out;
    }
}

// --all-pages carries every page of a multi-page file into a TIFF or a
// structured fax file, and info counts them; without it only the page asked
// for is written.
TEST(ConvertCommand, AllPagesGoIntoOneFile) {
    StoredSaveOptions options;
    TempDir dir;
    std::vector<Image> pages = {patternImage(20, 10, 24), patternImage(7, 9, 8),
                                patternImage(13, 5, 1)};
    {
        SafeOutFile file(dir / "three.tif");
        writeTiffPages(pages, file.out(), options, nullptr);
        file.commit();
    }
    const std::string three = (dir / "three.tif").string();
    const struct {
        const char* extension;
        const char* name;
        const char* firstDepth;
        const char* secondDepth;
    } targets[] = {
        {"tif", "Tagged Image File Format (TIFF)", "24 bits per pixel", "8 bits per pixel"},
        {"sff", "Structured Fax File (SFF)", "1 bit per pixel", "1 bit per pixel"},
    };
    for (const auto& t : targets) {
        SCOPED_TRACE(t.extension);
        const std::string copy = (dir / (std::string("copy.") + t.extension)).string(),
                          one = (dir / (std::string("one.") + t.extension)).string();
        EXPECT_EQ(test::runVivark({"convert", three, copy, "--all-pages", "--quiet"}), 0);
        EXPECT_EQ(test::runVivark({"convert", three, one, "--page", "2", "--quiet"}), 0);
        std::string out;
        EXPECT_EQ(test::runVivark({"info", copy, one}, &out), 0);
        EXPECT_EQ(out, copy + ": " + t.name + ", 20x10, " + t.firstDepth + ", 3 pages\n" + one +
                           ": " + t.name + ", 7x9, " + t.secondDepth + "\n");
    }
}

}  // namespace
}  // namespace vivark
