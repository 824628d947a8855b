// What the editing tests share: sample images, exact comparison, and
// setting a dialog's controls by their object names.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QSpinBox>
#include <QVariant>
#include <cstring>

#include "core/Image.h"

namespace vivark::viewer::test {

// A 24-bit picture of odd size with every channel varying, so a wrong
// row order, channel order or offset shows.
inline Image colourSample(uint32_t width = 37, uint32_t height = 23) {
    Image image(width, height, 24);
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* row = image.plane.mutableRow(y);
        for (uint32_t x = 0; x < width; ++x) {
            row[x * 3] = uint8_t(x * 7 + y);
            row[x * 3 + 1] = uint8_t(y * 11);
            row[x * 3 + 2] = uint8_t(255 - x * 5);
        }
    }
    image.resolution = {72, 72, ResolutionUnit::PerInch};
    return image;
}

inline Image greySample(uint32_t width = 37, uint32_t height = 23) {
    Image image(width, height, 8);
    image.setGreyPalette();
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) image.plane.mutableRow(y)[x] = uint8_t(x * 6 + y);
    return image;
}

inline bool sameImage(const Image& a, const Image& b) {
    if (a.width() != b.width() || a.height() != b.height() ||
        a.bitsPerPixel() != b.bitsPerPixel() || a.resolution != b.resolution)
        return false;
    if (a.plane.dataSize() != b.plane.dataSize() ||
        std::memcmp(a.plane.data(), b.plane.data(), a.plane.dataSize()) != 0)
        return false;
    if (a.hasPalette())
        for (uint32_t i = 0; i < (1u << a.bitsPerPixel()); ++i)
            if (a.palette[i] != b.palette[i]) return false;
    return true;
}

// Sets the control named `name` inside `dialog`; false when there is none.
inline bool setControl(QDialog* dialog, const QString& name, const QVariant& value) {
    if (auto* spin = dialog->findChild<QSpinBox*>(name)) {
        spin->setValue(value.toInt());
    } else if (auto* real = dialog->findChild<QDoubleSpinBox*>(name)) {
        real->setValue(value.toDouble());
    } else if (auto* check = dialog->findChild<QCheckBox*>(name)) {
        check->setChecked(value.toBool());
    } else if (auto* combo = dialog->findChild<QComboBox*>(name)) {
        combo->setCurrentIndex(value.toInt());
    } else if (auto* text = dialog->findChild<QLineEdit*>(name)) {
        text->setText(value.toString());
    } else {
        return false;
    }
    return true;
}

}  // namespace vivark::viewer::test
