#include "media/MediaProbe.h"
#include "model/VimboError.h"
#include "tests/support/Media.h"
#include "tests/timeline/Fixtures.h"
#include "timeline/AudioRenderer.h"
#include "timeline/VideoRenderer.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <gtest/gtest.h>
#include <set>
#include <string>

namespace vimbo {
namespace {

using test::frameNumber;
using test::numberedVideo;
using test::videoSegment;

const Layout fit{FrameShape::auto_, FillMode::fit};

std::shared_ptr<const Timeline> build(const std::vector<Segment>& segments) {
    return std::make_shared<const Timeline>(Timeline::build(segments, fit, std::nullopt, false));
}

Segment numbered(double speed = 1) {
    Segment s = videoSegment(numberedVideo(true), 2, {320, 240});
    s.edits.speed = speed;
    return s;
}

// All of the timeline's audio, left channel.
std::vector<float> renderAll(AudioRenderer& renderer) {
    std::vector<float> left;
    while (const ff::FramePtr frame = renderer.read(1024)) {
        EXPECT_EQ(frame->pts, static_cast<std::int64_t>(left.size()));
        EXPECT_EQ(frame->sample_rate, 48000);
        EXPECT_EQ(frame->ch_layout.nb_channels, 2);
        const auto* l = reinterpret_cast<const float*>(frame->extended_data[0]);
        left.insert(left.end(), l, l + frame->nb_samples);
    }
    return left;
}

// A clip played at a speed shows the source frame of every instant and keeps its pitch.
class AtSpeed : public testing::TestWithParam<double> {};

TEST_P(AtSpeed, ShowsTheSourceFrameOfEveryTimeAndKeepsPitch) {
    const double speed = GetParam();
    const auto timeline = build({numbered(speed)});
    VideoRenderer renderer(timeline);
    ASSERT_EQ(renderer.frameCount(), std::llround(60 / speed));
    for (std::int64_t n = 0; n < renderer.frameCount(); ++n) {
        const ff::FramePtr frame = renderer.render(n);
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->pts, n);
        // Output time n/30 shows source time n/30 × speed: frame ⌊n × speed⌋.
        ASSERT_EQ(frameNumber(*frame), static_cast<int>(std::floor(n * speed))) << "frame " << n;
    }
    AudioRenderer audio(timeline);
    ASSERT_TRUE(audio.hasAudio());
    const std::vector<float> left = renderAll(audio);
    ASSERT_EQ(static_cast<std::int64_t>(left.size()),
              AudioRenderer::sampleAt(timeline->duration()));
    EXPECT_NEAR(static_cast<double>(left.size()) / 48000, 2 / speed, 1.0 / 30);
    // The middle of the clip, away from its fades and the encoder's edges.
    const std::size_t from = left.size() / 4, count = left.size() / 2;
    EXPECT_NEAR(test::frequency(left.data() + from, count, 48000), 440, 4);
}

INSTANTIATE_TEST_SUITE_P(Speeds, AtSpeed, testing::Values(0.25, 0.5, 1.0, 1.5, 2.0, 4.0),
                         [](const auto& p) { return "x" + std::to_string(int(p.param * 100)); });

TEST(VideoRenderer, RandomAccessAndTrimmedStarts) {
    Segment trimmed = numbered();
    trimmed.edits.trimStart = 0.5; // source frame 15 onwards
    VideoRenderer renderer(build({numbered(), trimmed}));
    ASSERT_EQ(renderer.frameCount(), 60 + 45);
    for (std::int64_t n : {50, 10, 59, 60, 104, 3, 75, 74, 30}) {
        const ff::FramePtr frame = renderer.render(n);
        ASSERT_TRUE(frame);
        const int expected = n < 60 ? static_cast<int>(n) : static_cast<int>(n - 60 + 15);
        EXPECT_EQ(frameNumber(*frame), expected) << "output frame " << n;
    }
    EXPECT_EQ(renderer.frameAt(MediaTime::fromSeconds(2.5)), 75);
    EXPECT_EQ(renderer.timeOf(75), (MediaTime{75, 30}));
}

TEST(VideoRenderer, BlackWhereTheSourceHasNoFrame) {
    // Source time runs from half a second before the first frame to half a second past the
    // last one.
    Composition composition;
    const SourceTrack file{QUrl::fromLocalFile(numberedVideo(false)), 0};
    composition.track(MediaType::video)
        ->insert(file, {MediaTime::fromSeconds(-0.5), {3, 1}}, MediaTime::zero());
    composition.removeTrack(MediaType::audio);
    const CompositorInstruction instruction({MediaTime::zero(), {3, 1}}, 1,
                                            CompositorInstruction::Video{}, 0, FillMode::fit);
    VideoComposition video{{instruction}, {320, 240}, {1, 30}};
    VideoRenderer renderer(std::make_shared<const Timeline>(
        composition, video, Size{320, 240}, MediaTime{3, 1}, std::vector<double>{0}));
    for (std::int64_t n : {0, 14, 15, 44, 74, 75, 89}) {
        const ff::FramePtr frame = renderer.render(n);
        ASSERT_TRUE(frame);
        if (n < 15 || n >= 75)
            EXPECT_EQ(test::colourAt(*frame, 160, 120), 'K') << "output frame " << n;
        else
            EXPECT_EQ(frameNumber(*frame), n - 15) << "output frame " << n;
    }
}

// What stands in the four quadrants of a frame: top left, top right, bottom left, bottom right.
std::string quadrantsOf(const AVFrame& frame) {
    const int w = frame.width, h = frame.height;
    std::string seen;
    for (auto [x, y] :
         {std::pair{w / 4, h / 4}, {3 * w / 4, h / 4}, {w / 4, 3 * h / 4}, {3 * w / 4, 3 * h / 4}})
        seen += test::colourAt(frame, x, y);
    return seen;
}

// A phone's clip turned by its display matrix and photos needing three quarter turns (stored
// with EXIF orientation 8, in JPEG which Qt turns and PNG which Vimbo turns, or turned so by
// the user) stand upright from the probe through the build to the rendered frame.
TEST(VideoRenderer, TurnedVideosAndPhotosStandUpright) {
    std::vector<Segment> segments{
        videoSegment(test::quadrantVideo(true), 1, {160, 320}, 30, false)};
    const QString png = test::generated("quadrants-turned-source.png",
                                        {"-f", "lavfi", "-i", "color=black:size=400x200", "-vf",
                                         test::quadrantsFilter, "-frames:v", "1"});
    for (const QString& stored : {test::quadrantsPhoto(), png}) {
        const QString photo = test::scratchFolder() + "/left." + QFileInfo(stored).suffix();
        ASSERT_TRUE(QFile::copy(stored, photo));
        ASSERT_TRUE(
            test::run("exiftool", {"-q", "-overwrite_original", "-Orientation=8", "-n", photo}));
        const QUrl url = QUrl::fromLocalFile(photo);
        segments.push_back({url, MediaProbe::probe(url), {}});
        segments.back().edits.photoDuration = 1;
    }
    const QUrl plain = QUrl::fromLocalFile(test::quadrantsPhoto());
    segments.push_back({plain, MediaProbe::probe(plain), {}});
    segments.back().edits.photoDuration = 1;
    segments.back().edits.quarterTurns = 3;
    segments.push_back(test::photoSegment("/gone.jpg", {160, 320}, 1));
    VideoRenderer renderer(build(segments));
    EXPECT_EQ(renderer.size().height, 2 * renderer.size().width) << "the upright frame";
    // The source's top-left quadrant (red) is now at the top right.
    EXPECT_EQ(quadrantsOf(*renderer.render(10)), "BRWG") << "the phone's clip";
    // Turned a quarter counter-clockwise: the red top left is now at the bottom left.
    for (const std::int64_t n : {45, 75, 105})
        EXPECT_EQ(quadrantsOf(*renderer.render(n)), "GWRB") << "the photo at frame " << n;
    EXPECT_EQ(quadrantsOf(*renderer.render(135)), "KKKK") << "an unreadable photo shows black";
}

TEST(VideoRenderer, CancelStopsWork) {
    auto cancel = std::make_shared<CancelFlag>();
    VideoRenderer renderer(build({numbered()}), cancel);
    EXPECT_TRUE(renderer.render(0));
    renderer.cancelAll();
    EXPECT_TRUE(renderer.render(1)) << "cancel-all only drops work begun before it";
    AudioRenderer audio(build({numbered()}), cancel);
    cancel->cancel();
    EXPECT_THROW(renderer.render(2), Cancelled);
    EXPECT_THROW(audio.read(1024), Cancelled);
    // A cancel raised while a source opens reaches FFmpeg's I/O through its interrupt callback.
    EXPECT_THROW(VideoRenderer(build({numbered()}), cancel).render(0), Cancelled);
}

TEST(AudioRenderer, ClipsAbutAtExactSamplesWithSilenceBetween) {
    Segment low = videoSegment(test::toneVideo(440), 2, {160, 120});
    Segment high = videoSegment(test::toneVideo(1000), 2, {160, 120});
    high.edits.trimStart = 0.5; // 1.5 s
    Segment muted = low;
    muted.edits.muted = true;
    const auto timeline =
        build({low, test::photoSegment("/p.jpg", {160, 120}, 0.25), high, muted, low});
    AudioRenderer renderer(timeline);
    const std::vector<float> left = renderAll(renderer);
    // 2 + 0.25 + 1.5 + 2 + 2 s
    ASSERT_EQ(left.size(), 7.75 * 48000);

    auto tone = [&](double from, double to) {
        const auto a = static_cast<std::size_t>(from * 48000);
        const auto n = static_cast<std::size_t>((to - from) * 48000);
        const double p440 = test::power(left.data() + a, n, 48000, 440);
        const double p1000 = test::power(left.data() + a, n, 48000, 1000);
        if (p440 < 1e-6 && p1000 < 1e-6)
            return '0';
        return p440 > 10 * p1000 ? 'L' : p1000 > 10 * p440 ? 'H' : '?';
    };
    // Windows of 10 ms just inside each join (past the 2 ms fades).
    const double joins[] = {0, 2, 2.25, 3.75, 5.75, 7.75};
    std::string seen;
    for (std::size_t i = 0; i + 1 < std::size(joins); ++i) {
        seen += tone(joins[i] + 0.003, joins[i] + 0.013);
        seen += tone(joins[i + 1] - 0.013, joins[i + 1] - 0.003);
    }
    EXPECT_EQ(seen, "LL00HH00LL");
    // Nothing leaks across a join into the silence around the photo.
    EXPECT_EQ(tone(2.0, 2.25), '0');

    // Without any sound to play, silence as long as the picture.
    AudioRenderer silent(build({muted}));
    EXPECT_FALSE(silent.hasAudio());
    const std::vector<float> none = renderAll(silent);
    EXPECT_EQ(none.size(), 96000u);
    EXPECT_EQ(*std::max_element(none.begin(), none.end()), 0.0f);
}

TEST(AudioRenderer, SeeksToAnyTime) {
    const auto timeline = build({numbered(), numbered(2)});
    AudioRenderer whole(timeline);
    const std::vector<float> all = renderAll(whole);
    AudioRenderer seeking(timeline);
    for (double at : {0.7, 2.0, 0.1}) {
        seeking.seek(MediaTime::fromSeconds(at));
        EXPECT_EQ(seeking.position(), std::llround(at * 48000));
        const ff::FramePtr frame = seeking.read(4800);
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->pts, std::llround(at * 48000));
        const auto* l = reinterpret_cast<const float*>(frame->extended_data[0]);
        // After the fade-in, the same waveform as a reading from the start.
        double difference = 0;
        for (int i = 480; i < 4800; ++i)
            difference =
                std::max(difference, double(std::fabs(l[i] - all[std::size_t(frame->pts + i)])));
        EXPECT_LT(difference, 0.02) << "at " << at;
    }
    // Inside the stretched clip the stretch restarts at the seek: the same tone.
    seeking.seek(MediaTime::fromSeconds(2.5));
    const ff::FramePtr frame = seeking.read(9600);
    const auto* l = reinterpret_cast<const float*>(frame->extended_data[0]);
    EXPECT_NEAR(test::frequency(l + 480, 9600 - 480, 48000), 440, 5);
}

// Every real sample movie, probed as the project would, plays through both renderers: the
// picture at its start, middle and end, the whole sound, of the right sizes and lengths.
class RealSample : public testing::TestWithParam<const char*> {};

TEST_P(RealSample, PlaysThroughBothRenderers) {
    VIMBO_REQUIRE_SAMPLES();
    const std::string name = GetParam();
    // Frames that are flat in the file itself (-1: all of them).
    const std::set<std::pair<std::string, std::int64_t>> flatFrames{
        {"rotate-buck-bunny.mp4", 0},         // fades in from black
        {"edit_list_positive_shift.mp4", -1}, // a black picture
        {"no_timescale.mp4", 0},              // mid-grey until its first good frame
    };
    const QUrl url = QUrl::fromLocalFile(test::sample(GetParam()));
    const MediaInfo info = MediaProbe::probe(url);
    if (!info.isUsable())
        GTEST_SKIP() << "not a movie Vimbo plays";
    Segment s{url, info, {}};
    s.edits.trimEnd = std::max(0.0, info.duration - 3); // at most 3 s of it
    const auto timeline = build({s});
    VideoRenderer video(timeline);
    const Size size = video.size();
    for (std::int64_t n : {std::int64_t(0), video.frameCount() / 2, video.frameCount() - 1}) {
        const ff::FramePtr frame = video.render(n);
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->width, int(size.width));
        EXPECT_EQ(frame->height, int(size.height));
        // A picture, not the flat black of a frame the source did not have.
        int low = 255, high = 0;
        for (int y = 0; y < frame->height; y += 4)
            for (int x = 0; x < frame->width; x += 4) {
                low = std::min<int>(low, frame->data[0][y * frame->linesize[0] + x]);
                high = std::max<int>(high, frame->data[0][y * frame->linesize[0] + x]);
            }
        const bool flat = flatFrames.count({name, n}) || flatFrames.count({name, -1});
        EXPECT_EQ(high - low <= 4, flat) << "frame " << n;
    }
    AudioRenderer audio(timeline);
    std::int64_t samples = 0;
    while (const ff::FramePtr frame = audio.read(4096))
        samples += frame->nb_samples;
    EXPECT_EQ(samples, AudioRenderer::sampleAt(timeline->duration()));
}

INSTANTIATE_TEST_SUITE_P(
    Samples, RealSample,
    testing::Values(
        "dolbyVision-hdr.MOV", "portrait_4k60.mp4", "pixel7_videoOnly_cleaned.mp4",
        "internal_emulator_transformer_output_270_rotated.mp4", "sample_rotate_and_reflect.mp4",
        "rotate-buck-bunny.mp4", "hlg10-color-test.mp4", "hdr10-video-with-sdr-container.mp4",
        "sample_with_colr_mdcv_and_clli.mp4", "sowt-with-video.mov", "sample_ipcm_16be.mp4",
        "cursed-vfr.mp4", "sample_android_slow_motion.mp4", "edit_list_positive_shift.mp4",
        "bbb_800x640_768kbps_30fps_avc_2b_firstpts_10_sec.mp4", "sample_shorter_audio.mp4",
        "video-h265.mp4", "sample_av1.mp4", "bbb_176x144_128kbps_15fps_h263.3gp",
        "sample_12_5fps_720p_1s.mp4", "sar_2x1.mp4", "bt601.mov", "sample_empty_track.mp4",
        "iibbibb_editlist_videoonly.mp4", "no_timescale.mp4", "sample_fpcm_32le.mp4",
        "sample_fragmented.mp4", "sample_vvc.mp4"),
    [](const auto& p) {
        std::string name = p.param;
        std::replace_if(
            name.begin(), name.end(), [](char c) { return !std::isalnum(c); }, '_');
        return name;
    });

} // namespace
} // namespace vimbo
