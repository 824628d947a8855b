// IFF pictures no peer tool writes: the chunky PBM variant, pictures inside
// CAT and LIST groups (with shared PROP chunks), mask planes, transparent
// colours and extra-halfbrite palettes, built here byte by byte; and the
// refusals of malformed pictures.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/Errors.h"
#include "formats/iff/IffReader.h"
#include "formats/iff/IffWriter.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using namespace test;

std::string be32(uint32_t v) {
    return {char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
}

std::string chunk(const std::string& id, const std::string& data) {
    return id + be32(uint32_t(data.size())) + data + (data.size() & 1 ? std::string(1, '\0') : "");
}

std::string group(const std::string& id, const std::string& type, const std::string& chunks) {
    return chunk(id, type + chunks);
}

std::string bmhd(uint16_t w, uint16_t h, uint8_t planes, uint8_t masking = 0,
                 uint8_t compression = 0, uint16_t transparent = 0) {
    std::string b = {char(w >> 8), char(w), char(h >> 8), char(h), 0, 0, 0, 0};
    b += {char(planes),
          char(masking),
          char(compression),
          0,
          char(transparent >> 8),
          char(transparent),
          1,
          1,
          char(w >> 8),
          char(w),
          char(h >> 8),
          char(h)};
    return chunk("BMHD", b);
}

// Colour i of the test maps: (i * 8, 255 - i * 4, i).
std::string cmap(uint32_t count) {
    std::string m;
    for (uint32_t i = 0; i < count; ++i) m += {char(i * 8), char(255 - i * 4), char(i)};
    return chunk("CMAP", m);
}
Colour mapColour(uint32_t i) {
    return rgb(uint8_t(i * 8), uint8_t(255 - i * 4), uint8_t(i));
}

// One row of at most 16 pixels as `planes` plane words, plus a mask word.
std::string planarRow(const std::vector<uint32_t>& indices, uint32_t planes, int mask = -1) {
    std::string row;
    for (uint32_t b = 0; b < planes; ++b) {
        uint16_t word = 0;
        for (size_t x = 0; x < indices.size(); ++x)
            word |= uint16_t((indices[x] >> b & 1) << (15 - x));
        row += {char(word >> 8), char(word)};
    }
    if (mask >= 0) row += {char(mask >> 8), char(mask)};
    return row;
}

TEST(Iff, ContainersVariantsAndMasksReadAsThePictureTheyHold) {
    const std::vector<uint32_t> pixels = {0, 1, 3, 2};
    const std::string ilbm = bmhd(4, 1, 2) + cmap(4) + chunk("BODY", planarRow(pixels, 2));
    const struct {
        const char* what;
        std::string file;
        std::vector<Colour> colours;  // expected, left to right
    } cases[] = {
        {"plain FORM",
         group("FORM", "ILBM", ilbm),
         {mapColour(0), mapColour(1), mapColour(3), mapColour(2)}},
        {"chunky PBM, odd width padded",
         group("FORM", "PBM ",
               bmhd(3, 1, 8) + cmap(256) + chunk("BODY", std::string("\x05\x07\x09\x00", 4))),
         {mapColour(5), mapColour(7), mapColour(9)}},
        {"first picture of a CAT, after a sound",
         group("CAT ", "ILBM",
               group("FORM", "8SVX", chunk("BODY", "abcdef")) + group("FORM", "ILBM", ilbm) +
                   group("FORM", "ILBM",
                         bmhd(1, 1, 1) + cmap(2) + chunk("BODY", std::string(2, '\0')))),
         {mapColour(0), mapColour(1), mapColour(3), mapColour(2)}},
        {"LIST with the header and map in a PROP",
         group("LIST", "ILBM",
               group("PROP", "ILBM", bmhd(4, 1, 2) + cmap(4)) +
                   group("FORM", "ILBM", chunk("BODY", planarRow(pixels, 2)))),
         {mapColour(0), mapColour(1), mapColour(3), mapColour(2)}},
        {"extra-halfbrite by CAMG",
         group("FORM", "ILBM",
               bmhd(2, 1, 6) + cmap(32) + chunk("CAMG", be32(0x80)) +
                   chunk("BODY", planarRow({33, 20}, 6))),
         {rgb(4, 125, 0), mapColour(20)}},
        {"ByteRun1 rows",
         group("FORM", "ILBM",
               bmhd(16, 1, 1, 0, 1) + cmap(2) + chunk("BODY", std::string("\x01\xF0\x0F", 3))),
         {mapColour(1), mapColour(1), mapColour(1), mapColour(1), mapColour(0)}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Image image = readFromBytes(c.file, makeIffReader);
        ASSERT_EQ(image.height(), 1u);
        for (size_t x = 0; x < c.colours.size(); ++x)
            EXPECT_EQ(colourAt(image, uint32_t(x), 0), c.colours[x]) << x;
    }
}

TEST(Iff, MaskPlaneBecomesAlphaAndTransparentColourTheTransparentIndex) {
    const std::string masked =
        group("FORM", "ILBM",
              bmhd(4, 1, 1, 1) + cmap(2) + chunk("BODY", planarRow({1, 0, 1, 1}, 1, 0xA000)));
    const Image a = readFromBytes(masked, makeIffReader);
    ASSERT_EQ(a.secondPlaneKind, SecondPlane::Alpha);
    const uint8_t* alpha = a.secondPlane.row(0);
    EXPECT_EQ(std::vector<uint8_t>(alpha, alpha + 4), (std::vector<uint8_t>{255, 0, 255, 0}));
    EXPECT_EQ(colourAt(a, 2, 0), mapColour(1));

    const std::string keyed =
        group("FORM", "ILBM",
              bmhd(4, 1, 2, 2, 0, 3) + cmap(4) + chunk("BODY", planarRow({3, 1, 0, 2}, 2)));
    const Image b = readFromBytes(keyed, makeIffReader);
    EXPECT_EQ(b.transparentIndex, std::optional<uint8_t>(3));
    EXPECT_EQ(b.secondPlaneKind, SecondPlane::None);
    // Our writer keeps it the same way.
    const Image c = readFromBytes(writeToBytes(b, writeIff, StoredSaveOptions()), makeIffReader);
    EXPECT_EQ(c.transparentIndex, std::optional<uint8_t>(3));
}

TEST(Iff, MalformedPicturesAreRefusedWithTheirError) {
    const std::string body = chunk("BODY", std::string(64, '\0'));
    const struct {
        const char* what;
        std::string file;
        IFFERROR expected;
    } cases[] = {
        {"not a group", "RIFF" + be32(4) + "WAVE", IFFERROR::NotIff},
        {"a FORM of sound", group("FORM", "8SVX", body), IFFERROR::UnknownSubtype},
        {"masking 4", group("FORM", "ILBM", bmhd(4, 1, 1, 4) + body), IFFERROR::UnknownMask},
        {"compression 2", group("FORM", "ILBM", bmhd(4, 1, 1, 0, 2) + body),
         IFFERROR::UnknownCompression},
        {"short BMHD", group("FORM", "ILBM", chunk("BMHD", "0123456789") + body),
         IFFERROR::ChunkTooShort},
        {"BODY first", group("FORM", "ILBM", body + bmhd(4, 1, 1)), IFFERROR::NoBmhd},
        {"no BODY", group("FORM", "ILBM", bmhd(4, 1, 1) + cmap(2)), IFFERROR::NoBody},
        {"12 planes", group("FORM", "ILBM", bmhd(4, 1, 12) + body), IFFERROR::UnsupportedPlanes},
        {"HAM of 4 planes",
         group("FORM", "ILBM", bmhd(4, 1, 4) + chunk("CAMG", be32(0x800)) + body),
         IFFERROR::UnsupportedPlanes},
        {"PBM of 4 planes", group("FORM", "PBM ", bmhd(4, 1, 4) + body),
         IFFERROR::UnsupportedPlanes},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(thrownBy<IFFERROR>([&] { readFromBytes(c.file, makeIffReader); }), c.expected);
    }
}

}  // namespace
}  // namespace vivark
