// TiffFormat.h: the family's error values, message identifiers, save option keys
// and identify tests.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class TIFFERROR : uint32_t {
    UnsupportedDataType = 0,
    DataIntegrity = 1,
    UnsupportedCompression = 2,
    UnsupportedFillOrder = 3,
    InvalidFile = 4,
    ColourMapTooLarge = 5,
    ZeroBitsPerSample = 6,
    BadSamplesPerPixel = 7,
    UnsupportedPhotometric = 8,
    MissingPhotometric = 9,
    UnsupportedPredictor = 10,
    UnsupportedPlanarConfig = 11,
    UnsupportedJpeg = 12,
};

namespace msg {
inline constexpr MessageId TiffDataType = 11222;
inline constexpr MessageId TiffFillOrder = 11223;
inline constexpr MessageId TiffInvalid = 11224;
inline constexpr MessageId TiffZeroBits = 11225;
inline constexpr MessageId TiffSamples = 11226;
inline constexpr MessageId TiffPhotometric = 11227;
inline constexpr MessageId TiffNoPhotometric = 11228;
inline constexpr MessageId TiffPredictor = 11229;
inline constexpr MessageId TiffPlanar = 11230;
inline constexpr MessageId TiffJpeg = 11231;
}  // namespace msg

namespace saveKey {
inline constexpr std::string_view TiffByteOrder = "SaveOptions\\TIFF\\ByteOrder";
inline constexpr std::string_view TiffStripSize = "SaveOptions\\TIFF\\StripSize";
inline constexpr std::string_view TiffCompressionBlackWhite =
    "SaveOptions\\TIFF\\Compression\\BlackWhite";
inline constexpr std::string_view TiffCompressionColor = "SaveOptions\\TIFF\\Compression\\Color";
inline constexpr std::string_view TiffPhotometric = "SaveOptions\\TIFF\\Photometric";
inline constexpr std::string_view TiffPredictor = "SaveOptions\\TIFF\\Predictor";
inline constexpr std::string_view TiffT4Options = "SaveOptions\\TIFF\\T4Options";
inline constexpr std::string_view TiffT6Options = "SaveOptions\\TIFF\\T6Options";
}  // namespace saveKey

// The choices of the writer's integer options.
namespace tiffChoice {
// Compression\BlackWhite.
enum BlackWhite : int32_t { BwNone = 0, BwPackBits, BwLzw, BwGroup3OneD, BwGroup3TwoD, BwGroup4 };
// Compression\Color (grey and palette images too).
enum Colour : int32_t { ColourNone = 0, ColourPackBits, ColourLzw, ColourDeflate, ColourJpeg };
// Photometric: how grey and bilevel images are stored, or colour for palettes.
enum Photometric : int32_t { Automatic = 0, MinIsBlack, MinIsWhite, Rgb };
}  // namespace tiffChoice

// The identify tests (see formats/Identify.h for their contract).
bool identifyTiff(InFile& file, FormatInfo* info);

}  // namespace vivark
