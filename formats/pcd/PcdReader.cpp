// Decoding of Kodak Photo CD image packs.
//
// A pack is a sequence of 2048-byte sectors. Sector 1 opens with "PCD_IPI";
// the byte at 0xE02 holds the pack's attributes: bits 0-1 the rotation the
// image is to be shown with (0 none, 1 a quarter turn anticlockwise, 2 a half
// turn, 3 a quarter turn clockwise) and bits 2-3 the highest level the pack
// carries (0 Base, 1 4Base, 2 16Base). The three lower levels are stored
// plainly: Base/16 at sector 4, Base/4 at sector 23 and Base at sector 96,
// each as groups of two luma rows followed by one row of each chroma plane
// at half the width. 4Base is Base interpolated to twice the size plus the
// luma residuals of the section at sector 388; 16Base is 4Base interpolated
// again plus the luma and chroma residuals of the section twelve sectors
// past the one in which the 4Base section ends (PcdResidual.h).
//
// Interpolation doubles a plane with its samples on the even positions, the
// rounded mean of the two neighbours on the positions between two samples and
// of the four around it on those between four; the last column and row
// repeat the one before. Chroma is carried at half the luma's size at
// every level and interpolated once more at the end.
//
// Colour: the samples are PhotoYCC, luma scaled by 1.3584 and the chroma
// planes centred on 156 and 137, giving red, green and blue on a range that
// reaches past white to about 1.36 of it. That range is mapped linearly onto
// 0..255, as ImageMagick shows these images, so highlights keep their detail
// instead of clipping.
//
// The level read is the one "LoadOptions\\PhotoCD\\Resolution" names (0 Base/16
// to 4 16Base; asking the user first is the viewer's affair). A level above
// the highest the pack carries loads that highest one, as a viewer shows
// what there is rather than refuse the file. When the caller wants only a
// preview, the smallest level at least that large is read.
#include "formats/pcd/PcdReader.h"
#include "formats/ReadRows.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "core/Errors.h"
#include "core/FormatTag.h"
#include "formats/IdentifySupport.h"
#include "formats/pcd/PcdResidual.h"

namespace vivark {
namespace {

constexpr uint64_t kSector = 0x800;
constexpr uint64_t kAttributeOffset = 0xE02;
constexpr uint64_t kFourBaseSection = 388 * kSector;
constexpr uint64_t kSixteenBaseGap = 12;  // sectors between the two residual sections
constexpr char kSignature[] = "PCD_IPI";

struct LevelSize {
    uint32_t width, height;
};
constexpr LevelSize kLevelSizes[] = {
    {192, 128}, {384, 256}, {768, 512}, {1536, 1024}, {3072, 2048}};
// Where the plainly stored levels begin.
constexpr uint64_t kStoredAt[] = {4 * kSector, 23 * kSector, 96 * kSector};

constexpr int kClockwise[] = {0, 270, 180, 90};
const char* const kLevelNames[] = {"Base/16", "Base/4", "Base", "4Base", "16Base"};

enum PcdInfoKind : uint32_t { kLevels = 0, kLevelRead = 1, kRotation = 2, kDamage = 3 };

std::string levelText(uint32_t level) {
    const LevelSize s = kLevelSizes[std::min<uint32_t>(level, 4)];
    return std::string(kLevelNames[std::min<uint32_t>(level, 4)]) + " (" + std::to_string(s.width) +
           "x" + std::to_string(s.height) + ")";
}

// The conversion of PhotoYCC samples to 8-bit red, green and blue: each
// channel is a sum of three table terms in 16.16 fixed point, indexing the
// 1389 steps of the output range.
struct YccTables {
    static constexpr int kTop = 1388;
    std::array<int32_t, 256> luma{}, redC2{}, greenC1{}, greenC2{}, blueC1{};
    std::array<uint8_t, kTop + 1> out{};

    YccTables() {
        const double step = 1024.0 / 255.0 * 65536.0;
        for (int v = 0; v < 256; ++v) {
            luma[v] = static_cast<int32_t>(std::lround(1.3584 * v * step));
            redC2[v] = static_cast<int32_t>(std::lround(1.8215 * (v - 137) * step));
            greenC1[v] = static_cast<int32_t>(std::lround(-0.194 * 2.2179 * (v - 156) * step));
            greenC2[v] = static_cast<int32_t>(std::lround(-0.509 * 1.8215 * (v - 137) * step));
            blueC1[v] = static_cast<int32_t>(std::lround(2.2179 * (v - 156) * step));
        }
        for (int i = 0; i <= kTop; ++i)
            out[i] = static_cast<uint8_t>(std::lround(i * 255.0 / kTop));
    }
    uint8_t channel(int32_t sum) const { return out[std::clamp((sum + 0x8000) >> 16, 0, kTop)]; }
};

const YccTables& yccTables() {
    static const YccTables tables;
    return tables;
}

// Doubles a w x h plane into a 2w x 2h one.
std::vector<uint8_t> doublePlane(const std::vector<uint8_t>& in, uint32_t w, uint32_t h) {
    const size_t ow = size_t{w} * 2;
    std::vector<uint8_t> out(ow * h * 2);
    for (uint32_t y = 0; y < h; ++y) {
        const uint8_t* a = in.data() + size_t{y} * w;
        uint8_t* d = out.data() + size_t{y} * 2 * ow;
        for (uint32_t x = 0; x + 1 < w; ++x) {
            d[2 * x] = a[x];
            d[2 * x + 1] = static_cast<uint8_t>((a[x] + a[x + 1] + 1) >> 1);
        }
        d[ow - 2] = d[ow - 1] = a[w - 1];
        if (y + 1 == h) {
            std::memcpy(d + ow, d, ow);
            break;
        }
        // The row between two stored rows: the centre of four samples is
        // their mean, not the mean of two rounded means.
        const uint8_t* b = a + w;
        d += ow;
        for (uint32_t x = 0; x + 1 < w; ++x) {
            d[2 * x] = static_cast<uint8_t>((a[x] + b[x] + 1) >> 1);
            d[2 * x + 1] = static_cast<uint8_t>((a[x] + a[x + 1] + b[x] + b[x + 1] + 2) >> 2);
        }
        d[ow - 2] = d[ow - 1] = static_cast<uint8_t>((a[w - 1] + b[w - 1] + 1) >> 1);
    }
    return out;
}

void doubleLevel(PcdPlanes& p) {
    p.luma = doublePlane(p.luma, p.width, p.height);
    p.chroma1 = doublePlane(p.chroma1, p.chromaWidth(), p.chromaHeight());
    p.chroma2 = doublePlane(p.chroma2, p.chromaWidth(), p.chromaHeight());
    p.width *= 2;
    p.height *= 2;
}

PcdPlanes readStoredLevel(InFile& file, uint32_t level) {
    PcdPlanes p;
    p.width = kLevelSizes[level].width;
    p.height = kLevelSizes[level].height;
    const size_t w = p.width, cw = p.chromaWidth();
    p.luma.resize(w * p.height);
    p.chroma1.resize(cw * p.chromaHeight());
    p.chroma2.resize(cw * p.chromaHeight());
    file.seek(static_cast<int64_t>(kStoredAt[level]));
    for (uint32_t y = 0; y < p.height; y += 2) {
        file.read(p.luma.data() + y * w, 2 * w);
        file.read(p.chroma1.data() + y / 2 * cw, cw);
        file.read(p.chroma2.data() + y / 2 * cw, cw);
    }
    return p;
}

// Converts and turns the planes (chroma at full size) into `image`.
void convert(const PcdPlanes& p, unsigned rotation, Image& image, ProgressCallback* progress) {
    const YccTables& t = yccTables();
    const uint32_t w = p.width, h = p.height;
    const uint32_t outW = image.width(), outH = image.height();
    for (uint32_t dy = 0; dy < outH; ++dy) {
        uint8_t* row = image.plane.mutableRow(dy);
        // The source of dest (dx, dy) is start + dx * step.
        int64_t start = 0, step = 1;
        switch (rotation) {
            case 0:
                start = int64_t{dy} * w, step = 1;
                break;
            case 1:
                start = int64_t{w - 1 - dy}, step = w;
                break;
            case 2:
                start = int64_t{h - 1 - dy} * w + (w - 1), step = -1;
                break;
            default:
                start = int64_t{h - 1} * w + dy, step = -int64_t{w};
                break;
        }
        for (uint32_t dx = 0; dx < outW; ++dx) {
            const size_t at = static_cast<size_t>(start + int64_t{dx} * step);
            const int32_t y = t.luma[p.luma[at]];
            const uint8_t c1 = p.chroma1[at], c2 = p.chroma2[at];
            row[3 * dx] = t.channel(y + t.blueC1[c1]);
            row[3 * dx + 1] = t.channel(y + t.greenC1[c1] + t.greenC2[c2]);
            row[3 * dx + 2] = t.channel(y + t.redC2[c2]);
        }
        if (progressCancelled(progress, dy + 1, outH)) throw INFILEERROR::Cancelled;
    }
}

class PcdReader final : public ImageReader {
  public:
    PcdReader(InFile& file, std::optional<PcdLevel> level) : ImageReader(file), level_(level) {}

    void readInto(Image& image, const ReadOptions& options) override {
        InFile& file = *file_;
        const uint64_t length = lengthFromOrigin(file);
        char signature[7];
        file.seek(static_cast<int64_t>(kSector));
        file.read(signature, sizeof signature);
        if (std::memcmp(signature, kSignature, sizeof signature) != 0)
            throw PCDERROR::DataIntegrity;
        file.seek(static_cast<int64_t>(kAttributeOffset));
        const uint8_t attributes = file.readByte();
        const unsigned rotation = attributes & 3;
        const uint32_t highest = std::min<uint32_t>(2 + ((attributes >> 2) & 3), 4);

        uint32_t level = level_ ? static_cast<uint32_t>(*level_)
                                : std::min<uint32_t>(settings::photoCdResolution.get(), 4);
        if (options.previewSize != 0) {
            level = 0;
            while (level < 2 && kLevelSizes[level].width < options.previewSize) ++level;
        }
        level = std::min(level, highest);
        const LevelSize size = kLevelSizes[level];
        const bool quarter = rotation == 1 || rotation == 3;
        const uint32_t outW = quarter ? size.height : size.width;
        const uint32_t outH = quarter ? size.width : size.height;
        if (!options.limits.allows(outW, outH, 24)) throw IMAGEERROR::TooLarge;

        std::vector<InfoItem> items;
        if (options.keepInfo) {
            items.push_back({&kPcdInfo, kLevels, highest, {}});
            items.push_back({&kPcdInfo, kLevelRead, level, {}});
            items.push_back({&kPcdInfo, kRotation, rotation, {}});
        }
        if (options.headerOnly) {
            image.formatTag = makeTag("PCD ");
            image.info = std::move(items);
            return;
        }

        const uint32_t stored = std::min<uint32_t>(level, 2);
        const LevelSize s = kLevelSizes[stored];
        if (length != 0 && length < kStoredAt[stored] + uint64_t{s.width} * s.height * 3 / 2)
            throw INFILEERROR::UnexpectedEnd;
        PcdPlanes planes = readStoredLevel(file, stored);
        uint32_t damaged = 0;
        if (level >= 3) {
            doubleLevel(planes);
            file.seek(static_cast<int64_t>(kFourBaseSection));
            const uint64_t left = length > kFourBaseSection ? length - kFourBaseSection : 0;
            if (left == 0) throw INFILEERROR::UnexpectedEnd;
            const PcdResidualResult four = addPcdResiduals(file, left, 1, planes, options.progress);
            damaged += four.damagedRows;
            if (level == 4) {
                doubleLevel(planes);
                const uint64_t section =
                    ((kFourBaseSection + four.endByte) / kSector + 1 + kSixteenBaseGap) * kSector;
                if (section >= length) throw INFILEERROR::UnexpectedEnd;
                file.seek(static_cast<int64_t>(section));
                damaged += addPcdResiduals(file, length - section, 3, planes, options.progress)
                               .damagedRows;
            }
        }
        planes.chroma1 = doublePlane(planes.chroma1, planes.chromaWidth(), planes.chromaHeight());
        planes.chroma2 = doublePlane(planes.chroma2, planes.chromaWidth(), planes.chromaHeight());

        Image result(outW, outH, 24, false);
        convert(planes, rotation, result, options.progress);
        if (damaged != 0) items.push_back({&kPcdInfo, kDamage, damaged, {}});
        result.info = std::move(items);
        handOverImage(image, std::move(result), makeTag("PCD "));
    }

  private:
    std::optional<PcdLevel> level_;
};

}  // namespace

const InfoFamily kPcdInfo = {
    "PCDInfo",
    [](const InfoItem& item) -> std::string {
        switch (item.kind) {
            case kLevels:
                return "Resolutions";
            case kLevelRead:
                return "Resolution read";
            case kRotation:
                return "Rotation";
            default:
                return "Damaged rows";
        }
    },
    [](const InfoItem& item) -> std::string {
        switch (item.kind) {
            case kLevels: {
                std::string text;
                for (uint32_t l = 0; l <= item.value && l < 5; ++l)
                    text += (l == 0 ? "" : ", ") + levelText(l);
                return text;
            }
            case kLevelRead:
                return levelText(item.value);
            case kRotation:
                return std::to_string(kClockwise[item.value & 3]) + " degrees";
            default:
                return std::to_string(item.value);
        }
    },
    kDamage,
};

std::unique_ptr<ImageReader> makePcdReader(InFile& file) {
    return std::make_unique<PcdReader>(file, std::nullopt);
}

std::unique_ptr<ImageReader> makePcdReader(InFile& file, PcdLevel level) {
    return std::make_unique<PcdReader>(file, level);
}

}  // namespace vivark
