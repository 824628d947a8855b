// ParamDialog: the dialog of an operation's parameters, built from a list of
// named controls, with an optional live preview.
//
// Every control carries its parameter's name as its object name, so the
// operation reads its values by name and tests can set them the same way.
// A dialog with a preview shows a small copy of the image through the
// operation after every change, computed on the spot (the copy is at most
// kPreviewBox pixels on a side, so this stays quick).
#pragma once

#include <QDialog>
#include <QStringList>
#include <functional>

#include "core/Image.h"
#include "ops/Operation.h"

class QFormLayout;
class QLabel;

namespace vivark::viewer {

inline constexpr uint32_t kPreviewBox = 240;

class ParamDialog : public QDialog {
    Q_OBJECT
  public:
    ParamDialog(const QString& title, QWidget* parent = nullptr);

    void addInteger(const QString& name, const QString& label, int low, int high, int value,
                    bool slider = false);
    void addReal(const QString& name, const QString& label, double low, double high, double value,
                 int decimals);
    void addFlag(const QString& name, const QString& label, bool value);
    void addChoice(const QString& name, const QString& label, const QStringList& choices,
                   int index);
    // A colour as "#RRGGBB" text with a button that opens the colour chooser.
    void addColour(const QString& name, const QString& label, Colour value);

    int integer(const QString& name) const;
    double real(const QString& name) const;
    bool flag(const QString& name) const;
    int choice(const QString& name) const;
    Colour colour(const QString& name) const;

    // Shows `source` reduced to a preview copy, redrawn through `preview`
    // after every change of a control.
    void setPreview(const Image& source, std::function<OpResult(const Image&)> preview);
    void updatePreview();

  signals:
    void valuesChanged();

  private:
    QFormLayout* form_;
    QLabel* previewLabel_ = nullptr;
    Image previewSource_;
    std::function<OpResult(const Image&)> preview_;
};

}  // namespace vivark::viewer
