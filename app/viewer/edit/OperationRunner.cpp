// The worker thread, progress dialog and error report of an image operation.
#include "app/viewer/edit/OperationRunner.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QMessageBox>
#include <QProgressDialog>
#include <QThread>
#include <QTimer>
#include <atomic>
#include <new>

#include "app/viewer/edit/Document.h"
#include "formats/ErrorMessages.h"
#include "ops/Convolution.h"

namespace vivark::viewer {

QString operationFailureText() {
    try {
        throw;
    } catch (OPERROR e) {
        return QString::fromStdString(formatMessage(messageOf(e)));
    } catch (FILTERERROR e) {
        return QString::fromStdString(formatMessage(messageOf(e)));
    } catch (const std::bad_alloc&) {
        return QObject::tr("There is not enough memory for this operation.");
    } catch (...) {
        return QString::fromStdString(formatMessage(loadMessageForCurrentException()));
    }
}

// What the worker and the user-interface thread share about one run.
struct OperationRunner::Job {
    Image source;
    Operation operation;
    QString what;
    std::atomic<uint32_t> done{0};
    std::atomic<uint32_t> total{0};
    std::atomic<bool> cancel{false};
    OpResult result;
    QString failure;
};

OperationRunner::OperationRunner(Document* document, QWidget* window)
    : QObject(document), document_(document), window_(window) {}

OperationRunner::~OperationRunner() {
    // A running worker holds its own reference to the job; it is told to stop
    // and its result is dropped.
    if (job_) job_->cancel = true;
}

bool OperationRunner::run(const QString& what, Operation operation) {
    if (busy_ || document_->isEmpty()) return false;
    busy_ = true;
    auto job = std::make_shared<Job>();
    job->source = document_->image();
    job->operation = std::move(operation);
    job->what = what;
    job_ = job;

    QThread* thread = QThread::create([job] {
        ProgressFunction progress([&job](uint32_t done, uint32_t total) {
            job->done = done;
            job->total = total;
            return job->cancel.load();
        });
        try {
            job->result = job->operation(job->source, &progress);
        } catch (...) {
            job->failure = operationFailureText();
        }
    });

    // The dialog appears only for work that lasts; small images finish first.
    auto* dialog = new QProgressDialog(what, tr("Cancel"), 0, 1000, window_);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setMinimumDuration(400);
    dialog->setAutoClose(false);
    dialog->setAutoReset(false);
    auto* timer = new QTimer(dialog);
    connect(timer, &QTimer::timeout, dialog, [dialog, job] {
        const uint32_t total = job->total;
        if (total > 0) dialog->setValue(int(uint64_t{job->done} * 1000 / total));
    });
    connect(dialog, &QProgressDialog::canceled, dialog, [job] { job->cancel = true; });
    timer->start(50);

    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    connect(thread, &QThread::finished, this, [this, dialog = QPointer(dialog), job] {
        if (dialog) dialog->deleteLater();
        if (job_ == job) complete();
    });
    thread->start();
    return true;
}

void OperationRunner::complete() {
    const std::shared_ptr<Job> job = std::move(job_);
    busy_ = false;
    bool applied = false;
    if (!job->failure.isEmpty()) {
        if (window_) QMessageBox::warning(window_, job->what, job->failure);
    } else if (job->result && !job->cancel) {
        document_->apply(*job->result, job->what);
        applied = true;
    }
    emit finished(applied);
}

void OperationRunner::wait() {
    if (!busy_) return;
    QEventLoop loop;
    connect(this, &OperationRunner::finished, &loop, &QEventLoop::quit);
    loop.exec();
}

}  // namespace vivark::viewer
