// SaveOptionsDialog: the options dialog of one writer, built from the save
// settings its format declares.
//
// A boolean option is a check box; an integer option whose values are codes
// is a list of its choices, any other integer a number field with the range
// its meaning allows (colours in hexadecimal). The dialog shows the stored
// values and writes them back to their settings when accepted, so the next
// save (and "vivark convert") uses them. Writers that reduce colours (those
// without a 24-bit form, or whose 24-bit form is an option) also show the
// palette and dither choice of that reduction.
#pragma once

#include <QDialog>
#include <vector>

#include "core/settings/Setting.h"
#include "formats/WriterEntry.h"

namespace vivark::viewer {

// The settings `writer` reads, in the order its format declares them.
std::vector<settings::SettingRef> writerSettings(const WriterEntry& writer);

class SaveOptionsDialog : public QDialog {
    Q_OBJECT
  public:
    explicit SaveOptionsDialog(const WriterEntry& writer, QWidget* parent = nullptr);

    // The settings shown; each control's object name is its setting's key.
    const std::vector<settings::SettingRef>& shown() const { return settings_; }

    void accept() override;

  private:
    std::vector<settings::SettingRef> settings_;
};

}  // namespace vivark::viewer
