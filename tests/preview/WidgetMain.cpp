// The preview's tests include its widgets, so they run inside a QApplication (the shared test
// main makes a QGuiApplication); defining main here keeps that one out of the link.
#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
