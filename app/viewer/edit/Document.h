// Document: the image the viewer window shows and edits, with where it came
// from and its undo history.
//
// The window loads into a Document and repaints on changed(); the edit menus
// replace its image through apply(), which records the previous image for
// undo when "Undo\Enabled" is on. Images share their pixels when copied, so
// an undo step costs one raster only when an operation made a new one.
#pragma once

#include <QObject>
#include <QString>
#include <vector>

#include "core/Image.h"

namespace vivark::viewer {

class Document : public QObject {
    Q_OBJECT
  public:
    explicit Document(QObject* parent = nullptr);

    // A freshly loaded image: the history is cleared and the document is clean.
    // `namedAs` is what identification named the file by where its tag is
    // shared (FormatInfo::namedAs), for the information dialog.
    void setLoaded(const Image& image, const QString& path, FormatTag namedAs = 0);
    void clear();

    const Image& image() const { return image_; }
    const QString& path() const { return path_; }
    FormatTag namedAs() const { return namedAs_; }
    bool isEmpty() const;
    bool isModified() const { return modified_; }

    // An edit: `result` replaces the image; `what` names the step ("Resize").
    void apply(const Image& result, const QString& what);
    bool canUndo() const { return !undo_.empty(); }
    bool canRedo() const { return !redo_.empty(); }
    QString undoText() const;
    QString redoText() const;
    void undo();
    void redo();
    void setUndoEnabled(bool enabled);

    // After a save under `path`: the document is clean and named after it.
    void markSaved(const QString& path);

  signals:
    void changed();  // the image, its path or its modified state changed
    void loaded();   // setLoaded() or clear() replaced the whole document

  private:
    struct Step {
        Image image;
        QString what;
    };
    Image image_;
    QString path_;
    FormatTag namedAs_ = 0;
    bool modified_ = false;
    bool undoEnabled_ = true;
    std::vector<Step> undo_;
    std::vector<Step> redo_;
};

}  // namespace vivark::viewer
