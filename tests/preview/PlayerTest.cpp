#include "preview/Player.h"

#include "preview/FailureLog.h"
#include "preview/SoundFeed.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"
#include "tests/timeline/Fixtures.h"
#include "timeline/AudioRenderer.h"

#include <QElapsedTimer>
#include <QFile>

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

// Lets the event loop run for a while.
void pump(int ms) {
    waitUntil([] { return false; }, ms);
}

// Waits for the frame of the latest seek.
::testing::AssertionResult settled(const Player& player) {
    if (waitUntil([&] { return !player.isSeeking(); }, 30000) && player.picture())
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "the seek's frame never came";
}

TEST(Player, ShowsExactlyTheFrameOfTheLatestSeek) {
    Segment trimmed = numbered();
    trimmed.edits.trimStart = 0.5; // plays source frames 15 onwards
    Player player;
    player.replaceCurrentItem(previewOf({numbered(), trimmed}));
    ASSERT_TRUE(settled(player));
    EXPECT_EQ(frameNumber(*player.picture()), 0);

    // Output frame n shows source frame n in the first clip, n − 60 + 15 in the second.
    auto expected = [](std::int64_t n) { return n < 60 ? n : n - 45; };
    for (double t : {1.0, 0.5, 1.99, 2.0, 3.2, 0.1, 3.49}) {
        player.seek(MediaTime::fromSeconds(t));
        ASSERT_TRUE(settled(player)) << t;
        const auto n = static_cast<std::int64_t>(std::floor(t * 30 + 1e-9));
        EXPECT_EQ(player.pictureIndex(), n) << t;
        EXPECT_EQ(frameNumber(*player.picture()), expected(n)) << t;
        EXPECT_EQ(player.currentTime(), MediaTime::fromSeconds(t));
    }

    // A seek made while another runs supersedes it: only the newest one finishes.
    int finished = 0;
    QObject::connect(&player, &Player::seekFinished, [&] { ++finished; });
    player.seek(MediaTime::fromSeconds(0.3));
    player.seek(MediaTime::fromSeconds(2.9));
    ASSERT_TRUE(settled(player));
    EXPECT_EQ(frameNumber(*player.picture()), expected(87));
    pump(300);
    EXPECT_EQ(finished, 1);

    // Frame steps, and the ends of the item.
    player.step(1);
    ASSERT_TRUE(settled(player));
    EXPECT_EQ(frameNumber(*player.picture()), expected(88));
    player.step(-3);
    ASSERT_TRUE(settled(player));
    EXPECT_EQ(frameNumber(*player.picture()), expected(85));
    player.seek(MediaTime::fromSeconds(60));
    ASSERT_TRUE(settled(player));
    EXPECT_EQ(player.currentTime(), player.duration());
    EXPECT_EQ(player.pictureIndex(), 104) << "the last frame";
    player.step(-1000);
    ASSERT_TRUE(settled(player));
    EXPECT_EQ(frameNumber(*player.picture()), 0);
}

TEST(Player, PlaysInRealTimeAndStopsAtTheEnd) {
    Player player;
    player.replaceCurrentItem(previewOf({numbered()}));
    ASSERT_TRUE(settled(player));
    std::vector<int> shown;
    QObject::connect(&player, &Player::pictureChanged, [&] {
        if (player.picture())
            shown.push_back(frameNumber(*player.picture()));
    });

    QElapsedTimer wall;
    wall.start();
    player.play();
    EXPECT_EQ(player.rate(), 1);
    ASSERT_TRUE(waitUntil([&] { return player.currentTime().seconds() > 0.8; }));
    player.pause();
    const MediaTime held = player.currentTime();
    pump(200);
    EXPECT_EQ(player.currentTime(), held) << "paused means the clock holds";
    EXPECT_NEAR(player.pictureIndex(), held.seconds() * 30, 1.0)
        << "the picture is the one of the time";

    player.play();
    ASSERT_TRUE(waitUntil([&] { return player.rate() == 0; }, 30000));
    EXPECT_GE(wall.elapsed(), 1900) << "two seconds cannot play in less";
    EXPECT_EQ(player.currentTime(), player.duration());
    EXPECT_EQ(player.pictureIndex(), 59);
    EXPECT_EQ(frameNumber(*player.picture()), 59);
    ASSERT_FALSE(shown.empty());
    EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()));
    EXPECT_EQ(std::adjacent_find(shown.begin(), shown.end()), shown.end()) << "a frame twice";
    const Player::Statistics played = player.statistics();
    EXPECT_EQ(played.shown, static_cast<std::int64_t>(shown.size()) + 1);

    // At the end, play starts over.
    player.play();
    EXPECT_LT(player.currentTime().seconds(), 0.1);
    player.pause();

    // Without an item there is nothing to show or play.
    player.replaceCurrentItem(nullptr);
    EXPECT_FALSE(player.picture());
    player.play();
    EXPECT_EQ(player.rate(), 0);
    EXPECT_EQ(player.duration(), MediaTime::zero());
}

// Reads `frames` stereo frames from the feed as it fills, left channel only.
std::vector<std::int16_t> readLeft(SoundFeed& feed, std::size_t frames) {
    std::vector<std::int16_t> left;
    std::vector<std::int16_t> chunk(2 * 1000);
    while (left.size() < frames) {
        const std::size_t want = std::min<std::size_t>(1000, frames - left.size());
        const auto got =
            feed.read(reinterpret_cast<char*>(chunk.data()), std::int64_t(want) * 4) / 4;
        if (got == 0 && !waitUntil([&] { return feed.buffered() > 0; }, 10000))
            break;
        for (std::int64_t i = 0; i < got; ++i)
            left.push_back(chunk[std::size_t(2 * i)]);
    }
    return left;
}

TEST(SoundFeed, GivesTheTimelinesSoundFromEverySeekThenSilence) {
    Segment tone = test::videoSegment(test::toneVideo(440), 2, {160, 120});
    Segment fast = tone;
    fast.edits.speed = 2;
    const auto timeline = previewOf({tone, fast}); // 3 s
    FailureLog failures;
    SoundFeed feed(failures, [] {});
    feed.setTimeline(timeline);
    for (double at : {0.0, 2.4, 0.7}) {
        feed.seek(MediaTime::fromSeconds(at));
        // More than the buffer holds, so reading goes round it.
        const auto frames = static_cast<std::size_t>(std::llround((3 - at) * 48000));
        const std::vector<std::int16_t> got = readLeft(feed, frames + 4800);
        ASSERT_EQ(got.size(), frames + 4800) << at;
        AudioRenderer reference(timeline);
        reference.seek(MediaTime::fromSeconds(at));
        std::size_t i = 0, differ = 0;
        while (const ff::FramePtr block = reference.read(4096)) {
            const auto* l = reinterpret_cast<const float*>(block->extended_data[0]);
            for (int k = 0; k < block->nb_samples; ++k, ++i)
                differ += std::abs(got[i] - std::lrint(l[k] * 32767)) > 1;
        }
        EXPECT_EQ(i, frames) << at;
        EXPECT_EQ(differ, 0u) << "at " << at;
        EXPECT_TRUE(std::all_of(got.begin() + std::ptrdiff_t(frames), got.end(),
                                [](std::int16_t v) { return v == 0; }))
            << "silence after the end";
    }
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
    ASSERT_TRUE(settled(player));

    warnings.clear();
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

} // namespace
} // namespace vimbo
