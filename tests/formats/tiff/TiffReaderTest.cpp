// The TIFF reader against libtiff: files made by libtiff's tools, netpbm and
// ImageMagick from one small picture, each decoded by us and by tifftopnm
// (or libtiff's RGBA interface, or ImageMagick) and compared pixel for
// pixel; and hand-built directories for the refusals and quiet ends of the
// directory walk.
#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "core/Errors.h"
#include "formats/Loader.h"
#include "formats/tiff/TiffFormat.h"
#include "formats/tiff/TiffReader.h"
#include "support/Throws.h"
#include "tests/formats/tiff/TiffTestSupport.h"

namespace vivark {
namespace {

// The source pictures: colour with flat areas and ramps, grey, bilevel.
void writeSources(const test::TempDir& dir) {
    const uint32_t w = 45, h = 29;
    std::string ppm = "P6\n45 29\n255\n", pgm = "P5\n45 29\n255\n", pbm = "P4\n45 29\n";
    for (uint32_t y = 0; y < h; ++y) {
        uint8_t bits[6] = {};
        for (uint32_t x = 0; x < w; ++x) {
            const bool block = (x / 9 + y / 7) % 2 == 0;
            ppm += char(block ? 200 : x * 5);
            ppm += char(block ? 40 : y * 8);
            ppm += char(block ? 90 : (x * y) & 0xFF);
            pgm += char(block ? 17 : x * 5 + y);
            if ((x * x + y * 3) % 5 < 2) bits[x / 8] |= uint8_t(0x80 >> (x % 8));
        }
        pbm.append(reinterpret_cast<char*>(bits), 6);
    }
    dir.write("src.ppm", ppm);
    dir.write("src.pgm", pgm);
    dir.write("src.pbm", pbm);
}

using test::Reference;

struct ToolCase {
    const char* name;
    // Shell commands writing out.tif in the directory; src.ppm, src.pgm and
    // src.pbm are there, and so are base.tif (RGB), grey.tif and bw.tif.
    const char* command;
    Reference reference;
    int tolerance;
};

constexpr ToolCase kToolCases[] = {
    {"rgb none", "cp base.tif out.tif", Reference::Netpbm, 0},
    {"rgb lzw predictor", "pnmtotiff -truecolor -lzw -predictor=2 src.ppm > out.tif",
     Reference::Netpbm, 0},
    {"rgb packbits", "pnmtotiff -truecolor -packbits src.ppm > out.tif", Reference::Netpbm, 0},
    {"rgb deflate predictor", "tiffcp -c zip:2 base.tif out.tif", Reference::Netpbm, 0},
    {"rgb adobe deflate", "tiffcp -c zip base.tif out.tif", Reference::Netpbm, 0},
    {"rgb strips of 3 rows", "tiffcp -c lzw -r 3 base.tif out.tif", Reference::Netpbm, 0},
    {"rgb planar", "tiffcp -p separate -c lzw base.tif out.tif", Reference::Netpbm, 0},
    {"rgb tiles", "tiffcp -t -w 16 -l 16 base.tif out.tif", Reference::Netpbm, 0},
    {"rgb planar tiles packbits", "tiffcp -p separate -t -w 32 -l 16 -c packbits base.tif out.tif",
     Reference::Netpbm, 0},
    {"rgb big-endian", "tiffcp -B -c lzw:2 base.tif out.tif", Reference::Netpbm, 0},
    {"rgb little-endian", "tiffcp -L base.tif out.tif", Reference::Netpbm, 0},
    {"rgb fill order 2", "tiffcp -f lsb2msb -c lzw base.tif out.tif", Reference::Netpbm, 0},
    {"rgb 16 bits", "convert-im6.q16 src.ppm -depth 16 out.tif", Reference::Netpbm, 0},
    {"rgb 16 bits big-endian predictor",
     "convert-im6.q16 src.ppm -depth 16 -define tiff:endian=msb t.tif && tiffcp -c lzw:2 t.tif "
     "out.tif",
     Reference::Netpbm, 0},
    {"rgb float",
     "convert-im6.q16 src.ppm -define quantum:format=floating-point -depth 32 out.tif; test -s "
     "out.tif",
     Reference::ImageMagick, 0},
    {"rgb alpha", "convert-im6.q16 src.ppm -alpha set -channel A -fx 'i/w' out.tif",
     Reference::ImageMagick, 0},
    {"cmyk", "convert-im6.q16 src.ppm -colorspace CMYK out.tif", Reference::Netpbm, 1},
    // L*a*b* to sRGB differs by converter near the gamut's edges (ImageMagick
    // and we clip after D65, libtiff after D50); a sign or channel slip is
    // far beyond this.
    {"lab", "convert-im6.q16 src.ppm -colorspace Lab out.tif", Reference::ImageMagick, 20},
    {"jpeg ycbcr", "convert-im6.q16 src.ppm -compress JPEG -quality 90 out.tif", Reference::Rgba,
     2},
    {"jpeg rgb strips", "tiffcp -c jpeg:r -r 16 base.tif out.tif", Reference::Rgba, 2},
    {"jpeg tiles", "tiffcp -c jpeg -t -w 16 -l 16 base.tif out.tif", Reference::Rgba, 2},
    {"jpeg grey strips", "tiffcp -c jpeg -r 16 grey.tif out.tif", Reference::Netpbm, 1},
    {"ycbcr subsampled uncompressed",
     "convert-im6.q16 src.ppm -compress JPEG t.tif && tiffcp -c none t.tif out.tif",
     Reference::Rgba, 2},
    // libtiff takes a colour map's high bytes, we round: one level apart.
    {"palette 8 bits", "convert-im6.q16 src.ppm -type Palette out.tif", Reference::Netpbm, 1},
    {"palette 4 bits", "convert-im6.q16 src.ppm -colors 12 -type Palette -depth 4 out.tif",
     Reference::Netpbm, 0},
    {"grey none", "cp grey.tif out.tif", Reference::Netpbm, 0},
    {"grey lzw predictor", "tiffcp -c lzw:2 grey.tif out.tif", Reference::Netpbm, 0},
    {"grey 4 bits", "convert-im6.q16 src.pgm -depth 4 out.tif", Reference::Netpbm, 0},
    {"grey 2 bits", "convert-im6.q16 src.pgm -depth 2 out.tif", Reference::Netpbm, 0},
    {"grey 16 bits", "convert-im6.q16 src.pgm -depth 16 out.tif", Reference::Netpbm, 0},
    {"grey min-is-white", "convert-im6.q16 src.pgm -define tiff:photometric=min-is-white out.tif",
     Reference::Netpbm, 0},
    {"bilevel", "cp bw.tif out.tif", Reference::Netpbm, 0},
    {"bilevel min-is-black packbits", "pnmtotiff -minisblack -packbits src.pbm > out.tif",
     Reference::Netpbm, 0},
    {"group 3", "tiffcp -c g3 bw.tif out.tif", Reference::Netpbm, 0},
    {"group 3 two-dimensional, fill order 2", "tiffcp -c g3:2d:fill -f lsb2msb bw.tif out.tif",
     Reference::Netpbm, 0},
    {"group 4", "tiffcp -c g4 bw.tif out.tif", Reference::Netpbm, 0},
    {"group 4 min-is-black", "pnmtotiff -minisblack -g4 src.pbm > out.tif", Reference::Netpbm, 0},
    {"group 4 strips", "tiffcp -c g4 -r 5 bw.tif out.tif", Reference::Netpbm, 0},
    {"modified huffman", "pnmtotiff -2 src.pbm > out.tif", Reference::Netpbm, 0},
    {"bilevel tiles", "tiffcp -t -w 16 -l 16 bw.tif out.tif", Reference::Netpbm, 0},
    // Log luminance (and u', v') from floats: we map to display values as
    // libtiff's RGBA interface does, in double rather than float arithmetic,
    // so a value on a rounding edge may land one level apart.
    {"logluv",
     "convert-im6.q16 src.ppm -define quantum:format=floating-point -depth 32 t.tif; tiffcp -c "
     "sgilog t.tif out.tif",
     Reference::Rgba, 1},
    {"logl strips of 3 rows",
     "convert-im6.q16 src.pgm -define quantum:format=floating-point -depth 32 t.tif; tiffcp -c "
     "sgilog -r 3 t.tif out.tif",
     Reference::Rgba, 1},
    {"orientation 6", "tiffcp base.tif t.tif && tiffset -s 274 6 t.tif && mv t.tif out.tif",
     Reference::ImageMagick, 0},
    {"orientation 3, 4 bits",
     "convert-im6.q16 src.pgm -depth 4 t.tif && tiffset -s 274 3 t.tif && mv t.tif out.tif",
     Reference::Rgba, 0},
};

TEST(TiffReader, DecodesTheToolsFilesAsLibtiffDoes) {
    if (!test::haveTiffTools()) GTEST_SKIP() << "libtiff-tools, netpbm and ImageMagick are needed";
    test::TempDir dir;
    writeSources(dir);
    const std::string cd = "cd '" + dir.path().string() + "' && ";
    ASSERT_EQ(std::system((cd + "pnmtotiff -truecolor src.ppm > base.tif 2>/dev/null && "
                                "pnmtotiff src.pgm > grey.tif 2>/dev/null && "
                                "pnmtotiff src.pbm > bw.tif 2>/dev/null")
                              .c_str()),
              0);
    for (const ToolCase& c : kToolCases) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove(dir / "out.tif");
        ASSERT_EQ(std::system((cd + "(" + c.command + ") 2>/dev/null").c_str()), 0);
        const auto file = dir / "out.tif";
        Image ours;
        const LoadResult loaded = loadFile(ours, file.string(), ReadOptions{});
        ASSERT_TRUE(loaded.completed) << messageText(loaded.message);
        const test::Colours reference = test::referenceDecode(file, c.reference);
        ASSERT_GT(reference.width, 0u);
        EXPECT_LE(test::worstDifference(reference, ours), c.tolerance);
    }
}

// A little-endian page of 2 x 2 grey pixels whose entries a case changes.
struct Field {
    uint16_t tag, type;
    uint32_t count, value;
};

std::string buildTiff(std::vector<Field> fields, const std::string& strip = "\x10\x20\x30\x40") {
    auto put16 = [](std::string& s, uint32_t v) { s += char(v & 0xFF), s += char(v >> 8 & 0xFF); };
    auto put32 = [&](std::string& s, uint32_t v) { put16(s, v & 0xFFFF), put16(s, v >> 16); };
    std::vector<Field> entries = {
        {256, 3, 1, 2}, {257, 3, 1, 2}, {258, 3, 1, 8}, {259, 3, 1, 1},
        {262, 3, 1, 1}, {273, 4, 1, 8}, {278, 3, 1, 2}, {279, 4, 1, uint32_t(strip.size())}};
    for (const Field& f : fields) {
        auto same = std::find_if(entries.begin(), entries.end(),
                                 [&](const Field& e) { return e.tag == f.tag; });
        if (same != entries.end() && f.type == 0)
            entries.erase(same);
        else if (same != entries.end())
            *same = f;
        else
            entries.push_back(f);
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Field& a, const Field& b) { return a.tag < b.tag; });
    std::string s = "II*";
    s += '\0';
    put32(s, uint32_t(8 + strip.size()));
    s += strip;
    put16(s, uint32_t(entries.size()));
    for (const Field& e : entries) {
        put16(s, e.tag), put16(s, e.type), put32(s, e.count);
        if (e.type == 3 && e.count == 1)
            put16(s, e.value), put16(s, 0);
        else
            put32(s, e.value);
    }
    put32(s, 0);
    return s;
}

TEST(TiffReader, DirectoryChecksRaiseTheirErrorsAndDamagedEntriesEndTheWalkQuietly) {
    struct Case {
        const char* name;
        std::vector<Field> fields;
        std::optional<TIFFERROR> error;  // none: the page decodes
        std::string strip = "\x10\x20\x30\x40";
    };
    const Case cases[] = {
        {"plain page", {}, std::nullopt},
        {"compression 9", {{259, 3, 1, 9}}, TIFFERROR::UnsupportedCompression},
        {"photometric 4", {{262, 3, 1, 4}}, TIFFERROR::UnsupportedPhotometric},
        {"photometric 7", {{262, 3, 1, 7}}, TIFFERROR::UnsupportedPhotometric},
        {"fill order 3", {{266, 3, 1, 3}}, TIFFERROR::UnsupportedFillOrder},
        {"bits per sample 0", {{258, 3, 1, 0}}, TIFFERROR::ZeroBitsPerSample},
        {"samples per pixel 0", {{277, 3, 1, 0}}, TIFFERROR::BadSamplesPerPixel},
        {"samples per pixel 300", {{277, 3, 1, 300}}, TIFFERROR::BadSamplesPerPixel},
        {"planar configuration 3", {{284, 3, 1, 3}}, TIFFERROR::UnsupportedPlanarConfig},
        {"predictor 3", {{317, 3, 1, 3}}, TIFFERROR::UnsupportedPredictor},
        {"JPEGProc 14", {{512, 3, 1, 14}}, TIFFERROR::UnsupportedJpeg},
        {"JPEGQTables for two samples of one", {{519, 4, 2, 8}}, TIFFERROR::DataIntegrity},
        {"old-style JPEG of 4 bits",
         {{258, 3, 1, 4}, {259, 3, 1, 6}},
         TIFFERROR::ZeroBitsPerSample},
        {"no photometric, 4 samples",
         {{262, 0, 0, 0}, {277, 3, 1, 4}},
         TIFFERROR::MissingPhotometric},
        {"palette of 16 bits", {{258, 3, 1, 16}, {262, 3, 1, 3}}, TIFFERROR::ColourMapTooLarge},
        {"12 bits per sample", {{258, 3, 1, 12}}, TIFFERROR::UnsupportedDataType},
        {"CMYK of another ink set",
         {{262, 3, 1, 5}, {332, 3, 1, 2}},
         TIFFERROR::UnsupportedPhotometric},
        {"field type 13 after the needed tags", {{700, 13, 1, 0}}, std::nullopt},
        {"entry data beyond the file", {{700, 4, 100, 0x7FFF0000}}, std::nullopt},
        {"field type 13 before the width", {{200, 13, 1, 0}}, TIFFERROR::DataIntegrity},
        {"packbits run overshooting its row",
         {{259, 3, 1, 32773}},
         std::nullopt,
         std::string("\xFD\x07\xFD\x08", 4)},
        {"orientation 6", {{274, 3, 1, 6}}, std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string bytes = buildTiff(c.fields, c.strip);
        const auto error =
            test::thrownBy<TIFFERROR>([&] { test::readFromBytes(bytes, makeTiffReader); });
        EXPECT_EQ(error, c.error);
    }
    // Big-endian files read the same; "II" with 00 2A is not TIFF.
    std::string bytes = buildTiff({});
    EXPECT_EQ(test::readFromBytes(bytes, makeTiffReader).plane.row(1)[1], 0x40);
    bytes[2] = 0, bytes[3] = 0x2A;
    EXPECT_EQ(test::thrownBy<TIFFERROR>([&] { test::readFromBytes(bytes, makeTiffReader); }),
              std::optional(TIFFERROR::InvalidFile));
    Image second;
    second.pageNumber = 2;
    ReadOptions page2;
    page2.page = 2;
    EXPECT_EQ(test::thrownBy<TIFFERROR>(
                  [&] { test::readFromBytes(buildTiff({}), makeTiffReader, page2); }),
              std::optional(TIFFERROR::DataIntegrity));
}

// Packed 24-bit LogLuv, which no tool writes: a 128 x 128 page whose pixels
// name every 14-bit chroma index once (the cells of the gamut and the indices
// past them), at luminances over the display range and some black, against
// libtiff's RGBA interface. Our cells come from the observer data, not from
// libtiff: the same cells, with centres up to a quarter of a cell apart at
// the top of the gamut, where saturated greens put small channel values on
// the steep foot of the display curve. So nearly every value is within one
// level and none is far off.
TEST(TiffReader, PackedLogLuvDecodesEveryChromaIndexAsLibtiffDoes) {
    if (!test::haveTiffTools()) GTEST_SKIP() << "libtiff-tools, netpbm and ImageMagick are needed";
    std::string strip;
    for (uint32_t index = 0; index < 16384; ++index) {
        const uint32_t logL = index % 61 == 0 ? 0 : 520 + index * 37 % 260;
        const uint32_t value = logL << 14 | index;
        strip += char(value >> 16), strip += char(value >> 8 & 0xFF), strip += char(value & 0xFF);
    }
    test::TempDir dir;
    dir.write("packed.tif", buildTiff({{256, 3, 1, 128},
                                       {257, 3, 1, 128},
                                       {258, 3, 1, 16},
                                       {259, 3, 1, 34677},
                                       {262, 3, 1, 32845},
                                       {277, 3, 1, 3},
                                       {278, 3, 1, 128}},
                                      strip));
    Image ours;
    const LoadResult loaded = loadFile(ours, (dir / "packed.tif").string(), ReadOptions{});
    ASSERT_TRUE(loaded.completed) << messageText(loaded.message);
    EXPECT_EQ(loaded.info.bitsPerPixel, 24u);
    const test::Colours reference =
        test::referenceDecode(dir / "packed.tif", test::Reference::Rgba);
    ASSERT_GT(reference.width, 0u);
    EXPECT_LE(test::worstDifference(reference, ours), 16);
    size_t beyondOne = 0;
    for (uint32_t y = 0; y < 128; ++y)
        for (uint32_t x = 0; x < 128; ++x)
            for (int shift : {0, 8, 16}) {
                const int a = int(reference.pixels[size_t{y} * 128 + x] >> shift & 0xFF);
                beyondOne += std::abs(a - int(test::colourAt(ours, x, y) >> shift & 0xFF)) > 1;
            }
    EXPECT_LT(beyondOne, 16384u * 3 / 1000);
}

// The two row coders no tool writes, on hand-coded strips of 4 x 2 pixels.
TEST(TiffReader, NextAndThunderScanRowsDecode) {
    struct Case {
        const char* name;
        uint32_t compression, bits;
        std::string strip;
        std::string rows;  // the Image's packed rows, top first
    };
    const Case cases[] = {
        // A literal row, then a run of grey 3 over the whole row.
        {"NeXT", 32766, 2, std::string("\x00\x1B\xC4", 3), std::string("\x01\x23\x33\x33", 4)},
        // A raw 5 and three 2-bit deltas (+1, +1, -1); a raw 9 and a run of 3.
        {"ThunderScan", 32809, 4, std::string("\xC5\x57\xC9\x03", 4),
         std::string("\x56\x76\x99\x99", 4)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Image image = test::readFromBytes(
            buildTiff({{256, 3, 1, 4}, {258, 3, 1, c.bits}, {259, 3, 1, c.compression}}, c.strip),
            makeTiffReader);
        ASSERT_EQ(image.bitsPerPixel(), 4u);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(image.plane.row(0)), 2) +
                      std::string(reinterpret_cast<const char*>(image.plane.row(1)), 2),
                  c.rows);
    }
}

// Old-style JPEG pages made from one baseline JPEG of libjpeg's cjpeg: one
// that points at the whole stream (JPEGInterchangeFormat), and one that has
// only the scan data as its strip and the tables as JPEGQTables, JPEGDCTables
// and JPEGACTables. Both decode exactly as djpeg decodes the stream.
TEST(TiffReader, OldStyleJpegPagesDecodeAsTheirStreamDoes) {
    if (std::system("command -v cjpeg >/dev/null && command -v djpeg >/dev/null") != 0)
        GTEST_SKIP() << "libjpeg-turbo-progs is needed";
    test::TempDir dir;
    writeSources(dir);
    const std::string jpeg =
        test::commandOutput("cjpeg -baseline '" + (dir / "src.pgm").string() + "'");
    test::Colours reference;
    dir.write("src.jpg", jpeg);
    ASSERT_TRUE(test::parsePpm(
        test::commandOutput("djpeg -pnm '" + (dir / "src.jpg").string() + "' | ppmtoppm"),
        reference));

    // The stream's tables and scan data.
    std::string quant, dc, ac, scan;
    for (size_t at = 2; at + 4 <= jpeg.size();) {
        const uint8_t marker = uint8_t(jpeg[at + 1]);
        const size_t length = size_t(uint8_t(jpeg[at + 2])) << 8 | uint8_t(jpeg[at + 3]);
        const std::string body = jpeg.substr(at + 4, length - 2);
        if (marker == 0xDB) quant = body.substr(1, 64);
        if (marker == 0xC4) {
            for (size_t t = 0; t < body.size();) {
                size_t n = 0;
                for (size_t i = 1; i <= 16; ++i) n += uint8_t(body[t + i]);
                (body[t] & 0x10 ? ac : dc) = body.substr(t + 1, 16 + n);
                t += 17 + n;
            }
        }
        if (marker == 0xDA) {
            scan = jpeg.substr(at + 2 + length, jpeg.size() - (at + 2 + length) - 2);
            break;
        }
        at += 2 + length;
    }
    ASSERT_EQ(quant.size(), 64u);
    ASSERT_FALSE(dc.empty());
    ASSERT_FALSE(ac.empty());

    const std::vector<Field> page = {
        {256, 3, 1, 45}, {257, 3, 1, 29}, {259, 3, 1, 6}, {278, 3, 1, 29}, {512, 3, 1, 1}};
    std::vector<Field> whole = page;
    whole.push_back({279, 4, 1, uint32_t(jpeg.size())});
    whole.push_back({513, 4, 1, 8});
    whole.push_back({514, 4, 1, uint32_t(jpeg.size())});
    std::vector<Field> tables = page;
    const uint32_t base = 8 + uint32_t(scan.size());
    tables.push_back({279, 4, 1, uint32_t(scan.size())});
    tables.push_back({519, 4, 1, base});
    tables.push_back({520, 4, 1, base + 64});
    tables.push_back({521, 4, 1, base + 64 + uint32_t(dc.size())});
    for (const std::string& bytes :
         {buildTiff(whole, jpeg), buildTiff(tables, scan + quant + dc + ac)}) {
        const Image image = test::readFromBytes(bytes, makeTiffReader);
        EXPECT_EQ(test::worstDifference(reference, image), 0);
    }
}

}  // namespace
}  // namespace vivark
