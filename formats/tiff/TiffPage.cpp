// The tag handling of one TIFF directory: which tags are kept, how each is
// checked and the TIFFERROR each refused value throws. Tags not named here
// are skipped.
#include "formats/tiff/TiffPage.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "formats/tiff/TiffFormat.h"

namespace vivark {
namespace {

bool acceptedCompression(uint32_t c) {
    return (c >= 1 && c <= 8) || c == 32766 || c == 32771 || c == 32773 || c == 32809 ||
           c == 32946 || c == 34676 || c == 34677;
}

bool acceptedPhotometric(uint32_t p) {
    return p == 0 || p == 1 || p == 2 || p == 3 || p == 5 || p == 6 || p == 8 || p == 32844 ||
           p == 32845;
}

bool integerType(uint32_t type) {
    return type == 3 || type == 4;
}

// The per-sample old-style JPEG table offsets, checked against the sample count.
std::vector<uint32_t> tableOffsets(TiffDirectoryReader& dir, const TiffPageInfo& info) {
    if (dir.count() != info.samplesPerPixel) throw TIFFERROR::DataIntegrity;
    return dir.integers();
}

// Reads `size` bytes at `offset`, or throws when they lie outside the file.
void readAt(InFile& file, uint64_t fileLength, uint32_t offset, uint8_t* out, uint32_t size) {
    if (uint64_t{offset} + size > fileLength) throw TIFFERROR::DataIntegrity;
    file.seek(offset);
    file.read(out, size);
}

}  // namespace

void readTiffPage(TiffDirectoryReader& dir, TiffPageInfo& info, InFile& file) {
    const uint64_t fileLength = dir.fileLength();
    while (dir.nextEntry()) {
        switch (dir.tag()) {
            case 256:
                info.width = dir.integer();
                break;
            case 257:
                info.length = dir.integer();
                break;
            case 258:
                info.bitsPerSample = dir.integers();
                if (info.bitsPerSample.empty()) info.bitsPerSample = {1};
                for (uint32_t b : info.bitsPerSample)
                    if (b == 0) throw TIFFERROR::ZeroBitsPerSample;
                break;
            case 259:
                info.compression = dir.integer();
                if (!acceptedCompression(info.compression)) throw TIFFERROR::UnsupportedCompression;
                break;
            case 262:
                info.photometric = dir.integer();
                if (!acceptedPhotometric(info.photometric)) throw TIFFERROR::UnsupportedPhotometric;
                break;
            case 266:
                info.fillOrder = dir.integer();
                if (info.fillOrder != 1 && info.fillOrder != 2)
                    throw TIFFERROR::UnsupportedFillOrder;
                break;
            case 273:
                info.stripOffsets = dir.integers();
                break;
            case 274: {
                const uint32_t o = dir.integer();
                info.orientation = o >= 1 && o <= 8 ? o : 1;
                info.flipHorizontal = o == 2 || o == 3 || o == 5 || o == 6;
                info.flipVertical = o == 3 || o == 4 || o == 6 || o == 7;
                info.transpose = o >= 5 && o <= 8;
                break;
            }
            case 277:
                info.samplesPerPixel = dir.integer();
                if (info.samplesPerPixel == 0) throw TIFFERROR::BadSamplesPerPixel;
                break;
            case 278:
                info.rowsPerStrip = dir.integer();
                break;
            case 279:
                info.stripByteCounts = dir.integers();
                break;
            case 282:
            case 283:
                if (dir.type() == 5 && dir.count() != 0) {
                    const double r = dir.rationals()[0];
                    (dir.tag() == 282 ? info.xResolution : info.yResolution) = r;
                }
                break;
            case 284:
                info.planarConfig = dir.integer();
                if (info.planarConfig != 1 && info.planarConfig != 2)
                    throw TIFFERROR::UnsupportedPlanarConfig;
                break;
            case 292:
                info.t4Options = dir.integer();
                break;
            case 293:
                info.t6Options = dir.integer();
                break;
            case 296:
                info.resolutionUnit = dir.integer();
                break;
            case 305: {
                const std::vector<uint8_t> text = dir.bytes(4096);
                const std::string_view s(reinterpret_cast<const char*>(text.data()), text.size());
                if (s.find("Wang Labs") != std::string_view::npos) info.wang = true;
                break;
            }
            case 317:
                info.predictor = dir.integer();
                if (info.predictor != 1 && info.predictor != 2)
                    throw TIFFERROR::UnsupportedPredictor;
                break;
            case 320:
                info.colourMap = dir.integers();
                break;
            case 322:
                info.tileWidth = dir.integer();
                break;
            case 323:
                info.tileLength = dir.integer();
                break;
            case 324:
                info.tileOffsets = dir.integers();
                break;
            case 325:
                info.tileByteCounts = dir.integers();
                break;
            case 332:
                info.inkSet = dir.integer();
                break;
            case 338:
                info.extraSamples = dir.integers();
                break;
            case 339:
                info.sampleFormat = dir.integers();
                break;
            case 340:
                info.minSampleValue = dir.integers();
                break;
            case 341:
                info.maxSampleValue = dir.integers();
                break;
            case 347:
                info.jpegTables = dir.bytes();
                break;
            case 512:
                if (dir.integer() != 1) throw TIFFERROR::UnsupportedJpeg;
                break;
            case 513:
                info.jpegInterchangeFormat = dir.integer();
                break;
            case 514:
                info.jpegInterchangeLength = dir.integer();
                break;
            case 515:
                info.jpegRestartInterval = dir.integer();
                break;
            case 519:
                if (integerType(dir.type())) {
                    const std::vector<uint32_t> offsets = tableOffsets(dir, info);
                    info.jpegQTables.assign(offsets.size(), {});
                    for (size_t i = 0; i < offsets.size(); ++i)
                        readAt(file, fileLength, offsets[i], info.jpegQTables[i].data(), 64);
                }
                break;
            case 520:
            case 521:
                if (integerType(dir.type())) {
                    const std::vector<uint32_t> offsets = tableOffsets(dir, info);
                    auto& tables = dir.tag() == 520 ? info.jpegDcTables : info.jpegAcTables;
                    tables.assign(offsets.size(), {});
                    for (size_t i = 0; i < offsets.size(); ++i) {
                        uint8_t counts[16];
                        readAt(file, fileLength, offsets[i], counts, 16);
                        uint32_t n = 0;
                        for (uint8_t c : counts) n += c;
                        n = std::min<uint32_t>(n, 256);
                        tables[i].assign(counts, counts + 16);
                        tables[i].resize(16 + n);
                        readAt(file, fileLength, offsets[i] + 16, tables[i].data() + 16, n);
                    }
                }
                break;
            case 529:
                if (dir.count() == 3) {
                    const std::vector<double> c = dir.rationals();
                    if (c.size() == 3)
                        std::copy(c.begin(), c.end(), info.ycbcrCoefficients.begin());
                }
                break;
            case 530:
                if (dir.count() == 2) {
                    const std::vector<uint32_t> s = dir.integers();
                    info.ycbcrSubH = s[0];
                    info.ycbcrSubV = s[1];
                }
                break;
            case 531: {
                const uint32_t p = dir.integer();
                if (p == 1 || p == 2) info.ycbcrPositioning = p;
                break;
            }
            case 32934:
                info.wang = true;
                break;
            default:
                break;
        }
    }
}

}  // namespace vivark
