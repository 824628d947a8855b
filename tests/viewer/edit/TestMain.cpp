// The Qt Test runner of the viewer's editing side: one application on the
// offscreen platform, settings in memory, every test object in turn.
#include <QApplication>
#include <QStandardPaths>
#include <QTest>
#include <memory>

#include "core/settings/MemoryStore.h"

QObject* makeEditActionsTest();
QObject* makeSaveAsTest();

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM",
            qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    // Filter files and the like go to a test folder, not the user's.
    QStandardPaths::setTestModeEnabled(true);
    vivark::settings::setSettingsStore(std::make_shared<vivark::settings::MemoryStore>());
    int failures = 0;
    for (QObject* (*make)() : {makeEditActionsTest, makeSaveAsTest}) {
        std::unique_ptr<QObject> test(make());
        failures += QTest::qExec(test.get(), argc, argv);
    }
    return failures == 0 ? 0 : 1;
}
