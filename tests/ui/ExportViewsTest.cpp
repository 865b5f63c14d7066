// The export sheet and the running export's bar, with real exports (the outcome: in the window).
#include "media/MediaProbe.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"
#include "tests/ui/ViewFixture.h"
#include "ui/ExportBar.h"
#include "ui/ExportSheet.h"

#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

using Kind = ExportController::State::Kind;

class ExportViewsTest : public ::testing::Test {
protected:
    Views views;
    std::unique_ptr<ui::ExportSheet> sheet;

    void SetUp() override { QSettings().clear(); }

    void openSheet() {
        sheet = std::make_unique<ui::ExportSheet>(views.project(), views.exporter());
        sheet->show();
        QCoreApplication::processEvents();
    }
    template <typename T = QWidget>
    T* find(const QString& name) {
        return control<T>(sheet.get(), name);
    }
    void pick(const QString& quality) {
        auto* box = find<QComboBox>("Quality");
        box->setCurrentIndex(box->findText(quality));
        emit box->activated(box->currentIndex()); // as choosing it from the list does
    }
    // The footer under the form, once the verdict on copying has landed.
    QString footer() {
        EXPECT_TRUE(waitUntil([&] { return !sheet->judging(); }));
        QStringList texts;
        for (QLabel* label : sheet->findChildren<QLabel*>())
            if (label->wordWrap())
                texts << label->text();
        return texts.join(u'|');
    }
    QString size() { return find<QLabel>("Size")->text(); }
    static QFileDialog* saveDialog() {
        waitUntil([] { return openWindow<QFileDialog>() != nullptr; }, 5000);
        return openWindow<QFileDialog>();
    }
};

TEST_F(ExportViewsTest, SheetShowsTheSizeForTheQualityAndRemembersTheChoice) {
    QSettings().setValue("format", "avi"); // unreadable values fall back
    const QString uhd = generated(QStringLiteral("view-uhd.mp4"),
                                  QStringLiteral("-f lavfi -i testsrc2=s=3840x2160:d=0.2 -c:v "
                                                 "libx264 -preset ultrafast")
                                      .split(u' '));
    views.open({{uhd}});
    ASSERT_TRUE(views.read());
    openSheet();
    EXPECT_TRUE(find<QPushButton>("MP4")->isChecked());
    EXPECT_EQ(size(), QStringLiteral("3840 × 2160"));
    pick("High");
    EXPECT_EQ(size(), QStringLiteral("1920 × 1080"));
    find<QPushButton>("MOV")->click();
    QTest::keyClick(sheet.get(), Qt::Key_Escape);
    EXPECT_FALSE(sheet->isVisible());

    openSheet();
    EXPECT_TRUE(find<QPushButton>("MOV")->isChecked());
    EXPECT_EQ(find<QComboBox>("Quality")->currentText(), QStringLiteral("High"));
    EXPECT_EQ(QSettings().value("quality").toString(), QStringLiteral("high"));
}

TEST_F(ExportViewsTest, FooterPromisesAFastExportExactlyWhenItCopiesAndExportAsksWhere) {
    views.open({{movie(views.files(), "a.mp4", 2)}, {movie(views.files(), "b.mp4", 2)}});
    ASSERT_TRUE(views.read());
    openSheet();
    EXPECT_EQ(footer(), QStringLiteral("Fast export, no re-encoding"));
    pick("High");
    EXPECT_EQ(footer(), QString()) << "a re-encoding quality";
    pick("Original");

    views.project().edit(
        nullptr, QSet<QUuid>{views.id("b.mp4")},
        [](ClipEdits& e, const MediaInfo&) { e.trimStart = 0.5; }); // keys 1 s apart
    EXPECT_EQ(footer(), QStringLiteral("Fast export, re-encoding only 15 frames around the trims"));

    // What the probed facts rule out is said before what the packets do.
    views.project().add({QUrl::fromLocalFile(picture(views.files(), "p.jpg"))});
    EXPECT_TRUE(views.read());
    EXPECT_EQ(footer(), QStringLiteral("No fast export: “p.jpg” is a photo"));
    views.project().remove({views.id("p.jpg")});
    EXPECT_EQ(footer(), QStringLiteral("Fast export, re-encoding only 15 frames around the trims"));

    // Export asks where, and starts only when confirmed: in the desktop's Videos folder, at
    // home while there is none, and then where the last export went.
    const QString config = scratchFolder(), videos = config + "/Videos";
    qputenv("XDG_CONFIG_HOME", config.toUtf8());
    QFile dirs(config + "/user-dirs.dirs");
    ASSERT_TRUE(dirs.open(QIODevice::WriteOnly));
    dirs.write("XDG_VIDEOS_DIR=\"" + videos.toUtf8() + "\"\n");
    dirs.close();
    find<QPushButton>("MOV")->click();
    QTest::keyClick(sheet.get(), Qt::Key_Return);
    EXPECT_FALSE(sheet->isVisible()) << "the sheet closes before the save dialog";
    QFileDialog* dialog = saveDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->directory().path(), QDir::homePath());
    EXPECT_EQ(dialog->selectedFiles().value(0).section(u'/', -1),
              QStringLiteral("Merged Video.mov"));
    EXPECT_EQ(dialog->nameFilters(), QStringList{QStringLiteral("QuickTime Movie (*.mov)")});
    dialog->reject();
    QCoreApplication::processEvents();
    EXPECT_EQ(views.exporter().state().kind, Kind::idle) << "cancelled: nothing starts";

    const auto askWhere = [&] {
        openSheet();
        find<QPushButton>("Export…")->click();
        return saveDialog();
    };
    ASSERT_TRUE(QDir().mkdir(videos));
    ASSERT_NE(dialog = askWhere(), nullptr);
    EXPECT_EQ(dialog->directory().path(), videos);
    // One of the clips, "Replace?" answered yes: the sentence, nothing touched, and the dialog
    // again where the person was.
    const QString clip = views.files() + QStringLiteral("/a.mp4");
    const auto bytes = [&] {
        QFile file(clip);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    const QByteArray before = bytes();
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    dialog->selectFile(clip);
    QMetaObject::invokeMethod(dialog, "accept");
    QMessageBox* refusal = nullptr;
    ASSERT_TRUE(waitUntil([&] { return (refusal = openWindow<QMessageBox>()) != nullptr; }, 5000));
    EXPECT_EQ(refusal->text(), QStringLiteral("The movie can’t be saved as “a.mp4” because that "
                                              "is one of its clips."));
    refusal->button(QMessageBox::Ok)->click();
    dialog = saveDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->selectedFiles().value(0), clip);
    EXPECT_EQ(views.exporter().state().kind, Kind::idle);
    EXPECT_EQ(bytes(), before);
    const QString out = scratchFolder() + QStringLiteral("/Holiday.mov");
    dialog->selectFile(out);
    QMetaObject::invokeMethod(dialog, "accept"); // the Save button
    ASSERT_TRUE(waitUntil([&] { return views.exporter().state().kind == Kind::done; }));
    EXPECT_NEAR(MediaProbe::probe(QUrl::fromLocalFile(out)).duration, 3.5, 0.1);
    ASSERT_NE(dialog = askWhere(), nullptr);
    EXPECT_EQ(dialog->directory().path(), QFileInfo(out).path());
    dialog->reject();
}

// A person reads how long is left off the bar while a real export runs: nothing for the first
// two seconds, then the time the pace so far gives for the rest.
TEST_F(ExportViewsTest, TheBarTellsTheTimeLeftWhileARealExportRuns) {
    EXPECT_EQ(ui::ExportBar::remainingText(75), QStringLiteral("About 1:15 remaining"));
    const QString hd = generated(QStringLiteral("view-720p-30s.mp4"),
                                 QStringLiteral("-f lavfi -i testsrc2=s=1280x720:r=30:d=30 -c:v "
                                                "libx264 -preset ultrafast -pix_fmt yuv420p")
                                     .split(u' '));
    views.open({{hd}});
    ASSERT_TRUE(views.read());
    ui::ExportBar bar(views.exporter());
    bar.show();
    QElapsedTimer clock;
    clock.start();
    views.exporter().start({views.project().usable().front().second}, {}, ExportFormat::mp4,
                           ExportQuality::high, // FFmpeg 5.1 leaks what a cancelled x265 holds
                           QUrl::fromLocalFile(scratchFolder() + QStringLiteral("/hd.mp4")));
    auto* left = control<QLabel>(&bar, "Time remaining");
    auto* progress = control<QProgressBar>(&bar, "Export progress");
    ASSERT_TRUE(left && progress);
    EXPECT_EQ(left->text(), QStringLiteral("Exporting…"));
    const QRegularExpression about(QStringLiteral("About (\\d+):(\\d\\d) remaining"));
    QRegularExpressionMatch shown;
    ASSERT_TRUE(waitUntil([&] { return (shown = about.match(left->text())).hasMatch(); }, 60000))
        << left->text().toStdString();
    const double elapsed = clock.elapsed() / 1000.0;
    const double done = double(progress->value()) / progress->maximum();
    control<QPushButton>(&bar, "Cancel")->click();
    EXPECT_EQ(views.exporter().state().kind, Kind::idle);
    EXPECT_GE(elapsed, 2.0) << "too early for a fair estimate";
    const double expected = (1 - done) * elapsed / done;
    EXPECT_NEAR(shown.captured(1).toInt() * 60 + shown.captured(2).toInt(), expected,
                1 + 0.2 * expected)
        << "at " << done * 100 << " % after " << elapsed << " s";
}

} // namespace
} // namespace vimbo::test
