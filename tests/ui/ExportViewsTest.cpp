// The export sheet and the export bar as a person uses them, with real exports behind them.
#include "media/MediaProbe.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"
#include "tests/ui/ViewFixture.h"
#include "ui/ExportBar.h"
#include "ui/ExportSheet.h"

#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QSettings>
#include <QTest>
#include <QToolButton>

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
        views.project().setShowExport(true);
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
        return note();
    }
    QString note() {
        QStringList texts;
        for (QLabel* label : sheet->findChildren<QLabel*>())
            if (label->wordWrap())
                texts << label->text();
        return texts.join(u'|');
    }
    QString size() { return find<QLabel>("Size")->text(); }
    QFileDialog* saveDialog() {
        return waitUntil([] { return openWindow<QFileDialog>() != nullptr; }, 5000)
                   ? openWindow<QFileDialog>()
                   : nullptr;
    }
};

TEST_F(ExportViewsTest, SheetShowsTheSizeForTheQualityAndRemembersTheChoice) {
    QSettings().setValue("format", "avi");
    QSettings().setValue("quality", 42);
    const QString uhd = generated(
        QStringLiteral("view-uhd.mp4"),
        {QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
         QStringLiteral("testsrc2=s=3840x2160:d=0.2"), QStringLiteral("-c:v"),
         QStringLiteral("libx264"), QStringLiteral("-preset"), QStringLiteral("ultrafast")});
    views.open({{uhd}});
    ASSERT_TRUE(views.read());
    openSheet();
    EXPECT_TRUE(find<QPushButton>("MP4")->isChecked()) << "unreadable values fall back";
    EXPECT_EQ(find<QComboBox>("Quality")->currentText(), QStringLiteral("Original"));
    EXPECT_EQ(size(), QStringLiteral("3840 × 2160"));
    pick("High");
    EXPECT_EQ(size(), QStringLiteral("1920 × 1080"));
    find<QPushButton>("MOV")->click();
    QTest::keyClick(sheet.get(), Qt::Key_Escape);
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_FALSE(views.project().showExport());
    EXPECT_EQ(views.exporter().state().kind, Kind::idle);

    openSheet();
    EXPECT_TRUE(find<QPushButton>("MOV")->isChecked());
    EXPECT_EQ(find<QComboBox>("Quality")->currentText(), QStringLiteral("High"));
    EXPECT_EQ(QSettings().value("quality").toString(), QStringLiteral("high"));
}

TEST_F(ExportViewsTest, TheFooterPromisesAFastExportExactlyWhenTheExportCopies) {
    ClipEdits offKey;
    offKey.trimStart = 0.5; // key frames are a second apart
    views.open({{movie(views.files(), "a.mp4", 2)}, {movie(views.files(), "b.mp4", 2)}});
    ASSERT_TRUE(views.read());
    openSheet();
    EXPECT_EQ(footer(), QStringLiteral("Fast export, no re-encoding"));
    pick("High");
    EXPECT_EQ(note(), QString()) << "gone at once";
    pick("Original");
    EXPECT_EQ(note(), QStringLiteral("Fast export, no re-encoding"));

    views.project().edit(nullptr, QSet<QUuid>{views.id("b.mp4")},
                         [&](ClipEdits& e, const MediaInfo&) { e = offKey; });
    EXPECT_EQ(footer(), QStringLiteral("No fast export: “b.mp4” is trimmed off a key frame"));

    // What the probed facts rule out is said before what the packets do.
    views.project().add({QUrl::fromLocalFile(picture(views.files(), "p.jpg"))});
    EXPECT_TRUE(views.read());
    EXPECT_EQ(footer(), QStringLiteral("No fast export: “p.jpg” is a photo"));
    views.project().remove({views.id("p.jpg")});
    EXPECT_EQ(footer(), QStringLiteral("No fast export: “b.mp4” is trimmed off a key frame"));
}

TEST_F(ExportViewsTest, ExportAsksWhereAndStartsOnlyWhenConfirmed) {
    views.open({{movie(views.files(), "a.mp4", 2)}, {movie(views.files(), "b.mp4", 2)}});
    ASSERT_TRUE(views.read());
    openSheet();
    find<QPushButton>("MOV")->click();
    QTest::keyClick(sheet.get(), Qt::Key_Return);
    EXPECT_FALSE(sheet->isVisible()) << "the sheet closes before the save dialog";
    EXPECT_FALSE(views.project().showExport());
    QFileDialog* dialog = saveDialog();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->selectedFiles().value(0).section(u'/', -1),
              QStringLiteral("Merged Video.mov"));
    EXPECT_EQ(dialog->nameFilters(), QStringList{QStringLiteral("QuickTime Movie (*.mov)")});
    dialog->reject();
    QCoreApplication::processEvents();
    EXPECT_EQ(views.exporter().state().kind, Kind::idle) << "cancelled: nothing starts";

    openSheet();
    find<QPushButton>("Export…")->click();
    dialog = saveDialog();
    ASSERT_NE(dialog, nullptr);
    // What was shown is what is exported, even if the clips change meanwhile.
    views.project().remove({views.id("b.mp4")});
    const QString out = scratchFolder() + QStringLiteral("/Holiday.mov");
    dialog->selectFile(out);
    QMetaObject::invokeMethod(dialog, "accept"); // the Save button
    EXPECT_EQ(views.exporter().state().kind, Kind::running);
    ASSERT_TRUE(waitUntil([&] { return views.exporter().state().kind != Kind::running; }));
    ASSERT_EQ(views.exporter().state().kind, Kind::done)
        << views.exporter().state().message.toStdString();
    EXPECT_NEAR(MediaProbe::probe(QUrl::fromLocalFile(out)).duration, 4, 0.1);
}

TEST_F(ExportViewsTest, TheBarShowsProgressAndOutcomeUntilClosed) {
    EXPECT_EQ(ui::ExportBar::remainingText(75), QStringLiteral("About 1:15 remaining"));
    EXPECT_EQ(ui::ExportBar::remainingText(std::nullopt), QStringLiteral("Exporting…"));

    views.open({{movie(views.files(), "a.mp4", 4)}});
    ASSERT_TRUE(views.read());
    ExportController& exporter = views.exporter();
    ui::ExportBar bar(exporter);
    bar.resize(700, 40);
    bar.show();
    const auto visible = [&](const QString& name) { return control(&bar, name) != nullptr; };
    const auto text = [&](const QString& name) {
        auto* label = control<QLabel>(&bar, name);
        return label ? label->text() : QString();
    };
    const std::vector<Segment> segments{views.project().usable().front().second};
    const QString out = scratchFolder() + QStringLiteral("/A rather long name for a movie.mp4");

    exporter.start(segments, {}, ExportFormat::mp4, ExportQuality::high, QUrl::fromLocalFile(out));
    EXPECT_TRUE(visible("Export progress"));
    EXPECT_EQ(text("Time remaining"), QStringLiteral("Exporting…"));
    control<QPushButton>(&bar, "Cancel")->click();
    EXPECT_EQ(exporter.state().kind, Kind::idle);
    EXPECT_FALSE(visible("Export progress"));

    exporter.start(segments, {}, ExportFormat::mp4, ExportQuality::high, QUrl::fromLocalFile(out));
    ASSERT_TRUE(waitUntil([&] { return exporter.state().kind == Kind::done; }));
    EXPECT_FALSE(visible("Export progress"));
    EXPECT_TRUE(visible("Done") && visible("Show in Folder") && visible("Share…"));
    EXPECT_EQ(text("A rather long name for a movie.mp4"),
              QStringLiteral("A rather long name for a movie.mp4"));
    auto* share = control<QToolButton>(&bar, "Share…");
    for (QAction* action : share->menu()->actions())
        if (action->text() == QStringLiteral("Copy"))
            action->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->mimeData()->urls(),
              QList<QUrl>{QUrl::fromLocalFile(out)});
    control<QToolButton>(&bar, "Close")->click();
    EXPECT_EQ(exporter.state().kind, Kind::idle);

    exporter.start(segments, {}, ExportFormat::mp4, ExportQuality::high,
                   QUrl::fromLocalFile(QStringLiteral("/proc/no-such-folder/a.mp4")));
    ASSERT_TRUE(waitUntil([&] { return exporter.state().kind == Kind::failed; }));
    EXPECT_TRUE(visible("Failed"));
    EXPECT_FALSE(visible("Show in Folder"));
    EXPECT_EQ(control<QLabel>(&bar, exporter.state().message)->text(), exporter.state().message);
    control<QToolButton>(&bar, "Close")->click();
    EXPECT_EQ(exporter.state().kind, Kind::idle);
}

} // namespace
} // namespace vimbo::test
