// Document: the viewer's current image, its source path and its undo history.
#include "app/viewer/edit/Document.h"

namespace vivark::viewer {

Document::Document(QObject* parent) : QObject(parent) {}

void Document::setLoaded(const Image& image, const QString& path, FormatTag namedAs) {
    image_ = image;
    path_ = path;
    namedAs_ = namedAs;
    modified_ = false;
    undo_.clear();
    redo_.clear();
    emit loaded();
    emit changed();
}

void Document::clear() {
    setLoaded(Image(), QString());
}

bool Document::isEmpty() const {
    return image_.width() == 0 || image_.height() == 0;
}

void Document::apply(const Image& result, const QString& what) {
    if (undoEnabled_) undo_.push_back({image_, what});
    redo_.clear();
    image_ = result;
    modified_ = true;
    emit changed();
}

QString Document::undoText() const {
    return undo_.empty() ? QString() : undo_.back().what;
}
QString Document::redoText() const {
    return redo_.empty() ? QString() : redo_.back().what;
}

void Document::undo() {
    if (undo_.empty()) return;
    redo_.push_back({image_, undo_.back().what});
    image_ = undo_.back().image;
    undo_.pop_back();
    modified_ = true;
    emit changed();
}

void Document::redo() {
    if (redo_.empty()) return;
    undo_.push_back({image_, redo_.back().what});
    image_ = redo_.back().image;
    redo_.pop_back();
    modified_ = true;
    emit changed();
}

void Document::setUndoEnabled(bool enabled) {
    undoEnabled_ = enabled;
    if (!enabled) {
        undo_.clear();
        redo_.clear();
    }
}

void Document::markSaved(const QString& path) {
    path_ = path;
    modified_ = false;
    emit changed();
}

}  // namespace vivark::viewer
