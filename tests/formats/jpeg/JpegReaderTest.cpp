// The JFIF reader's EXIF orientations, progress and library errors as the
// system's values; lossless transforms against tjTransform. Decoding against
// libjpeg is JpegLibjpegOracleTest's.
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <sstream>
#include <string>
#include <vector>

#include <jerror.h>

#include "app/cli/Cli.h"
#include "core/Errors.h"
#include "core/Messages.h"
#include "formats/jpeg/JpegExif.h"
#include "formats/jpeg/JpegReader.h"
#include "formats/jpeg/JpegSamples.h"
#include "formats/jpeg/JpegTransform.h"
#include "support/ImageTestUtil.h"
#include "support/TempDir.h"

namespace vivark {
namespace {

using namespace test;
using Bytes = std::vector<uint8_t>;

Image decode(const Bytes& file, ReadOptions options = {}, size_t buffer = 0) {
    auto in = InFile::overMemory(file, buffer);
    Image image;
    makeJpegReader(*in)->read(image, options);
    return image;
}

Colour refAt(const Bytes& samples, int w, int x, int y) {
    const uint8_t* p = &samples[(size_t(y) * w + x) * 3];
    return rgb(p[0], p[1], p[2]);
}

TEST(JpegReader, ProgressivePassesAreReportedAndCancelStops) {
    const Bytes file = libjpegFile(40, 24, {.progressive = true});
    uint32_t rows = 0;
    ProgressFunction count([&](uint32_t, uint32_t total) {
        rows += total != 0;
        return false;
    });
    ReadOptions options;
    options.progress = &count;
    decode(file, options);
    EXPECT_GT(rows, 24u * 2);  // more than one pass was shown

    ProgressFunction stop([](uint32_t, uint32_t) { return true; });
    options.progress = &stop;
    EXPECT_THROW(decode(file, options), INFILEERROR);
}

TEST(JpegReader, EveryExifOrientationGivesTheUprightPicture) {
    const int w = 24, h = 16;
    const Bytes file = libjpegFile(w, h);
    const Bytes ref = libjpegDecode(file).samples;
    // Orientations 5 to 8 transpose; these flip the stored column and row.
    const bool flipX[9] = {0, 0, 1, 1, 0, 0, 0, 1, 1}, flipY[9] = {0, 0, 0, 1, 1, 0, 1, 1, 0};
    for (int o = 1; o <= 8; ++o)
        for (bool big : {false, true}) {
            SCOPED_TRACE(o);
            const Image image = decode(withExif(file, uint16_t(o), big));
            const bool swap = o >= 5;
            ASSERT_EQ(image.width(), uint32_t(swap ? h : w));
            ASSERT_EQ(image.height(), uint32_t(swap ? w : h));
            ASSERT_TRUE(image.exif);
            int wrong = 0;
            for (int v = 0; v < int(image.height()); ++v)
                for (int u = 0; u < int(image.width()); ++u) {
                    const int x = swap ? v : u, y = swap ? u : v;
                    wrong += colourAt(image, u, v) !=
                             refAt(ref, w, flipX[o] ? w - 1 - x : x, flipY[o] ? h - 1 - y : y);
                }
            EXPECT_EQ(wrong, 0);
        }
}

TEST(JpegExif, OrientationLookupRefusesOddValuesAndFarDirectories) {
    const Bytes file = libjpegFile(8, 8);
    auto blockOf = [](const Bytes& jpeg) {
        return Bytes(jpeg.begin() + 12, jpeg.begin() + 12 + 26);
    };
    EXPECT_EQ(findExifOrientation(blockOf(withExif(file, 6, false)))->value, 6);
    EXPECT_FALSE(findExifOrientation(blockOf(withExif(file, 0x0106, true))));
    EXPECT_FALSE(findExifOrientation(blockOf(withExif(file, 0x0106, false))));
    Bytes far = blockOf(withExif(file, 6, true));
    far[5] = 1;  // IFD offset 0x00010008
    EXPECT_FALSE(findExifOrientation(far));
    EXPECT_FALSE(findExifOrientation(Bytes(11, 0)));
}

TEST(JpegReader, PreviewScalesDown) {
    const Bytes file = libjpegFile(160, 96, {.progressive = true});
    for (uint32_t size : {80u, 10u}) {
        ReadOptions options;
        options.previewSize = size;
        EXPECT_EQ(decode(file, options).width(), size * 2);
    }
}

TEST(JpegReader, CorruptFilesGiveTheLibrarysMessage) {
    // The library's code c is message 11041 + c, shown with the library's text.
    Bytes twelveBit = libjpegFile(16, 16);
    for (size_t i = 0; i + 4 < twelveBit.size(); ++i)
        if (twelveBit[i] == 0xFF && twelveBit[i + 1] == 0xC0) twelveBit[i + 4] = 12;
    const Bytes noFrame = {0xFF, 0xD8, 0xFF, 0xDA, 0x00, 0x02, 0xFF, 0xD9};
    const struct {
        const char* name;
        Bytes file;
        int code;
        const char* text;
    } cases[] = {
        {"12-bit samples", twelveBit, JERR_BAD_PRECISION, "Unsupported JPEG data precision"},
        {"scan before frame", noFrame, JERR_SOS_NO_SOF,
         "Invalid JPEG file structure: SOS before SOF"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        try {
            decode(c.file);
            FAIL() << "no error";
        } catch (JFIFERROR e) {
            EXPECT_EQ(static_cast<int>(e), 41 + c.code);
            const std::string text(messageText(11000 + static_cast<MessageId>(e)));
            EXPECT_EQ(text.rfind(c.text, 0), 0u) << text;
        }
    }

    // A truncated file decodes what it has and keeps the library's warning.
    Bytes file = libjpegFile(64, 64);
    file.resize(file.size() / 2);
    const Image image = decode(file);
    ASSERT_EQ(image.info.size(), 1u);
    EXPECT_TRUE(image.info[0].family->marksDamage(image.info[0]));
    EXPECT_EQ(image.info[0].valueText(), "Premature end of JPEG file");

    Image limited;
    ReadOptions options;
    options.limits.maxWidth = 10;
    auto in = InFile::overMemory(file);
    EXPECT_THROW(makeJpegReader(*in)->read(limited, options), IMAGEERROR);
}

// TurboJPEG's own transform of `file`, decoded.
LibjpegDecoded turboTransformed(const Bytes& file, int op) {
    tjhandle tj = tjInitTransform();
    unsigned char* out = nullptr;
    unsigned long size = 0;
    tjtransform t{};
    t.op = op;
    t.options = TJXOPT_TRIM;
    EXPECT_EQ(tjTransform(tj, file.data(), file.size(), 1, &out, &size, &t, 0), 0);
    Bytes result(out, out + size);
    tjFree(out);
    tjDestroy(tj);
    return libjpegDecode(result);
}

Bytes readBytes(const std::filesystem::path& path) {
    const std::string text = readWholeFile(path);
    return Bytes(text.begin(), text.end());
}

std::filesystem::path put(const TempDir& dir, const char* name, const Bytes& bytes) {
    return dir.write(name,
                     std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

TEST(JpegTransform, EveryCodeMatchesTurboJpeg) {
    const int ops[8] = {0,           TJXOP_HFLIP,  TJXOP_VFLIP, TJXOP_TRANSPOSE, TJXOP_TRANSVERSE,
                        TJXOP_ROT90, TJXOP_ROT180, TJXOP_ROT270};
    TempDir dir;
    for (bool progressive : {false, true}) {
        const Bytes file = libjpegFile(37, 29, {.progressive = progressive});
        for (int code = 1; code <= 7; ++code) {
            SCOPED_TRACE(code);
            const auto path = put(dir, "t.jpg", file);
            ASSERT_TRUE(transformLossless(path, JpegTransformCode(code)).written);
            const Bytes ours = readBytes(path);
            const LibjpegDecoded mine = libjpegDecode(ours),
                                 theirs = turboTransformed(file, ops[code]);
            EXPECT_EQ(std::pair(mine.width, mine.height), std::pair(theirs.width, theirs.height));
            EXPECT_TRUE(mine.samples == theirs.samples);
            EXPECT_EQ(ours[3], 0xE0);  // markers copied
        }
    }
}

TEST(JpegTransform, AutomaticModeFollowsExif) {
    TempDir dir;
    const Bytes plain = libjpegFile(32, 16);
    for (const Bytes& untouched : {plain, withExif(plain, 1, false), withExif(plain, 9, true)}) {
        const auto path = put(dir, "a.jpg", untouched);
        const auto result = transformLossless(path, JpegTransformCode::Automatic);
        EXPECT_TRUE(result.success && !result.written);
        EXPECT_EQ(readBytes(path), untouched);
    }
    for (bool big : {false, true}) {
        const auto path = put(dir, "b.jpg", withExif(plain, 6, big));
        ASSERT_TRUE(transformLossless(path, JpegTransformCode::Automatic).written);
        const Image turned = decode(readBytes(path));
        EXPECT_EQ(turned.width(), 16u);
        ASSERT_TRUE(turned.exif);
        auto found = findExifOrientation(*turned.exif);
        ASSERT_TRUE(found);
        const uint8_t* e = turned.exif->data() + found->entryOffset;
        const Bytes entry(e + 2, e + 10);
        EXPECT_EQ(entry, big ? (Bytes{0, 3, 0, 0, 0, 1, 0, 1}) : (Bytes{3, 0, 1, 0, 0, 0, 1, 0}));
    }
}

TEST(JpegTransform, FailureLeavesTheSourceAlone) {
    TempDir dir;
    const Bytes good = libjpegFile(32, 16), broken(good.begin(), good.begin() + 40);
    const auto path = put(dir, "c.jpg", broken);
    EXPECT_FALSE(transformLossless(path, JpegTransformCode::Rotate90).success);
    EXPECT_EQ(readBytes(path), broken);
    const auto kept = put(dir, "d.jpg", good);
    ProgressFunction cancel([](uint32_t, uint32_t) { return true; });
    EXPECT_FALSE(transformLossless(kept, JpegTransformCode::Rotate180, &cancel).success);
    EXPECT_EQ(readBytes(kept), good);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2);
}

TEST(JpegTransform, CommandLine) {
    TempDir dir;
    const Bytes file = libjpegFile(32, 16);
    const struct {
        std::vector<std::string> args;
        int status;
        int width;
    } cases[] = {
        {{"--rotate", "90"}, 0, 16},
        {{"--transpose", "--flip", "v"}, 2, 32},
        {{"--rotate", "45"}, 2, 32},
    };
    for (const auto& c : cases) {
        const auto path = put(dir, "e.jpg", file);
        std::vector<std::string> storage = {"vivark", "jpeg-transform"};
        storage.insert(storage.end(), c.args.begin(), c.args.end());
        storage.push_back(path.string());
        std::vector<char*> argv;
        for (std::string& arg : storage) argv.push_back(arg.data());
        std::ostringstream out, err;
        EXPECT_EQ(cli::run(int(argv.size()), argv.data(), out, err), c.status) << err.str();
        EXPECT_EQ(decode(readBytes(path)).width(), uint32_t(c.width));
    }
}

}  // namespace
}  // namespace vivark
