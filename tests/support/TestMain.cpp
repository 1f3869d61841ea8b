// gtest entry for every test binary: a QApplication exists for the widget and event-loop tests.
#include <QApplication>
#include <gmock/gmock.h>

int main(int argc, char** argv) {
    // ctest lists the tests without the test environment; tests that need a real X server say so.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!qEnvironmentVariableIsSet("QT_LOGGING_RULES"))
        qputenv("QT_LOGGING_RULES", "qt.core.qobject.connect=false");
    QApplication app(argc, argv);
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
