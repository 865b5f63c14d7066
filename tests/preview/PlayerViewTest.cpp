#include "preview/view/PlayerView.h"

#include "preview/Player.h"
#include "preview/view/PictureView.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"
#include "tests/timeline/Fixtures.h"

#include <QAbstractButton>
#include <QLabel>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>
#include <QVBoxLayout>

#include <gtest/gtest.h>

namespace vimbo {
namespace {

using test::waitUntil;

std::shared_ptr<const Timeline> previewOf(const Segment& segment) {
    return std::make_shared<const Timeline>(Timeline::build({segment}, {}, 1280, false));
}

bool settled(const Player& player) {
    return waitUntil([&] { return !player.isSeeking(); }, 30000);
}

// The colour class of a screen pixel: 'R', 'G', 'B', 'W', 'K' or '?'.
char colourOf(QRgb p) {
    const auto on = [](int v) { return v > 190 ? 1 : v < 64 ? 0 : 8; };
    const int bits = on(qRed(p)) * 4 + on(qGreen(p)) * 2 + on(qBlue(p));
    return bits < 8 ? "KBG?R??W"[bits] : '?';
}

TEST(PlayerView, DrawsThePictureFittedOnBlackAtTheViewsSize) {
    Player player;
    PlayerView view(player);
    view.resize(600, 420);
    view.show();
    PictureView& picture = view.picture();

    // A 2:1 picture in a taller view: black bands above and below.
    QSignalSpy drawn(&picture, &PictureView::imageChanged);
    player.replaceCurrentItem(previewOf(test::photoSegment(test::quadrantsPhoto(), {400, 200}, 2)));
    ASSERT_TRUE(drawn.wait(30000));
    const QRectF area = picture.pictureRect();
    EXPECT_EQ(area.size(), QSizeF(600, 300));
    EXPECT_EQ(picture.image().size(), QSize(600, 300))
        << "converted at the size shown, not the timeline's 400 × 200";
    QImage screen = picture.grab().toImage();
    std::string seen;
    for (auto [fx, fy] : {std::pair{0.25, 0.25}, {0.75, 0.25}, {0.25, 0.75}, {0.75, 0.75}})
        seen += colourOf(screen.pixel(static_cast<int>(area.x() + fx * area.width()),
                                      static_cast<int>(area.y() + fy * area.height())));
    EXPECT_EQ(seen, "RGBW");
    ASSERT_GT(area.y(), 10);
    EXPECT_EQ(colourOf(screen.pixel(300, static_cast<int>(area.y() / 2))), 'K');
    EXPECT_EQ(colourOf(screen.pixel(300, static_cast<int>(area.bottom() + area.y() / 2))), 'K');

    player.replaceCurrentItem(nullptr);
    screen = picture.grab().toImage();
    EXPECT_EQ(colourOf(screen.pixel(300, static_cast<int>(area.center().y()))), 'K')
        << "no item is black";
}

TEST(PlayerView, KeysAndControlsDriveThePlayer) {
    Player player;
    PlayerView view(player);
    view.show();
    player.replaceCurrentItem(
        previewOf(test::videoSegment(test::numberedVideo(true), 2, {320, 240})));
    ASSERT_TRUE(settled(player));
    auto* play = view.findChild<QAbstractButton*>();
    auto* slider = view.findChild<QSlider*>();
    auto* time = view.findChild<QLabel*>();
    ASSERT_TRUE(play && slider && time);
    EXPECT_EQ(play->accessibleName(), "Play");

    QTest::keyClick(&view, Qt::Key_Right);
    QTest::keyClick(&view, Qt::Key_Right);
    QTest::keyClick(&view, Qt::Key_Left);
    ASSERT_TRUE(settled(player));
    EXPECT_EQ(test::frameNumber(*player.picture()), 1);
    QTest::keyClick(&view, Qt::Key_End);
    EXPECT_EQ(time->text(), "0:02 / 0:02");
    EXPECT_EQ(slider->value(), 2000);
    QTest::keyClick(&view, Qt::Key_Home);
    EXPECT_EQ(time->text(), "0:00 / 0:02");

    QTest::keyClick(&view, Qt::Key_Space);
    EXPECT_EQ(player.rate(), 1);
    EXPECT_EQ(play->accessibleName(), "Pause");
    QTest::keyClick(&view, Qt::Key_Space);
    EXPECT_EQ(player.rate(), 0);

    // Scrubbing seeks while the slider is dragged.
    slider->setSliderDown(true);
    slider->setSliderPosition(1500);
    EXPECT_EQ(player.currentTime(), (MediaTime{1500, 1000}));
    slider->setSliderPosition(500);
    slider->setSliderDown(false);
    ASSERT_TRUE(settled(player));
    EXPECT_EQ(test::frameNumber(*player.picture()), 15);
    EXPECT_EQ(player.rate(), 0);
}

TEST(PlayerView, FullScreenComesAndGoesBackIntoItsWindow) {
    Player player;
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* view = new PlayerView(player, &window);
    layout->addWidget(view);
    window.resize(640, 480);
    window.show();
    auto* toggle = view->findChildren<QAbstractButton*>().last();
    ASSERT_EQ(toggle->accessibleName(), "Full Screen");

    toggle->click();
    EXPECT_TRUE(view->isFullScreen() && view->isWindow());
    EXPECT_EQ(toggle->accessibleName(), "Exit Full Screen");
    QTest::keyClick(view, Qt::Key_Escape);
    EXPECT_FALSE(view->isFullScreen() || view->isWindow());
    ASSERT_TRUE(waitUntil([&] { return view->isVisible() && view->width() > 600; }, 5000))
        << "back in its place in the window";
    QTest::mouseDClick(&view->picture(), Qt::LeftButton);
    EXPECT_TRUE(view->isFullScreen());
}

} // namespace
} // namespace vimbo
