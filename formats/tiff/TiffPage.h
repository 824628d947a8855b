// TiffPageInfo: what the reader keeps of one image file directory, and the
// tag handling that fills it (each refused value throws its TIFFERROR as the
// entry is met).
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "formats/tiff/TiffDirectory.h"

namespace vivark {

struct TiffPageInfo {
    uint32_t width = 0;
    uint32_t length = 0;
    std::vector<uint32_t> bitsPerSample{1};
    uint32_t compression = 1;
    uint32_t photometric = 0xFFFFFFFFu;  // not given
    uint32_t fillOrder = 1;
    std::vector<uint32_t> stripOffsets;
    bool flipVertical = false, flipHorizontal = false, transpose = false;
    uint32_t orientation = 1;
    uint32_t samplesPerPixel = 1;
    uint32_t rowsPerStrip = 0xFFFFFFFFu;
    std::vector<uint32_t> stripByteCounts;
    double xResolution = 0.0, yResolution = 0.0;
    uint32_t planarConfig = 1;
    uint32_t t4Options = 0;
    uint32_t t6Options = 0;
    uint32_t resolutionUnit = 2;
    uint32_t predictor = 1;
    std::vector<uint32_t> colourMap;
    uint32_t tileWidth = 0, tileLength = 0;
    std::vector<uint32_t> tileOffsets;
    std::vector<uint32_t> tileByteCounts;
    std::vector<uint32_t> sampleFormat;
    std::vector<uint32_t> minSampleValue, maxSampleValue;
    std::vector<uint8_t> jpegTables;
    uint32_t jpegInterchangeFormat = 0, jpegInterchangeLength = 0;
    uint32_t jpegRestartInterval = 0;
    std::vector<std::array<uint8_t, 64>> jpegQTables;
    std::vector<std::vector<uint8_t>> jpegDcTables, jpegAcTables;  // 16 counts + values
    std::array<double, 3> ycbcrCoefficients{0.299, 0.587, 0.114};
    uint32_t ycbcrSubH = 2, ycbcrSubV = 2;
    uint32_t ycbcrPositioning = 1;
    bool wang = false;
    std::vector<uint32_t> extraSamples;
    uint32_t inkSet = 1;

    bool tiled() const { return tileWidth != 0 || tileLength != 0 || !tileOffsets.empty(); }
};

// Reads the entries of the directory `dir` stands in (after firstDirectory
// or nextDirectory) into `info`.
void readTiffPage(TiffDirectoryReader& dir, TiffPageInfo& info, InFile& file);

}  // namespace vivark
