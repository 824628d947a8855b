// The error enumerations of every component.
//
// Each component reports failure by throwing one plain enumeration of its own
// by value; nothing in the core formats text. The loader and the save path
// catch these by type and turn (type, value) into a message identifier
// (ErrorMapping.h); the identifiers and texts live in MessageTable.cpp.
//
// The enumerations are gathered here, in one place, because the mapping owns
// their meaning: a value added to a component must get its message at the same
// time. Enumerator names say which fact failed; the numeric values are fixed
// and part of the error model.
//
// Cancellation is a value too: a reader that is cancelled through its
// ProgressCallback throws INFILEERROR::Cancelled (the load then records no
// message), a writer throws OUTFILEERROR::Cancelled.
#pragma once

#include <cstdint>

namespace vivark {

// InFile (core/InFile.h).
enum class INFILEERROR : uint32_t {
    Cancelled = 0,      // the reader was cancelled; no message is shown
    ReadFailed = 1,     // the system's read returned -1
    UnexpectedEnd = 2,  // a refill found no more data
    SeekFailed = 3,     // a seek landed elsewhere, or the position could not be read
    OpenFailed = 4,     // the file could not be opened
    BinaryData = 5,     // a zero byte inside a text line
    IsDirectory = 7,    // the name is a directory
};

// OutFile (core/OutFile.h).
enum class OUTFILEERROR : uint32_t {
    Cancelled = 0,    // the writer was cancelled through its ProgressCallback
    DiskFull = 1,     // write reported no space, or wrote nothing
    WriteFailed = 2,  // any other write failure or short write
    SeekFailed = 3,   // a seek landed elsewhere, or the position could not be read
};

// Creating an output file (core/SafeOutFile.h): the system's reason decides the
// message, and the caller adds the file name.
enum class CREATEERROR : uint32_t {
    WriteProtected = 0,  // read-only file system or medium
    DiskFull = 1,        // no space to create the file
    CannotCreate = 2,    // any other reason
    CannotReplace = 3,   // the finished file could not be renamed into place
};

// Image (core/PixelPlane.h).
enum class IMAGEERROR : uint32_t {
    TooLarge = 0,  // rowStride x height does not fit below 2 GiB
};

// Palette files.
enum class PALERROR : uint32_t {
    UnknownSignature = 1,  // the first line is no known palette signature
    BadCount = 2,          // colour count outside 1..256, or a component above 255
};

// Stream codecs: one value each.
enum class CCITTERROR : uint32_t { InvalidCode = 0 };
enum class PACKBITSERROR : uint32_t { Overrun = 0 };
enum class LZWERROR : uint32_t { InvalidCode = 0 };

enum class ZIPERROR : uint32_t {
    HeaderCheck = 0,        // the zlib header's modulo-31 check failed
    BadMethod = 1,          // compression method other than 8
    BadBlockType = 2,       // block type 3
    InvalidData = 3,        // stored length mismatch, bad code, distance too far
    IncompleteCodeSet = 4,  // a Huffman code set does not cover the code space
    TooManyCodes = 5,       // a Huffman code set over-subscribes the code space
    ChecksumMismatch = 6,   // the Adler-32 trailer does not match
    DataIncomplete = 7,     // data asked for past the final block
};

// Format readers.
enum class BMPERROR : uint32_t {
    InvalidFile = 0,
    DataIntegrity = 1,
    DataOverrun = 2,
    UnsupportedCompression = 3,
};
enum class FAX3ERROR : uint32_t { Unknown = 0, DataIntegrity = 1 };
enum class FITSERROR : uint32_t {
    Unknown = 0,
    UnsupportedNaxis = 1,
    UnsupportedNaxisN = 2,
    UnsupportedBitpix = 3,
    DataIntegrity = 4,
};
enum class GIFERROR : uint32_t {
    Unknown = 0,
    PrematureEnd = 1,    // the data sub-blocks ended before the image was complete
    NoColourMap = 2,     // neither a global nor a local colour table
    BadLzwCodeSize = 3,  // the LZW minimum code size is out of range
};
enum class IFFERROR : uint32_t {
    NotIff = 0,
    NotForm = 1,
    UnknownSubtype = 2,
    UnknownMask = 3,
    UnknownCompression = 4,
    UnknownPchgCompression = 5,
    PchgTooShort = 6,
    UnsupportedPchg = 7,
    ChunkTooShort = 8,
    NoBody = 9,
    NoBmhd = 10,
    UnsupportedPlanes = 11,
};
enum class IMGERROR : uint32_t { DataIntegrity = 0, InvalidFile = 1, BadPlaneCount = 2 };
// The value is the offset of the JPEG library's message from 11000: message 11000 + value.
enum class JFIFERROR : uint32_t {};
enum class JFIFWRITEERROR : uint32_t { LibraryError = 0 };
enum class JPEGERROR : uint32_t { BadHeader = 0, NotTablesOnly = 1 };
enum class LGOERROR : uint32_t { DataIntegrity = 0 };
enum class MACPERROR : uint32_t { Unknown = 0 };
enum class MSPERROR : uint32_t { NotMsp = 0, DataIntegrity = 1 };
enum class PCDERROR : uint32_t {
    DataIntegrity = 0,
    BadLineLength = 1,
    BadLineTag = 2,
    BadLineNumber = 3,
    MissingSync = 4,
    BadHuffmanTable = 5,
    MissingLuminance = 6,
    BadDescriptorCount = 7,
    BadFileNameCount = 8,
    BadFileCount = 9,
};
enum class PCXERROR : uint32_t { InvalidFile = 0, DataIntegrity = 1 };
enum class PSDERROR : uint32_t {
    DataIntegrity = 0,
    UnsupportedDepth = 1,
    UnsupportedColourMode = 2,
    UnsupportedCompression = 3,
};
enum class PICERROR : uint32_t { DataIntegrity = 0, InvalidFile = 1, ColourMapTooLarge = 2 };
enum class PICBERROR : uint32_t { InvalidFile = 0 };
enum class PICSERROR : uint32_t {
    BadMagic = 0,
    BadHeader = 1,
    BadChannels = 2,
    DataIntegrity = 3,
};
enum class PNGERROR : uint32_t {
    NotPng = 0,
    BadCrc = 1,
    BadIhdrLength = 2,
    ZeroSize = 3,
    UnknownCompression = 4,
    UnknownInterlace = 5,
    BadBitDepth = 6,
    BadColourType = 7,
    BadPlteLength = 8,
    MultipleIhdr = 9,
    MultiplePlte = 10,
    MultipleGama = 11,
    UnknownFilterType = 12,
    UnknownFilterMethod = 13,
    MissingIhdr = 14,
    MissingPlte = 15,
    MissingIdat = 16,
    BadIdatLength = 17,
    UnexpectedIdat = 18,
};
enum class PNMERROR : uint32_t { DataIntegrity = 0, InvalidFile = 1 };
enum class RLECERROR : uint32_t { InvalidFile = 0 };
enum class RLEUERROR : uint32_t {
    InvalidFile = 0,
    DataIntegrity = 1,
    UnsupportedChannels = 2,
    UnsupportedDepth = 3,
};
enum class RASERROR : uint32_t {
    UnsupportedDepth = 0,
    UnsupportedType = 1,
    UnsupportedMapType = 2
};
enum class SFFERROR : uint32_t {
    InvalidFile = 0,
    DataIntegrity = 1,
    NoPageHeader = 2,
    UnknownCoding = 3,
};
enum class SGIERROR : uint32_t {
    InvalidFile = 0,
    DataIntegrity = 1,
    ColourMapOnly = 2,
    UnsupportedColourType = 3,
    UnsupportedStorage = 4,
    UnsupportedChannelSize = 5,
};
enum class TGAERROR : uint32_t {
    UnsupportedMapFormat = 0,
    DataIntegrity = 1,
    InvalidFile = 2,
    ColourMapTooLarge = 3,
};
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
enum class WPGERROR : uint32_t { Unknown = 0, InvalidFile = 1, NoRaster = 2, DataIntegrity = 3 };
enum class XBMERROR : uint32_t { DataIntegrity = 0 };
enum class XPMERROR : uint32_t {
    Unknown = 0,
    BadHeader = 1,
    BadColourMap = 2,
    UnknownColour = 3,
    UnknownPixel = 4,
};
enum class XWDERROR : uint32_t {
    BadImageData = 0,
    UnknownByteOrder = 1,
    UnknownBitOrder = 2,
    UnsupportedUnit = 3,
    UnsupportedDepth = 4,
    UnsupportedFormat = 5,
    BadBitmask = 6,
    ColourMapTooLarge = 7,
    MissingColourMap = 8,
};

// Writers whose failures are their own (the save path maps them).
enum class FAX3WRITEERROR : uint32_t { Unknown = 0 };

// The save path itself (formats/SaveDispatch.h): what no writer can take.
enum class SAVEERROR : uint32_t {
    NeedsColourReduction =
        0,                  // more colours (or colour where grey is needed) than the format holds
    TooLargeForFormat = 1,  // the image's size does not fit the format's fields
};

}  // namespace vivark
