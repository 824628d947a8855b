// The folder or file list the viewer steps through; see FileSequence.h.
#include "app/viewer/FileSequence.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

#include "formats/FormatTable.h"

namespace vivark::viewer {
namespace {

// Extensions of formats that are read but never written, and the common
// second spellings the writers do not list.
constexpr const char* kReadOnlyExtensions[] = {"pcd", "sfw",  "pwp", "picb", "jpe",  "jfif", "tif",
                                               "dib", "rle",  "pnm", "iff",  "lbm",  "ilbm", "bw",
                                               "rgb", "rgba", "sgi", "mac",  "pntg", "fax",  "g3",
                                               "sff", "pic",  "xwd", "wpg",  "fits", "fts"};

QStringList buildExtensions() {
    QStringList list;
    for (const FormatEntry* entry : formatTable())
        for (const WriterEntry& writer : entry->writers)
            for (std::string_view ext : writer.extensions)
                list << QString::fromLatin1(ext.data(), qsizetype(ext.size())).toLower();
    for (const char* ext : kReadOnlyExtensions) list << QString::fromLatin1(ext);
    list.removeDuplicates();
    list.sort();
    return list;
}

}  // namespace

const QStringList& imageExtensions() {
    static const QStringList list = buildExtensions();
    return list;
}

bool hasImageExtension(const QString& fileName) {
    const qsizetype dot = fileName.lastIndexOf(u'.');
    if (dot < 0) return false;
    return std::binary_search(imageExtensions().begin(), imageExtensions().end(),
                              fileName.mid(dot + 1).toLower());
}

int naturalCompare(const QString& a, const QString& b) {
    qsizetype i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i].isDigit() && b[j].isDigit()) {
            // Digit runs compare by value: skip leading zeros, then the
            // longer run is larger, then the first differing digit decides.
            qsizetype ei = i, ej = j;
            while (ei < a.size() && a[ei].isDigit()) ++ei;
            while (ej < b.size() && b[ej].isDigit()) ++ej;
            qsizetype si = i, sj = j;
            while (si + 1 < ei && a[si] == u'0') ++si;
            while (sj + 1 < ej && b[sj] == u'0') ++sj;
            if (ei - si != ej - sj) return ei - si < ej - sj ? -1 : 1;
            for (; si < ei; ++si, ++sj)
                if (a[si] != b[sj]) return a[si] < b[sj] ? -1 : 1;
            i = ei;
            j = ej;
            continue;
        }
        const QChar x = a[i].toCaseFolded(), y = b[j].toCaseFolded();
        if (x != y) return x < y ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.size()) return 1;
    if (j < b.size()) return -1;
    return 0;
}

void sortPaths(QStringList& paths, SequenceOrder order) {
    auto byName = [](const QString& a, const QString& b) {
        const int c = naturalCompare(QFileInfo(a).fileName(), QFileInfo(b).fileName());
        return c != 0 ? c < 0 : a < b;
    };
    switch (order) {
        case SequenceOrder::Name:
            std::sort(paths.begin(), paths.end(), [](const QString& a, const QString& b) {
                return QFileInfo(a).fileName() < QFileInfo(b).fileName();
            });
            break;
        case SequenceOrder::Date:
        case SequenceOrder::Size: {
            struct Keyed {
                qint64 key;
                QString path;
            };
            std::vector<Keyed> keyed;
            for (const QString& p : paths) {
                const QFileInfo info(p);
                keyed.push_back({order == SequenceOrder::Date
                                     ? info.lastModified().toMSecsSinceEpoch()
                                     : info.size(),
                                 p});
            }
            std::stable_sort(keyed.begin(), keyed.end(), [&](const Keyed& a, const Keyed& b) {
                return a.key != b.key ? a.key < b.key : byName(a.path, b.path);
            });
            for (size_t i = 0; i < keyed.size(); ++i) paths[qsizetype(i)] = keyed[i].path;
            break;
        }
        case SequenceOrder::Natural:
            std::sort(paths.begin(), paths.end(), byName);
            break;
    }
}

void FileSequence::rescan() {
    if (folder_.isEmpty()) return;
    const QString keep = current();
    QStringList found;
    const QDir dir(folder_);
    for (const QFileInfo& info : dir.entryInfoList(QDir::Files | QDir::Hidden | QDir::Readable))
        if (hasImageExtension(info.fileName())) found << info.absoluteFilePath();
    sortPaths(found, order_);
    // The file being shown stays in the sequence even when its name does not
    // look like an image's, or it has just been removed from the folder.
    if (!keep.isEmpty() && !found.contains(keep)) {
        found << keep;
        sortPaths(found, order_);
    }
    files_ = found;
    index_ = keep.isEmpty() ? (files_.isEmpty() ? -1 : 0) : int(files_.indexOf(keep));
}

void FileSequence::openFolderOf(const QString& path) {
    const QFileInfo info(path);
    files_.clear();
    index_ = -1;
    if (info.isDir()) {
        folder_ = info.absoluteFilePath();
        rescan();
        return;
    }
    folder_ = info.absolutePath();
    files_ << info.absoluteFilePath();
    index_ = 0;
    rescan();
}

void FileSequence::setFiles(const QStringList& paths) {
    folder_.clear();
    files_.clear();
    for (const QString& p : paths) {
        const QFileInfo info(p);
        if (info.isDir()) {
            QStringList inside;
            for (const QFileInfo& f : QDir(p).entryInfoList(QDir::Files | QDir::Readable))
                if (hasImageExtension(f.fileName())) inside << f.absoluteFilePath();
            sortPaths(inside, order_);
            files_ << inside;
        } else {
            files_ << info.absoluteFilePath();
        }
    }
    index_ = files_.isEmpty() ? -1 : 0;
}

QString FileSequence::current() const {
    return index_ >= 0 && index_ < files_.size() ? files_[index_] : QString();
}

std::optional<QString> FileSequence::peek(int delta) const {
    if (files_.isEmpty()) return std::nullopt;
    const int n = int(files_.size());
    int at = (index_ < 0 ? 0 : index_) + delta;
    if (at < 0 || at >= n) {
        if (!wrap_) return std::nullopt;
        at = ((at % n) + n) % n;
    }
    return files_[at];
}

std::optional<QString> FileSequence::step(int delta) {
    if (refresh_) rescan();
    std::optional<QString> next = peek(delta);
    if (next) index_ = int(files_.indexOf(*next));
    return next;
}

std::optional<QString> FileSequence::first() {
    if (refresh_) rescan();
    if (files_.isEmpty()) return std::nullopt;
    index_ = 0;
    return files_.front();
}

std::optional<QString> FileSequence::last() {
    if (refresh_) rescan();
    if (files_.isEmpty()) return std::nullopt;
    index_ = int(files_.size()) - 1;
    return files_.back();
}

std::optional<QString> FileSequence::jumpTo(const QString& path) {
    const int at = int(files_.indexOf(QFileInfo(path).absoluteFilePath()));
    if (at < 0) return std::nullopt;
    index_ = at;
    return files_[at];
}

void FileSequence::removeCurrent() {
    if (index_ < 0 || index_ >= files_.size()) return;
    files_.removeAt(index_);
    // The file after the removed one takes its place; past the end, the new
    // last file (or the first, when wrapping).
    if (index_ >= files_.size())
        index_ = files_.isEmpty() ? -1 : (wrap_ ? 0 : int(files_.size()) - 1);
}

void FileSequence::renameCurrent(const QString& newPath) {
    if (index_ < 0 || index_ >= files_.size()) return;
    files_[index_] = QFileInfo(newPath).absoluteFilePath();
    if (!folder_.isEmpty()) {
        const QString keep = files_[index_];
        sortPaths(files_, order_);
        index_ = int(files_.indexOf(keep));
    }
}

}  // namespace vivark::viewer
