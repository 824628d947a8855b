// Runs every viewer test class on the offscreen platform (ctest sets
// QT_QPA_PLATFORM; the settings and log go to a temporary folder).
#include <QApplication>
#include <QTest>

#include "tests/viewer/ViewerTests.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    int failures = 0;
    {
        ViewerLogicTest logic;
        failures += QTest::qExec(&logic, argc, argv);
    }
    {
        ViewerWindowTest window;
        failures += QTest::qExec(&window, argc, argv);
    }
    return failures == 0 ? 0 : 1;
}
