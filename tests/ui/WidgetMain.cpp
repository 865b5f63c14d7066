// Widgets need a QApplication: the window's and the views' tests run inside one, offscreen, in
// English with the interface's translations, keeping their settings in a folder of this run.
#include "media/ff/Log.h"
#include "tests/ui/ViewFixture.h"

#include <QApplication>
#include <QSettings>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false); // each test closes its window
    vimbo::ff::quietLibraryLog();
    vimbo::test::useEnglish();
    QCoreApplication::setOrganizationName(QStringLiteral("Vimbo"));
    QCoreApplication::setApplicationName(QStringLiteral("Vimbo"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, vimbo::test::scratchFolder());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
