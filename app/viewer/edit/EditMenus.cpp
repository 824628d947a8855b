// The Edit, Image, Colours and Filters menus, their enabling, and the
// clipboard, crop, palette and filter-editor commands.
#include "app/viewer/edit/EditMenus.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>

#include "app/settings/SettingKeys.h"
#include "app/viewer/edit/Document.h"
#include "app/viewer/edit/FileActions.h"
#include "app/viewer/edit/FilterEditor.h"
#include "app/viewer/edit/OperationActions.h"
#include "app/viewer/edit/OperationRunner.h"
#include "app/viewer/edit/PaletteEditor.h"
#include "app/viewer/edit/QtImage.h"
#include "ops/Convolution.h"
#include "ops/Crop.h"
#include "ops/PaletteFile.h"

namespace vivark::viewer {
namespace {

QString paletteFilter() {
    return QObject::tr("PAL - Palette (*.pal);;PAL - Vivark Palette (*.pal);;All files (*)");
}

// The rectangle in the crop operation's terms (bottom-left origin).
CropRectangle cropOf(const QRect& r, uint32_t imageHeight) {
    return {r.left(), int64_t{imageHeight} - r.top() - r.height(), r.width(), r.height()};
}

}  // namespace

EditMenus::EditMenus(QMainWindow* window, QMenuBar* bar, Document* document, EditHooks hooks)
    : QObject(window),
      window_(window),
      document_(document),
      runner_(new OperationRunner(document, window)) {
    document_->setUndoEnabled(settings::undoEnabled.get());

    QMenu* file = menu(bar, "fileMenu", tr("&File"));
    files_ = new FileActions(window, document, std::move(hooks.open), file);

    QMenu* edit = menu(bar, "editMenu", tr("&Edit"));
    add(edit, "undo", tr("&Undo"), &EditMenus::undo)->setShortcut(QKeySequence::Undo);
    add(edit, "redo", tr("&Redo"), &EditMenus::redo)->setShortcut(QKeySequence::Redo);
    edit->addSeparator();
    add(edit, "copy", tr("&Copy"), &EditMenus::copy)->setShortcut(QKeySequence::Copy);
    add(edit, "paste", tr("&Paste"), &EditMenus::paste)->setShortcut(QKeySequence::Paste);
    edit->addSeparator();
    add(edit, "crop", tr("C&rop to Selection"), &EditMenus::cropToSelection)
        ->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Y));

    QMenu* menus[] = {menu(bar, "imageMenu", tr("&Image")),
                      menu(bar, "coloursMenu", tr("&Colours")),
                      menu(bar, "filtersMenu", tr("F&ilters"))};
    for (const OperationAction& action : operationActions()) {
        const QString where = action.menu;
        QMenu* target = where == "Image" ? menus[0] : where == "Colours" ? menus[1] : menus[2];
        if (action.separator) target->addSeparator();
        QAction* item =
            target->addAction(tr(action.text), this, [this, &action] { runOperation(action); });
        item->setObjectName(action.id);
    }
    menus[0]->addSeparator();
    QMenu* palette = menus[0]->addMenu(tr("&Palette"));
    palette->setObjectName("paletteMenu");
    add(palette, "loadPalette", tr("&Load Palette..."), &EditMenus::loadPalette);
    add(palette, "savePalette", tr("&Save Palette..."), &EditMenus::savePalette);
    add(palette, "editPalette", tr("&Edit Palette..."), &EditMenus::editPalette);
    menus[2]->addSeparator();
    add(menus[2], "filterEditor", tr("&Filter Editor..."), &EditMenus::openFilterEditor);

    connect(document_, &Document::changed, this, &EditMenus::updateActions);
    connect(document_, &Document::loaded, this, [this] { selection_ = QRect(); });
    connect(runner_, &OperationRunner::finished, this, &EditMenus::updateActions);
    updateActions();
}

QMenu* EditMenus::menu(QMenuBar* bar, const char* objectName, const QString& title) {
    if (auto* existing = bar->findChild<QMenu*>(objectName)) return existing;
    QMenu* created = bar->addMenu(title);
    created->setObjectName(objectName);
    return created;
}

QAction* EditMenus::add(QMenu* menu, const char* name, const QString& text,
                        void (EditMenus::*slot)()) {
    QAction* action = menu->addAction(text, this, slot);
    action->setObjectName(name);
    return action;
}

QAction* EditMenus::actionNamed(const QString& name) const {
    return window_->findChild<QAction*>(name);
}

void EditMenus::updateActions() {
    const bool image = !document_->isEmpty();
    const bool idle = !runner_->isBusy();
    auto enable = [this](const char* name, bool on) {
        if (QAction* action = actionNamed(name)) action->setEnabled(on);
    };
    for (const OperationAction& action : operationActions()) enable(action.id, image && idle);
    enable("undo", idle && document_->canUndo());
    enable("redo", idle && document_->canRedo());
    if (QAction* undo = actionNamed("undo"))
        undo->setText(document_->canUndo() ? tr("&Undo %1").arg(document_->undoText())
                                           : tr("&Undo"));
    if (QAction* redo = actionNamed("redo"))
        redo->setText(document_->canRedo() ? tr("&Redo %1").arg(document_->redoText())
                                           : tr("&Redo"));
    enable("copy", image);
    enable("paste", idle);
    enable("crop", image && idle && !selection_.isEmpty());
    enable("loadPalette", image && idle);
    enable("savePalette", image && document_->image().hasPalette());
    enable("editPalette", image && idle && document_->image().hasPalette());
    enable("filterEditor", image && idle);
}

bool EditMenus::confirmDiscard() {
    if (!document_->isModified() || !settings::confirmImage.get()) return true;
    const auto answer = QMessageBox::question(
        window_, tr("Image Changed"), tr("The image has been changed. Save the changes?"),
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    if (answer == QMessageBox::Save) return files_->save();
    return answer == QMessageBox::Discard;
}

void EditMenus::setSelection(const QRect& selection) {
    const QRect bounds(0, 0, int(document_->image().width()), int(document_->image().height()));
    selection_ = selection.normalized() & bounds;
    updateActions();
}

void EditMenus::runOperation(const OperationAction& action) {
    if (document_->isEmpty() || runner_->isBusy()) return;
    if (!action.form) {
        runner_->run(tr(action.what), action.make(nullptr));
        return;
    }
    ParamDialog dialog(tr(action.what), window_);
    dialog.setObjectName(action.id);
    action.form(dialog, document_->image());
    if (action.preview) {
        dialog.setPreview(document_->image(), [&dialog, &action](const Image& image) {
            return action.make(&dialog)(image, nullptr);
        });
    }
    if (dialog.exec() != QDialog::Accepted) return;
    if (action.remember) action.remember(dialog);
    runner_->run(tr(action.what), action.make(&dialog));
}

void EditMenus::undo() {
    if (!runner_->isBusy()) document_->undo();
}

void EditMenus::redo() {
    if (!runner_->isBusy()) document_->redo();
}

void EditMenus::copy() {
    if (document_->isEmpty()) return;
    QImage picture = toQImage(document_->image());
    if (!selection_.isEmpty()) picture = picture.copy(selection_);
    QApplication::clipboard()->setImage(picture);
}

void EditMenus::paste() {
    const QImage picture = QApplication::clipboard()->image();
    if (picture.isNull() || runner_->isBusy()) return;
    Image pasted;
    try {
        pasted = fromQImage(picture);
    } catch (...) {
        QMessageBox::warning(window_, tr("Paste"), operationFailureText());
        return;
    }
    if (document_->isEmpty())
        document_->setLoaded(pasted, QString());
    else
        document_->apply(pasted, tr("Paste"));
}

void EditMenus::cropToSelection() {
    if (selection_.isEmpty()) return;
    const CropRectangle rectangle = cropOf(selection_, document_->image().height());
    if (runner_->run(tr("Crop"), [rectangle](const Image& image, ProgressCallback* progress) {
            return crop(image, rectangle, progress);
        }))
        selection_ = QRect();
}

void EditMenus::loadPalette() {
    const QString path =
        QFileDialog::getOpenFileName(window_, tr("Load Palette"), QString(), paletteFilter());
    if (path.isEmpty()) return;
    ApplyPalette request;
    try {
        request.palette = readPaletteFile(path.toStdString());
    } catch (...) {
        QMessageBox::warning(window_, tr("Load Palette"), operationFailureText());
        return;
    }
    runner_->run(tr("Load Palette"), [request](const Image& image, ProgressCallback* progress) {
        return applyPalette(image, request, progress);
    });
}

void EditMenus::savePalette() {
    const auto palette = paletteOf(document_->image());
    if (!palette) return;
    const QString path =
        QFileDialog::getSaveFileName(window_, tr("Save Palette"), QString(), paletteFilter());
    if (path.isEmpty()) return;
    if (!writePaletteFile(path.toStdString(), *palette))
        QMessageBox::warning(
            window_, tr("Save Palette"),
            QString::fromStdString(formatMessage(msg::CannotSave, path.toStdString())));
}

void EditMenus::editPalette() {
    const auto palette = paletteOf(document_->image());
    if (!palette) return;
    PaletteEditor editor(*palette, window_);
    if (editor.exec() != QDialog::Accepted) return;
    const ApplyPalette request{editor.palette()};
    runner_->run(tr("Edit Palette"), [request](const Image& image, ProgressCallback* progress) {
        return applyPalette(image, request, progress);
    });
}

void EditMenus::openFilterEditor() {
    FilterEditor editor(window_);
    if (editor.exec() != QDialog::Accepted) return;
    const ConvolutionFilter filter = editor.filter();
    runner_->run(tr("Filter"), [filter](const Image& image, ProgressCallback* progress) {
        return convolve(image, filter, progress);
    });
}

EditMenus* installEditMenus(QMainWindow* window, QMenuBar* bar, Document* document,
                            EditHooks hooks) {
    return new EditMenus(window, bar, document, std::move(hooks));
}

}  // namespace vivark::viewer
