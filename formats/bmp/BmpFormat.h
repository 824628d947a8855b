// The Windows and OS/2 bitmap family: header layouts, constants and the
// pieces the family's files share (BmpReader.cpp reads headers, palettes and
// uncompressed rows; BmpRle.cpp owns RLE4/RLE8 both ways; BmpBitFields.cpp the
// 16- and 32-bit pixels; BmpIcon.cpp reads icons, cursors, pointers and the
// elements of arrays; BmpWriter.cpp the two bitmap writers; BmpIconPicture.cpp,
// BmpIconWriter.cpp and BmpOs2IconWriter.cpp the icon, cursor and pointer
// writers). Everything here throws BMPERROR, or IMAGEERROR::TooLarge
// when a size passes the caller's limits; InFile's errors pass through.
//
// Format tags: "BMPW" for a "BM" file with a 40-byte header and compression
// below 4 (a Windows bitmap), "BMP " for every other bitmap (OS/2 1.x and 2.x,
// bitmap arrays, the longer Windows headers), "ICOW" for a Windows icon,
// "CUR " for a Windows cursor, "ICO " for an OS/2 icon ("IC", "CI") and
// "PTR " for an OS/2 pointer ("PT", "CP").
//
// Info header variants, told apart by their size: 12 bytes is the OS/2 1.x
// core header (16-bit sizes, three-byte palette entries); 40, 52, 56, 108 and
// 124 bytes are the Windows headers, whose compression 3 means bit fields;
// every other size from 16 to 64 is the OS/2 2.x header, whose compression 3
// (Huffman 1D) and 4 (RLE24) are not supported.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "core/FormatTag.h"
#include "core/Image.h"
#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"
#include "formats/ImageReader.h"

namespace vivark {

// The family's errors; the values are fixed.
// Format readers.
enum class BMPERROR : uint32_t {
    InvalidFile = 0,
    DataIntegrity = 1,
    DataOverrun = 2,
    UnsupportedCompression = 3,
};

namespace msg {
inline constexpr MessageId BmpOverrun = 11177;
}  // namespace msg

// The keys of the family's save options.
namespace saveKey {
inline constexpr std::string_view WindowsBitmapEncode = "SaveOptions\\Windows Bitmap\\Encode";
inline constexpr std::string_view Os2BitmapFormat = "SaveOptions\\OS2 Bitmap\\Format";
inline constexpr std::string_view Os2BitmapEncode = "SaveOptions\\OS2 Bitmap\\Encode";
inline constexpr std::string_view WindowsIconSize = "SaveOptions\\Windows Icon\\Size";
inline constexpr std::string_view WindowsIconColorType = "SaveOptions\\Windows Icon\\Color Type";
inline constexpr std::string_view WindowsIconTransparent = "SaveOptions\\Windows Icon\\Transparent";
inline constexpr std::string_view WindowsCursorSize = "SaveOptions\\Windows Cursor\\Size";
inline constexpr std::string_view WindowsCursorColorType =
    "SaveOptions\\Windows Cursor\\Color Type";
inline constexpr std::string_view WindowsCursorTransparent =
    "SaveOptions\\Windows Cursor\\Transparent";
inline constexpr std::string_view Os2IconSize = "SaveOptions\\OS2 Icon\\Size";
inline constexpr std::string_view Os2IconColorType = "SaveOptions\\OS2 Icon\\Color Type";
inline constexpr std::string_view Os2IconTransparent = "SaveOptions\\OS2 Icon\\Transparent";
inline constexpr std::string_view Os2IconFormat = "SaveOptions\\OS2 Icon\\Format";
inline constexpr std::string_view Os2IconEncode = "SaveOptions\\OS2 Icon\\Encode";
inline constexpr std::string_view Os2PointerSize = "SaveOptions\\OS2 Pointer\\Size";
inline constexpr std::string_view Os2PointerColorType = "SaveOptions\\OS2 Pointer\\Color Type";
inline constexpr std::string_view Os2PointerTransparent = "SaveOptions\\OS2 Pointer\\Transparent";
inline constexpr std::string_view Os2PointerFormat = "SaveOptions\\OS2 Pointer\\Format";
inline constexpr std::string_view Os2PointerEncode = "SaveOptions\\OS2 Pointer\\Encode";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifyBmp(InFile& file, FormatInfo* info);

}  // namespace vivark

namespace vivark::bmp {

constexpr uint16_t typeWord(char a, char b) {
    return static_cast<uint16_t>(static_cast<uint8_t>(a) | (static_cast<uint8_t>(b) << 8));
}
inline constexpr uint16_t kTypeBitmap = typeWord('B', 'M');
inline constexpr uint16_t kTypeArray = typeWord('B', 'A');
inline constexpr uint16_t kTypeIcon = typeWord('I', 'C');
inline constexpr uint16_t kTypeColourIcon = typeWord('C', 'I');
inline constexpr uint16_t kTypePointer = typeWord('P', 'T');
inline constexpr uint16_t kTypeColourPointer = typeWord('C', 'P');

inline constexpr uint32_t kFileHeaderSize = 14;
inline constexpr uint32_t kCoreHeaderSize = 12;
inline constexpr uint32_t kInfoHeaderSize = 40;
inline constexpr uint32_t kOs2HeaderSize = 64;
inline constexpr uint32_t kV4HeaderSize = 108;
inline constexpr uint32_t kV5HeaderSize = 124;
// No header is longer than this; the rest of a longer one is skipped.
inline constexpr uint32_t kMaxHeaderSize = 4096;

// The header sizes only Windows writes: its 40-byte header, the 52- and
// 56-byte ones with masks, version 4 and 5 (108, 124) and anything longer
// than the OS/2 2.x header's 64 bytes. The others (12, 16 to 64) are OS/2's.
constexpr bool isWindowsHeaderSize(uint32_t size) {
    return size == kInfoHeaderSize || size == 52 || size == 56 || size == kV4HeaderSize ||
           size == kV5HeaderSize || size > kOs2HeaderSize;
}

enum Compression : uint32_t {
    kNone = 0,
    kRle8 = 1,
    kRle4 = 2,
    kBitFields = 3,  // Huffman 1D in an OS/2 2.x header
    kJpegOrRle24 = 4,
    kPng = 5,
    kAlphaBitFields = 6,
};

inline constexpr FormatTag kTagBitmap = makeTag("BMP ");
inline constexpr FormatTag kTagWindowsBitmap = makeTag("BMPW");
inline constexpr FormatTag kTagOs2Icon = makeTag("ICO ");
inline constexpr FormatTag kTagWindowsIcon = makeTag("ICOW");
inline constexpr FormatTag kTagCursor = makeTag("CUR ");
inline constexpr FormatTag kTagPointer = makeTag("PTR ");

// An info header as read, whatever its variant.
struct BmpHeader {
    uint32_t headerSize = 0;
    uint32_t width = 0;
    uint32_t height = 0;  // rows of the picture (half the stored rows for icons)
    bool topDown = false;
    uint16_t bitCount = 0;
    uint32_t compression = kNone;
    uint32_t coloursUsed = 0;
    int32_t xPelsPerMetre = 0;
    int32_t yPelsPerMetre = 0;
    std::array<uint32_t, 3> masks{};  // red, green, blue; 0 when the file gives none
    bool os2Numbering = false;        // compression values of the OS/2 2.x header
    uint32_t paletteEntrySize = 4;
};

// Reads an info header at the current position, with the bit-field masks
// that follow a 40-byte header. Throws BMPERROR::InvalidFile when the size or
// the dimensions are out of range.
BmpHeader readInfoHeader(InFile& file);

// Reads the palette that follows the header (when the depth has one) and the
// pixels at `pixelOffset` (relative to the origin; 0: right after the
// palette) into `image`.
void readBitmapBody(InFile& file, const BmpHeader& header, int64_t pixelOffset, Image& image,
                    const ReadOptions& options);

// The bytes of one stored row: rows are padded to four bytes.
constexpr uint64_t storedRowBytes(uint32_t width, uint32_t bitCount) {
    return (uint64_t{width} * bitCount + 31) / 32 * 4;
}

// Bytes left in the file after the current position.
uint64_t bytesLeft(const InFile& file);

// Reports a finished picture row; throws INFILEERROR::Cancelled on a cancel.
void rowDone(const ReadOptions& options, uint32_t done, uint32_t total);

// Variants (their own files).
void readRlePixels(InFile& file, const BmpHeader& header, Image& image, const ReadOptions& options);
void readBitFieldPixels(InFile& file, const BmpHeader& header, Image& image,
                        const ReadOptions& options);
// Icons, cursors and pointers, from the type word on (the file is positioned
// at its origin).
void readWindowsIcon(InFile& file, Image& image, const ReadOptions& options);

// The element of an array ("BA", its elements chained by offsets from the
// file's start) that a page picks, the first when the page is beyond the
// array (the caller refuses it by the page count); with `list`, an
// "IconInfo" item for each element, in file order.
struct ArrayElement {
    int64_t offset = 0;  // of the element's array header
    uint32_t count = 0;  // elements in the array
    std::vector<InfoItem> listed;
};
ArrayElement chooseArrayElement(InFile& file, uint32_t page, bool list);
void readOs2Icon(InFile& file, Image& image, const ReadOptions& options);

// RLE encoding of one row of 8- or 4-bit indices (one byte per pixel),
// without its end-of-line code; appends to `out` and returns the bytes added.
void encodeRleRow(const uint8_t* indices, uint32_t width, unsigned bits, std::vector<uint8_t>& out);

}  // namespace vivark::bmp
