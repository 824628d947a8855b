// Messages and the mapping of thrown error values to them: each error family
// gives its texts and its fallback, and every identifier the mappings can give
// has a text.
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string_view>

#include "core/ErrorMapping.h"
#include "core/Messages.h"

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
        {"BMP 0", load<BMPERROR>(0), kInvalid},
        {"FAX3 1", load<FAX3ERROR>(1), kIntegrity},
        {"FITS 2", load<FITSERROR>(2), "Unsupported NAXIS value"},
        {"GIF 1", load<GIFERROR>(1), "Premature end of data blocks. Image data incomplete."},
        {"IFF 11", load<IFFERROR>(11), "Unsupported bitcount/plane configuration"},
        {"IMG 2", load<IMGERROR>(2), "Invalid or unsupported number of color planes"},
        {"JPEG 1", load<JPEGERROR>(1), "Error reading JPEG data header: Only table data expected"},
        {"LGO 0", load<LGOERROR>(0), kIntegrity},
        {"MACP 0", load<MACPERROR>(0), kUnknown},
        {"MSP 0", load<MSPERROR>(0), "Not a Microsoft Paint (MSP) file"},
        {"PCD 9", load<PCDERROR>(9), "Invalid file count"},
        {"PCX 1", load<PCXERROR>(1), kIntegrity},
        {"PSD 3", load<PSDERROR>(3), "Unsupported compression type"},
        {"PIC 2", load<PICERROR>(2), "Colormap too large"},
        {"PICB 0", load<PICBERROR>(0), kInvalid},
        {"PICS 3", load<PICSERROR>(3), kIntegrity},
        {"PNG 0", load<PNGERROR>(0), "Not a PNG file"},
        {"PNG 18", load<PNGERROR>(18), "Unexpected IDAT chunk encountered"},
        {"PNM 1", load<PNMERROR>(1), kInvalid},
        {"RLEC 0", load<RLECERROR>(0), kInvalid},
        {"RLEU 2", load<RLEUERROR>(2), "Unsupported number of color channels"},
        {"RAS 2", load<RASERROR>(2), "Unsupported type of colormap"},
        {"SFF 2", load<SFFERROR>(2), "Unable to locate page header"},
        {"SGI 5", load<SGIERROR>(5), "Unsupported number of bytes per pixel channel"},
        {"TGA 0", load<TGAERROR>(0), "Unsupported colormap format"},
        {"TIFF 12", load<TIFFERROR>(12), "Unsupported JPEG compression method"},
        {"WPG 2", load<WPGERROR>(2),
         "The WPG file contains no raster bitmap data. (Cannot handle vector graphics.)"},
        {"XBM 0", load<XBMERROR>(0), kIntegrity},
        {"XPM 4", load<XPMERROR>(4),
         "Error in pixel data. The specified pixel cannot be found in the colormap"},
        {"XWD 8", load<XWDERROR>(8), "Missing colormap"},
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

template <class... E>
void addLoadIds(std::set<MessageId>& ids) {
    for (uint32_t value = 0; value < 64; ++value) (ids.insert(load<E>(value)), ...);
}

TEST(Messages, EveryIdentifierTheMappingsGiveHasAText) {
    std::set<MessageId> ids;
    addLoadIds<INFILEERROR, CCITTERROR, PACKBITSERROR, LZWERROR, ZIPERROR, BMPERROR, FAX3ERROR,
               FITSERROR, GIFERROR, IFFERROR, IMGERROR, JPEGERROR, LGOERROR, MACPERROR, MSPERROR,
               PCDERROR, PCXERROR, PSDERROR, PICERROR, PICBERROR, PICSERROR, PNGERROR, PNMERROR,
               RLECERROR, RLEUERROR, RASERROR, SFFERROR, SGIERROR, TGAERROR, TIFFERROR, WPGERROR,
               XBMERROR, XPMERROR, XWDERROR, IMAGEERROR, PALERROR>(ids);
    for (uint32_t value = 0; value < 64; ++value) {
        ids.insert(saveMessageFor(static_cast<OUTFILEERROR>(value)));
        ids.insert(saveMessageFor(static_cast<CREATEERROR>(value)));
        ids.insert(saveMessageFor(static_cast<JFIFWRITEERROR>(value)));
        ids.insert(saveMessageFor(static_cast<FAX3WRITEERROR>(value)));
    }
    ids.erase(msg::None);
    for (MessageId id : ids) {
        if (id >= msg::JpegLibraryFirst && id <= msg::JpegLibraryLast) continue;
        EXPECT_FALSE(messageText(id).empty()) << "message " << id;
    }
}

}  // namespace
}  // namespace vivark
