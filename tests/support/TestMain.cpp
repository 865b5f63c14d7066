// Every test binary runs inside a real Qt application with an event loop available, on the
// offscreen platform so that no display is needed. A QApplication, so that widget tests can
// run in the same way as the rest.
#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
