// The string table: every identifier has a text and "%s" takes a file name.
#include <gtest/gtest.h>

#include "core/Messages.h"

namespace vivark {
namespace {

TEST(Messages, EveryTableEntryHasText) {
    for (const MessageEntry& entry : messageTable()) {
        EXPECT_FALSE(entry.text.empty()) << entry.id;
        EXPECT_EQ(messageText(entry.id), entry.text);
    }
}

TEST(Messages, FormatSubstitutesFileNameAndFallsBackToUnknown) {
    EXPECT_EQ(formatMessage(msg::CannotSave, "a.gif"), "Cannot save file a.gif");
    EXPECT_EQ(formatMessage(msg::DiskFull, "a.gif"), "Disk is full");
    EXPECT_EQ(formatMessage(12345), "An unknown error occurred");
}

}  // namespace
}  // namespace vivark
