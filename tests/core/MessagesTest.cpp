// Messages and the mapping of thrown error values to them: each error family
// gives its texts and its fallback, and every identifier the mappings can give
// has a text.
#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <stdexcept>
#include <string_view>

#include "core/Errors.h"
#include "core/Messages.h"
#include "formats/ErrorMessages.h"
#include "formats/FormatTable.h"

namespace vivark {
namespace {

constexpr std::string_view kUnknown = "An unknown error occurred";
constexpr std::string_view kIntegrity = "Data integrity error";
constexpr std::string_view kInvalid = "Invalid or unsupported file";
constexpr std::string_view kIo = "File I/O error";

template <class Thrown>
MessageId loadMessageFor(Thrown thrown) {
    try {
        throw thrown;
    } catch (...) {
        return loadMessageForCurrentException();
    }
}

template <class Thrown>
MessageId saveMessageFor(Thrown thrown) {
    try {
        throw thrown;
    } catch (...) {
        return saveMessageForCurrentException();
    }
}

template <class E>
MessageId load(uint32_t value) {
    return loadMessageFor(static_cast<E>(value));
}

// The message of value `value` of the `index`-th error enumeration of the
// format entry tagged `tag`, raised as its reader would raise it.
MessageId formatError(FormatTag tag, uint32_t value, size_t index = 0) {
    const FormatEntry* entry = findFormatEntry(tag);
    if (entry == nullptr || index >= entry->errors.size()) return 0;
    try {
        entry->errors[index].throwValue(value);
    } catch (...) {
        return loadMessageForCurrentException();
    }
    return 0;
}

TEST(LoadMessages, EachErrorFamilyGivesItsTextsAndItsFallback) {
    struct Case {
        const char* what;
        MessageId id;
        std::string_view text;
    };
    const Case cases[] = {
        {"INFILE 2", load<INFILEERROR>(2), "Unexpected end of file"},
        {"INFILE 5", load<INFILEERROR>(5), "Unexpected binary data encountered in file"},
        {"INFILE other", load<INFILEERROR>(99), kIo},
        {"CCITT any", load<CCITTERROR>(7), "Error in CCITT compressed data"},
        {"PACKBITS any", load<PACKBITSERROR>(0), "Error in PackBits encoded data"},
        {"LZW any", load<LZWERROR>(3), "Error in LZW compressed data"},
        {"ZIP 0", load<ZIPERROR>(0),
         "Error in ZIP compressed data: Compression flag modulo check failed"},
        {"ZIP 7", load<ZIPERROR>(7), "Error in ZIP compressed data: Image data incomplete"},
        {"ZIP other", load<ZIPERROR>(8), kUnknown},
        {"BMP 0", formatError(makeTag("BMP "), 0), kInvalid},
        {"FAX3 1", formatError(makeTag("FAX3"), 1), kIntegrity},
        {"FITS 2", formatError(makeTag("FITS"), 2), "Unsupported NAXIS value"},
        {"GIF 1", formatError(makeTag("GIF "), 1),
         "Premature end of data blocks. Image data incomplete."},
        {"IFF 11", formatError(makeTag("IFF "), 11), "Unsupported bitcount/plane configuration"},
        {"IMG 2", formatError(makeTag("GEMP"), 2), "Invalid or unsupported number of color planes"},
        {"JPEG 1", load<JPEGERROR>(1), "Error reading JPEG data header: Only table data expected"},
        {"LGO 0", formatError(makeTag("LOGO"), 0), kIntegrity},
        {"MACP 0", formatError(makeTag("PNTG"), 0), kUnknown},
        {"MSP 0", formatError(makeTag("MSP "), 0), "Not a Microsoft Paint (MSP) file"},
        {"PCD 9", formatError(makeTag("PCD "), 9), "Invalid file count"},
        {"PCX 1", formatError(makeTag("PCX "), 1), kIntegrity},
        {"PSD 3", formatError(makeTag("PSD "), 3), "Unsupported compression type"},
        {"PIC 2", formatError(makeTag("PIC "), 2), "Colormap too large"},
        {"PICB 0", formatError(makeTag("PICB"), 0), kInvalid},
        {"PICS 3", formatError(makeTag("PICS"), 3), kIntegrity},
        {"PNG 0", formatError(makeTag("PNG "), 0), "Not a PNG file"},
        {"PNG 18", formatError(makeTag("PNG "), 18), "Unexpected IDAT chunk encountered"},
        {"PNM 1", formatError(makeTag("PBM "), 1), kInvalid},
        {"RLEC 0", formatError(makeTag("RLEC"), 0), kInvalid},
        {"RLEU 2", formatError(makeTag("RLEU"), 2), "Unsupported number of color channels"},
        {"RAS 2", formatError(makeTag("RAS "), 2), "Unsupported type of colormap"},
        {"SFF 2", formatError(makeTag("SFF "), 2), "Unable to locate page header"},
        {"SGI 5", formatError(makeTag("SGI "), 5), "Unsupported number of bytes per pixel channel"},
        {"TGA 0", formatError(makeTag("TGA "), 0), "Unsupported colormap format"},
        {"TIFF 12", formatError(makeTag("TIFF"), 12), "Unsupported JPEG compression method"},
        {"WPG 2", formatError(makeTag("WPG "), 2),
         "The WPG file contains no raster bitmap data. (Cannot handle vector graphics.)"},
        {"XBM 0", formatError(makeTag("XBM "), 0), kIntegrity},
        {"XPM 4", formatError(makeTag("XPM "), 4),
         "Error in pixel data. The specified pixel cannot be found in the colormap"},
        {"XWD 8", formatError(makeTag("XWD "), 8), "Missing colormap"},
        {"IMAGE 0", load<IMAGEERROR>(0), "Image dimension exceeds maximum supported size"},
        {"not an error type", loadMessageFor(std::runtime_error("boom")), kUnknown},
        {"not a load error", loadMessageFor(OUTFILEERROR::DiskFull), kUnknown},
    };
    for (const Case& c : cases) EXPECT_EQ(messageText(c.id), c.text) << c.what;
    EXPECT_EQ(load<INFILEERROR>(0), msg::None);
    EXPECT_EQ(load<JFIFERROR>(41), 11041u);  // the JPEG library's own messages
}

TEST(SaveMessages, WriterAndCreationFailuresGiveTheirTexts) {
    EXPECT_EQ(saveMessageFor(OUTFILEERROR::Cancelled), msg::None);
    struct Case {
        MessageId id;
        std::string_view text;
    };
    const Case cases[] = {
        {saveMessageFor(OUTFILEERROR::DiskFull), "Disk is full"},
        {saveMessageFor(OUTFILEERROR::WriteFailed), kIo},
        {saveMessageFor(CREATEERROR::WriteProtected), "Disk is write protected"},
        {saveMessageFor(CREATEERROR::DiskFull), "Disk is full"},
        {saveMessageFor(CREATEERROR::CannotCreate), "Cannot save file %s"},
        // A save fails with the reader's and the image's errors too.
        {saveMessageFor(IMAGEERROR::TooLarge), "Image dimension exceeds maximum supported size"},
        {saveMessageFor(INFILEERROR::UnexpectedEnd), "Unexpected end of file"},
        {saveMessageFor(std::runtime_error("boom")), kUnknown},
    };
    for (const Case& c : cases) EXPECT_EQ(messageText(c.id), c.text) << "message " << c.id;
    EXPECT_EQ(formatMessage(saveMessageFor(CREATEERROR::CannotCreate), "a.gif"),
              "Cannot save file a.gif");
    EXPECT_EQ(formatMessage(msg::DiskFull, "a.gif"), "Disk is full");
    EXPECT_EQ(formatMessage(12345), kUnknown);
}

// Every value of every error enumeration, of the core and of each format
// entry, maps to an identifier that has a text; a format value never falls
// through to another family's mapping.
TEST(Messages, EveryIdentifierTheMappingsGiveHasAText) {
    std::set<MessageId> ids;
    for (uint32_t value = 0; value < 64; ++value) {
        for (MessageId id :
             {load<INFILEERROR>(value), load<CCITTERROR>(value), load<PACKBITSERROR>(value),
              load<LZWERROR>(value), load<ZIPERROR>(value), load<JPEGERROR>(value),
              load<IMAGEERROR>(value), load<PALERROR>(value),
              saveMessageFor(static_cast<OUTFILEERROR>(value)),
              saveMessageFor(static_cast<CREATEERROR>(value)),
              saveMessageFor(static_cast<JFIFWRITEERROR>(value)),
              saveMessageFor(static_cast<SAVEERROR>(value))})
            ids.insert(id);
    }
    size_t mappings = 0;
    for (const FormatEntry* entry : formatTable()) {
        for (const ErrorMapping& mapping : entry->errors) {
            ++mappings;
            ASSERT_GT(mapping.valueCount, 0u) << entry->name;
            for (uint32_t value = 0; value < mapping.valueCount; ++value) {
                try {
                    mapping.throwValue(value);
                } catch (...) {
                    const std::optional<MessageId> own = mapping.current();
                    ASSERT_TRUE(own.has_value()) << entry->name << " value " << value;
                    EXPECT_EQ(loadMessageForCurrentException(entry), *own);
                    ids.insert(*own);
                }
            }
        }
    }
    EXPECT_GE(mappings, 30u);
    ids.erase(msg::None);
    for (MessageId id : ids) {
        if (id >= msg::JpegLibraryFirst && id <= msg::JpegLibraryLast) continue;
        EXPECT_FALSE(messageText(id).empty()) << "message " << id;
    }
}

}  // namespace
}  // namespace vivark
