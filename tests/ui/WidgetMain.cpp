// The view tests run inside a real QApplication (widgets need one) on the offscreen platform,
// in English with its plural forms, keeping their settings in a scratch folder.
#include "media/ff/Log.h"
#include "tests/support/Media.h"
#include "tests/ui/ViewFixture.h"

#include <QApplication>
#include <QSettings>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    vimbo::ff::quietLibraryLog();
    vimbo::test::useEnglish();
    // The views' settings go to a folder of this run, never the user's.
    QCoreApplication::setOrganizationName(QStringLiteral("Vimbo"));
    QCoreApplication::setApplicationName(QStringLiteral("Vimbo"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, vimbo::test::scratchFolder());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
