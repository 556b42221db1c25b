#include <QApplication>

#include <gtest/gtest.h>

/// The main program of every kind of test: without a display, on the market's time.
int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!qEnvironmentVariableIsSet("TZ")) qputenv("TZ", "Asia/Shanghai");
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
