// Message identifiers and the string table of the system's own messages.
//
// Every failure the user reads is a message identifier from 11000 on; the
// texts are the system's words and are shown as they stand. Identifiers that
// other components name (the JPEG, PNG and ZIP ranges) are fixed; the rest are
// assigned here once. Texts holding "%s" take a file name (formatMessage).
//
// The JPEG library's own messages (11041 to 11107) are not in this table: the
// JPEG adapter registers a provider that looks them up in the library at run
// time, so the library's table is never copied.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace vivark {

using MessageId = uint32_t;

namespace msg {
inline constexpr MessageId None = 0;
inline constexpr MessageId UnrecognizedFormat = 11000;
inline constexpr MessageId CannotOpen = 11001;
inline constexpr MessageId WriteProtected = 11002;
inline constexpr MessageId DiskFull = 11003;
inline constexpr MessageId CannotCreateFolder = 11004;
inline constexpr MessageId FileIo = 11005;
inline constexpr MessageId UnexpectedEnd = 11006;
inline constexpr MessageId BinaryData = 11007;
inline constexpr MessageId InvalidFile = 11009;
inline constexpr MessageId DataIntegrity = 11012;
inline constexpr MessageId Unknown = 11015;
inline constexpr MessageId CannotSave = 11016;         // "%s": the target file
inline constexpr MessageId CannotCreateTemp = 11017;   // "%s": the temporary file
inline constexpr MessageId CannotReplaceFile = 11018;  // "%s": the source file
inline constexpr MessageId ConversionFailed = 11019;   // "%s": the converted file
inline constexpr MessageId NeedsColourReduction = 11020;
inline constexpr MessageId JpegLibraryFirst = 11041;  // the JPEG library's messages
inline constexpr MessageId JpegLibraryLast = 11107;
inline constexpr MessageId JpegBadHeader = 11108;
inline constexpr MessageId JpegNotTablesOnly = 11109;
inline constexpr MessageId PngFirst = 11110;  // PNGERROR v is PngFirst + v, v = 0..18
inline constexpr MessageId CcittData = 11129;
inline constexpr MessageId PackBitsData = 11130;
inline constexpr MessageId LzwData = 11131;
inline constexpr MessageId ZipFirst = 11169;  // ZIPERROR v is ZipFirst + v, v = 0..7
inline constexpr MessageId BmpOverrun = 11177;
inline constexpr MessageId UnsupportedCompression = 11178;
inline constexpr MessageId FitsNaxis = 11179;
inline constexpr MessageId FitsBitpix = 11180;
inline constexpr MessageId GifPrematureEnd = 11181;
inline constexpr MessageId GifNoColourMap = 11182;
inline constexpr MessageId GifBadCodeSize = 11183;
inline constexpr MessageId IffFirst = 11184;  // IFFERROR v is IffFirst + v, v = 0..11
inline constexpr MessageId ImgPlanes = 11196;
inline constexpr MessageId MspNotMsp = 11197;
inline constexpr MessageId PcdBase = 11197;  // PCDERROR v (1..9) is PcdBase + v
inline constexpr MessageId PsdDepth = 11207;
inline constexpr MessageId PsdColourMode = 11208;
inline constexpr MessageId PsdCompression = 11209;
inline constexpr MessageId ColourMapTooLarge = 11210;
inline constexpr MessageId UnsupportedChannels = 11211;
inline constexpr MessageId UnsupportedBitCount = 11212;
inline constexpr MessageId RasType = 11213;
inline constexpr MessageId RasMapType = 11214;
inline constexpr MessageId SffNoPageHeader = 11215;
inline constexpr MessageId SffCoding = 11216;
inline constexpr MessageId SgiMapOnly = 11217;
inline constexpr MessageId SgiColourType = 11218;
inline constexpr MessageId SgiStorage = 11219;
inline constexpr MessageId SgiChannelSize = 11220;
inline constexpr MessageId TgaMapFormat = 11221;
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
inline constexpr MessageId WpgNoRaster = 11232;
inline constexpr MessageId XpmHeader = 11233;
inline constexpr MessageId XpmColourMap = 11234;
inline constexpr MessageId XpmUnknownColour = 11235;
inline constexpr MessageId XpmUnknownPixel = 11236;
inline constexpr MessageId XwdImageData = 11237;
inline constexpr MessageId XwdByteOrder = 11238;
inline constexpr MessageId XwdBitOrder = 11239;
inline constexpr MessageId XwdUnit = 11240;
inline constexpr MessageId XwdFormat = 11241;
inline constexpr MessageId XwdBitmask = 11242;
inline constexpr MessageId XwdNoColourMap = 11243;
inline constexpr MessageId PalSignature = 11244;
inline constexpr MessageId PalData = 11245;
inline constexpr MessageId ImageTooLarge = 11258;
inline constexpr MessageId SlideShowList = 20000;  // a load result, not a text
}  // namespace msg

// The text of a message, or an empty view when the identifier has none.
std::string_view messageText(MessageId id);

// The text with its "%s" replaced by `name` (texts without "%s" are returned
// as they are). An identifier without a text gives "An unknown error occurred".
std::string formatMessage(MessageId id, std::string_view name = {});

// The JPEG adapter hands the library's message texts in through this hook: it
// is asked for identifiers in JpegLibraryFirst..JpegLibraryLast and any other
// identifier the table lacks, and returns an empty view when it has none.
using MessageProvider = std::string_view (*)(MessageId id);
void setLibraryMessageProvider(MessageProvider provider);

// Every identifier of the table, in ascending order, for listings and checks.
struct MessageEntry {
    MessageId id;
    std::string_view text;
};
std::span<const MessageEntry> messageTable();

}  // namespace vivark
