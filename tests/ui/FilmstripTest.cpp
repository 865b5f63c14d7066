// The filmstrip as a person uses it: clicking, keys, the tile menu, dragging to reorder, what
// each tile says about its clip, and following the end of the list.
#include "ui/Filmstrip.h"

#include "model/UndoNames.h"
#include "tests/support/Program.h"
#include "tests/ui/ViewFixture.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QFileDialog>
#include <QHelpEvent>
#include <QMenu>
#include <QScrollBar>
#include <QTest>
#include <QToolTip>

#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

using Names = std::vector<QString>;

class FilmstripTest : public ::testing::Test {
protected:
    Views views;
    std::vector<QUuid> selected; // what onSelect was told, in order
    std::unique_ptr<ui::Filmstrip> strip;
    QAbstractItemView* list = nullptr;

    void show(const std::vector<ClipSpec>& clips, int width = 800, bool read = true) {
        views.open(clips);
        if (read) {
            ASSERT_TRUE(views.read());
        }
        strip = std::make_unique<ui::Filmstrip>(
            views.project(), [this](const QUuid& id) { selected.push_back(id); });
        strip->resize(width, 124);
        strip->show();
        list = strip->findChild<QAbstractItemView*>();
        if (read)
            QCoreApplication::processEvents();
    }
    void showMovies(const Names& names, int width = 800) {
        std::vector<ClipSpec> clips;
        for (const QString& name : names)
            clips.push_back({movie(views.files(), name, 2)});
        show(clips, width);
    }
    QWidget* viewport() const { return list->viewport(); }
    // The centre of a tile's picture: tiles are 128 wide, 8 apart, after 12 of padding.
    QPoint tile(int row) const {
        return {12 + row * 136 + 64 - list->horizontalScrollBar()->value(), 50};
    }
    QPoint gapAfter(int row) const { return tile(row) + QPoint(68, 0); }
    QSet<QUuid> ids(const Names& names) const {
        QSet<QUuid> set;
        for (const QString& n : names)
            set.insert(views.id(n));
        return set;
    }
    // What a screen reader says for a tile.
    QString spoken(int row) const {
        QAccessibleInterface* strip = QAccessible::queryAccessibleInterface(list);
        return strip->child(row)->text(QAccessible::Name);
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
    showMovies({"A.mp4", "B.mp4", "C.mp4", "D.mp4"});
    QTest::mousePress(viewport(), Qt::LeftButton, {}, tile(0));
    const Names passing[] = {{"B.mp4", "A.mp4", "C.mp4", "D.mp4"},
                             {"B.mp4", "C.mp4", "A.mp4", "D.mp4"},
                             {"B.mp4", "C.mp4", "D.mp4", "A.mp4"}};
    for (int row = 1; row <= 3; ++row) {
        QTest::mouseMove(viewport(), tile(row) + QPoint(0, 30)); // a little below the row
        EXPECT_EQ(views.order(), passing[row - 1]) << "over tile " << row;
    }
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, tile(3));
    QCoreApplication::processEvents();
    ASSERT_EQ(views.undo().count(), 1);
    EXPECT_EQ(views.undo().undoText(), QStringLiteral("Move Clip"));
    views.undo().undo();
    EXPECT_EQ(views.order(), (Names{"A.mp4", "B.mp4", "C.mp4", "D.mp4"}));
    QCoreApplication::processEvents();

    // A drag whose release never comes (the pointer left with the window) still becomes its
    // own step when the next drag starts.
    QTest::mousePress(viewport(), Qt::LeftButton, {}, tile(3));
    QTest::mouseMove(viewport(), tile(2));
    EXPECT_EQ(views.order(), (Names{"A.mp4", "B.mp4", "D.mp4", "C.mp4"}));
    QTest::mousePress(viewport(), Qt::LeftButton, {}, tile(0));
    QTest::mouseMove(viewport(), tile(1));
    QCoreApplication::processEvents();
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, tile(1));
    QCoreApplication::processEvents();
    EXPECT_EQ(views.order(), (Names{"B.mp4", "A.mp4", "D.mp4", "C.mp4"}));
    ASSERT_EQ(views.undo().count(), 2) << "the redone step was replaced by two drags";
    views.undo().undo();
    EXPECT_EQ(views.order(), (Names{"A.mp4", "B.mp4", "D.mp4", "C.mp4"}));
}

TEST_F(FilmstripTest, ClicksKeysAndTheTileMenuActOnTheRightClips) {
    showMovies({"A.mp4", "B.mp4", "C.mp4", "D.mp4"});
    Project& p = views.project();
    QTest::mouseClick(viewport(), Qt::LeftButton, {}, tile(1));
    QTest::mouseClick(viewport(), Qt::LeftButton, Qt::ControlModifier, tile(3));
    EXPECT_EQ(p.selection(), ids({"B.mp4", "D.mp4"}));
    EXPECT_EQ(selected, (std::vector<QUuid>{views.id("B.mp4"), views.id("D.mp4")}));
    QTest::mouseClick(viewport(), Qt::LeftButton, Qt::ShiftModifier, tile(1));
    EXPECT_EQ(p.selection(), ids({"B.mp4", "C.mp4", "D.mp4"})) << "Shift extends from D";
    QTest::mouseClick(viewport(), Qt::LeftButton, {}, gapAfter(0));
    EXPECT_TRUE(p.selection().isEmpty()) << "a click beside the tiles";
    QTest::keyClick(list, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(p.selection().size(), 4);
    QTest::keyClick(list, Qt::Key_Escape);
    EXPECT_TRUE(p.selection().isEmpty());
    QTest::keyClick(list, Qt::Key_Right);
    QTest::keyClick(list, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(p.selection(), ids({"C.mp4", "D.mp4"})) << "on from the last clicked, B";

    // The menu of an unselected tile acts on it alone; of a selected one, on the selection.
    choose(0, QStringLiteral("Remove"));
    EXPECT_EQ(views.order(), (Names{"B.mp4", "C.mp4", "D.mp4"}));
    choose(1, QStringLiteral("Remove"));
    EXPECT_EQ(views.order(), (Names{"B.mp4"}));
    EXPECT_EQ(views.undo().undoText(), QStringLiteral("Remove"));

    QTest::mouseClick(viewport(), Qt::LeftButton, {}, tile(0));
    QTest::keyClick(list, Qt::Key_Backspace);
    EXPECT_TRUE(views.order().empty());
    views.undo().undo();
    choose(0, QStringLiteral("Remove All"));
    EXPECT_TRUE(views.order().empty());
    EXPECT_EQ(views.undo().undoText(), QStringLiteral("Start Over"));

    QTest::mouseClick(viewport(), Qt::LeftButton, {}, tile(0)); // now the add tile
    auto* dialog = openWindow<QFileDialog>();
    ASSERT_NE(dialog, nullptr) << "the add tile opens the Add dialog";
    dialog->reject();
}

TEST_F(FilmstripTest, TilesSayWhatTheirClipsAre) {
    ClipEdits sped;
    sped.trimStart = 2;
    sped.trimEnd = 2; // plays 2…8 s of 10
    sped.speed = 2;
    ClipEdits muted;
    muted.muted = true;
    const QString gone = views.files() + QStringLiteral("/gone.mp4");
    show({{movie(views.files(), "beach.mp4")},
          {movie(views.files(), "sped.mp4"), sped},
          {movie(views.files(), "quiet.mp4"), muted},
          {picture(views.files(), "IMG_1.jpg"), muted},
          {gone}});
    EXPECT_EQ(spoken(0), QStringLiteral("beach.mp4, 0:10"));
    EXPECT_EQ(spoken(1), QStringLiteral("sped.mp4, 0:03, 2×"));
    EXPECT_EQ(spoken(2), QStringLiteral("quiet.mp4, 0:10, muted"));
    EXPECT_EQ(spoken(3), QStringLiteral("IMG_1.jpg, 0:03")) << "a photo has no marks";
    EXPECT_EQ(tooltip(4), QStringLiteral("The file can’t be found"));
    EXPECT_EQ(tooltip(1), QStringLiteral("sped.mp4"));
    EXPECT_EQ(spoken(5), QStringLiteral("Add…"));
    EXPECT_EQ(tooltip(5), QStringLiteral("Add photos and videos"));

    // A clip still being read has a spinner and its file name as tooltip.
    strip.reset();
    show({{movie(views.files(), "new.mp4")}}, 800, false);
    EXPECT_EQ(spoken(0), QStringLiteral("new.mp4, loading"));
    EXPECT_EQ(tooltip(0), QStringLiteral("new.mp4"));
}

TEST_F(FilmstripTest, FollowsTheEndWhenTheLastClipChanges) {
    Names names;
    for (int i = 0; i < 8; ++i)
        names.push_back(QStringLiteral("clip%1.mp4").arg(i));
    showMovies(names, 500);
    QScrollBar* bar = list->horizontalScrollBar();
    EXPECT_EQ(bar->value(), 0);
    ASSERT_GT(bar->maximum(), 0);
    views.project().add({QUrl::fromLocalFile(movie(views.files(), "added.mp4", 2))});
    ASSERT_TRUE(waitUntil([&] { return bar->value() == bar->maximum(); }, 5000));
    const int longer = bar->maximum();

    bar->setValue(0);
    views.project().remove({views.id("added.mp4")});
    ASSERT_TRUE(
        waitUntil([&] { return bar->maximum() < longer && bar->value() == bar->maximum(); }, 5000));
    bar->setValue(0);
    views.project().remove({views.id("clip0.mp4")}); // the last clip stays: no scrolling
    QCoreApplication::processEvents();
    QTest::qWait(300);
    EXPECT_EQ(bar->value(), 0);
}

} // namespace
} // namespace vimbo::test
