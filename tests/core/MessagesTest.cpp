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
        {"ZIP 0", load<ZIPERROR>(0),
         "Error in ZIP compressed data: Compression flag modulo check failed"},
        {"ZIP other", load<ZIPERROR>(8), kUnknown},
        {"BMP 0", formatError(makeTag("BMP "), 0), kInvalid},
        {"JPEG 1", load<JPEGERROR>(1), "Error reading JPEG data header: Only table data expected"},
        {"MACP 0", formatError(makeTag("PNTG"), 0), kUnknown},
        {"PNG 0", formatError(makeTag("PNG "), 0), "Not a PNG file"},
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
