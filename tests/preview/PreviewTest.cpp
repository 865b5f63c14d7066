// The window's preview with real builds: what an update installs and when, what a rebuild keeps
// of the playback, and jumping to a clip.
#include "preview/Preview.h"

#include "preview/RebuildTrigger.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"
#include "tests/timeline/Fixtures.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace vimbo {
namespace {

using test::waitUntil;

void pump(int ms) {
    waitUntil([] { return false; }, ms);
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
    EXPECT_EQ(player.currentTime(), MediaTime::zero()) << "a new item starts at its beginning";
    EXPECT_EQ(player.pictureIndex(), 0);

    // Playing at 12 s, a later clip is trimmed: playback goes on from 12 s.
    player.seek(MediaTime::fromSeconds(12));
    player.play();
    ASSERT_TRUE(waitUntil([&] { return player.currentTime().seconds() > 12.05; }));
    ASSERT_TRUE(updated(preview, keyOf({15, 15, 10})));
    EXPECT_EQ(player.rate(), 1);
    EXPECT_GE(player.currentTime().seconds(), 12.05);
    EXPECT_LT(player.currentTime().seconds(), 13);

    // Paused at 30 s, a clip goes and the movie is 20 s long: it lands on its end, paused.
    player.pause();
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
    preview.show(ids[2]);
    preview.show(QUuid());
    EXPECT_EQ(player.currentTime(), (MediaTime{45060, 6000})) << "unknown ids do nothing";
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
    EXPECT_FALSE(preview.player().hasItem()) << "nothing before the pause";
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

} // namespace
} // namespace vimbo
