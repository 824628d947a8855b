// The EPS writer rendered by Ghostscript: grey, colour and bilevel images
// under both codings, with and without the TIFF preview, come back within
// one level; the preview is read by libtiff's tifftopnm; the bounding box
// follows the resolution.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "core/ByteOrder.h"
#include "formats/eps/EpsFormat.h"
#include "formats/eps/EpsWriter.h"
#include "formats/pnm/PnmReader.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

bool withinOneLevel(const Image& want, const Image& got) {
    if (want.width() != got.width() || want.height() != got.height()) return false;
    for (uint32_t y = 0; y < want.height(); ++y)
        for (uint32_t x = 0; x < want.width(); ++x)
            for (int shift : {0, 8, 16})
                if (std::abs(int(colourAt(want, x, y) >> shift & 0xFF) -
                             int(colourAt(got, x, y) >> shift & 0xFF)) > 1)
                    return false;
    return true;
}

Image sample(const char* kind) {
    const std::string k = kind;
    if (k == "colour") return patternImage(37, 23, 24);
    if (k == "palette") return patternImage(37, 23, 4);
    Image image = patternImage(37, 23, k == "grey" ? 8 : 1);
    if (k == "grey") {
        image.setGreyPalette();
    } else {  // bilevel, white first
        image.palette[0] = rgb(255, 255, 255);
        image.palette[1] = rgb(0, 0, 0);
    }
    return image;
}

TEST(Eps, GhostscriptRendersEveryCodingWithAndWithoutPreview) {
    if (std::system("command -v gs >/dev/null && command -v tifftopnm >/dev/null") != 0)
        GTEST_SKIP() << "Ghostscript and libtiff-tools are needed (scripts/setup.sh)";
    StoredSaveOptions stored;
    TempDir dir;
    for (const char* kind : {"grey", "colour", "bilevel", "palette"}) {
        for (int32_t compression : {0, 1}) {
            for (int32_t preview : {0, 1}) {
                SCOPED_TRACE(::testing::Message()
                             << kind << " compression " << compression << " preview " << preview);
                SaveOptionOverlay options(stored);
                options.set(saveKey::EpsCompression, compression);
                options.set(saveKey::EpsPreview, preview);
                const Image source = sample(kind);
                const std::string bytes = writeToBytes(source, writeEps, options);
                const auto file = dir / "out.eps";
                std::ofstream(file, std::ios::binary) << bytes;
                const Image rendered = readFromBytes(
                    commandOutput("gs -q -dNOPAUSE -dBATCH -dSAFER -sDEVICE=ppmraw -r72 "
                                  "-dEPSCrop -sOutputFile=- '" +
                                  file.string() + "' 2>&1"),
                    makePnmReader);
                EXPECT_TRUE(withinOneLevel(source, rendered));

                const auto* b = reinterpret_cast<const uint8_t*>(bytes.data());
                const bool binary = loadBE32(b) == 0xC5D0D3C6;
                ASSERT_EQ(binary, preview == 1);
                const size_t psStart = binary ? loadLE32(b + 4) : 0;
                const size_t psLength = binary ? loadLE32(b + 8) : bytes.size();
                const std::string ps = bytes.substr(psStart, psLength);
                EXPECT_EQ(ps.rfind("%!PS-Adobe-3.0 EPSF-3.0\n", 0), 0u);
                EXPECT_NE(ps.find("\n%%BoundingBox: 0 0 37 23\n"), std::string::npos);
                EXPECT_NE(ps.find("\n%%Pages: 1\n"), std::string::npos);
                EXPECT_EQ(ps.substr(ps.size() - 6), "%%EOF\n");
                if (!binary) continue;
                std::ofstream(dir / "preview.tif", std::ios::binary)
                    << bytes.substr(loadLE32(b + 20), loadLE32(b + 24));
                const Image tiff = readFromBytes(
                    commandOutput("tifftopnm '" + (dir / "preview.tif").string() + "' 2>/dev/null"),
                    makePnmReader);
                EXPECT_TRUE(samePixels(source, tiff));
            }
        }
    }
}

TEST(Eps, TheBoundingBoxMeasuresTheImageAtItsResolution) {
    const struct {
        Resolution resolution;
        const char* box;
    } cases[] = {
        {{144, 144, ResolutionUnit::PerInch}, "%%BoundingBox: 0 0 19 12\n"},
        {{5669.29, 5669.29, ResolutionUnit::PerMetre}, "%%BoundingBox: 0 0 19 12\n"},
        {{}, "%%BoundingBox: 0 0 37 23\n"},
    };
    StoredSaveOptions stored;
    for (const auto& c : cases) {
        Image image = patternImage(37, 23, 24);
        image.resolution = c.resolution;
        EXPECT_NE(writeToBytes(image, writeEps, stored).find(c.box), std::string::npos) << c.box;
    }
}

}  // namespace
}  // namespace vivark
