// The preview with real files and builds: the frame each seek shows, playing to the end, a
// source lost while playing, what a rebuild keeps, jumping to a clip, and the view.
#include "preview/Preview.h"

#include "preview/Player.h"
#include "preview/RebuildTrigger.h"
#include "preview/view/PictureView.h"
#include "preview/view/PlayerView.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"
#include "tests/timeline/Fixtures.h"

#include <QAbstractButton>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>
#include <QVBoxLayout>

#include <cmath>
#include <gtest/gtest.h>

namespace vimbo {
namespace {

using test::frameNumber;
using test::waitUntil;

std::shared_ptr<const Timeline> previewOf(const std::vector<Segment>& segments) {
    return std::make_shared<const Timeline>(Timeline::build(segments, {}, 1280, false));
}

Segment numbered(const QString& path = test::numberedVideo(true)) {
    return test::videoSegment(path, 2, {320, 240});
}

// Waits for the frame of the latest seek and tells the source frame it shows.
int shownAfterSeek(const Player& player) {
    if (!waitUntil([&] { return !player.isSeeking(); }, 30000) || !player.picture())
        return -1;
    return frameNumber(*player.picture());
}

// Lets the event loop run for a while.
void pump(int ms) {
    waitUntil([] { return false; }, ms);
}

TEST(Player, ShowsExactlyTheFrameOfTheLatestSeek) {
    Segment trimmed = numbered();
    trimmed.edits.trimStart = 0.5; // plays source frames 15 onwards
    Player player;
    player.replaceCurrentItem(previewOf({numbered(), trimmed}));
    EXPECT_EQ(shownAfterSeek(player), 0);

    // Output frame n shows source frame n in the first clip, n − 60 + 15 in the second.
    const auto expected = [](int n) { return n < 60 ? n : n - 45; };
    for (double t : {1.0, 1.99, 2.0, 3.2, 0.1, 3.49}) {
        player.seek(MediaTime::fromSeconds(t));
        const int n = static_cast<int>(std::floor(t * 30 + 1e-9));
        EXPECT_EQ(shownAfterSeek(player), expected(n)) << t;
        EXPECT_EQ(player.pictureIndex(), n) << t;
    }

    // A seek made while another runs supersedes it: only the newest one finishes.
    int finished = 0;
    QObject::connect(&player, &Player::seekFinished, [&] { ++finished; });
    player.seek(MediaTime::fromSeconds(0.3));
    player.seek(MediaTime::fromSeconds(2.9));
    EXPECT_EQ(shownAfterSeek(player), expected(87));
    pump(300);
    EXPECT_EQ(finished, 1);

    player.step(-3);
    EXPECT_EQ(shownAfterSeek(player), expected(84));
    player.seek(MediaTime::fromSeconds(60));
    EXPECT_EQ(shownAfterSeek(player), expected(104)) << "the last frame";
    player.step(-1000);
    EXPECT_EQ(shownAfterSeek(player), 0);
}

TEST(Player, PlaysInRealTimeAndStopsAtTheEnd) {
    Player player;
    player.replaceCurrentItem(previewOf({numbered()}));
    ASSERT_EQ(shownAfterSeek(player), 0);
    std::vector<int> shown;
    QObject::connect(&player, &Player::pictureChanged, [&] {
        if (player.picture())
            shown.push_back(frameNumber(*player.picture()));
    });
    QElapsedTimer wall;
    wall.start();
    player.play();
    ASSERT_TRUE(waitUntil([&] { return player.currentTime().seconds() > 0.8; }));
    player.pause();
    const MediaTime held = player.currentTime();
    EXPECT_GT(held.seconds(), 0.8) << "where playing stopped";
    pump(200);
    EXPECT_EQ(player.currentTime(), held) << "paused means the clock holds";

    player.play();
    ASSERT_TRUE(waitUntil([&] { return player.rate() == 0; }, 30000));
    EXPECT_GE(wall.elapsed(), 1900) << "two seconds cannot play in less";
    EXPECT_EQ(player.currentTime(), player.duration());
    EXPECT_EQ(frameNumber(*player.picture()), 59);
    EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()));
    EXPECT_EQ(std::adjacent_find(shown.begin(), shown.end()), shown.end()) << "a frame twice";

    player.play();
    EXPECT_LT(player.currentTime().seconds(), 0.1) << "at the end, play starts over";
}

QStringList warnings;
void collectWarnings(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtWarningMsg && text.startsWith("Preview:"))
        warnings << text;
}

TEST(Player, ASourceDeletedWhilePlayingGoesBlackAndPlaybackGoesOn) {
    const QString folder = test::scratchFolder();
    const QString first = folder + "/first.mp4", second = folder + "/second.mp4";
    ASSERT_TRUE(QFile::copy(test::numberedVideo(true), first));
    ASSERT_TRUE(QFile::copy(test::numberedVideo(true), second));
    Player player;
    player.replaceCurrentItem(previewOf({numbered(first), numbered(second)}));
    ASSERT_EQ(shownAfterSeek(player), 0);

    const QtMessageHandler previous = qInstallMessageHandler(collectWarnings);
    player.play();
    ASSERT_TRUE(waitUntil([&] { return player.pictureIndex() >= 3; }));
    ASSERT_TRUE(QFile::remove(second));
    const bool ended = waitUntil([&] { return player.rate() == 0; }, 30000);
    qInstallMessageHandler(previous);

    ASSERT_TRUE(ended);
    EXPECT_EQ(player.currentTime(), player.duration());
    EXPECT_EQ(test::colourAt(*player.picture(), 160, 120), 'K');
    ASSERT_EQ(warnings.size(), 1) << warnings.join('\n').toStdString();
    EXPECT_TRUE(warnings[0].contains("second.mp4")) << warnings[0].toStdString();
}

// One id per clip, kept across keys as the project keeps them.
const std::vector<QUuid> ids{QUuid::createUuid(), QUuid::createUuid(), QUuid::createUuid()};

// The key of photos shown for these seconds each.
Preview::Key keyOf(const std::vector<double>& seconds, FillMode fill = FillMode::fit) {
    Preview::Key key;
    key.layout.fill = fill;
    for (std::size_t i = 0; i < seconds.size(); ++i) {
        key.ids.push_back(ids[i]);
        key.segments.push_back(test::photoSegment(test::quadrantsPhoto(), {400, 200}, seconds[i]));
    }
    return key;
}

// Updates and waits for the new item's frame.
::testing::AssertionResult updated(Preview& preview, const Preview::Key& key) {
    QSignalSpy replaced(&preview, &Preview::itemReplaced);
    preview.update(key);
    if (!replaced.wait(30000))
        return ::testing::AssertionFailure() << "no new item";
    if (!waitUntil([&] { return !preview.player().isSeeking(); }, 30000))
        return ::testing::AssertionFailure() << "its frame never came";
    return ::testing::AssertionSuccess();
}

TEST(Preview, OnlyTheNewestUpdateInstallsAndStartsAnnounceOnlyChanges) {
    Preview preview;
    QSignalSpy starts(&preview, &Preview::startsChanged);
    preview.update({});
    EXPECT_FALSE(preview.player().hasItem()) << "an empty project";
    EXPECT_EQ(starts.count(), 0) << "empty stays empty: nothing to announce";

    QSignalSpy replaced(&preview, &Preview::itemReplaced);
    preview.update(keyOf({1}));
    preview.update(keyOf({2, 3})); // both builds run; the older one lands to be dropped
    ASSERT_TRUE(replaced.wait(30000));
    pump(500);
    EXPECT_EQ(replaced.count(), 1);
    EXPECT_EQ(preview.player().duration(), MediaTime::fromSeconds(5));
    EXPECT_EQ(preview.starts(), (QHash<QUuid, double>{{ids[0], 0.0}, {ids[1], 2.0}}));
    EXPECT_EQ(starts.count(), 1);
    ASSERT_TRUE(updated(preview, keyOf({2, 3}, FillMode::fill)));
    EXPECT_EQ(starts.count(), 1) << "a new item with the same starts";

    preview.update(keyOf({3}));
    preview.cancelUpdates();
    EXPECT_FALSE(replaced.wait(1000));
    preview.update({});
    EXPECT_FALSE(preview.player().picture());
    EXPECT_TRUE(preview.starts().isEmpty());
    EXPECT_EQ(starts.count(), 2);
}

TEST(Preview, ARebuildKeepsPositionAndPlayState) {
    Preview preview;
    Player& player = preview.player();
    ASSERT_TRUE(updated(preview, keyOf({15, 15, 15})));
    EXPECT_EQ(player.pictureIndex(), 0) << "a new item starts at its beginning";

    // Playing at 12 s, a later clip is trimmed: playback goes on from 12 s.
    player.seek(MediaTime::fromSeconds(12));
    player.play();
    ASSERT_TRUE(waitUntil([&] { return player.currentTime().seconds() > 12.05; }));
    ASSERT_TRUE(updated(preview, keyOf({15, 15, 10})));
    EXPECT_EQ(player.rate(), 1);
    EXPECT_GE(player.currentTime().seconds(), 12.05);
    EXPECT_LT(player.currentTime().seconds(), 13);

    // Paused where playing stopped (past where the rebuild sought), a clip is trimmed: it
    // stays there, paused.
    const double sought = player.currentTime().seconds() + 0.2;
    ASSERT_TRUE(waitUntil([&] { return player.currentTime().seconds() > sought; }));
    player.pause();
    const MediaTime paused = player.currentTime();
    EXPECT_GT(paused.seconds(), sought);
    ASSERT_TRUE(updated(preview, keyOf({15, 15, 11})));
    EXPECT_EQ(player.currentTime(), paused);

    // Paused at 30 s, a clip goes and the movie is 20 s long: it lands on its end, paused.
    player.seek(MediaTime::fromSeconds(30));
    ASSERT_TRUE(updated(preview, keyOf({10, 10})));
    EXPECT_EQ(player.currentTime(), MediaTime::fromSeconds(20));
    EXPECT_EQ(player.rate(), 0);
    EXPECT_EQ(player.pictureIndex(), 20 * 30 - 1) << "the last frame";

    // A build that fails changes nothing.
    const auto item = player.currentItem();
    Preview::Key broken = keyOf({10});
    broken.segments[0] = test::videoSegment("/nowhere/gone.mp4", 2, {320, 240});
    QSignalSpy replaced(&preview, &Preview::itemReplaced);
    preview.update(broken);
    EXPECT_FALSE(replaced.wait(1500));
    EXPECT_EQ(player.currentItem(), item);
}

TEST(Preview, ShowSeeksJustInsideTheClip) {
    Preview preview;
    Player& player = preview.player();
    ASSERT_TRUE(updated(preview, keyOf({7.5, 3})));
    player.seek(MediaTime::fromSeconds(5));
    preview.show(ids[0]);
    EXPECT_EQ(player.currentTime(), (MediaTime{60, 6000}));
    preview.show(ids[1]);
    EXPECT_EQ(player.currentTime(), (MediaTime{45060, 6000}));
    ASSERT_TRUE(waitUntil([&] { return !player.isSeeking(); }));
    EXPECT_EQ(player.pictureIndex(), 225) << "7.51 s lies in frame 225 at 30 fps";
    EXPECT_EQ(player.rate(), 0) << "show does not play";
    preview.show(QUuid());
    EXPECT_EQ(player.currentTime(), (MediaTime{45060, 6000})) << "an unknown id does nothing";
}

TEST(RebuildTrigger, ABurstOfChangesMakesOneBuildWithTheLastKey) {
    Preview preview;
    Preview::Key current = keyOf({1});
    RebuildTrigger trigger(preview, [&] { return current; });
    QSignalSpy replaced(&preview, &Preview::itemReplaced);
    trigger.keyMayHaveChanged(); // the first call always counts
    current = keyOf({2});
    trigger.keyMayHaveChanged();
    current = keyOf({3});
    trigger.keyMayHaveChanged();
    EXPECT_FALSE(replaced.wait(150)) << "nothing before the pause";
    ASSERT_TRUE(replaced.wait(30000));
    pump(600);
    EXPECT_EQ(replaced.count(), 1);
    EXPECT_EQ(preview.player().duration(), MediaTime::fromSeconds(3));

    trigger.keyMayHaveChanged();
    pump(400);
    EXPECT_EQ(replaced.count(), 1) << "the same key again is no change";
    current = keyOf({4});
    trigger.keyMayHaveChanged();
    ASSERT_TRUE(replaced.wait(30000));
    EXPECT_EQ(preview.player().duration(), MediaTime::fromSeconds(4));
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
    player.replaceCurrentItem(
        previewOf({test::photoSegment(test::quadrantsPhoto(), {400, 200}, 2)}));
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
    EXPECT_EQ(colourOf(screen.pixel(300, static_cast<int>(area.y() / 2))), 'K') << "a band";
}

TEST(PlayerView, KeysAndControlsDriveThePlayerAndFullScreenComesBackIntoItsWindow) {
    Player player;
    QWidget window;
    auto* view = new PlayerView(player, &window);
    (new QVBoxLayout(&window))->addWidget(view);
    window.resize(640, 480);
    window.show();
    player.replaceCurrentItem(previewOf({numbered()}));
    ASSERT_EQ(shownAfterSeek(player), 0);
    auto* play = view->findChild<QAbstractButton*>();
    auto* slider = view->findChild<QSlider*>();
    auto* time = view->findChild<QLabel*>();
    ASSERT_TRUE(play && slider && time);
    EXPECT_EQ(play->accessibleName(), "Play");

    QTest::keyClick(view, Qt::Key_Right);
    QTest::keyClick(view, Qt::Key_Right);
    QTest::keyClick(view, Qt::Key_Left);
    EXPECT_EQ(shownAfterSeek(player), 1);
    QTest::keyClick(view, Qt::Key_End);
    EXPECT_EQ(time->text(), "0:02 / 0:02");
    EXPECT_EQ(slider->value(), 2000);
    QTest::keyClick(view, Qt::Key_Space);
    EXPECT_EQ(player.rate(), 1);
    EXPECT_EQ(play->accessibleName(), "Pause");
    QTest::keyClick(view, Qt::Key_Space);
    EXPECT_EQ(player.rate(), 0);

    // Scrubbing seeks while the slider is dragged.
    slider->setSliderDown(true);
    slider->setSliderPosition(1500);
    EXPECT_EQ(player.currentTime(), (MediaTime{1500, 1000}));
    slider->setSliderPosition(500);
    slider->setSliderDown(false);
    EXPECT_EQ(shownAfterSeek(player), 15);

    auto* toggle = view->findChildren<QAbstractButton*>().last();
    ASSERT_EQ(toggle->accessibleName(), "Full Screen");
    toggle->click();
    EXPECT_TRUE(view->isFullScreen() && view->isWindow());
    EXPECT_EQ(toggle->accessibleName(), "Exit Full Screen");
    QTest::keyClick(view, Qt::Key_Escape);
    EXPECT_FALSE(view->isFullScreen() || view->isWindow());
    ASSERT_TRUE(waitUntil([&] { return view->isVisible() && view->width() > 600; }, 5000))
        << "back in its place in the window";
}

} // namespace
} // namespace vimbo
