// The window's file actions (trash, rename, copy to, move to), the files
// dropped on it and the commands it takes over the single-instance socket;
// see MainWindow.h.
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QTimer>
#include <QUrl>

#include "app/settings/SettingKeys.h"
#include "app/viewer/FileActions.h"
#include "app/viewer/ImageView.h"
#include "app/viewer/MainWindow.h"
#include "app/viewer/ViewerLog.h"

namespace vivark::viewer {

namespace {

// The local files among a drag's URLs, in the order the file manager gave.
QStringList localFiles(const QMimeData* data) {
    QStringList paths;
    if (data == nullptr) return paths;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile()) paths << url.toLocalFile();
    return paths;
}

}  // namespace

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!localFiles(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

// One dropped file opens with its folder as the sequence; several become
// the sequence themselves, the first shown: what a command line of the same
// files does.
void MainWindow::dropEvent(QDropEvent* event) {
    const QStringList paths = localFiles(event->mimeData());
    if (paths.isEmpty()) return;
    event->acceptProposedAction();
    activateWindow();
    openPaths(paths);
}

void MainWindow::deleteFile() {
    const QString path = document_.path().isEmpty() ? shownPath_ : document_.path();
    if (path.isEmpty()) return;
    if (settings::confirmDelete.get() &&
        QMessageBox::question(this, tr("Delete"),
                              tr("Move %1 to the trash?").arg(QFileInfo(path).fileName())) !=
            QMessageBox::Yes)
        return;
    const FileActionOutcome done = moveToTrash(path);
    if (done.result != FileActionResult::Done) {
        showFailure(tr("Cannot delete %1: %2").arg(QFileInfo(path).fileName(), done.error));
        return;
    }
    logLine(QStringLiteral("trash %1").arg(path));
    sequence_.jumpTo(path);
    sequence_.removeCurrent();
    shownPath_.clear();
    if (settings::loadingLoadNextOnDelete.get() && !sequence_.isEmpty()) {
        openFile(sequence_.current());
    } else {
        document_.clear();
        view_->clear();
        updateStatus();
        updateTitle();
    }
}

void MainWindow::renameFile() {
    if (shownPath_.isEmpty()) return;
    const QString oldName = QFileInfo(shownPath_).fileName();
    bool ok = false;
    const QString name =
        QInputDialog::getText(this, tr("Rename"), tr("New name:"), QLineEdit::Normal, oldName, &ok);
    if (!ok || name == oldName) return;
    const FileActionOutcome done = viewer::renameFile(shownPath_, name);
    if (done.result == FileActionResult::TargetExists) {
        showFailure(tr("%1 already exists").arg(name));
        return;
    }
    if (done.result != FileActionResult::Done) {
        showFailure(tr("Cannot rename %1: %2").arg(oldName, done.error));
        return;
    }
    logLine(QStringLiteral("rename %1 to %2").arg(shownPath_, done.newPath));
    sequence_.jumpTo(shownPath_);
    sequence_.renameCurrent(done.newPath);
    shownPath_ = done.newPath;
    if (!document_.isEmpty()) document_.markSaved(done.newPath);
    updateTitle();
}

void MainWindow::copyFile() {
    if (shownPath_.isEmpty()) return;
    const QString folder = QFileDialog::getExistingDirectory(this, tr("Copy to"));
    if (folder.isEmpty()) return;
    FileActionOutcome done = copyToFolder(shownPath_, folder, false);
    if (done.result == FileActionResult::TargetExists &&
        QMessageBox::question(this, tr("Copy to"), tr("Replace %1?").arg(done.newPath)) ==
            QMessageBox::Yes)
        done = copyToFolder(shownPath_, folder, true);
    if (done.result == FileActionResult::Failed) showFailure(done.error);
    if (done.result == FileActionResult::Done)
        logLine(QStringLiteral("copy %1 to %2").arg(shownPath_, done.newPath));
}

void MainWindow::moveFile() {
    if (shownPath_.isEmpty()) return;
    const QString folder = QFileDialog::getExistingDirectory(this, tr("Move to"));
    if (folder.isEmpty()) return;
    FileActionOutcome done = moveToFolder(shownPath_, folder, false);
    if (done.result == FileActionResult::TargetExists &&
        QMessageBox::question(this, tr("Move to"), tr("Replace %1?").arg(done.newPath)) ==
            QMessageBox::Yes)
        done = moveToFolder(shownPath_, folder, true);
    if (done.result == FileActionResult::Failed) showFailure(done.error);
    if (done.result != FileActionResult::Done) return;
    logLine(QStringLiteral("move %1 to %2").arg(shownPath_, done.newPath));
    // The moved file leaves this folder's sequence, as a deleted one does.
    sequence_.jumpTo(shownPath_);
    sequence_.removeCurrent();
    shownPath_.clear();
    if (!sequence_.isEmpty()) openFile(sequence_.current());
}

void MainWindow::remoteCommand(const QString& command, const QStringList& args,
                               std::function<void(const QString&)> reply) {
    auto later = [this, &reply] { waiting_.push_back(std::move(reply)); };
    if (command == QLatin1String("open") && !args.isEmpty()) {
        later();
        openPaths(args);
        raise();
        activateWindow();
    } else if (command == QLatin1String("next")) {
        later();
        next();
    } else if (command == QLatin1String("previous")) {
        later();
        previous();
    } else if (command == QLatin1String("first")) {
        later();
        first();
    } else if (command == QLatin1String("last")) {
        later();
        last();
    } else if (command == QLatin1String("wait")) {
        if (awaiting_)
            later();
        else
            reply(QStringLiteral("ok"));
        return;
    } else if (command == QLatin1String("fullscreen")) {
        toggleFullScreen();
        QTimer::singleShot(300, this, [reply] { reply(QStringLiteral("ok")); });
        return;
    } else if (command == QLatin1String("slideshow")) {
        startSlideShowOfSequence();
        reply(QStringLiteral("ok"));
        return;
    } else if (command == QLatin1String("quit")) {
        reply(QStringLiteral("ok"));
        QTimer::singleShot(0, this, &QWidget::close);
        return;
    } else {
        reply(QStringLiteral("error\tunknown command"));
        return;
    }
    // A step that went nowhere (the end of a sequence without wrap) loads
    // nothing, and is answered at once.
    if (!awaiting_) settle();
}

}  // namespace vivark::viewer
