#include "model/VimboError.h"
#include "tests/support/Media.h"
#include "tests/timeline/Fixtures.h"
#include "timeline/Timeline.h"

#include <gtest/gtest.h>

namespace vimbo {
namespace {

using test::numberedVideo;
using test::photoSegment;
using test::toneVideo;
using test::videoSegment;

const Layout fit{FrameShape::auto_, FillMode::fit};

MediaTime seconds(double s) {
    return MediaTime::fromSeconds(s);
}

void expectFailure(const std::vector<Segment>& segments, bool passthrough,
                   const VimboError& expected, const char* what) {
    try {
        Timeline::build(segments, fit, std::nullopt, passthrough);
        ADD_FAILURE() << what << ": built";
    } catch (const VimboError& e) {
        EXPECT_EQ(e, expected) << what << ": " << e.what();
    }
}

TEST(TimelineBuild, Failures) {
    const QString sound =
        test::generated("sound-only.m4a", {"-f", "lavfi", "-i", "sine=duration=1", "-c:a", "aac"});
    Segment missing = videoSegment("/nowhere/gone.mov", 2, {320, 240});
    Segment noVideo = videoSegment(sound, 1, {320, 240});
    missing.info.kind = MediaKind::missing;
    const Segment photo = photoSegment("/p.jpg", {100, 100});

    expectFailure({}, false, VimboError::nothingToMerge(), "no segment");
    expectFailure({missing}, false, VimboError::nothingToMerge(), "only missing");
    expectFailure({videoSegment(numberedVideo(), 2, {320, 240}), photo}, true,
                  VimboError::nothingToMerge(), "a photo in a passthrough build");
    expectFailure({noVideo}, false, VimboError::unreadable(noVideo.url), "no video track");
    Segment gone = videoSegment("/nowhere/gone.mov", 2, {320, 240});
    expectFailure({gone}, true, VimboError::unreadable(gone.url), "a file that went away");
}

// Every edit starts where the one before ends, from zero to `end`.
void expectContiguous(const CompositionTrack& track, const MediaTime& end, const char* what) {
    MediaTime at = MediaTime::zero();
    for (const Edit& e : track.edits()) {
        EXPECT_EQ(e.target.start, at) << what << " at " << at.seconds();
        at = e.target.end();
    }
    EXPECT_EQ(at, end) << what;
}

TEST(TimelineBuild, LaysClipsEndToEnd) {
    const QString av = numberedVideo(true);
    Segment trimmedPastEnd = videoSegment(av, 2, {320, 240});
    trimmedPastEnd.edits.trimStart = 5;
    Segment fast = videoSegment(av, 2, {320, 240});
    fast.edits.speed = 2;
    Segment muted = videoSegment(av, 2, {320, 240});
    muted.edits.muted = true;
    const std::vector<Segment> segments{
        photoSegment("/p.jpg", {4000, 3000}, 0),
        photoSegment("/p.jpg", {4000, 3000}, 0.05),
        photoSegment("/p.jpg", {4000, 3000}, 3),
        trimmedPastEnd,
        fast,
        muted,
        videoSegment(numberedVideo(false), 2, {320, 240}, 30, false),
        videoSegment(toneVideo(1000, 0.5, 1.0), 2, {160, 120}),
    };
    const Timeline t = Timeline::build(segments, fit, 1280, false);

    const std::vector<double> starts{0, 0.1, 0.2, 3.2, 3.3, 4.3, 6.3, 8.3};
    ASSERT_EQ(t.starts().size(), starts.size());
    for (std::size_t i = 0; i < starts.size(); ++i)
        EXPECT_NEAR(t.starts()[i], starts[i], 1e-9) << "start " << i;
    EXPECT_EQ(t.duration(), seconds(10.3));
    EXPECT_FALSE(t.isPassthrough());
    EXPECT_EQ(t.renderSize(), (Size{1280, 960})) << "from the 4000 × 3000 photo, capped";

    const VideoComposition& vc = *t.videoComposition();
    ASSERT_EQ(vc.instructions.size(), 8u);
    for (std::size_t i = 0; i < starts.size(); ++i)
        EXPECT_EQ(vc.instructions[i].timeRange().start, seconds(starts[i])) << "instruction " << i;
    EXPECT_FALSE(vc.instructions[0].trackID()) << "a photo draws no track";
    EXPECT_EQ(vc.instructions[4].trackID(), t.composition().track(MediaType::video)->trackID());
    EXPECT_EQ(vc.instructions.back().timeRange().end(), t.composition().duration());
    EXPECT_EQ(vc.frameDuration, (MediaTime{1, 30}));

    const CompositionTrack& video = *t.composition().track(MediaType::video);
    const CompositionTrack& audio = *t.composition().track(MediaType::audio);
    expectContiguous(video, t.duration(), "video");
    expectContiguous(audio, t.duration(), "audio");
    ASSERT_EQ(video.edits().size(), 8u);
    EXPECT_TRUE(video.edits()[2].source.isBlank());
    EXPECT_EQ(video.edits()[3].sourceRange, (TimeRange{seconds(1.9), seconds(0.1)}))
        << "never past the track's end";
    EXPECT_EQ(video.edits()[4].sourceRange.duration, seconds(2));
    EXPECT_EQ(video.edits()[4].target.duration, seconds(1));

    // Audio: photos, the muted clip and the clip without sound are blank (silence); the fast
    // clip's sound is stretched like its picture; the partly covered clip gets silence around
    // its sound.
    std::vector<std::pair<bool, double>> kinds; // (blank, target seconds)
    for (const Edit& e : audio.edits())
        kinds.emplace_back(e.source.isBlank(), e.target.duration.seconds());
    const std::vector<std::pair<bool, double>> expected{
        {true, 0.1}, {true, 0.1}, {true, 3},   {false, 0.1}, {false, 1},
        {true, 2},   {true, 2},   {true, 0.5}, {false, 1},   {true, 0.5}};
    ASSERT_EQ(kinds.size(), expected.size());
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        EXPECT_EQ(kinds[i].first, expected[i].first) << "audio edit " << i;
        // The partly covered clip's sound starts with the encoder's priming, a little early.
        EXPECT_NEAR(kinds[i].second, expected[i].second, 0.025) << "audio edit " << i;
    }
    EXPECT_EQ(audio.edits()[4].sourceRange.duration, seconds(2));
}

TEST(TimelineBuild, AudioTrackOnlyForRealSound) {
    Segment muted = videoSegment(numberedVideo(true), 2, {320, 240});
    muted.edits.muted = true;
    const Timeline silent =
        Timeline::build({photoSegment("/p.jpg", {100, 100}), muted,
                         videoSegment(numberedVideo(false), 2, {320, 240}, 30, false)},
                        fit, std::nullopt, false);
    EXPECT_EQ(silent.composition().track(MediaType::audio), nullptr);
    EXPECT_NE(silent.composition().track(MediaType::video), nullptr);

    const Segment av = videoSegment(numberedVideo(true), 2, {320, 240});
    const Timeline copy = Timeline::build({av, av}, fit, std::nullopt, true);
    EXPECT_TRUE(copy.isPassthrough());
    EXPECT_EQ(copy.duration(), seconds(4));
    ASSERT_NE(copy.composition().track(MediaType::audio), nullptr);
    for (const Edit& e : copy.composition().track(MediaType::audio)->edits())
        EXPECT_FALSE(e.source.isBlank()) << "passthrough leaves silence out";
}

} // namespace
} // namespace vimbo
