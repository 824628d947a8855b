// vivark-view: the viewer's start-up. Parses the command line, hands the
// files to a viewer already running when Loading\StartupMode asks for one
// instance, opens the log, and shows the window.
#include <QApplication>
#include <QCommandLineParser>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QTimer>
#include <cstdio>

#include "app/settings/SettingKeys.h"
#include "app/settings/TextFileStore.h"
#include "app/viewer/MainWindow.h"
#include "app/viewer/SingleInstance.h"
#include "app/viewer/ViewerLog.h"
#include "textimg/LoaderFallback.h"

using namespace vivark;
using namespace vivark::viewer;

int main(int argc, char** argv) {
    const qint64 startedAtMs = QDateTime::currentMSecsSinceEpoch();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("vivark-view"));
    QApplication::setApplicationVersion(QStringLiteral(VIVARK_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("vivark-view"));
    settings::setDefaultStoreFactory(settings::makeUserSettingsStore);
    textimg::installLoaderFallback();

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Vivark: view images."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument(QStringLiteral("files"),
                                 QStringLiteral("Files or folders to show."),
                                 QStringLiteral("[FILE|FOLDER...]"));
    const QCommandLineOption fullScreen(QStringLiteral("fullscreen"),
                                        QStringLiteral("Start in full screen."));
    const QCommandLineOption slideShow(
        QStringLiteral("slideshow"),
        QStringLiteral("Show the files (or the folder) as a slide show."));
    const QCommandLineOption newWindow(
        QStringLiteral("new-window"),
        QStringLiteral("Open a window of its own even when a viewer runs."));
    QCommandLineOption remote(
        QStringLiteral("remote"),
        QStringLiteral("Send a command to the running viewer and print its answer."),
        QStringLiteral("command"));
    QCommandLineOption timing(
        QStringLiteral("timing"),
        QStringLiteral("Print the time to the first pixel and to the full image."));
    QCommandLineOption quitWhenShown(QStringLiteral("quit-when-shown"),
                                     QStringLiteral("Quit once the image is shown in full."));
    QCommandLineOption stepThrough(
        QStringLiteral("step-through"),
        QStringLiteral("Step through every file once, timing each, then quit."));
    for (QCommandLineOption* aid : {&remote, &timing, &quitWhenShown, &stepThrough})
        aid->setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions(
        {fullScreen, slideShow, newWindow, remote, timing, quitWhenShown, stepThrough});
    parser.process(app);

    if (parser.isSet(remote)) {
        QStringList answers;
        if (!sendToRunningViewer(parser.values(remote), &answers, 60000)) {
            std::fprintf(stderr, "vivark-view: no viewer answered\n");
            return 1;
        }
        for (const QString& answer : answers) std::printf("%s\n", answer.toUtf8().constData());
        return answers.filter(QStringLiteral("error")).isEmpty() ? 0 : 1;
    }

    QStringList paths;
    for (const QString& arg : parser.positionalArguments())
        paths << QFileInfo(arg).absoluteFilePath();

    StartOptions options;
    options.fullScreen = parser.isSet(fullScreen);
    options.slideShow = parser.isSet(slideShow);
    options.timing = parser.isSet(timing);
    options.quitWhenShown = parser.isSet(quitWhenShown);
    options.stepThrough = parser.isSet(stepThrough);
    options.startedAtMs = startedAtMs;
    const bool measuring = options.timing || options.quitWhenShown || options.stepThrough;
    const bool single =
        settings::loadingStartupMode.get() == 0 && !parser.isSet(newWindow) && !measuring;

    if (single && !paths.isEmpty() && !options.slideShow &&
        sendToRunningViewer({QStringLiteral("open\t") + paths.join(u'\t')}, nullptr, 10000))
        return 0;

    openLog();
    logLine(QStringLiteral("start %1 %2").arg(QStringLiteral(VIVARK_VERSION), paths.join(u' ')));

    MainWindow window(options);
    InstanceServer server(
        [&window](const QString& command, const QStringList& args, InstanceServer::Reply reply) {
            window.remoteCommand(command, args, std::move(reply));
        });
    if (single && !server.listen()) logLine(QStringLiteral("single-instance socket unavailable"));
    window.showAsPlaced();
    if (options.fullScreen && !options.slideShow) window.toggleFullScreen();
    window.openPaths(paths);
    const int status = app.exec();
    logLine(QStringLiteral("exit %1").arg(status));
    return status;
}
