// FileActions: what the viewer does to the file it shows: move it to the
// desktop trash, rename it, copy or move it to another folder.
//
// The trash is the freedesktop.org one ($XDG_DATA_HOME/Trash, by default
// ~/.local/share/Trash, with a .trashinfo record beside each file so the
// desktop's file manager can put it back); Qt's QFile::moveToTrash writes
// both. Nothing is ever overwritten here: an existing target is reported
// and the caller asks the user.
#pragma once

#include <QString>

namespace vivark::viewer {

enum class FileActionResult { Done, TargetExists, Failed };

struct FileActionOutcome {
    FileActionResult result = FileActionResult::Failed;
    QString newPath;  // where the file is now (trash, new name, copy)
    QString error;    // the system's reason on failure
};

FileActionOutcome moveToTrash(const QString& path);
// `newName` is a file name only; a name with a slash is refused.
FileActionOutcome renameFile(const QString& path, const QString& newName);
FileActionOutcome copyToFolder(const QString& path, const QString& folder, bool overwrite);
FileActionOutcome moveToFolder(const QString& path, const QString& folder, bool overwrite);

}  // namespace vivark::viewer
