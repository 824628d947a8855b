// The parameter dialog's controls, their values and the live preview.
#include "app/viewer/edit/ParamDialog.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include "app/viewer/edit/OperationRunner.h"
#include "app/viewer/edit/QtImage.h"

namespace vivark::viewer {

ParamDialog::ParamDialog(const QString& title, QWidget* parent) : QDialog(parent) {
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    form_ = new QFormLayout;
    layout->addLayout(form_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

void ParamDialog::addInteger(const QString& name, const QString& label, int low, int high,
                             int value, bool slider) {
    auto* box = new QSpinBox;
    box->setObjectName(name);
    box->setRange(low, high);
    box->setValue(value);
    connect(box, &QSpinBox::valueChanged, this, &ParamDialog::valuesChanged);
    if (!slider) {
        form_->addRow(label, box);
        return;
    }
    auto* bar = new QSlider(Qt::Horizontal);
    bar->setObjectName(name + "Slider");
    bar->setRange(low, high);
    bar->setValue(value);
    bar->setMinimumWidth(200);
    connect(bar, &QSlider::valueChanged, box, &QSpinBox::setValue);
    connect(box, &QSpinBox::valueChanged, bar, &QSlider::setValue);
    auto* row = new QHBoxLayout;
    row->addWidget(bar, 1);
    row->addWidget(box);
    form_->addRow(label, row);
}

void ParamDialog::addReal(const QString& name, const QString& label, double low, double high,
                          double value, int decimals) {
    auto* box = new QDoubleSpinBox;
    box->setObjectName(name);
    box->setDecimals(decimals);
    box->setRange(low, high);
    box->setValue(value);
    connect(box, &QDoubleSpinBox::valueChanged, this, &ParamDialog::valuesChanged);
    form_->addRow(label, box);
}

void ParamDialog::addFlag(const QString& name, const QString& label, bool value) {
    auto* box = new QCheckBox(label);
    box->setObjectName(name);
    box->setChecked(value);
    connect(box, &QCheckBox::toggled, this, &ParamDialog::valuesChanged);
    form_->addRow(box);
}

void ParamDialog::addChoice(const QString& name, const QString& label, const QStringList& choices,
                            int index) {
    auto* box = new QComboBox;
    box->setObjectName(name);
    box->addItems(choices);
    box->setCurrentIndex(index);
    connect(box, &QComboBox::currentIndexChanged, this, &ParamDialog::valuesChanged);
    form_->addRow(label, box);
}

void ParamDialog::addColour(const QString& name, const QString& label, Colour value) {
    auto* text = new QLineEdit(QColor(QRgb(value)).name());
    text->setObjectName(name);
    text->setValidator(
        new QRegularExpressionValidator(QRegularExpression("#[0-9A-Fa-f]{6}"), text));
    connect(text, &QLineEdit::textChanged, this, &ParamDialog::valuesChanged);
    auto* choose = new QPushButton(tr("Choose..."));
    connect(choose, &QPushButton::clicked, this, [this, text] {
        const QColor chosen = QColorDialog::getColor(QColor(text->text()), this);
        if (chosen.isValid()) text->setText(chosen.name());
    });
    auto* row = new QHBoxLayout;
    row->addWidget(text, 1);
    row->addWidget(choose);
    form_->addRow(label, row);
}

int ParamDialog::integer(const QString& name) const {
    const auto* box = findChild<QSpinBox*>(name);
    return box ? box->value() : 0;
}
double ParamDialog::real(const QString& name) const {
    const auto* box = findChild<QDoubleSpinBox*>(name);
    return box ? box->value() : 0.0;
}
bool ParamDialog::flag(const QString& name) const {
    const auto* box = findChild<QCheckBox*>(name);
    return box && box->isChecked();
}
int ParamDialog::choice(const QString& name) const {
    const auto* box = findChild<QComboBox*>(name);
    return box ? box->currentIndex() : 0;
}
Colour ParamDialog::colour(const QString& name) const {
    const auto* text = findChild<QLineEdit*>(name);
    const QColor colour(text ? text->text() : QString());
    return colour.isValid() ? Colour(colour.rgb() & 0xFFFFFFu) : 0;
}

void ParamDialog::setPreview(const Image& source, std::function<OpResult(const Image&)> preview) {
    previewSource_ = previewCopy(source, kPreviewBox);
    preview_ = std::move(preview);
    if (!previewLabel_) {
        previewLabel_ = new QLabel;
        previewLabel_->setObjectName("preview");
        previewLabel_->setMinimumSize(int(kPreviewBox), int(kPreviewBox));
        previewLabel_->setAlignment(Qt::AlignCenter);
        form_->insertRow(0, previewLabel_);
        connect(this, &ParamDialog::valuesChanged, this, &ParamDialog::updatePreview);
    }
    updatePreview();
}

void ParamDialog::updatePreview() {
    if (!previewLabel_ || !preview_) return;
    try {
        const OpResult shown = preview_(previewSource_);
        previewLabel_->setPixmap(QPixmap::fromImage(toQImage(shown ? *shown : previewSource_)));
    } catch (...) {
        previewLabel_->setText(operationFailureText());
    }
}

}  // namespace vivark::viewer
