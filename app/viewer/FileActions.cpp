// Trash, rename, copy and move of the viewed file; see FileActions.h.
#include "app/viewer/FileActions.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace vivark::viewer {
namespace {

FileActionOutcome failed(const QFile& file) {
    return {FileActionResult::Failed, {}, file.errorString()};
}

QString targetIn(const QString& path, const QString& folder) {
    return QDir(folder).absoluteFilePath(QFileInfo(path).fileName());
}

}  // namespace

FileActionOutcome moveToTrash(const QString& path) {
    QFile file(path);
    if (!file.moveToTrash()) return failed(file);
    return {FileActionResult::Done, file.fileName(), {}};
}

FileActionOutcome renameFile(const QString& path, const QString& newName) {
    if (newName.isEmpty() || newName.contains(u'/') || newName == "." || newName == "..")
        return {FileActionResult::Failed, {}, QStringLiteral("Invalid file name")};
    const QString target = QFileInfo(path).absoluteDir().absoluteFilePath(newName);
    if (QFileInfo::exists(target)) return {FileActionResult::TargetExists, target, {}};
    QFile file(path);
    if (!file.rename(target)) return failed(file);
    return {FileActionResult::Done, target, {}};
}

FileActionOutcome copyToFolder(const QString& path, const QString& folder, bool overwrite) {
    const QString target = targetIn(path, folder);
    if (QFileInfo(target) == QFileInfo(path)) return {FileActionResult::TargetExists, target, {}};
    if (QFileInfo::exists(target)) {
        if (!overwrite) return {FileActionResult::TargetExists, target, {}};
        QFile old(target);
        if (!old.remove()) return failed(old);
    }
    QFile file(path);
    if (!file.copy(target)) return failed(file);
    return {FileActionResult::Done, target, {}};
}

FileActionOutcome moveToFolder(const QString& path, const QString& folder, bool overwrite) {
    const QString target = targetIn(path, folder);
    if (QFileInfo(target) == QFileInfo(path)) return {FileActionResult::TargetExists, target, {}};
    if (QFileInfo::exists(target)) {
        if (!overwrite) return {FileActionResult::TargetExists, target, {}};
        QFile old(target);
        if (!old.remove()) return failed(old);
    }
    // QFile::rename copies and removes when the folders are on different
    // file systems.
    QFile file(path);
    if (!file.rename(target)) return failed(file);
    return {FileActionResult::Done, target, {}};
}

}  // namespace vivark::viewer
