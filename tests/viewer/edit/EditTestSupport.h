// What the editing tests share: sample images, exact comparison, and
// setting a dialog's controls by their object names.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QSpinBox>
#include <cstring>

#include "core/Image.h"

namespace vivark::viewer::test {

// A picture of odd size with every channel varying (24 bits), or a grey
// ramp (8 bits), so a wrong row order, channel order or offset shows.
inline Image colourSample(uint32_t width = 37, uint32_t height = 23) {
    Image image(width, height, 24);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) {
            uint8_t* pixel = image.plane.mutableRow(y) + x * 3;
            pixel[0] = uint8_t(x * 7 + y);
            pixel[1] = uint8_t(y * 11);
            pixel[2] = uint8_t(255 - x * 5);
        }
    image.resolution = {72, 72, ResolutionUnit::PerInch};
    return image;
}

inline Image greySample() {
    Image image(37, 23, 8);
    image.setGreyPalette();
    for (uint32_t y = 0; y < 23; ++y)
        for (uint32_t x = 0; x < 37; ++x) image.plane.mutableRow(y)[x] = uint8_t(x * 6 + y);
    return image;
}

inline bool sameImage(const Image& a, const Image& b) {
    if (a.width() != b.width() || a.height() != b.height() ||
        a.bitsPerPixel() != b.bitsPerPixel() || a.resolution != b.resolution ||
        a.plane.dataSize() != b.plane.dataSize() ||
        std::memcmp(a.plane.data(), b.plane.data(), a.plane.dataSize()) != 0)
        return false;
    for (uint32_t i = 0; a.hasPalette() && i < (1u << a.bitsPerPixel()); ++i)
        if (a.palette[i] != b.palette[i]) return false;
    return true;
}

// Sets the control named `name` inside `dialog`; false when there is none.
inline bool setControl(QDialog* dialog, const QString& name, const QVariant& value) {
    if (auto* spin = dialog->findChild<QSpinBox*>(name)) return spin->setValue(value.toInt()), true;
    if (auto* real = dialog->findChild<QDoubleSpinBox*>(name))
        return real->setValue(value.toDouble()), true;
    if (auto* check = dialog->findChild<QCheckBox*>(name))
        return check->setChecked(value.toBool()), true;
    if (auto* combo = dialog->findChild<QComboBox*>(name))
        return combo->setCurrentIndex(value.toInt()), true;
    if (auto* text = dialog->findChild<QLineEdit*>(name))
        return text->setText(value.toString()), true;
    return false;
}

}  // namespace vivark::viewer::test
