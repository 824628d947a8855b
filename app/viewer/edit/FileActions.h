// FileActions: the editing side of the File menu: Save, Save As with the
// writers' options dialogs, Information, Recent Files and the lossless
// transformations of JPEG files.
//
// Save As lists every writable format (the save dispatch's writer table);
// the chosen format's options dialog follows the file dialog, and the save
// goes through saveImage (the atomic writer) with the stored options. Recent
// files are kept, newest first, in the setting "RecentFiles\Files" (one path
// a line); a file enters the list when it is loaded or saved.
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

#include "formats/WriterEntry.h"
#include "formats/jpeg/JpegTransform.h"

class QAction;
class QMainWindow;
class QMenu;

namespace vivark::viewer {

class Document;

inline constexpr int kRecentFiles = 10;

class FileActions : public QObject {
    Q_OBJECT
  public:
    FileActions(QMainWindow* window, Document* document, std::function<void(const QString&)> open,
                QMenu* fileMenu);

    // Saves under the document's path in the format its extension names;
    // without one, asks as Save As does. False when nothing was saved.
    bool save();
    bool saveAs();
    // Writes the document to `path` through `writer` with the stored options
    // (no questions); on success the document is clean and named after it.
    // `error` receives the message of a failure.
    bool saveTo(const QString& path, const WriterEntry& writer, QString* error = nullptr);

    void showInformation();
    // Transforms the document's JPEG file in place and opens it again.
    void transformJpeg(JpegTransformCode code);

    QStringList recentFiles() const;
    void addRecent(const QString& path);

  private:
    void rebuildRecent();
    void updateActions();

    QMainWindow* window_;
    Document* document_;
    std::function<void(const QString&)> open_;
    QMenu* recentMenu_ = nullptr;
    QMenu* jpegMenu_ = nullptr;
    QAction* save_ = nullptr;
    QAction* saveAs_ = nullptr;
    QAction* info_ = nullptr;
};

// The writer chosen by a file dialog's name filter ("Portable Network
// Graphics (*.png)"), or null; and the filter of each writer.
QString writerFilter(const WriterEntry& writer);
const WriterEntry* writerOfFilter(const QString& filter);

}  // namespace vivark::viewer
