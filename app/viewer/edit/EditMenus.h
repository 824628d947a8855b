// The viewer's editing menus: Edit, Image, Colours and Filters, and the
// editing side of the File menu, installed into the window with one call.
//
//   EditMenus* edit = installEditMenus(window, window->menuBar(), document, hooks);
//   connect(view, &View::selectionChanged, edit, &EditMenus::setSelection);
//
// Menus that the window already has (found by their object names "fileMenu",
// "editMenu", "imageMenu", "coloursMenu", "filtersMenu") are extended, the
// others are created. Every QAction has an object name (operationActions()
// ids, and "undo", "redo", "copy", "paste", "crop", "save", "saveAs",
// "information", ...), so a tool bar can reuse them through actionNamed().
//
// Operations run through one OperationRunner (a worker thread, progress and
// cancel) and land in the Document as undoable steps; "Undo\Enabled" decides
// whether steps are kept.
#pragma once

#include <QObject>
#include <QRect>
#include <QString>
#include <functional>

class QAction;
class QMainWindow;
class QMenu;
class QMenuBar;

namespace vivark::viewer {

class Document;
class FileActions;
class OperationRunner;
struct OperationAction;

// What the editing menus ask of the window.
struct EditHooks {
    // Opens a file in the window (a recent file; a JPEG after a lossless
    // transformation, to show the new file). Null: those items stay disabled.
    std::function<void(const QString& path)> open;
};

class EditMenus : public QObject {
    Q_OBJECT
  public:
    EditMenus(QMainWindow* window, QMenuBar* bar, Document* document, EditHooks hooks);

    OperationRunner* runner() const { return runner_; }
    FileActions* fileActions() const { return files_; }
    QAction* actionNamed(const QString& name) const;
    QRect selection() const { return selection_; }

    // Before the window replaces a changed image: asks whether to save it
    // when "Confirmations\Image" is on. False when the user cancels.
    bool confirmDiscard();

  public slots:
    // The rubber band of the view, in image pixels (top-left origin); an
    // empty rectangle clears it.
    void setSelection(const QRect& selection);
    void runOperation(const OperationAction& action);
    void undo();
    void redo();
    void copy();
    void paste();
    void cropToSelection();
    void loadPalette();
    void savePalette();
    void editPalette();
    void openFilterEditor();

  private:
    QMenu* menu(QMenuBar* bar, const char* objectName, const QString& title);
    QAction* add(QMenu* menu, const char* name, const QString& text, void (EditMenus::*slot)());
    void updateActions();

    QMainWindow* window_;
    Document* document_;
    OperationRunner* runner_;
    FileActions* files_;
    QRect selection_;
};

// Installs the menus into `bar` and returns their owner (a child of `window`).
EditMenus* installEditMenus(QMainWindow* window, QMenuBar* bar, Document* document,
                            EditHooks hooks = {});

}  // namespace vivark::viewer
