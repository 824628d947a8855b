// The error enumerations of the core, the codecs and the save path.
//
// Each component reports failure by throwing one plain enumeration of its own
// by value; nothing in the core formats text. The loader and the save path
// catch these by type and turn (type, value) into a message identifier
// (ErrorMapping.h); the identifiers and texts live in MessageTable.cpp. A
// format family declares its own enumeration in its folder, with its mapping
// in its registry entry. Enumerator names say which fact failed; the numeric
// values are fixed and part of the error model.
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

// The value is the offset of the JPEG library's message from 11000: message 11000 + value.
enum class JFIFERROR : uint32_t {};
enum class JFIFWRITEERROR : uint32_t { LibraryError = 0 };
enum class JPEGERROR : uint32_t { BadHeader = 0, NotTablesOnly = 1 };

// The save path itself (formats/SaveDispatch.h): what no writer can take.
enum class SAVEERROR : uint32_t {
    NeedsColourReduction =
        0,                  // more colours (or colour where grey is needed) than the format holds
    TooLargeForFormat = 1,  // the image's size does not fit the format's fields
};

}  // namespace vivark
