// OperationRunner: runs one image operation on the document's image in a
// worker thread and applies the result as an undoable step.
//
// The operation sees a copy of the image (copies share pixels, so this costs
// nothing) and the progress callback; the window stays responsive, a
// progress dialog with a Cancel button appears when the work takes longer
// than a moment, and a cancelled or failed operation leaves the document as
// it was. One operation runs at a time: run() refuses another while busy.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <memory>

#include "ops/Operation.h"

class QWidget;

namespace vivark::viewer {

class Document;

// An operation as the menus hand it over: the image in, the result out
// (nothing when cancelled); failures throw as the ops/ functions do.
using Operation = std::function<OpResult(const Image&, ProgressCallback*)>;

// The message of the exception in flight, in the system's words; call only
// inside a catch block.
QString operationFailureText();

class OperationRunner : public QObject {
    Q_OBJECT
  public:
    OperationRunner(Document* document, QWidget* window);
    ~OperationRunner() override;

    // Starts `operation`; false when another one is still running or the
    // document is empty. `what` names the undo step ("Resize").
    bool run(const QString& what, Operation operation);
    bool isBusy() const { return busy_; }
    // Blocks (running the event loop) until the current operation is done.
    void wait();

  signals:
    // After every run: true when the result was applied to the document.
    void finished(bool applied);

  private:
    struct Job;
    void complete();

    Document* document_;
    QPointer<QWidget> window_;
    std::shared_ptr<Job> job_;
    bool busy_ = false;
};

}  // namespace vivark::viewer
