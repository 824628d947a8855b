// FilterEditor: the "Filter Editor" of user-defined convolution filters.
//
// The grid is kFilterMaxSize square of text cells, with the name, divisor,
// bias and "&Absolute value"; filters are kept as filter files (ops/
// FilterFile.h) named after the filter in the user's filter folder, listed
// in the editor's "User Defined Filters" list. Accepting checks the filter
// (a refused filter keeps the dialog open with the message) and remembers
// its name in "Filter\SelectedFilter".
#pragma once

#include <QDialog>
#include <QString>

#include "ops/FilterFile.h"

class QCheckBox;
class QComboBox;
class QLineEdit;

namespace vivark::viewer {

// Where the user's filter files live (created when first needed).
QString filterFolder();

class FilterEditor : public QDialog {
    Q_OBJECT
  public:
    explicit FilterEditor(QWidget* parent = nullptr);

    FilterGrid grid() const;
    void setGrid(const FilterGrid& grid);
    // The accepted filter.
    const ConvolutionFilter& filter() const { return filter_; }

    // Loads a filter file into the grid; false (with the message shown) when
    // it is refused or cannot be read.
    bool loadFile(const QString& path);
    bool saveFile();

    void accept() override;

  private:
    void refreshList();
    QLineEdit* cell(uint32_t column, uint32_t row) const;

    QComboBox* list_;
    QLineEdit* name_;
    QLineEdit* divisor_;
    QLineEdit* bias_;
    QCheckBox* absolute_;
    ConvolutionFilter filter_;
};

}  // namespace vivark::viewer
