#include "preview/view/PlayerView.h"
#include "tests/ui/WindowFixture.h"
#include "ui/DropOverlay.h"
#include "ui/EmptyState.h"

#include <QDragEnterEvent>
#include <QMimeData>
#include <QPushButton>

namespace vimbo::test {
namespace {

// Sends the events of a drag from a file manager over `target` and reports whether it was taken.
struct Drag {
    QMimeData data;

    bool enter(QWidget* target) {
        QDragEnterEvent event(target->rect().center(), Qt::CopyAction, &data, Qt::LeftButton,
                              Qt::NoModifier);
        QApplication::sendEvent(target, &event);
        return event.isAccepted();
    }
    void leave(QWidget* target) {
        QDragLeaveEvent event;
        QApplication::sendEvent(target, &event);
    }
    bool drop(QWidget* target) {
        QDropEvent event(QPointF(target->rect().center()), Qt::CopyAction, &data, Qt::LeftButton,
                         Qt::NoModifier);
        QApplication::sendEvent(target, &event);
        return event.isAccepted();
    }
};

TEST_F(WindowTest, FilesDroppedAnywhereAreAddedInOneStepInTheirOrder) {
    start();
    auto* overlay = window().findChild<ui::DropOverlay*>();
    QWidget* button = window().findChild<ui::EmptyState*>()->findChild<QPushButton*>();
    Drag drag;
    const QUrl b = photo("b.jpg"), a = photo("a.jpg");
    drag.data.setUrls({b, a});
    drag.data.setText(QStringLiteral("some text"));

    EXPECT_TRUE(drag.enter(button));
    EXPECT_TRUE(overlay->isVisible()) << "the accent frame while hovering";
    drag.leave(button);
    EXPECT_FALSE(overlay->isVisible());

    EXPECT_TRUE(drag.enter(button));
    EXPECT_TRUE(drag.drop(button));
    EXPECT_FALSE(overlay->isVisible());
    ASSERT_TRUE(waitUntil([this] { return project().clips().size() == 2; }));
    EXPECT_EQ(names(), (std::vector<QString>{"b.jpg", "a.jpg"}));
    EXPECT_EQ(project().selection().size(), 2) << "one add selects both";
    EXPECT_EQ(window().undoStack().count(), 1);

    // Over the editor too.
    Drag more;
    more.data.setUrls({photo("c.jpg")});
    QWidget* player = window().findChild<PlayerView*>();
    ASSERT_TRUE(player->isVisible());
    EXPECT_TRUE(more.enter(player));
    EXPECT_TRUE(more.drop(player));
    ASSERT_TRUE(waitUntil([this] { return project().clips().size() == 3; }));
}

TEST_F(WindowTest, DragsWithoutFilesAreRefused) {
    start();
    auto* overlay = window().findChild<ui::DropOverlay*>();
    QWidget* target = window().findChild<ui::EmptyState*>();
    Drag text;
    text.data.setText(QStringLiteral("just words"));
    Drag web;
    web.data.setUrls({QUrl(QStringLiteral("https://example.org/movie.mp4"))});
    for (Drag* drag : {&text, &web}) {
        EXPECT_FALSE(drag->enter(target));
        EXPECT_FALSE(overlay->isVisible());
        EXPECT_FALSE(drag->drop(target));
    }
    QTest::qWait(50);
    EXPECT_TRUE(project().clips().empty());
}

} // namespace
} // namespace vimbo::test
