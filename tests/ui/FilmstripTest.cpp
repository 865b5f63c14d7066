// The filmstrip as a person uses it: clicking, keys, the tile menu, dragging to reorder, what
// each tile says about its clip, and following the end of the list.
#include "ui/Filmstrip.h"

#include "tests/support/Program.h"
#include "tests/ui/ViewFixture.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QHelpEvent>
#include <QMenu>
#include <QScrollBar>
#include <QTest>
#include <QToolTip>

#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

class FilmstripTest : public ::testing::Test {
protected:
    Views views;
    std::vector<QUuid> selected; // what onSelect was told, in order
    std::unique_ptr<ui::Filmstrip> strip;
    QAbstractItemView* list = nullptr;

    void show(const std::vector<ClipSpec>& clips, bool read = true, int width = 800) {
        views.open(clips);
        if (read) {
            ASSERT_TRUE(views.read());
        }
        strip = std::make_unique<ui::Filmstrip>(
            views.project(), [this](const QUuid& id) { selected.push_back(id); });
        strip->resize(width, 124);
        strip->show();
        list = strip->findChild<QAbstractItemView*>();
    }
    // Movies named A.mp4, B.mp4, …
    void showMovies(int count, int width = 800) {
        std::vector<ClipSpec> clips;
        for (char name = 'A'; name < 'A' + count; ++name)
            clips.push_back({movie(views.files(), QStringLiteral("%1.mp4").arg(name), 2)});
        show(clips, true, width);
        QCoreApplication::processEvents();
    }
    // The clips' first letters in order, or only the selected ones'.
    QString order(bool selectedOnly = false) {
        QString names;
        for (const QString& name : views.order())
            if (!selectedOnly || views.project().selection().contains(views.id(name)))
                names += name.front();
        return names;
    }
    QWidget* viewport() const { return list->viewport(); }
    // The centre of a tile's picture: tiles are 128 wide, 8 apart, after 12 of padding.
    QPoint tile(int row) const {
        return {12 + row * 136 + 64 - list->horizontalScrollBar()->value(), 50};
    }
    void click(int row, Qt::KeyboardModifiers modifiers = {}, QPoint offset = {}) {
        QTest::mouseClick(viewport(), Qt::LeftButton, modifiers, tile(row) + offset);
    }
    // What a screen reader says for a tile.
    QString spoken(int row) const {
        return QAccessible::queryAccessibleInterface(list)->child(row)->text(QAccessible::Name);
    }
    QString tooltip(int row) {
        QHelpEvent help(QEvent::ToolTip, tile(row), viewport()->mapToGlobal(tile(row)));
        QCoreApplication::sendEvent(viewport(), &help);
        return QToolTip::text();
    }
    void choose(int row, const QString& item) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, tile(row),
                                viewport()->mapToGlobal(tile(row)));
        QCoreApplication::sendEvent(viewport(), &event);
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        for (QAction* action : menu->actions())
            if (action->text() == item)
                action->trigger();
        menu->close();
        QCoreApplication::processEvents();
    }
};

TEST_F(FilmstripTest, DraggingReordersLiveAndEachDragIsOneMoveClipStep) {
    showMovies(4);
    QTest::mousePress(viewport(), Qt::LeftButton, {}, tile(0));
    for (const auto& [row, passing] : {std::pair{1, "BACD"}, {2, "BCAD"}, {3, "BCDA"}}) {
        QTest::mouseMove(viewport(), tile(row) + QPoint(0, 30)); // a little below the row
        EXPECT_EQ(order(), passing) << "over tile " << row;
    }
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, tile(3));
    QCoreApplication::processEvents();
    ASSERT_EQ(views.undo().count(), 1);
    EXPECT_EQ(views.undo().undoText(), QStringLiteral("Move Clip"));
    views.undo().undo();
    EXPECT_EQ(order(), "ABCD");
    views.undo().redo();
    EXPECT_EQ(order(), "BCDA") << "redo brings back the whole drag";
}

TEST_F(FilmstripTest, ClicksKeysAndTheTileMenuActOnTheRightClips) {
    showMovies(4);
    click(1);
    click(3, Qt::ControlModifier);
    EXPECT_EQ(order(true), "BD");
    EXPECT_EQ(selected, (std::vector<QUuid>{views.id("B.mp4"), views.id("D.mp4")}));
    click(0, {}, QPoint(68, 0));
    EXPECT_EQ(order(true), "") << "a click beside the tiles";
    click(2);
    click(3, Qt::ShiftModifier);

    // The menu of an unselected tile acts on it alone; of a selected one, on the selection.
    choose(0, QStringLiteral("Remove"));
    EXPECT_EQ(order(), "BCD");
    choose(1, QStringLiteral("Remove"));
    EXPECT_EQ(order(), "B");
    click(0);
    QTest::keyClick(list, Qt::Key_Backspace);
    EXPECT_EQ(order(), "");
    views.undo().undo();
    choose(0, QStringLiteral("Remove All"));
    EXPECT_EQ(order(), "");
    EXPECT_EQ(views.undo().undoText(), QStringLiteral("Start Over"));

    bool asked = false;
    QObject::connect(strip.get(), &ui::Filmstrip::addRequested, [&] { asked = true; });
    click(0); // now the add tile
    EXPECT_TRUE(asked) << "the add tile asks for the Add dialog";
}

TEST_F(FilmstripTest, TilesSayWhatTheirClipsAre) {
    const QString f = views.files();
    const ClipEdits muted{.muted = true};
    show({{movie(f, "beach.mp4")},
          {movie(f, "sped.mp4"), {.trimStart = 2, .trimEnd = 2, .speed = 2}}, // 2…8 s of 10
          {movie(f, "quiet.mp4"), muted},
          {picture(f, "IMG_1.jpg"), muted},
          {f + QStringLiteral("/gone.mp4")}});
    EXPECT_EQ(spoken(0), QStringLiteral("beach.mp4, 0:10"));
    EXPECT_EQ(spoken(1), QStringLiteral("sped.mp4, 0:03, 2×"));
    EXPECT_EQ(spoken(2), QStringLiteral("quiet.mp4, 0:10, muted"));
    EXPECT_EQ(spoken(3), QStringLiteral("IMG_1.jpg, 0:03")) << "a photo has no marks";
    EXPECT_EQ(tooltip(4), QStringLiteral("The file can’t be found"));
    EXPECT_EQ(spoken(5), QStringLiteral("Add…"));

    // A clip still being read has a spinner and its file name as tooltip.
    strip.reset();
    show({{movie(views.files(), "new.mp4")}}, false);
    EXPECT_EQ(spoken(0), QStringLiteral("new.mp4, loading"));
    EXPECT_EQ(tooltip(0), QStringLiteral("new.mp4"));
}

TEST_F(FilmstripTest, FollowsTheEndWhenTheLastClipChanges) {
    showMovies(8, 500);
    QScrollBar* bar = list->horizontalScrollBar();
    ASSERT_GT(bar->maximum(), 0);
    EXPECT_EQ(bar->value(), 0);
    views.project().add({QUrl::fromLocalFile(movie(views.files(), "added.mp4", 2))});
    ASSERT_TRUE(waitUntil([&] { return bar->value() == bar->maximum(); }, 5000));
    bar->setValue(0);
    views.project().remove({views.id("A.mp4")}); // the last clip stays: no scrolling
    QTest::qWait(300);
    EXPECT_EQ(bar->value(), 0);
}

} // namespace
} // namespace vimbo::test
