// The filter editor's grid, its file list and its checks.
#include "app/viewer/edit/FilterEditor.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QVBoxLayout>

#include "app/settings/SettingKeys.h"
#include "app/viewer/edit/OperationRunner.h"

namespace vivark::viewer {

QString filterFolder() {
    const QString folder =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/vivark/filters";
    QDir().mkpath(folder);
    return folder;
}

FilterEditor::FilterEditor(QWidget* parent) : QDialog(parent) {
    setWindowTitle(tr("Filter Editor"));
    auto* layout = new QVBoxLayout(this);
    auto* top = new QFormLayout;
    list_ = new QComboBox;
    list_->setObjectName("filters");
    top->addRow(tr("User Defined Filters"), list_);
    name_ = new QLineEdit;
    name_->setObjectName("name");
    top->addRow(tr("Name"), name_);
    layout->addLayout(top);

    auto* grid = new QGridLayout;
    grid->setSpacing(2);
    for (uint32_t r = 0; r < kFilterMaxSize; ++r)
        for (uint32_t c = 0; c < kFilterMaxSize; ++c) {
            auto* edit = new QLineEdit;
            edit->setObjectName(QString("cell%1_%2").arg(c).arg(r));
            edit->setFixedWidth(44);
            edit->setAlignment(Qt::AlignRight);
            grid->addWidget(edit, int(r), int(c));
        }
    layout->addLayout(grid);

    auto* bottom = new QFormLayout;
    divisor_ = new QLineEdit("1");
    divisor_->setObjectName("divisor");
    bias_ = new QLineEdit("0");
    bias_->setObjectName("bias");
    absolute_ = new QCheckBox(tr("&Absolute value"));
    absolute_->setObjectName("absolute");
    bottom->addRow(tr("Divisor"), divisor_);
    bottom->addRow(tr("Bias"), bias_);
    bottom->addRow(absolute_);
    layout->addLayout(bottom);

    auto* files = new QHBoxLayout;
    auto* open = new QPushButton(tr("&Load..."));
    auto* save = new QPushButton(tr("&Save"));
    auto* remove = new QPushButton(tr("&Delete"));
    files->addWidget(open);
    files->addWidget(save);
    files->addWidget(remove);
    layout->addLayout(files);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("Apply"));
    connect(buttons, &QDialogButtonBox::accepted, this, &FilterEditor::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);

    connect(open, &QPushButton::clicked, this, [this] {
        const QString path = QFileDialog::getOpenFileName(this, tr("Load Filter"), filterFolder(),
                                                          tr("Filters (*.flt);;All files (*)"));
        if (!path.isEmpty()) loadFile(path);
    });
    connect(save, &QPushButton::clicked, this, [this] { saveFile(); });
    connect(remove, &QPushButton::clicked, this, [this] {
        const QString name = list_->currentText();
        if (name.isEmpty()) return;
        const QString question = tr("Are you sure you want to delete filter %1?").arg(name);
        if (QMessageBox::question(this, windowTitle(), question) != QMessageBox::Yes) return;
        QFile::remove(filterFolder() + "/" + name + ".flt");
        refreshList();
    });
    connect(list_, &QComboBox::textActivated, this,
            [this](const QString& name) { loadFile(filterFolder() + "/" + name + ".flt"); });

    refreshList();
    const QString selected = QString::fromStdString(settings::filterSelectedFilter.get());
    if (!selected.isEmpty() && list_->findText(selected) >= 0) {
        list_->setCurrentText(selected);
        loadFile(filterFolder() + "/" + selected + ".flt");
    } else {
        cell(kFilterMaxSize / 2, kFilterMaxSize / 2)->setText("1");
    }
}

QLineEdit* FilterEditor::cell(uint32_t column, uint32_t row) const {
    return findChild<QLineEdit*>(QString("cell%1_%2").arg(column).arg(row));
}

FilterGrid FilterEditor::grid() const {
    FilterGrid grid;
    grid.name = name_->text().toStdString();
    for (uint32_t r = 0; r < kFilterMaxSize; ++r)
        for (uint32_t c = 0; c < kFilterMaxSize; ++c)
            grid.cell(c, r) = cell(c, r)->text().toStdString();
    grid.divisor = divisor_->text().toStdString();
    grid.bias = bias_->text().toStdString();
    grid.absoluteValue = absolute_->isChecked();
    return grid;
}

void FilterEditor::setGrid(const FilterGrid& grid) {
    name_->setText(QString::fromStdString(grid.name));
    for (uint32_t r = 0; r < kFilterMaxSize; ++r)
        for (uint32_t c = 0; c < kFilterMaxSize; ++c)
            cell(c, r)->setText(QString::fromStdString(grid.cell(c, r)));
    divisor_->setText(QString::fromStdString(grid.divisor));
    bias_->setText(QString::fromStdString(grid.bias));
    absolute_->setChecked(grid.absoluteValue);
}

bool FilterEditor::loadFile(const QString& path) {
    FilterGrid loaded = grid();
    try {
        if (const auto failure = readFilterFile(path.toStdString(), loaded)) {
            QMessageBox::warning(this, windowTitle(),
                                 QString::fromStdString(filterFailureText(*failure)));
            return false;
        }
    } catch (...) {
        QMessageBox::warning(this, windowTitle(), operationFailureText());
        return false;
    }
    setGrid(loaded);
    return true;
}

bool FilterEditor::saveFile() {
    const FilterGrid current = grid();
    const auto checked = acceptFilter(current);
    if (const auto* failure = std::get_if<FilterFailure>(&checked)) {
        QMessageBox::warning(this, windowTitle(),
                             QString::fromStdString(filterFailureText(*failure)));
        return false;
    }
    const QString path = filterFolder() + "/" + QString::fromStdString(current.name) + ".flt";
    if (!writeFilterFile(path.toStdString(), current)) {
        QMessageBox::warning(
            this, windowTitle(),
            QString::fromStdString(formatMessage(msg::CannotSave, path.toStdString())));
        return false;
    }
    refreshList();
    list_->setCurrentText(QString::fromStdString(current.name));
    return true;
}

void FilterEditor::accept() {
    const FilterGrid current = grid();
    const auto checked = acceptFilter(current);
    if (const auto* failure = std::get_if<FilterFailure>(&checked)) {
        QMessageBox::warning(this, windowTitle(),
                             QString::fromStdString(filterFailureText(*failure)));
        return;
    }
    filter_ = std::get<ConvolutionFilter>(checked);
    settings::filterSelectedFilter.set(current.name);
    QDialog::accept();
}

void FilterEditor::refreshList() {
    const QString current = list_->currentText();
    list_->clear();
    for (const QFileInfo& file :
         QDir(filterFolder()).entryInfoList({"*.flt"}, QDir::Files, QDir::Name))
        list_->addItem(file.completeBaseName());
    if (!current.isEmpty()) list_->setCurrentText(current);
}

}  // namespace vivark::viewer
