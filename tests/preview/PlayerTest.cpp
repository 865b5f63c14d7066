// The player with real files: which frame each seek shows, playing to the end, its sound, and a
// source that disappears while playing.
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

// Waits for the frame of the latest seek and tells the source frame it shows.
int shownAfterSeek(const Player& player) {
    if (!waitUntil([&] { return !player.isSeeking(); }, 30000) || !player.picture())
        return -1;
    return frameNumber(*player.picture());
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
        EXPECT_EQ(player.currentTime(), MediaTime::fromSeconds(t));
    }

    // A seek made while another runs supersedes it: only the newest one finishes.
    int finished = 0;
    QObject::connect(&player, &Player::seekFinished, [&] { ++finished; });
    player.seek(MediaTime::fromSeconds(0.3));
    player.seek(MediaTime::fromSeconds(2.9));
    EXPECT_EQ(shownAfterSeek(player), expected(87));
    waitUntil([] { return false; }, 300);
    EXPECT_EQ(finished, 1);

    player.step(-3);
    EXPECT_EQ(shownAfterSeek(player), expected(84));
    player.seek(MediaTime::fromSeconds(60));
    EXPECT_EQ(shownAfterSeek(player), expected(104)) << "the last frame";
    EXPECT_EQ(player.currentTime(), player.duration());
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
    waitUntil([] { return false; }, 200);
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
    player.replaceCurrentItem(nullptr);
    EXPECT_FALSE(player.picture());
    player.play();
    EXPECT_EQ(player.rate(), 0) << "nothing to play";
}

TEST(SoundFeed, GivesTheTimelinesSoundFromEverySeekThenSilence) {
    Segment tone = test::videoSegment(test::toneVideo(440), 2, {160, 120});
    Segment fast = tone;
    fast.edits.speed = 2;
    const auto timeline = previewOf({tone, fast}); // 3 s
    FailureLog failures;
    SoundFeed feed(failures, [] {});
    feed.setTimeline(timeline);
    for (double at : {2.4, 0.7}) {
        feed.seek(MediaTime::fromSeconds(at));
        // The left channel, as the sound card reads it: more than the buffer holds, then
        // a tenth of a second past the end.
        const auto frames = static_cast<std::size_t>(std::llround((3 - at) * 48000));
        std::vector<std::int16_t> left, chunk(2000);
        while (left.size() < frames + 4800) {
            const auto want = std::min<std::size_t>(1000, frames + 4800 - left.size());
            const auto got = feed.read(reinterpret_cast<char*>(chunk.data()), 4 * qint64(want));
            if (got == 0) {
                ASSERT_TRUE(waitUntil([&] { return feed.buffered() > 0; }, 10000)) << at;
            }
            for (qint64 i = 0; i < got / 4; ++i)
                left.push_back(chunk[std::size_t(2 * i)]);
        }
        AudioRenderer reference(timeline);
        reference.seek(MediaTime::fromSeconds(at));
        std::size_t i = 0, differ = 0;
        while (const ff::FramePtr block = reference.read(4096)) {
            const auto* l = reinterpret_cast<const float*>(block->extended_data[0]);
            for (int k = 0; k < block->nb_samples; ++k, ++i)
                differ += std::abs(left[i] - std::lrint(l[k] * 32767)) > 1;
        }
        EXPECT_EQ(i, frames) << at;
        EXPECT_EQ(differ, 0u) << "at " << at;
        EXPECT_TRUE(std::all_of(left.begin() + std::ptrdiff_t(frames), left.end(),
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

} // namespace
} // namespace vimbo
