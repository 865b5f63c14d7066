#include "export/ExportController.h"
#include "preview/Preview.h"
#include "tests/ui/WindowFixture.h"
#include "ui/EditorView.h"
#include "ui/EmptyState.h"
#include "ui/ExportBar.h"
#include "ui/ExportSheet.h"
#include "ui/InspectorColumn.h"
#include "ui/PhotoPicker.h"
#include "ui/WindowToolbar.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QComboBox>
#include <QLineEdit>

namespace vimbo::test {
namespace {

TEST_F(WindowTest, TitleCountsTheClipsAndTellsTheLength) {
    savePhotos({5});
    start();
    ASSERT_TRUE(waitUntil([this] { return probed(); }));
    EXPECT_EQ(ui::MainWindow::subtitle(project()), QStringLiteral("1 Clip · 0:05"));
    EXPECT_EQ(window().windowTitle(), QStringLiteral("Vimbo — 1 Clip · 0:05"));

    shell.reset();
    savePhotos({1241, 1241, 1241});
    start();
    ASSERT_TRUE(waitUntil([this] { return probed(); }));
    EXPECT_EQ(window().windowTitle(), QStringLiteral("Vimbo — 3 Clips · 1:02:03"));

    project().startOver();
    EXPECT_EQ(window().windowTitle(), QStringLiteral("Vimbo"));
    EXPECT_EQ(ui::MainWindow::subtitle(project()), QString());
}

TEST_F(WindowTest, EmptyProjectInvitesFilesAndTheEditorTakesOverWithTheFirstClip) {
    start();
    auto* empty = window().findChild<ui::EmptyState*>();
    auto* editor = window().findChild<ui::EditorView*>();
    EXPECT_TRUE(empty->isVisible());
    EXPECT_FALSE(editor->isVisible());
    QStringList buttons;
    for (auto* button : empty->findChildren<QAbstractButton*>())
        buttons << button->text();
    EXPECT_EQ(buttons, (QStringList{"Add…", "Add from Photos…"}));

    add({photo("first.jpg")});
    EXPECT_FALSE(empty->isVisible());
    EXPECT_TRUE(editor->isVisible());
    const QSize smallest = window().centralWidget()->minimumSize();
    EXPECT_EQ(smallest, QSize(760, 520));
}

TEST_F(WindowTest, InspectorColumnFollowsTheWishAndNeedsClips) {
    start();
    auto* column = window().findChild<ui::InspectorColumn*>();
    const auto shown = [column] { return column->isVisible(); };
    EXPECT_TRUE(window().inspectorWished());
    EXPECT_FALSE(shown()) << "an empty project has no column";

    add({photo("a.jpg")});
    EXPECT_TRUE(shown());
    EXPECT_EQ(column->minimumWidth(), 250);
    EXPECT_EQ(column->maximumWidth(), 380);
    EXPECT_EQ(column->width(), 280);

    // Its own close control.
    QAbstractButton* close = nullptr;
    for (auto* button : column->findChildren<QAbstractButton*>())
        if (button->accessibleName() == QStringLiteral("Hide Inspector"))
            close = button;
    ASSERT_NE(close, nullptr);
    close->click();
    EXPECT_FALSE(shown());
    EXPECT_FALSE(window().inspectorWished());
    EXPECT_EQ(action("inspector")->text(), QStringLiteral("Show Inspector"));

    // The clip list never changes the wish.
    project().startOver();
    add({photo("b.jpg")});
    EXPECT_FALSE(shown());

    action("inspector")->trigger();
    EXPECT_TRUE(shown());
    EXPECT_EQ(column->width(), 280);
    emit window().findChild<ui::WindowToolbar*>()->inspectorToggled();
    EXPECT_FALSE(shown());
    emit window().findChild<ui::WindowToolbar*>()->inspectorToggled();
    project().startOver();
    EXPECT_FALSE(shown());
    EXPECT_TRUE(window().inspectorWished());
    EXPECT_FALSE(action("inspector")->isEnabled());
    QTest::keyClick(&window(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(shown()) << "the column comes back with the clips";
}

TEST_F(WindowTest, ExportBarShowsWhileTheExportIsNotIdle) {
    start();
    add({movie()});
    auto* editor = window().findChild<ui::EditorView*>();
    auto* bar = window().findChild<ui::ExportBar*>();
    ExportController& exporter = shell->exporter();
    const auto barShown = [&] { return editor->exportBarShown() && bar->isVisible(); };
    EXPECT_FALSE(barShown());

    std::vector<Segment> segments;
    for (const auto& [id, segment] : project().usable())
        segments.push_back(segment);
    exporter.start(segments, project().layout(), ExportFormat::mp4, ExportQuality::original,
                   QUrl::fromLocalFile(root + "/out.mp4"));
    EXPECT_TRUE(barShown()) << "running";
    ASSERT_TRUE(
        waitUntil([&] { return exporter.state().kind != ExportController::State::Kind::running; }));
    EXPECT_EQ(exporter.state().kind, ExportController::State::Kind::done);
    EXPECT_TRUE(barShown()) << "done";
    exporter.close();
    EXPECT_FALSE(barShown()) << "idle again";

    exporter.start(segments, project().layout(), ExportFormat::mp4, ExportQuality::original,
                   QUrl::fromLocalFile(root + "/no/such/folder/out.mp4"));
    ASSERT_TRUE(
        waitUntil([&] { return exporter.state().kind == ExportController::State::Kind::failed; }));
    EXPECT_TRUE(barShown()) << "failed";
}

TEST_F(WindowTest, PreviewFollowsTheProjectAfterAPause) {
    start();
    EXPECT_EQ(project().undoManager(), &window().undoStack());
    add({photo("a.jpg"), photo("b.jpg")});
    const auto previewed = [this] {
        QSet<QUuid> ids;
        for (const QUuid& id : window().preview().starts().keys())
            ids.insert(id);
        return ids;
    };
    const QSet<QUuid> both{project().clips()[0].id, project().clips()[1].id};
    ASSERT_TRUE(waitUntil([&] { return previewed() == both; }, 20000));
    project().remove({project().clips()[0].id});
    ASSERT_TRUE(waitUntil([&] { return previewed().size() == 1; }, 20000));
    project().startOver();
    ASSERT_TRUE(waitUntil([&] { return previewed().isEmpty(); }, 20000));
}

TEST_F(WindowTest, ExportSheetAndPhotoPickerOpenOverTheWindowAndCloseBackToIt) {
    start();
    add({movie()});
    action("export")->trigger();
    ASSERT_TRUE(waitUntil([this] {
        auto* sheet = window().findChild<ui::ExportSheet*>();
        return sheet && sheet->isVisible();
    }));
    auto* sheet = window().findChild<ui::ExportSheet*>();
    EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
    sheet->reject();
    EXPECT_FALSE(project().showExport());
    ASSERT_TRUE(waitUntil([this] { return !window().findChild<ui::ExportSheet*>(); }));

    action("addFromPhotos")->trigger();
    ASSERT_TRUE(waitUntil([this] {
        auto* picker = window().findChild<ui::PhotoPicker*>();
        return picker && picker->isVisible();
    }));
    window().findChild<ui::PhotoPicker*>()->reject();
    EXPECT_FALSE(project().showPhotosPicker());
    project().setShowPhotosPicker(true);
    ASSERT_TRUE(waitUntil([this] { return window().findChild<ui::PhotoPicker*>() != nullptr; }))
        << "asking again opens it again";
}

// Every control a screen reader can land on says what it is, empty and with clips.
TEST_F(WindowTest, EveryControlHasAnAccessibleName) {
    start();
    const auto check = [this] {
        for (QWidget* widget : window().findChildren<QWidget*>()) {
            const bool control =
                qobject_cast<QAbstractButton*>(widget) || qobject_cast<QAbstractSlider*>(widget) ||
                qobject_cast<QComboBox*>(widget) || qobject_cast<QLineEdit*>(widget) ||
                qobject_cast<QAbstractSpinBox*>(widget) || qobject_cast<QAbstractItemView*>(widget);
            if (!control || !widget->isVisible())
                continue;
            QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(widget);
            ASSERT_NE(accessible, nullptr);
            EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty())
                << widget->metaObject()->className() << " " << widget->objectName().toStdString();
        }
    };
    check();
    add({movie(), photo("p.jpg")});
    check();
}

} // namespace
} // namespace vimbo::test
