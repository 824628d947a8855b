// The viewer's log file; see ViewerLog.h.
#include "app/viewer/ViewerLog.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QStandardPaths>
#include <cstdio>

namespace vivark::viewer {
namespace {

QMutex gLogMutex;
QFile* gLog = nullptr;
QtMessageHandler gPreviousHandler = nullptr;

void messageHandler(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    static const char* const kinds[] = {"debug", "warning", "critical", "fatal", "info"};
    const int index = int(type);
    logLine(QStringLiteral("qt %1: %2")
                .arg(QLatin1String(index >= 0 && index < 5 ? kinds[index] : "message"), text));
    if (gPreviousHandler) gPreviousHandler(type, context, text);
}

}  // namespace

QString logFilePath() {
    if (qEnvironmentVariableIsSet("VIVARK_LOG")) {
        const QString named = qEnvironmentVariable("VIVARK_LOG");
        if (named.isEmpty() || named.compare(QLatin1String("off"), Qt::CaseInsensitive) == 0)
            return {};
        return named;
    }
    QString state = qEnvironmentVariable("XDG_STATE_HOME");
    if (state.isEmpty() || QDir::isRelativePath(state)) {
        const QString home = QDir::homePath();
        if (home.isEmpty()) return {};
        state = home + QStringLiteral("/.local/state");
    }
    return state + QStringLiteral("/vivark/vivark.log");
}

void openLog() {
    const QString path = logFilePath();
    if (path.isEmpty()) return;
    QDir().mkpath(QFileInfo(path).absolutePath());
    auto* file = new QFile(path);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
        std::fprintf(stderr, "vivark-view: cannot write the log %s: %s\n",
                     QFile::encodeName(path).constData(),
                     file->errorString().toLocal8Bit().constData());
        delete file;
        return;
    }
    {
        QMutexLocker lock(&gLogMutex);
        gLog = file;
    }
    gPreviousHandler = qInstallMessageHandler(messageHandler);
}

void logLine(const QString& line) {
    QMutexLocker lock(&gLogMutex);
    if (gLog == nullptr) return;
    const QString stamp = QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    gLog->write((stamp + u' ' + line + u'\n').toUtf8());
    gLog->flush();
}

}  // namespace vivark::viewer
