// Runs every viewer test class on the offscreen platform, with the settings
// in memory.
#include <QApplication>
#include <QTest>
#include <memory>

#include "core/settings/MemoryStore.h"

QObject* makeViewerLogicTest();
QObject* makeViewerWindowTest();
QObject* makeEditActionsTest();
QObject* makeSaveAsTest();

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    vivark::settings::setSettingsStore(std::make_shared<vivark::settings::MemoryStore>());
    int failures = 0;
    for (QObject* (*make)() :
         {makeViewerLogicTest, makeViewerWindowTest, makeEditActionsTest, makeSaveAsTest}) {
        std::unique_ptr<QObject> test(make());
        failures += QTest::qExec(test.get(), argc, argv);
    }
    return failures == 0 ? 0 : 1;
}
