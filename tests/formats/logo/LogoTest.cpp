// OS/2 boot logos: no program at hand reads or writes them, so the file here
// is made from the format's public description (header sizes, red, green and
// blue planes of 320 × 240); the writer's options are checked on what our
// reader gets back.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "formats/SaveOptions.h"
#include "formats/logo/LogoFormat.h"
#include "formats/logo/LogoReader.h"
#include "formats/logo/LogoWriter.h"
#include "ops/FixedPalettes.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

std::set<Colour> coloursOf(const Image& image) {
    std::set<Colour> colours;
    for (uint32_t y = 0; y < image.height(); ++y)
        for (uint32_t x = 0; x < image.width(); ++x) colours.insert(test::colourAt(image, x, y));
    return colours;
}

TEST(BootLogo, PlanesAreRedGreenBlueTopRowFirst) {
    std::string file(kBootLogoFileBytes, '\0');
    storeLE32(reinterpret_cast<uint8_t*>(file.data()), kBootLogoPlaneBytes);
    storeLE32(reinterpret_cast<uint8_t*>(file.data()) + 4, kBootLogoFileBytes);
    for (uint32_t i = 0; i < kBootLogoPlaneBytes; ++i) {
        file[32 + i] = char(i % 320);                               // red: x
        file[32 + kBootLogoPlaneBytes + i] = char(i / 320);         // green: y
        file[32 + 2 * kBootLogoPlaneBytes + i] = char(i % 7 * 30);  // blue
    }
    const Image image = test::readFromBytes(file, makeBootLogoReader);
    ASSERT_EQ(image.width(), 320u);
    ASSERT_EQ(image.height(), 240u);
    for (uint32_t y : {0u, 1u, 239u})
        for (uint32_t x : {0u, 5u, 319u})
            EXPECT_EQ(test::colourAt(image, x, y),
                      rgb(uint8_t(x), uint8_t(y), uint8_t((y * 320 + x) % 7 * 30)));
}

TEST(BootLogo, OptionsDecideTheColoursAndOtherSizesAreFitted) {
    const Image screen = test::patternImage(320, 240, 24);
    const struct {
        const char* what;
        Image source;
        bool warp4, optimize, dither;
        bool exact;    // the colours come back as they are
        bool fixed16;  // only colours of the fixed 16-colour palette
    } cases[] = {
        {"Warp 4", screen, true, false, true, true, false},
        {"16 fixed colours, dithered", screen, false, false, true, false, true},
        {"16 fixed colours, nearest", screen, false, false, false, false, true},
        {"16 colours of the picture", screen, false, true, true, false, false},
        {"a picture twice the size", test::patternImage(640, 480, 24), true, false, true, false,
         false},
    };
    StoredSaveOptions stored;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SaveOptionOverlay options(stored);
        options.set(saveKey::BootLogoWarp4, c.warp4);
        options.set(saveKey::BootLogoOptimize, c.optimize);
        options.set(saveKey::BootLogoDither, c.dither);
        const Image read = test::readFromBytes(test::writeToBytes(c.source, writeBootLogo, options),
                                               makeBootLogoReader);
        ASSERT_EQ(read.width(), 320u);
        if (c.exact) {
            EXPECT_TRUE(test::samePixels(read, c.source));
        }
        const std::set<Colour> colours = coloursOf(read);
        if (!c.warp4) {
            EXPECT_LE(colours.size(), 16u);
        }
        for (Colour colour : colours) {
            if (c.fixed16) {
                EXPECT_NE(std::find(FixedPalette16.begin(), FixedPalette16.end(), colour),
                          FixedPalette16.end());
            }
        }
    }
}

}  // namespace
}  // namespace vivark
