// FITS data of every sample type, scaled to 8 bits by BZERO and BSCALE and
// stretched over DATAMIN..DATAMAX or the data's own range, built here byte
// by byte (the peer tools write few of them right), and the refusals of
// unsupported arrays (the row and plane order are checked against netpbm in
// PeerToolFilesTest).
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <string>
#include <vector>

#include "formats/fits/FitsReader.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using namespace test;

// A FITS file of the given cards (SIMPLE first, END last added) and data.
std::string fits(const std::vector<std::string>& cards, std::string data) {
    std::string header;
    for (const std::string& card : cards) {
        std::string padded = card;
        padded.resize(80, ' ');
        header += padded;
    }
    header = "SIMPLE  =                    T" + std::string(50, ' ') + header + "END" +
             std::string(77, ' ');
    header.resize((header.size() + 2879) / 2880 * 2880, ' ');
    data.resize((data.size() + 2879) / 2880 * 2880, '\0');
    return header + data;
}

std::string card(const char* keyword, const std::string& value) {
    std::string c = keyword;
    c.resize(8, ' ');
    return c + "= " + std::string(value.size() < 20 ? 20 - value.size() : 0, ' ') + value;
}

std::string be(uint64_t bits, int bytes) {
    std::string s;
    for (int i = bytes - 1; i >= 0; --i) s += char(bits >> (8 * i));
    return s;
}
std::string f32(float v) {
    return be(std::bit_cast<uint32_t>(v), 4);
}
std::string f64(double v) {
    return be(std::bit_cast<uint64_t>(v), 8);
}

TEST(Fits, SamplesOfEveryTypeScaleToEightBits) {
    const float nan = std::nanf("");
    const struct {
        const char* what;
        const char* bitpix;
        std::vector<std::string> extra;  // BZERO, BSCALE, DATAMIN, DATAMAX
        std::string samples;             // one row of four
        std::vector<uint8_t> expected;
    } cases[] = {
        {"bytes are grey levels", "8", {}, std::string("\x0A\xC8\x00\xFF", 4), {10, 200, 0, 255}},
        {"scaled bytes stretch over their range",
         "8",
         {card("BSCALE", "2.0D0")},
         std::string("\x0A\x14\x1E\x14", 4),
         {0, 128, 255, 128}},
        {"16 bits offset by BZERO over DATAMIN..DATAMAX",
         "16",
         {card("BZERO", "32768"), card("DATAMIN", "0"), card("DATAMAX", "65535")},
         be(0x8000, 2) + be(0x7FFF, 2) + be(0, 2) + be(0x8000, 2),
         {0, 255, 128, 0}},
        {"32 bits outside DATAMIN..DATAMAX clamp",
         "32",
         {card("DATAMIN", "100"), card("DATAMAX", "200")},
         be(50, 4) + be(140, 4) + be(200, 4) + be(0xFFFFFFFF, 4),
         {0, 102, 255, 0}},
        {"64-bit integers",
         "64",
         {},
         be(0, 8) + be(1, 8) + be(2, 8) + be(~uint64_t{0}, 8),
         {85, 170, 255, 0}},
        {"floats stretch over the data, NaN is 0",
         "-32",
         {},
         f32(0.25f) + f32(0.75f) + f32(nan) + f32(0.5f),
         {0, 255, 0, 128}},
        {"doubles over DATAMIN..DATAMAX",
         "-64",
         {card("DATAMIN", "-1.0E0"), card("DATAMAX", "1.0E0")},
         f64(-2) + f64(0) + f64(1) + f64(0.5),
         {0, 128, 255, 191}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<std::string> cards = {card("BITPIX", c.bitpix), card("NAXIS", "2"),
                                          card("NAXIS1", "4"), card("NAXIS2", "1")};
        cards.insert(cards.end(), c.extra.begin(), c.extra.end());
        const Image image = readFromBytes(fits(cards, c.samples), makeFitsReader);
        for (uint32_t x = 0; x < 4; ++x) {
            const uint8_t v = c.expected[x];
            EXPECT_EQ(colourAt(image, x, 0), rgb(v, v, v)) << x;
        }
    }
}

TEST(Fits, UnsupportedArraysAreRefusedWithTheirError) {
    const std::string data(64, '\0');
    const struct {
        const char* what;
        std::vector<std::string> cards;
        FITSERROR expected;
    } cases[] = {
        {"four axes",
         {card("BITPIX", "8"), card("NAXIS", "4"), card("NAXIS1", "2"), card("NAXIS2", "2")},
         FITSERROR::UnsupportedNaxis},
        {"two planes",
         {card("BITPIX", "8"), card("NAXIS", "3"), card("NAXIS1", "2"), card("NAXIS2", "2"),
          card("NAXIS3", "2")},
         FITSERROR::UnsupportedNaxisN},
        {"BITPIX 12",
         {card("BITPIX", "12"), card("NAXIS", "2"), card("NAXIS1", "2"), card("NAXIS2", "2")},
         FITSERROR::UnsupportedBitpix},
        {"no NAXIS2",
         {card("BITPIX", "8"), card("NAXIS", "2"), card("NAXIS1", "2")},
         FITSERROR::DataIntegrity},
        {"BSCALE 0",
         {card("BITPIX", "8"), card("NAXIS", "2"), card("NAXIS1", "2"), card("NAXIS2", "2"),
          card("BSCALE", "0")},
         FITSERROR::DataIntegrity},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(thrownBy<FITSERROR>([&] { readFromBytes(fits(c.cards, data), makeFitsReader); }),
                  c.expected);
    }
}

}  // namespace
}  // namespace vivark
