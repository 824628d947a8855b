// Trash, rename, copy and move of the viewed file; see FileActions.h.
#include "app/viewer/FileActions.h"

#include <optional>

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

// Makes way for `path` in `folder`: the outcome that ends the action when
// the target is the file itself, exists and may not be replaced, or cannot
// be removed; nothing when the way is clear.
static std::optional<FileActionOutcome> clearTarget(const QString& path, const QString& target,
                                                    bool overwrite) {
    if (QFileInfo(target) == QFileInfo(path))
        return FileActionOutcome{FileActionResult::TargetExists, target, {}};
    if (!QFileInfo::exists(target)) return std::nullopt;
    if (!overwrite) return FileActionOutcome{FileActionResult::TargetExists, target, {}};
    QFile old(target);
    if (!old.remove()) return failed(old);
    return std::nullopt;
}

FileActionOutcome copyToFolder(const QString& path, const QString& folder, bool overwrite) {
    const QString target = targetIn(path, folder);
    if (auto stop = clearTarget(path, target, overwrite)) return *stop;
    QFile file(path);
    if (!file.copy(target)) return failed(file);
    return {FileActionResult::Done, target, {}};
}

FileActionOutcome moveToFolder(const QString& path, const QString& folder, bool overwrite) {
    const QString target = targetIn(path, folder);
    if (auto stop = clearTarget(path, target, overwrite)) return *stop;
    // QFile::rename copies and removes when the folders are on different
    // file systems.
    QFile file(path);
    if (!file.rename(target)) return failed(file);
    return {FileActionResult::Done, target, {}};
}

}  // namespace vivark::viewer
