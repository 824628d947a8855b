// Messages and the mapping of thrown error values to them: every value of
// every error type gives the text the user is meant to read, including each
// type's fallback, and every identifier the mappings can give has a text.
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "core/ErrorMapping.h"
#include "core/Messages.h"

namespace vivark {
namespace {

constexpr std::string_view kNone;  // no message is recorded
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
MessageId loadMessageForValue(uint32_t value) {
    return loadMessageFor(static_cast<E>(value));
}

// The load mapping of one error type: the text of values 0, 1, 2 ... and of
// any other value.
struct MappingRow {
    const char* type;
    MessageId (*messageFor)(uint32_t value);
    std::vector<std::string_view> texts;
    std::string_view otherwise;
};

template <class E>
MappingRow row(const char* type, std::vector<std::string_view> texts, std::string_view otherwise) {
    return {type, &loadMessageForValue<E>, std::move(texts), otherwise};
}

std::vector<MappingRow> loadMapping() {
    return {
        row<INFILEERROR>("INFILEERROR",
                         {kNone, kIo, "Unexpected end of file", kIo, kIo,
                          "Unexpected binary data encountered in file"},
                         kIo),
        row<CCITTERROR>("CCITTERROR", {}, "Error in CCITT compressed data"),
        row<PACKBITSERROR>("PACKBITSERROR", {}, "Error in PackBits encoded data"),
        row<LZWERROR>("LZWERROR", {}, "Error in LZW compressed data"),
        row<ZIPERROR>("ZIPERROR",
                      {"Error in ZIP compressed data: Compression flag modulo check failed",
                       "Error in ZIP compressed data: Invalid compression method",
                       "Error in ZIP compressed data: Invalid block type",
                       "Error in ZIP compressed data: Invalid data",
                       "Error in ZIP compressed data: Huffman code set incomplete",
                       "Error in ZIP compressed data: More Huffman codes than bits",
                       "Error in ZIP compressed data: Adler32 checksum error",
                       "Error in ZIP compressed data: Image data incomplete"},
                      kUnknown),
        row<BMPERROR>("BMPERROR",
                      {kInvalid, kIntegrity, "Data overrun (superfluous pixel data)",
                       "Unsupported compression method"},
                      kUnknown),
        row<FAX3ERROR>("FAX3ERROR", {kUnknown, kIntegrity}, kUnknown),
        row<FITSERROR>("FITSERROR",
                       {kUnknown, "Unsupported NAXIS value", "Unsupported NAXIS value",
                        "Unsupported BITPIX value", kIntegrity},
                       kUnknown),
        row<GIFERROR>("GIFERROR",
                      {kUnknown, "Premature end of data blocks. Image data incomplete.",
                       "No color map is defined", "Invalid LZW code size"},
                      kUnknown),
        row<IFFERROR>(
            "IFFERROR",
            {"Not an EA'85 IFF file", "The file is not a FORM type IFF file", "Unknown IFF subtype",
             "Unknown mask method", "Unknown compression method", "Unknown PCHG compression method",
             "Insufficient data in PCHG chunk", "Unsupported PCHG format",
             "Insufficient chunk data", "IFF file contains no BODY chunk (No image data)",
             "Required chunk BMHD is missing", "Unsupported bitcount/plane configuration"},
            kUnknown),
        row<IMGERROR>("IMGERROR",
                      {kIntegrity, kInvalid, "Invalid or unsupported number of color planes"},
                      kUnknown),
        row<JPEGERROR>("JPEGERROR",
                       {"Error reading JPEG data header",
                        "Error reading JPEG data header: Only table data expected"},
                       kUnknown),
        row<LGOERROR>("LGOERROR", {kIntegrity}, kUnknown),
        row<MACPERROR>("MACPERROR", {}, kUnknown),
        row<MSPERROR>("MSPERROR", {"Not a Microsoft Paint (MSP) file", kIntegrity}, kUnknown),
        row<PCDERROR>("PCDERROR",
                      {kIntegrity, "Invalid line length", "Invalid line tag", "Invalid line number",
                       "Missing synch mark", "Error in Huffman table", "Missing luminance channel",
                       "Invalid descriptor count", "Invalid file name count", "Invalid file count"},
                      kUnknown),
        row<PCXERROR>("PCXERROR", {kInvalid, kIntegrity}, kUnknown),
        row<PSDERROR>("PSDERROR",
                      {kIntegrity, "Unsupported bit count", "Unsupported color mode",
                       "Unsupported compression type"},
                      kUnknown),
        row<PICERROR>("PICERROR", {kIntegrity, kInvalid, "Colormap too large"}, kUnknown),
        row<PICBERROR>("PICBERROR", {kInvalid}, kUnknown),
        row<PICSERROR>("PICSERROR", {kInvalid, kInvalid, kInvalid, kIntegrity}, kUnknown),
        row<PNGERROR>("PNGERROR",
                      {"Not a PNG file", "CRC32 Error", "Invalid IHDR chunk length",
                       "Image width or height is zero", "Unknown compression method",
                       "Unknown interlace method", "Invalid bit depth", "Invalid color type",
                       "Invalid PLTE chunk length (not divisible by 3)", "Multiple IHDR chunks",
                       "Multiple PLTE chunks", "Multiple gAMA chunks",
                       "Unknown adaptive filter encountered", "Unknown filter method",
                       "IHDR chunk is missing", "PLTE chunk is missing", "IDAT chunk is missing",
                       "Invalid IDAT chunk length", "Unexpected IDAT chunk encountered"},
                      kUnknown),
        row<PNMERROR>("PNMERROR", {kIntegrity, kInvalid}, kUnknown),
        row<RLECERROR>("RLECERROR", {kInvalid}, kUnknown),
        row<RLEUERROR>(
            "RLEUERROR",
            {kInvalid, kIntegrity, "Unsupported number of color channels", "Unsupported bitcount"},
            kUnknown),
        row<RASERROR>("RASERROR",
                      {"Unsupported bitcount", "Unsupported type", "Unsupported type of colormap"},
                      kUnknown),
        row<SFFERROR>(
            "SFFERROR",
            {kInvalid, kIntegrity, "Unable to locate page header", "Unknown coding method"},
            kUnknown),
        row<SGIERROR>("SGIERROR",
                      {kInvalid, kIntegrity, "This SGI file only holds a color map (no image data)",
                       "Unsupported color type", "Unsupported method of storage",
                       "Unsupported number of bytes per pixel channel"},
                      kUnknown),
        row<TGAERROR>("TGAERROR",
                      {"Unsupported colormap format", kIntegrity, kInvalid, "Colormap too large"},
                      kUnknown),
        row<TIFFERROR>(
            "TIFFERROR",
            {"Unsupported data type encountered", kIntegrity, "Unsupported compression method",
             "Unsupported fill order", "Invalid TIFF file", "Colormap too large",
             "Unsupported data: Bits per sample = 0",
             "Unsupported data: Samples per pixel is 0 or >256", "Unsupported photometry",
             "Data error: Photometry not specified", "Unsupported compression predictor",
             "Unsupported planar configuration", "Unsupported JPEG compression method"},
            kUnknown),
        row<WPGERROR>(
            "WPGERROR",
            {kUnknown, kInvalid,
             "The WPG file contains no raster bitmap data. (Cannot handle vector graphics.)",
             kIntegrity},
            kUnknown),
        row<XBMERROR>("XBMERROR", {kIntegrity}, kUnknown),
        row<XPMERROR>("XPMERROR",
                      {kUnknown, "Error in image header", "Error in color map data",
                       "The color map contains a color that is not recognized",
                       "Error in pixel data. The specified pixel cannot be found in the colormap"},
                      kUnknown),
        row<XWDERROR>("XWDERROR",
                      {"Error in image data", "Unknown byte order", "Unknown bit order",
                       "Unsupported chunk size", "Unsupported bitcount", "Unsupported format",
                       "Invalid bitmask", "Colormap too large", "Missing colormap"},
                      kUnknown),
        row<IMAGEERROR>("IMAGEERROR", {"Image dimension exceeds maximum supported size"}, kUnknown),
    };
}

void expectMessage(MessageId id, std::string_view text) {
    if (text.empty()) {
        EXPECT_EQ(id, msg::None);
    } else {
        EXPECT_EQ(messageText(id), text) << "message " << id;
    }
}

TEST(LoadMessages, EveryValueOfEveryErrorTypeGivesItsText) {
    for (const MappingRow& row : loadMapping()) {
        for (uint32_t value = 0; value < row.texts.size(); ++value) {
            SCOPED_TRACE(testing::Message() << row.type << " " << value);
            expectMessage(row.messageFor(value), row.texts[value]);
        }
        const uint32_t listed = static_cast<uint32_t>(row.texts.size());
        for (uint32_t value : {listed, listed + 1, 7u, 99u, 100000u}) {
            if (value < listed) continue;
            SCOPED_TRACE(testing::Message() << row.type << " " << value << " (any other value)");
            expectMessage(row.messageFor(value), row.otherwise);
        }
    }
}

TEST(LoadMessages, JpegLibraryErrorsCarryTheirOwnMessageOffset) {
    for (uint32_t value : {0u, 5u, 41u, 100u, 107u, 5000u}) {
        EXPECT_EQ(loadMessageFor(static_cast<JFIFERROR>(value)), 11000 + value) << value;
    }
}

TEST(LoadMessages, ExceptionsOfNoErrorTypeAreUnknown) {
    EXPECT_EQ(messageText(loadMessageFor(std::runtime_error("boom"))), kUnknown);
    EXPECT_EQ(messageText(loadMessageFor(42)), kUnknown);
    EXPECT_EQ(messageText(loadMessageFor(std::bad_alloc())), kUnknown);
    EXPECT_EQ(messageText(loadMessageFor(OUTFILEERROR::DiskFull)), kUnknown);
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
        {saveMessageFor(OUTFILEERROR::SeekFailed), kIo},
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
}

// Every identifier the two mappings give for values 0..63 of every error type.
std::set<MessageId> mappedIdentifiers() {
    std::set<MessageId> ids;
    for (const MappingRow& row : loadMapping())
        for (uint32_t value = 0; value < 64; ++value) ids.insert(row.messageFor(value));
    for (uint32_t value = 0; value < 64; ++value) {
        ids.insert(saveMessageFor(static_cast<OUTFILEERROR>(value)));
        ids.insert(saveMessageFor(static_cast<CREATEERROR>(value)));
        ids.insert(saveMessageFor(static_cast<JFIFWRITEERROR>(value)));
        ids.insert(saveMessageFor(static_cast<FAX3WRITEERROR>(value)));
        ids.insert(loadMessageFor(static_cast<PALERROR>(value)));
    }
    ids.erase(msg::None);
    return ids;
}

TEST(Messages, EveryIdentifierTheMappingsGiveHasAText) {
    for (MessageId id : mappedIdentifiers()) {
        if (id >= msg::JpegLibraryFirst && id <= msg::JpegLibraryLast) continue;
        EXPECT_FALSE(messageText(id).empty()) << "message " << id;
    }
}

TEST(Messages, FormatSubstitutesTheFileNameAndFallsBackToUnknown) {
    EXPECT_EQ(formatMessage(msg::CannotSave, "a.gif"), "Cannot save file a.gif");
    EXPECT_EQ(formatMessage(msg::DiskFull, "a.gif"), "Disk is full");
    EXPECT_EQ(formatMessage(12345), kUnknown);
}

}  // namespace
}  // namespace vivark
