// X window dumps in the layouts no tool at hand writes (both byte and bit
// orders, every bitmap unit, 4-, 16-, 24- and 32-bit pixels, grey and
// direct-colour visuals, X10 dumps), built here and decoded by us as
// ImageMagick decodes them (it follows X's rules for byte and bit orders,
// where netpbm's xwdtopnm groups pixel bytes by bitmap unit; xwdtopnm is the
// reference for the grey visual and the X10 dump ImageMagick does not
// read); and the refusals of X window dumps and Sun rasters.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "core/ByteOrder.h"
#include "formats/ErrorMessages.h"
#include "formats/pnm/PnmReader.h"
#include "formats/ras/RasReader.h"
#include "formats/xwd/XwdReader.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

struct Layout {
    uint32_t bitsPerPixel, depth, visualClass, byteOrder, bitOrder, unit;
    uint32_t masks[3];
    uint32_t xOffset;
};

constexpr uint32_t kWidth = 21, kHeight = 3;

std::string be32(uint32_t v) {
    uint8_t b[4];
    storeBE32(b, v);
    return std::string(reinterpret_cast<char*>(b), 4);
}

// An X11 dump of a fixed picture in `l`.
std::string makeDump(const Layout& l) {
    const uint64_t bits = uint64_t{l.xOffset + kWidth} * l.bitsPerPixel;
    const uint32_t lineBytes = uint32_t((bits + 31) / 32 * 4);
    const bool mapped = l.visualClass <= 3;
    const uint32_t colours = mapped ? 1u << l.depth : 0;
    const uint32_t fields[25] = {
        104,         7,          2,          l.depth, kWidth,         kHeight,   l.xOffset,
        l.byteOrder, l.unit,     l.bitOrder, 32,      l.bitsPerPixel, lineBytes, l.visualClass,
        l.masks[0],  l.masks[1], l.masks[2], 8,       colours,        colours,   kWidth,
        kHeight,     0,          0,          0};
    std::string file;
    for (uint32_t f : fields) file += be32(f);
    file += std::string("dump", 4);
    for (uint32_t i = 0; i < colours; ++i) {
        file += be32(i);
        // 16-bit channels as X keeps them: the byte repeated.
        for (uint32_t c : {i * 97u, 255 - i * 13u, i * 41u + 9}) file += {char(c), char(c)};
        file += {char(7), char(0)};
    }
    const uint32_t valueMask = l.depth >= 32 ? 0xFFFFFFFFu : (1u << l.depth) - 1;
    for (uint32_t y = 0; y < kHeight; ++y) {
        // Most significant bit first and big-endian, then turned to the layout.
        std::vector<uint8_t> line(lineBytes, 0);
        for (uint32_t x = 0; x < kWidth; ++x) {
            const uint32_t v = (x * 2654435761u + y * 40503u) & valueMask;
            const uint64_t at = uint64_t{l.xOffset + x} * l.bitsPerPixel;
            for (uint32_t b = 0; b < l.bitsPerPixel; ++b)
                if (v >> (l.bitsPerPixel - 1 - b) & 1) line[(at + b) / 8] |= 0x80 >> ((at + b) % 8);
        }
        auto reverseGroups = [&](size_t n) {
            for (size_t i = 0; i + n <= line.size(); i += n)
                std::reverse(line.begin() + i, line.begin() + i + n);
        };
        if (l.bitsPerPixel == 1) {
            if (l.bitOrder == 0)
                for (uint8_t& b : line)
                    b = uint8_t((b * 0x0202020202ULL & 0x010884422010ULL) % 1023);
            if (l.unit > 8 && l.byteOrder != l.bitOrder) reverseGroups(l.unit / 8);
        } else if (l.bitsPerPixel == 4 && l.byteOrder == 0) {
            for (uint8_t& b : line) b = uint8_t(b << 4 | b >> 4);
        } else if (l.bitsPerPixel > 8 && l.byteOrder == 0) {
            reverseGroups(l.bitsPerPixel / 8);
        }
        file.append(line.begin(), line.end());
    }
    return file;
}

TEST(Xwd, EveryLayoutDecodesAsThePeersDecodeIt) {
    if (std::system("command -v xwdtopnm >/dev/null && command -v convert-im6.q16 >/dev/null") != 0)
        GTEST_SKIP() << "netpbm and ImageMagick are needed (scripts/setup.sh)";
    std::vector<Layout> layouts;
    for (uint32_t unit : {8u, 16u, 32u})
        for (uint32_t byteOrder : {0u, 1u})
            for (uint32_t bitOrder : {0u, 1u})
                layouts.push_back({1, 1, 3, byteOrder, bitOrder, unit, {}, 0});
    for (uint32_t byteOrder : {0u, 1u}) {
        layouts.push_back({4, 4, 3, byteOrder, 1, 32, {}, 0});
        layouts.push_back({16, 16, 4, byteOrder, 1, 32, {0xF800, 0x07E0, 0x001F}, 0});
        layouts.push_back({24, 24, 4, byteOrder, 1, 32, {0xFF, 0xFF00, 0xFF0000}, 0});
        layouts.push_back({32, 24, 4, byteOrder, 1, 32, {0xFF0000, 0xFF00, 0xFF}, 0});
    }
    layouts.push_back({8, 6, 1, 1, 1, 32, {}, 0});  // six planes, GrayScale
    layouts.push_back(
        {32, 30, 5, 0, 1, 32, {0x3FF00000, 0xFFC00, 0x3FF}, 0});  // 10-bit DirectColor
    TempDir dir;
    for (const Layout& l : layouts) {
        SCOPED_TRACE(testing::Message() << l.bitsPerPixel << " bits, byte order " << l.byteOrder
                                        << ", bit order " << l.bitOrder << ", unit " << l.unit);
        const std::string file = makeDump(l);
        const auto path = dir.write("layout.xwd", file);
        const std::string quoted = test::shellQuoted(path.string());
        const std::string reference = test::commandOutput(
            l.visualClass == 1 ? "xwdtopnm " + quoted + " 2>/dev/null"
                               : "convert-im6.q16 " + quoted + " ppm:- 2>/dev/null");
        ASSERT_FALSE(reference.empty());
        EXPECT_TRUE(samePixels(readFromBytes(file, makeXwdReader),
                               readFromBytes(reference, makePnmReader)));
    }
}

TEST(Xwd, AnX10DumpDecodesAsXwdtopnmDecodesIt) {
    if (std::system("command -v xwdtopnm >/dev/null") != 0) GTEST_SKIP() << "netpbm is needed";
    // Eight planes, a byte a pixel, lines padded to 16 bits, 16 map entries.
    std::string file =
        be32(44) + be32(6) + be32(0) + be32(8) + be32(1) + be32(kWidth) + be32(kHeight);
    for (uint32_t v : {kWidth, kHeight, 0u, 0u, 0u, 16u}) file += {char(v >> 8), char(v)};
    file += std::string("x10", 4);
    for (uint32_t i = 0; i < 16; ++i) {
        file += be32(i);
        for (uint32_t c : {i * 97u, 255 - i * 13u, i * 41u + 9}) file += {char(c), char(c)};
        file += std::string(2, '\0');
    }
    for (uint32_t y = 0; y < kHeight; ++y)
        for (uint32_t x = 0; x < (kWidth + 1) / 2 * 2; ++x) file += char((x * 7 + y) % 16);
    TempDir dir;
    const auto path = dir.write("x10.xwd", file);
    const std::string reference =
        test::commandOutput("xwdtopnm '" + path.string() + "' 2>/dev/null");
    ASSERT_FALSE(reference.empty());
    EXPECT_TRUE(
        samePixels(readFromBytes(file, makeXwdReader), readFromBytes(reference, makePnmReader)));
}

TEST(XwdRas, MalformedHeadersAreRefusedWithTheirMessage) {
    auto xwd = [](Layout l, uint32_t patchField = 99, uint32_t value = 0) {
        std::string file = makeDump(l);
        if (patchField < 25) file.replace(4 * patchField, 4, be32(value));
        return file;
    };
    auto ras = [](uint32_t depth, uint32_t type, uint32_t mapType, uint32_t mapLength) {
        std::string file;
        for (uint32_t v : {0x59A66A95u, 4u, 2u, depth, 0u, type, mapType, mapLength})
            file += be32(v);
        return file + std::string(4000, '\x11');
    };
    const Layout pseudo{8, 8, 3, 1, 1, 32, {}, 0};
    const Layout direct{32, 24, 4, 1, 1, 32, {0xFF0000, 0xFF00, 0xFF}, 0};
    const struct {
        std::string file;
        bool sun;
        const char* message;
    } cases[] = {
        {xwd(pseudo, 7, 2), false, "Unknown byte order"},
        {xwd(pseudo, 9, 5), false, "Unknown bit order"},
        {xwd(pseudo, 8, 12), false, "Unsupported chunk size"},
        {xwd(pseudo, 11, 12), false, "Unsupported bitcount"},
        {xwd(pseudo, 2, 3), false, "Unsupported format"},
        {xwd(direct, 15, 0xF0F0), false, "Invalid bitmask"},
        {xwd(pseudo, 19, 70000), false, "Colormap too large"},
        {xwd(pseudo, 19, 0), false, "Missing colormap"},
        {xwd(pseudo, 12, 4), false, "Error in image data"},
        {ras(12, 1, 0, 0), true, "Unsupported bitcount"},
        {ras(8, 4, 0, 0), true, "Unsupported type"},
        {ras(8, 1, 2, 768), true, "Unsupported type of colormap"},
        {ras(8, 1, 1, 771), true, "Unsupported type of colormap"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        try {
            readFromBytes(c.file, c.sun ? makeSunRasterReader : makeXwdReader);
            ADD_FAILURE() << "not refused";
        } catch (...) {
            EXPECT_EQ(messageText(loadMessageForCurrentException()), c.message);
        }
    }
}

}  // namespace
}  // namespace vivark
