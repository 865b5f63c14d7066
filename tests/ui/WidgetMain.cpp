// The window's and the views' tests run inside a real QApplication (widgets need one) on the
// offscreen platform, in English with the interface's translations as the program loads them,
// keeping their settings in a scratch folder.
#include "media/ff/Log.h"
#include "tests/support/Media.h"
#include "tests/ui/ViewFixture.h"

#include <QApplication>
#include <QSettings>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    // Each test closes its window; the program's quitting is tested on the real program.
    QApplication::setQuitOnLastWindowClosed(false);
    vimbo::ff::quietLibraryLog();
    vimbo::test::useEnglish();
    // The views' settings go to a folder of this run, never the user's.
    QCoreApplication::setOrganizationName(QStringLiteral("Vimbo"));
    QCoreApplication::setApplicationName(QStringLiteral("Vimbo"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, vimbo::test::scratchFolder());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
