// The view tests run inside a real QApplication (widgets need one) on the offscreen platform,
// in English with its plural forms.
#include "tests/ui/ViewFixture.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    vimbo::test::useEnglish();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
