// The window's tests run inside a real QApplication (widgets need one) on the offscreen
// platform, with the interface's translations as the program loads them.
#include "media/ff/Log.h"
#include "ui/Translations.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    // Each test closes its window; the program's quitting is tested on the real program.
    QApplication::setQuitOnLastWindowClosed(false);
    vimbo::ui::installTranslations();
    vimbo::ff::quietLibraryLog();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
