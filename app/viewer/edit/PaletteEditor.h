// PaletteEditor: the "Edit Palette" dialog, a grid of the palette's colours;
// clicking one opens the colour chooser for it.
#pragma once

#include <QDialog>

#include "ops/PaletteFile.h"

class QGridLayout;

namespace vivark::viewer {

class PaletteEditor : public QDialog {
    Q_OBJECT
  public:
    PaletteEditor(const PaletteColours& palette, QWidget* parent = nullptr);

    const PaletteColours& palette() const { return palette_; }
    // Changes one entry (what a click and the colour chooser do).
    void setEntry(uint32_t index, Colour colour);

  private:
    void paint(uint32_t index);

    PaletteColours palette_;
    QGridLayout* grid_;
};

}  // namespace vivark::viewer
