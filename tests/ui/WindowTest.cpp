// The window as the program starts it: its title, what it shows for the project and the
// export, files dropped on it or handed to it before it is up, and saving when it closes.
#include "preview/Preview.h"
#include "preview/view/PlayerView.h"
#include "tests/ui/WindowFixture.h"
#include "ui/DropOverlay.h"
#include "ui/EditorView.h"
#include "ui/EmptyState.h"
#include "ui/ExportBar.h"
#include "ui/ExportSheet.h"
#include "ui/InspectorColumn.h"
#include "ui/PhotoPicker.h"

#include <QAbstractButton>
#include <QClipboard>
#include <QDir>
#include <QMenu>
#include <QMimeData>
#include <QPointer>

namespace vimbo::test {
namespace {

using Kind = ExportController::State::Kind;

TEST_F(WindowTest, EmptyWindowInvitesFilesAndTheTitleCountsEveryClip) {
    start();
    auto* empty = window().findChild<ui::EmptyState*>();
    EXPECT_TRUE(empty->isVisible());
    QAbstractButton* photos = empty->findChildren<QAbstractButton*>().value(1);
    EXPECT_EQ(photos->text(), "Add from Photos…");
    photos->click();
    ASSERT_NE(openWindow<ui::PhotoPicker>(), nullptr);
    openWindow<ui::PhotoPicker>()->reject();
    EXPECT_EQ(window().windowTitle(), QStringLiteral("Vimbo"));

    add({photo("a.jpg")});
    EXPECT_FALSE(empty->isVisible());
    EXPECT_TRUE(window().findChild<ui::EditorView*>()->isVisible());
    EXPECT_EQ(window().windowTitle(), QStringLiteral("Vimbo — 1 Clip · 0:03"));
    add({photo("b.jpg"), photo("c.jpg"), broken("broken.jpg")});
    project().selectAll();
    project().edit("Change Duration", std::nullopt,
                   [](ClipEdits& e, const MediaInfo&) { e.photoDuration = 1241; });
    EXPECT_EQ(window().windowTitle(), QStringLiteral("Vimbo — 4 Clips · 1:02:03"))
        << "the broken clip counts but does not play";

    project().startOver();
    EXPECT_EQ(window().windowTitle(), QStringLiteral("Vimbo"));
}

TEST_F(WindowTest, InspectorColumnFollowsTheWishAndNeedsClips) {
    start();
    auto* column = window().findChild<ui::InspectorColumn*>();
    // The tool bar's switch is on exactly while the column shows.
    const auto shown = [&] {
        EXPECT_EQ(toolbar().inspectorButton()->isChecked(), column->isVisible());
        return column->isVisible();
    };
    EXPECT_FALSE(shown()) << "an empty project has no column";
    add({photo("a.jpg")});
    EXPECT_TRUE(shown());

    control<QAbstractButton>(column, "Hide Inspector")->click();
    EXPECT_FALSE(shown());
    EXPECT_EQ(action("inspector")->text(), QStringLiteral("Show Inspector"));
    project().startOver();
    add({photo("b.jpg")});
    EXPECT_FALSE(shown()) << "new clips do not change the wish";
    QTest::mouseClick(toolbar().inspectorButton(), Qt::LeftButton);
    EXPECT_TRUE(shown());
    project().startOver();
    EXPECT_FALSE(shown());
    EXPECT_FALSE(action("inspector")->isEnabled());
    QTest::keyClick(&window(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(shown()) << "the column comes back with the clips";
    action("inspector")->trigger();
    EXPECT_FALSE(shown());
}

TEST_F(WindowTest, ExportBarShowsTheExportUntilItsOutcomeIsClosed) {
    start();
    add({video()});
    auto* editor = window().findChild<ui::EditorView*>();
    auto* bar = window().findChild<ui::ExportBar*>();
    ExportController& exporter = shell->exporter();
    const auto shown = [&] { return editor->exportBarShown() && bar->isVisible(); };
    const auto visible = [&](const QString& name) { return control(bar, name) != nullptr; };
    const auto exportTo = [&](const QString& path) {
        exporter.start({project().usable().front().second}, project().layout(), ExportFormat::mp4,
                       ExportQuality::high, QUrl::fromLocalFile(path));
    };
    EXPECT_FALSE(shown());
    const QString out = root + "/A rather long name for a movie.mp4";
    exportTo(out);
    EXPECT_TRUE(shown() && visible("Export progress"));
    ASSERT_TRUE(waitUntil([&] { return exporter.state().kind == Kind::done; }));
    EXPECT_FALSE(visible("Export progress"));
    EXPECT_TRUE(visible("Done") && visible("Show in Folder") && visible("Share…"));
    EXPECT_TRUE(visible("A rather long name for a movie.mp4"));
    for (QAction* action : control<QToolButton>(bar, "Share…")->menu()->actions())
        if (action->text() == QStringLiteral("Copy"))
            action->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->mimeData()->urls(),
              QList<QUrl>{QUrl::fromLocalFile(out)});
    control<QToolButton>(bar, "Close")->click();
    EXPECT_EQ(exporter.state().kind, Kind::idle);
    EXPECT_FALSE(shown());

    exportTo(root + "/no/such/folder/out.mp4");
    ASSERT_TRUE(waitUntil([&] { return exporter.state().kind == Kind::failed; }));
    EXPECT_TRUE(shown() && visible("Failed") && visible(exporter.state().message));
    EXPECT_FALSE(visible("Show in Folder"));
    control<QToolButton>(bar, "Close")->click();
    EXPECT_FALSE(shown()) << "closing a failure goes back to idle";
}

TEST_F(WindowTest, PreviewFollowsTheProjectAfterAPause) {
    start();
    add({photo("a.jpg"), photo("b.jpg")});
    const auto previewed = [this] { return window().preview().starts().size(); };
    ASSERT_TRUE(waitUntil([&] { return previewed() == 2; }, 20000));
    project().remove({project().clips()[0].id});
    ASSERT_TRUE(waitUntil([&] { return previewed() == 1; }, 20000));
    EXPECT_TRUE(window().preview().starts().contains(project().clips()[0].id));
    project().startOver();
    ASSERT_TRUE(waitUntil([&] { return previewed() == 0; }, 20000));
}

TEST_F(WindowTest, ExportSheetAndPhotoPickerOpenOverTheWindowAndCloseBackToIt) {
    start();
    add({video()});
    action("export")->trigger();
    ASSERT_TRUE(waitUntil([this] { return openWindow<ui::ExportSheet>() != nullptr; }));
    EXPECT_EQ(openWindow<ui::ExportSheet>()->windowModality(), Qt::WindowModal);
    openWindow<ui::ExportSheet>()->reject();
    EXPECT_EQ(openWindow<ui::ExportSheet>(), nullptr);

    action("addFromPhotos")->trigger();
    ASSERT_TRUE(waitUntil([this] { return openWindow<ui::PhotoPicker>() != nullptr; }));
    QPointer<ui::PhotoPicker> picker = openWindow<ui::PhotoPicker>();
    picker->reject();
    ASSERT_TRUE(waitUntil([&] { return picker.isNull(); })) << "a closed picker goes";
    toolbar().addButton()->menu()->actions().value(1)->trigger();
    ASSERT_TRUE(waitUntil([this] { return openWindow<ui::PhotoPicker>() != nullptr; }))
        << "asking again opens it again";
}

// Drags `data` from a file manager over `target`, checks `whileOver` there, then drops it (or
// leaves, when not `drop`). True when the drag was taken.
bool drag(
    QWidget* target, const QMimeData& data, bool drop,
    const std::function<void()>& whileOver = [] {}) {
    const QPoint at = target->rect().center();
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    whileOver();
    if (!drop) {
        QDragLeaveEvent leave;
        QApplication::sendEvent(target, &leave);
        return enter.isAccepted();
    }
    QDropEvent event(QPointF(at), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &event);
    return enter.isAccepted() && event.isAccepted();
}

TEST_F(WindowTest, DroppedFilesAreAddedInOneStepInTheirOrderAndTextAloneIsRefused) {
    start();
    auto* overlay = window().findChild<ui::DropOverlay*>();
    QWidget* empty = window().findChild<ui::EmptyState*>();
    const auto hidden = [&] { EXPECT_FALSE(overlay->isVisible()); };
    QMimeData text, two, more;
    text.setText(QStringLiteral("just words"));
    EXPECT_FALSE(drag(empty, text, true, hidden));
    QTest::qWait(50);
    EXPECT_TRUE(project().clips().empty());

    two.setUrls({photo("b.jpg"), photo("a.jpg")});
    two.setText(QStringLiteral("some text"));
    EXPECT_TRUE(drag(empty, two, false, [&] { EXPECT_TRUE(overlay->isVisible()); }));
    EXPECT_FALSE(overlay->isVisible()) << "gone when the drag leaves";
    EXPECT_TRUE(drag(empty, two, true));
    EXPECT_FALSE(overlay->isVisible());
    ASSERT_TRUE(waitUntil([this] { return project().clips().size() == 2; }));
    EXPECT_EQ(names(), (std::vector<QString>{"b.jpg", "a.jpg"}));
    EXPECT_EQ(window().undoStack().count(), 1);
    // Over the editor too; a folder is read in the background, yet a file dropped while it is
    // read still lands after the folder's photos.
    QMimeData folder;
    QDir().mkpath(root + "/files/trip/day 2");
    photo("trip/z.jpg");
    photo("trip/day 2/m.jpg");
    folder.setUrls({QUrl::fromLocalFile(root + "/files/trip")});
    more.setUrls({photo("c.jpg")});
    QWidget* player = window().findChild<PlayerView*>();
    EXPECT_TRUE(drag(player, folder, true));
    EXPECT_TRUE(drag(player, more, true));
    ASSERT_TRUE(waitUntil([this] { return project().clips().size() == 5; }));
    EXPECT_EQ(names(), (std::vector<QString>{"b.jpg", "a.jpg", "m.jpg", "z.jpg", "c.jpg"}));
}

TEST_F(WindowTest, FilesOpenedBeforeTheWindowAreAddedOnceInOrderWhenItShows) {
    start(false);
    shell->open({photo(QStringLiteral("b-first.jpg"))});
    shell->open({photo(QStringLiteral("a-second.jpg"))});
    QTest::qWait(50);
    EXPECT_TRUE(project().clips().empty()) << "nothing is added before the window is up";
    shell->show();
    ASSERT_TRUE(waitUntil([this] { return project().clips().size() == 2; }));
    QTest::qWait(100);
    EXPECT_EQ(names(), (std::vector<QString>{"b-first.jpg", "a-second.jpg"}));
    EXPECT_EQ(window().undoStack().count(), 1) << "one Add Clips step";
    shell->open({photo(QStringLiteral("c-later.jpg"))});
    ASSERT_TRUE(waitUntil([this] { return project().clips().size() == 3; }));
}

// Quitting writes the project at once, without waiting for the autosave.
TEST_F(WindowTest, QuitAndClosingTheWindowSaveAtOnceAndTheNextStartFindsTheProject) {
    for (const bool byMenu : {true, false}) {
        SCOPED_TRACE(byMenu ? "File > Quit" : "closing the window");
        QFile::remove(store.sessionFile());
        start();
        add({photo(QStringLiteral("kept.jpg"))});
        project().rotateSelection(1);
        if (byMenu)
            action("quit")->trigger();
        else
            window().close();
        const auto saved = store.load();
        ASSERT_TRUE(saved.has_value()) << "written as the window closed";
        ASSERT_EQ(saved->clips.size(), 1u);
        EXPECT_EQ(saved->clips[0].edits.quarterTurns, 1);
        shell.reset();
        start();
        EXPECT_EQ(names(), std::vector<QString>{"kept.jpg"});
        project().startOver();
        shell.reset();
    }
}

} // namespace
} // namespace vimbo::test
