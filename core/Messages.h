// Message identifiers and the string table of the system's own messages.
//
// Every failure the user reads is a message identifier from 11000 on; the
// texts are the system's words and are shown as they stand; the identifiers
// are fixed. The names below are those the core, the codecs and several
// formats share; a format family names its own identifiers in its folder.
// Texts holding "%s" take a file name (formatMessage).
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
inline constexpr MessageId CcittData = 11129;
inline constexpr MessageId PackBitsData = 11130;
inline constexpr MessageId LzwData = 11131;
inline constexpr MessageId ZipFirst = 11169;  // ZIPERROR v is ZipFirst + v, v = 0..7
inline constexpr MessageId UnsupportedCompression = 11178;
inline constexpr MessageId ColourMapTooLarge = 11210;
inline constexpr MessageId UnsupportedChannels = 11211;
inline constexpr MessageId UnsupportedBitCount = 11212;
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
