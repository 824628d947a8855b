// Resize, rotate, mirror and the quarter turns: the fit and placement
// arithmetic, the resampled scaling against a plain double-precision
// reference, the output format rule, lossless round trips at every depth,
// and what a cancel or an oversized result leaves behind.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "core/Errors.h"
#include "ops/Mirror.h"
#include "ops/ResampleFilter.h"
#include "ops/Resize.h"
#include "ops/Rotate.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using test::colourAt;
using test::patternImage;
using test::samePixels;

// A smooth picture with a sharp edge, so both the lobes and the flat parts count.
Image photo(uint32_t width, uint32_t height) {
    Image image(width, height, 24);
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* row = image.plane.mutableRow(y);
        for (uint32_t x = 0; x < width; ++x) {
            row[3 * x] = uint8_t(128 + 100 * std::sin(x * 0.4 + y * 0.1));
            row[3 * x + 1] = uint8_t(x * 255 / width);
            row[3 * x + 2] = x > width / 2 ? 250 : 5;
        }
    }
    return image;
}

Image greyRamp(uint32_t width, uint32_t height) {
    Image image(width, height, 8);
    image.setGreyPalette();
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
            image.plane.mutableRow(y)[x] = uint8_t((x * 29 + y * 53) % 256);
    return image;
}

// The expected sample of one channel: the separable Mitchell sum over every
// source pixel in reach, weights normalised over the pixels inside the image.
double referenceSample(const Image& source, unsigned channel, double centreX, double centreY,
                       double scaleX, double scaleY) {
    const double stretchX = std::max(1.0, 1.0 / scaleX), stretchY = std::max(1.0, 1.0 / scaleY);
    double sum = 0, weights = 0;
    for (uint32_t y = 0; y < source.height(); ++y) {
        const double wy = mitchell((y + 0.5 - centreY) / stretchY);
        if (wy == 0) continue;
        for (uint32_t x = 0; x < source.width(); ++x) {
            const double wx = mitchell((x + 0.5 - centreX) / stretchX);
            if (wx == 0) continue;
            const Colour c = colourAt(source, x, y);
            const uint8_t value = channel == 0 ? blueOf(c) : channel == 1 ? greenOf(c) : redOf(c);
            sum += wx * wy * value;
            weights += wx * wy;
        }
    }
    return std::clamp(sum / weights, 0.0, 255.0);
}

TEST(Resize, ContentIsFittedRoundedUpAndPlacedByTheFlags) {
    using namespace resizeFlag;
    const struct {
        uint32_t sourceWidth, sourceHeight, boxWidth, boxHeight, flags;
        ResizePlacement expected;
    } cases[] = {
        {100, 50, 60, 60, Centred, {0, 15, 60, 30}},
        {100, 50, 33, 60, Centred, {0, 21, 33, 17}},  // 16.5 rows round up
        {50, 100, 60, 60, Centred, {15, 0, 30, 60}},
        {100, 50, 200, 100, Centred, {0, 0, 200, 100}},  // same aspect: no margins
        {100, 50, 60, 60, 0, {0, 0, 60, 60}},            // stretched
        {100, 50, 60, 60, Proportional, {0, 0, 60, 30}},
        {100, 50, 60, 60, Proportional | MarginTop, {0, 30, 60, 30}},
        {50, 100, 60, 60, Proportional | MarginLeft, {30, 0, 30, 60}},
        {3, 1, 1, 1, Centred, {0, 0, 1, 1}},  // never below one pixel
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.sourceWidth << "x" << c.sourceHeight << " in " << c.boxWidth << "x"
                     << c.boxHeight << " flags " << c.flags);
        const ResizePlacement got =
            placeContent(c.sourceWidth, c.sourceHeight, {c.boxWidth, c.boxHeight, c.flags, 0});
        EXPECT_EQ(got.left, c.expected.left);
        EXPECT_EQ(got.top, c.expected.top);
        EXPECT_EQ(got.width, c.expected.width);
        EXPECT_EQ(got.height, c.expected.height);
    }
}

TEST(Resize, ResampledMatchesADoublePrecisionMitchellWithinOneLevel) {
    const struct {
        uint32_t sw, sh, dw, dh;
    } sizes[] = {{40, 30, 20, 15}, {40, 30, 97, 71}, {37, 23, 16, 41},
                 {40, 30, 100, 7}, {9, 9, 1, 1},     {64, 48, 13, 13}};
    for (const bool grey : {false, true}) {
        for (const auto& s : sizes) {
            SCOPED_TRACE(testing::Message() << (grey ? "grey " : "colour ") << s.sw << "x" << s.sh
                                            << " to " << s.dw << "x" << s.dh);
            const Image source = grey ? greyRamp(s.sw, s.sh) : photo(s.sw, s.sh);
            const OpResult result = resizeResampled(source, {s.dw, s.dh, 0, 0});
            ASSERT_TRUE(result);
            const Image& scaled = *result;
            ASSERT_EQ(scaled.width(), s.dw);
            ASSERT_EQ(scaled.height(), s.dh);
            const double scaleX = double(s.dw) / s.sw, scaleY = double(s.dh) / s.sh;
            int worst = 0;
            for (uint32_t y = 0; y < s.dh; ++y)
                for (uint32_t x = 0; x < s.dw; ++x)
                    for (unsigned channel = 0; channel < 3; ++channel) {
                        const double expected = referenceSample(source, channel, (x + 0.5) / scaleX,
                                                                (y + 0.5) / scaleY, scaleX, scaleY);
                        const Colour c = colourAt(scaled, x, y);
                        const int got = channel == 0   ? blueOf(c)
                                        : channel == 1 ? greenOf(c)
                                                       : redOf(c);
                        worst = std::max(worst, int(std::ceil(std::fabs(got - expected) - 0.5)));
                    }
            EXPECT_LE(worst, 1);
        }
    }
}

// Grey stays grey, everything else becomes 24 bits; resampled rotation follows
// the same rule, and point sampling keeps the depth.
TEST(Resize, ResampledOutputIsGreyOnlyForGreyImages) {
    Image blackAndWhite = patternImage(20, 10, 1);
    blackAndWhite.setGreyPalette(1);
    const struct {
        const char* name;
        Image source;
        uint32_t resampledBits;
    } cases[] = {
        {"grey 8", greyRamp(20, 10), 8},
        {"black and white", blackAndWhite, 8},
        {"16 colours", patternImage(20, 10, 4), 24},
        {"256 colours", patternImage(20, 10, 8), 24},
        {"true colour", photo(20, 10), 24},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ResizeRequest box{30, 30, resizeFlag::Centred, rgb(255, 0, 0)};
        const Image resized = *resizeResampled(c.source, box);
        const Image rotated =
            *rotateResampled(c.source, {10 * kAngleUnitsPerDegree, rgb(255, 0, 0), false});
        const Image point = *resizePoint(c.source, box);
        EXPECT_EQ(resized.bitsPerPixel(), c.resampledBits);
        EXPECT_EQ(rotated.bitsPerPixel(), c.resampledBits);
        EXPECT_EQ(point.bitsPerPixel(), c.source.bitsPerPixel());
        if (c.resampledBits == 8) {
            EXPECT_TRUE(resized.isGrey());
            EXPECT_TRUE(rotated.isGrey());
            // The fill of a grey result is its grey level: (255 + 0 + 0) / 3.
            EXPECT_EQ(colourAt(resized, 0, 0), rgb(85, 85, 85));
            EXPECT_EQ(colourAt(rotated, 0, 0), rgb(85, 85, 85));
        } else {
            EXPECT_EQ(colourAt(resized, 0, 0), rgb(255, 0, 0));
            EXPECT_EQ(colourAt(rotated, 0, 0), rgb(255, 0, 0));
        }
    }
}

// Transparent pixels lend no colour: the alpha travels premultiplied.
TEST(Resize, AlphaIsResampledWithTheColour) {
    Image image(16, 16, 24);
    image.secondPlane = PixelPlane(16, 16, 8, true);
    image.secondPlaneKind = SecondPlane::Alpha;
    for (uint32_t y = 0; y < 16; ++y)
        for (uint32_t x = 0; x < 16; ++x) {
            const bool left = x < 8;  // invisible red beside opaque blue
            uint8_t* p = image.plane.mutableRow(y) + 3 * x;
            p[0] = left ? 0 : 255;
            p[2] = left ? 255 : 0;
            image.secondPlane.mutableRow(y)[x] = left ? 0 : 255;
        }
    for (const bool rotate : {false, true}) {
        const Image result = *(rotate ? rotateResampled(image, {5 * kAngleUnitsPerDegree, 0, true})
                                      : resizeResampled(image, {7, 5, 0, 0}));
        ASSERT_EQ(result.secondPlaneKind, SecondPlane::Alpha);
        bool partial = false;
        for (uint32_t y = 0; y < result.height(); ++y)
            for (uint32_t x = 0; x < result.width(); ++x) {
                const uint8_t alpha = result.secondPlane.row(y)[x];
                partial |= alpha > 0 && alpha < 255;
                if (alpha > 0) {
                    EXPECT_LE(redOf(colourAt(result, x, y)), 1) << x << "," << y;
                }
            }
        EXPECT_TRUE(partial);
    }
}

TEST(Resize, ResolutionFollowsTheScale) {
    Image image = photo(40, 20);
    image.resolution = {300, 200, ResolutionUnit::PerInch};
    image = *resizeResampled(image, {20, 40, 0, 0});
    EXPECT_EQ(image.resolution, (Resolution{150, 400, ResolutionUnit::PerInch}));
    image = *resizePoint(image, {40, 40, 0, 0});
    EXPECT_EQ(image.resolution, (Resolution{300, 400, ResolutionUnit::PerInch}));
    image = *turnClockwise(image);
    EXPECT_EQ(image.resolution, (Resolution{400, 300, ResolutionUnit::PerInch}));
}

TEST(Rotate, TheTurnedSizeFollowsTheSineAndCosine) {
    const struct {
        uint32_t width, height;
        int32_t degrees;
        uint64_t expectedWidth, expectedHeight;
    } cases[] = {
        {100, 50, 90, 50, 100}, {100, 50, -90, 50, 100}, {100, 50, 180, 100, 50},
        {100, 50, 30, 112, 94}, {100, 50, 0, 100, 50},   {100, 50, 450, 50, 100},
        {7, 7, 45, 10, 10},
    };
    for (const auto& c : cases) {
        const RotatedSize size = rotatedSize(c.width, c.height, c.degrees * kAngleUnitsPerDegree);
        EXPECT_EQ(size.width, c.expectedWidth) << c.degrees;
        EXPECT_EQ(size.height, c.expectedHeight) << c.degrees;
    }
}

Image withAlpha(Image image) {
    image.secondPlane = PixelPlane(image.width(), image.height(), 8, true);
    image.secondPlaneKind = SecondPlane::Alpha;
    for (uint32_t y = 0; y < image.height(); ++y)
        for (uint32_t x = 0; x < image.width(); ++x)
            image.secondPlane.mutableRow(y)[x] = uint8_t(x * 13 + y * 7);
    return image;
}

::testing::AssertionResult sameImage(const Image& a, const Image& b) {
    if (a.bitsPerPixel() != b.bitsPerPixel())
        return ::testing::AssertionFailure()
               << "depth " << a.bitsPerPixel() << " vs " << b.bitsPerPixel();
    const auto pixels = samePixels(a, b);
    if (!pixels) return pixels;
    if (a.secondPlane.empty() != b.secondPlane.empty()) return ::testing::AssertionFailure();
    for (uint32_t y = 0; y < a.secondPlane.height(); ++y)
        if (!std::equal(a.secondPlane.row(y), a.secondPlane.row(y) + a.secondPlane.width(),
                        b.secondPlane.row(y)))
            return ::testing::AssertionFailure() << "alpha row " << y;
    return ::testing::AssertionSuccess();
}

// Lossless moves undo each other at every depth, and the point rotation by a
// quarter (of an odd-sized image, whose centre pixel is exact) is the turn.
TEST(Mirror, MovesAreLosslessAndAgreeWithEachOtherAtEveryDepth) {
    using Step = std::function<OpResult(const Image&)>;
    const Step mirrorRow = [](const Image& i) { return mirror(i, {false, true}); };
    const Step flip = [](const Image& i) { return mirror(i, {true, false}); };
    const Step half = [](const Image& i) { return mirror(i, {true, true}); };
    const Step cw = [](const Image& i) { return turnClockwise(i); };
    const Step ccw = [](const Image& i) { return turnAnticlockwise(i); };
    const auto rotate = [](int degrees) {
        return Step(
            [=](const Image& i) { return rotatePoint(i, {degrees * kAngleUnitsPerDegree}); });
    };
    const struct {
        const char* name;
        std::vector<Step> left, right;
    } cases[] = {
        {"mirror twice", {mirrorRow, mirrorRow}, {}},
        {"flip twice", {flip, flip}, {}},
        {"four quarter turns", {cw, cw, cw, cw}, {}},
        {"clockwise then back", {cw, ccw}, {}},
        {"half turn", {half}, {cw, cw}},
        {"half turn is flip and mirror", {half}, {flip, mirrorRow}},
        {"point 90 is a clockwise turn", {rotate(90)}, {cw}},
        {"point -90 is an anticlockwise turn", {rotate(-90)}, {ccw}},
        {"point 180 is a half turn", {rotate(180)}, {half}},
        {"point 0 changes nothing", {rotate(0)}, {}},
    };
    for (const uint32_t bits : {1u, 4u, 8u, 24u}) {
        for (const bool alpha : {false, true}) {
            const Image source =
                alpha ? withAlpha(patternImage(13, 7, bits)) : patternImage(13, 7, bits);
            for (const auto& c : cases) {
                SCOPED_TRACE(testing::Message()
                             << c.name << ", " << bits << " bits" << (alpha ? " with alpha" : ""));
                Image left = source, right = source;
                for (const Step& step : c.left) left = *step(left);
                for (const Step& step : c.right) right = *step(right);
                EXPECT_TRUE(sameImage(left, right));
            }
        }
    }
}

// The turns and the mirror go the way the picture is shown.
TEST(Mirror, TurnsGoTheWayTheyAreNamed) {
    Image image = patternImage(3, 2, 24);  // pixel (0, 0) is the top left
    const Colour topLeft = colourAt(image, 0, 0), topRight = colourAt(image, 2, 0);
    const Image cw = *turnClockwise(image), ccw = *turnAnticlockwise(image),
                mirrored = *mirror(image, {false, true});
    EXPECT_EQ(colourAt(cw, 1, 0), topLeft);   // top left to top right
    EXPECT_EQ(colourAt(ccw, 0, 2), topLeft);  // top left to bottom left
    EXPECT_EQ(colourAt(mirrored, 0, 0), topRight);
}

TEST(Rotate, ResampledCornersShowTheFillAndTheInnerCropShowsNone) {
    Image flat(40, 30, 24);
    for (uint32_t y = 0; y < 30; ++y)
        for (uint32_t x = 0; x < 40; ++x) {
            uint8_t* p = flat.plane.mutableRow(y) + 3 * x;
            p[0] = 10, p[1] = 200, p[2] = 90;
        }
    const Colour colour = rgb(90, 200, 10), fill = rgb(255, 255, 255);
    for (const int degrees : {10, -33, 100}) {
        SCOPED_TRACE(degrees);
        const Image whole = *rotateResampled(flat, {degrees * kAngleUnitsPerDegree, fill, false});
        const Image inner = *rotateResampled(flat, {degrees * kAngleUnitsPerDegree, fill, true});
        const RotatedSize size = rotatedSize(40, 30, degrees * kAngleUnitsPerDegree);
        EXPECT_EQ(whole.width(), size.width);
        EXPECT_EQ(whole.height(), size.height);
        EXPECT_EQ(colourAt(whole, 0, 0), fill);
        EXPECT_EQ(colourAt(whole, whole.width() / 2, whole.height() / 2), colour);
        EXPECT_LT(inner.width(), whole.width());
        EXPECT_GT(uint64_t{inner.width()} * inner.height(), 40u * 30u / 3);
        for (uint32_t y = 0; y < inner.height(); ++y)
            for (uint32_t x = 0; x < inner.width(); ++x)
                ASSERT_EQ(colourAt(inner, x, y), colour) << x << "," << y;
    }
}

// Every operation: a cancel returns nothing, and a result beyond the limits
// is refused with IMAGEERROR.
TEST(Geometry, CancelReturnsNothingAndOversizeThrows) {
    using Operation = std::function<OpResult(const Image&, ProgressCallback*, const Limits&)>;
    const struct {
        const char* name;
        Operation run;
        bool changesSize;
    } operations[] = {
        {"resize",
         [](const Image& i, ProgressCallback* p, const Limits& l) {
             return resizeResampled(i, {70, 9, 0, 0}, p, l);
         },
         true},
        {"resize point",
         [](const Image& i, ProgressCallback* p, const Limits& l) {
             return resizePoint(i, {70, 9, 0, 0}, p, l);
         },
         true},
        {"rotate",
         [](const Image& i, ProgressCallback* p, const Limits& l) {
             return rotateResampled(i, {3 << 16, 0, false}, p, l);
         },
         true},
        {"rotate point",
         [](const Image& i, ProgressCallback* p, const Limits& l) {
             return rotatePoint(i, {3 << 16}, p, l);
         },
         true},
        {"turn",
         [](const Image& i, ProgressCallback* p, const Limits& l) {
             return turnClockwise(i, p, l);
         },
         true},
        {"mirror",
         [](const Image& i, ProgressCallback* p, const Limits&) {
             return mirror(i, {true, true}, p);
         },
         false},
    };
    const Image source = withAlpha(patternImage(60, 20, 8));
    for (const auto& op : operations) {
        SCOPED_TRACE(op.name);
        uint32_t calls = 0;
        ProgressFunction cancelLate([&](uint32_t done, uint32_t total) {
            EXPECT_LE(done, total);
            return ++calls == 5;
        });
        EXPECT_FALSE(op.run(source, &cancelLate, Limits{}));
        EXPECT_EQ(calls, 5u);
        if (!op.changesSize) continue;
        Limits narrow;
        narrow.maxWidth = 25;
        narrow.maxHeight = 25;
        EXPECT_THROW(op.run(source, nullptr, narrow), IMAGEERROR);
    }
    // Beyond what an Image can hold at all: 2 GiB of pixels.
    const Image tiny = photo(2, 2);
    EXPECT_THROW(resizeResampled(tiny, {40000, 40000, 0, 0}), IMAGEERROR);
    EXPECT_THROW(resizePoint(tiny, {0x7FFFFFFF, 2, 0, 0}), IMAGEERROR);
    EXPECT_THROW(rotatePoint(photo(60000, 1), {45 * kAngleUnitsPerDegree}), IMAGEERROR);
}

}  // namespace
}  // namespace vivark
