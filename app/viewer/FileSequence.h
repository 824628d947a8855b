// FileSequence: the files the viewer steps through with next, previous,
// first and last.
//
// Opening one file makes its folder the sequence: every file there whose
// name ends in an extension of a readable format (formats are told by their
// content, but listing a folder by content would open every file in it). Opening
// several files or folders makes exactly those files the sequence, in the
// order given. The order of a folder is FileSequencer\Sequence: 0 by name in
// plain character order, 1 by date modified (oldest first), 2 by size
// (smallest first), 3 (the default) by name as file managers sort it today,
// ignoring case and reading digit runs as numbers, so "img9" comes before
// "img10". FileSequencer\Wrap steps from the last file to the first and
// back; FileSequencer\Refresh reads the folder again before each step, so
// files added or removed meanwhile are seen.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace vivark::viewer {

enum class SequenceOrder { Name = 0, Date = 1, Size = 2, Natural = 3 };

// Whether a file name ends in an extension of a format the viewer reads.
bool hasImageExtension(const QString& fileName);
// Those extensions, lower case, without the dot.
const QStringList& imageExtensions();

// Compares file names as file managers do: ignoring case, digit runs by value.
int naturalCompare(const QString& a, const QString& b);

// Sorts paths by `order` (ties by natural name).
void sortPaths(QStringList& paths, SequenceOrder order);

class FileSequence {
  public:
    void setOrder(SequenceOrder order) { order_ = order; }
    void setWrap(bool wrap) { wrap_ = wrap; }
    void setRefresh(bool refresh) { refresh_ = refresh; }

    // The folder of `file` (or the folder itself), positioned on `file`
    // (or the first image of the folder).
    void openFolderOf(const QString& path);
    // Exactly these files, in this order; folders given are expanded.
    void setFiles(const QStringList& paths);

    bool isEmpty() const { return files_.isEmpty(); }
    int count() const { return int(files_.size()); }
    int index() const { return index_; }
    QString current() const;
    const QStringList& files() const { return files_; }

    // The file `delta` steps away (with wrap), without moving; nothing when
    // that is past an end.
    std::optional<QString> peek(int delta) const;
    // Moves `delta` steps (refreshing first when asked) and returns the new
    // current file; nothing (and no move) past an end without wrap.
    std::optional<QString> step(int delta);
    std::optional<QString> first();
    std::optional<QString> last();
    std::optional<QString> jumpTo(const QString& path);

    // Keeps the sequence in step with file operations on the current file.
    void removeCurrent();
    void renameCurrent(const QString& newPath);

  private:
    void rescan();

    QStringList files_;
    QString folder_;  // empty when the sequence is a given list of files
    int index_ = -1;
    SequenceOrder order_ = SequenceOrder::Natural;
    bool wrap_ = true;
    bool refresh_ = true;
};

}  // namespace vivark::viewer
