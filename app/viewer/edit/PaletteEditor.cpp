// The palette grid, its swatches and the colour chooser behind them.
#include "app/viewer/edit/PaletteEditor.h"

#include <QColorDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace vivark::viewer {

PaletteEditor::PaletteEditor(const PaletteColours& palette, QWidget* parent)
    : QDialog(parent), palette_(palette) {
    setWindowTitle(tr("Edit Palette"));
    auto* layout = new QVBoxLayout(this);
    grid_ = new QGridLayout;
    grid_->setSpacing(1);
    layout->addLayout(grid_);
    for (uint32_t i = 0; i < palette_.count; ++i) {
        auto* swatch = new QPushButton;
        swatch->setObjectName(QString("entry%1").arg(i));
        swatch->setFixedSize(22, 22);
        connect(swatch, &QPushButton::clicked, this, [this, i] {
            const QColor chosen = QColorDialog::getColor(QColor(QRgb(palette_.entries[i])), this,
                                                         tr("Palette Entry %1").arg(i));
            if (chosen.isValid()) setEntry(i, Colour(chosen.rgb() & 0xFFFFFFu));
        });
        grid_->addWidget(swatch, int(i / 16), int(i % 16));
        paint(i);
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

void PaletteEditor::setEntry(uint32_t index, Colour colour) {
    if (index >= palette_.count) return;
    palette_.entries[index] = colour;
    paint(index);
}

void PaletteEditor::paint(uint32_t index) {
    auto* swatch = findChild<QPushButton*>(QString("entry%1").arg(index));
    if (!swatch) return;
    const Colour c = palette_.entries[index];
    swatch->setStyleSheet(
        QString("background-color: %1; border: none;").arg(QColor(QRgb(c)).name()));
    swatch->setToolTip(
        QString("%1: %2, %3, %4").arg(index).arg(redOf(c)).arg(greenOf(c)).arg(blueOf(c)));
}

}  // namespace vivark::viewer
