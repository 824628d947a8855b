// Save, Save As, Information, Recent Files and the lossless JPEG
// transformations of the viewer's File menu.
#include "app/viewer/edit/FileActions.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QMainWindow>
#include <QMenu>
#include <QMessageBox>
#include <QProgressDialog>

#include "app/viewer/edit/Document.h"
#include "app/viewer/edit/InfoDialog.h"
#include "app/viewer/edit/SaveOptionsDialog.h"
#include "formats/ErrorMessages.h"
#include "formats/Loader.h"
#include "formats/SaveDispatch.h"

namespace vivark::viewer {
namespace {

constinit settings::TextSetting recentFilesSetting{"RecentFiles\\Files", ""};

QString text(std::string_view s) {
    return QString::fromUtf8(s.data(), qsizetype(s.size()));
}

struct JpegItem {
    JpegTransformCode code;
    const char* name;
    const char* text;
};
constexpr JpegItem kJpegItems[] = {
    {JpegTransformCode::Rotate90, "jpegRotate90", "Rotate 90 Degrees &Clockwise"},
    {JpegTransformCode::Rotate270, "jpegRotate270", "Rotate 90 Degrees &Anticlockwise"},
    {JpegTransformCode::Rotate180, "jpegRotate180", "Rotate &180 Degrees"},
    {JpegTransformCode::FlipHorizontal, "jpegFlipHorizontal", "&Mirror Horizontally"},
    {JpegTransformCode::FlipVertical, "jpegFlipVertical", "&Flip Vertically"},
    {JpegTransformCode::Transpose, "jpegTranspose", "&Transpose"},
    {JpegTransformCode::Transverse, "jpegTransverse", "Trans&verse"},
    {JpegTransformCode::Automatic, "jpegAutomatic", "&Upright by EXIF Orientation"},
};

}  // namespace

QString writerFilter(const WriterEntry& writer) {
    QStringList patterns;
    for (std::string_view e : writer.extensions) patterns << "*." + text(e);
    if (patterns.isEmpty())
        for (std::string_view s : writer.shortNames) patterns << "*." + text(s);
    return text(writer.menuName) + " (" + patterns.join(' ') + ")";
}

const WriterEntry* writerOfFilter(const QString& filter) {
    for (const WriterEntry* writer : writerTable())
        if (writerFilter(*writer) == filter) return writer;
    return nullptr;
}

FileActions::FileActions(QMainWindow* window, Document* document,
                         std::function<void(const QString&)> open, QMenu* fileMenu)
    : QObject(window), window_(window), document_(document), open_(std::move(open)) {
    save_ = fileMenu->addAction(tr("&Save"), this, [this] { save(); });
    save_->setObjectName("save");
    save_->setShortcut(QKeySequence::Save);
    saveAs_ = fileMenu->addAction(tr("Save &As..."), this, [this] { saveAs(); });
    saveAs_->setObjectName("saveAs");
    saveAs_->setShortcut(QKeySequence::SaveAs);
    fileMenu->addSeparator();
    info_ = fileMenu->addAction(tr("&Information..."), this, [this] { showInformation(); });
    info_->setObjectName("information");
    info_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_I));
    jpegMenu_ = fileMenu->addMenu(tr("&Lossless JPEG Transformation"));
    jpegMenu_->setObjectName("jpegMenu");
    for (const JpegItem& item : kJpegItems) {
        QAction* action = jpegMenu_->addAction(tr(item.text), this,
                                               [this, code = item.code] { transformJpeg(code); });
        action->setObjectName(item.name);
    }
    fileMenu->addSeparator();
    recentMenu_ = fileMenu->addMenu(tr("&Recent Files"));
    recentMenu_->setObjectName("recentMenu");
    rebuildRecent();

    connect(document_, &Document::changed, this, &FileActions::updateActions);
    connect(document_, &Document::loaded, this, [this] {
        if (!document_->path().isEmpty()) addRecent(document_->path());
    });
    updateActions();
}

void FileActions::updateActions() {
    const bool image = !document_->isEmpty();
    save_->setEnabled(image);
    saveAs_->setEnabled(image);
    info_->setEnabled(image);
    const bool jpeg = image && !document_->path().isEmpty() &&
                      document_->image().formatTag == makeTag("JFIF") &&
                      QFileInfo(document_->path()).isFile();
    jpegMenu_->setEnabled(jpeg);
}

bool FileActions::save() {
    const QString path = document_->path();
    const WriterEntry* writer =
        path.isEmpty() ? nullptr : findWriterByExtension(QFileInfo(path).suffix().toStdString());
    if (!writer) return saveAs();
    QString error;
    if (saveTo(path, *writer, &error)) return true;
    if (!error.isEmpty()) QMessageBox::warning(window_, tr("Save"), error);
    return false;
}

bool FileActions::saveAs() {
    if (document_->isEmpty()) return false;
    QStringList filters;
    for (const WriterEntry* writer : writerTable()) filters << writerFilter(*writer);
    // The format offered first is the one the image came in, when writable.
    const WriterEntry* current = findWriterByTag(document_->image().formatTag);
    if (!current && !document_->path().isEmpty())
        current = findWriterByExtension(QFileInfo(document_->path()).suffix().toStdString());
    QString selected = current ? writerFilter(*current) : filters.value(0);
    QFileDialog dialog(window_, tr("Save As"), document_->path());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters(filters);
    dialog.selectNameFilter(selected);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return false;
    QString path = dialog.selectedFiles().first();
    const WriterEntry* writer = writerOfFilter(dialog.selectedNameFilter());
    // An extension typed by the user that names another format wins over
    // the list; none at all gets the chosen format's first.
    if (const WriterEntry* typed = findWriterByExtension(QFileInfo(path).suffix().toStdString()))
        writer = typed;
    if (!writer) return false;
    if (QFileInfo(path).suffix().isEmpty() && writer->extensions.size() > 0)
        path += "." + text(*writer->extensions.begin());
    SaveOptionsDialog options(*writer, window_);
    if (!options.shown().empty() && options.exec() != QDialog::Accepted) return false;
    QString error;
    if (saveTo(path, *writer, &error)) return true;
    if (!error.isEmpty()) QMessageBox::warning(window_, tr("Save As"), error);
    return false;
}

bool FileActions::saveTo(const QString& path, const WriterEntry& writer, QString* error) {
    QProgressDialog progressDialog(tr("Saving %1").arg(QFileInfo(path).fileName()), tr("Cancel"), 0,
                                   1000, window_);
    progressDialog.setWindowModality(Qt::WindowModal);
    progressDialog.setMinimumDuration(400);
    ProgressFunction progress([&](uint32_t done, uint32_t total) {
        if (total > 0) progressDialog.setValue(int(uint64_t{done} * 1000 / total));
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        return progressDialog.wasCanceled();
    });
    try {
        const StoredSaveOptions options;
        saveImage(document_->image(), path.toStdString(), writer, options, &progress);
    } catch (...) {
        const MessageId id = saveMessageForCurrentException(findFormatEntry(writer.formatTag));
        if (error && id != msg::None)
            *error = QString::fromStdString(formatMessage(id, path.toStdString()));
        return false;
    }
    document_->markSaved(path);
    addRecent(path);
    return true;
}

void FileActions::showInformation() {
    if (document_->isEmpty()) return;
    InfoDialog dialog(document_->image(), document_->path(), document_->namedAs(), window_);
    dialog.exec();
}

void FileActions::transformJpeg(JpegTransformCode code) {
    const QString path = document_->path();
    if (path.isEmpty()) return;
    if (document_->isModified() &&
        QMessageBox::question(window_, tr("Lossless JPEG Transformation"),
                              tr("The transformation works on the file and discards the changes "
                                 "made to the image. Continue?")) != QMessageBox::Yes)
        return;
    const JpegTransformResult result = transformLossless(path.toStdString(), code);
    if (!result.success) {
        QMessageBox::warning(window_, tr("Lossless JPEG Transformation"),
                             QString::fromStdString(result.text));
        return;
    }
    if (!result.written) return;
    if (open_) {
        open_(path);
        return;
    }
    Image image;
    const LoadResult reloaded = loadFile(image, path.toStdString(), ReadOptions{});
    if (reloaded.completed) document_->setLoaded(image, path, reloaded.info.namedAs);
}

QStringList FileActions::recentFiles() const {
    return QString::fromStdString(recentFilesSetting.get()).split('\n', Qt::SkipEmptyParts);
}

void FileActions::addRecent(const QString& path) {
    const QString full = QFileInfo(path).absoluteFilePath();
    QStringList list = recentFiles();
    list.removeAll(full);
    list.prepend(full);
    while (list.size() > kRecentFiles) list.removeLast();
    recentFilesSetting.set(list.join('\n').toStdString());
    rebuildRecent();
}

void FileActions::rebuildRecent() {
    recentMenu_->clear();
    const QStringList list = recentFiles();
    int number = 1;
    for (const QString& path : list) {
        QAction* action = recentMenu_->addAction(
            QString("&%1 %2").arg(number++ % 10).arg(QFileInfo(path).fileName()), this,
            [this, path] {
                if (open_) open_(path);
            });
        action->setToolTip(path);
        action->setEnabled(bool(open_));
    }
    recentMenu_->setEnabled(!list.isEmpty());
}

}  // namespace vivark::viewer
