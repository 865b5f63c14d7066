#include "timeline/Timeline.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <gtest/gtest.h>
#include <limits>

namespace vimbo {
namespace {

Segment video(float rate, Size natural = {1920, 1080}) {
    MediaInfo info(MediaKind::video);
    info.frameRate = rate;
    info.size = natural;
    info.naturalSize = natural;
    info.videoCoding = {AV_CODEC_ID_H264, MKTAG('a', 'v', 'c', '1'), FF_PROFILE_UNKNOWN, 0, 0};
    info.hasAudio = true;
    info.audioCoding = {AV_CODEC_ID_AAC, MKTAG('m', 'p', '4', 'a'), FF_PROFILE_AAC_LOW, 48000, 2};
    return {QUrl::fromLocalFile("/v.mov"), info, {}};
}

Segment photo() {
    MediaInfo info(MediaKind::photo);
    info.size = {4000, 3000};
    return {QUrl::fromLocalFile("/p.jpg"), info, {}};
}

TEST(TimelineRules, FrameDuration) {
    struct Case {
        const char* what;
        std::vector<Segment> segments;
        MediaTime expected;
    };
    const Case cases[] = {
        {"nothing", {}, {1, 30}},
        {"photos only", {photo(), photo()}, {1, 30}},
        {"29.97", {video(29.97f)}, {1001, 30000}},
        {"120 is held at 60", {video(120)}, {1, 60}},
        {"15 is lifted to 24", {video(15)}, {1, 24}},
        {"23.98", {video(23.98f)}, {1001, 24000}},
        {"the fastest of 25 and 30", {video(25), photo(), video(30)}, {1, 30}},
        {"59.94", {video(59.94f)}, {1001, 60000}},
        {"between 25 and 29.97: nearer 29.97", {video(28)}, {1001, 30000}},
        {"a tie goes to the earlier rate", {video(24.5f)}, {1, 24}},
        {"23.976 exactly", {video(23.976f)}, {1001, 24000}},
        {"just below 23.976 is lifted to 24", {video(23.9f)}, {1, 24}},
        {"48 is nearest 50", {video(48)}, {1, 50}},
        {"unknown rate (0) counts as slow", {video(0)}, {1, 24}},
    };
    for (const Case& c : cases) {
        const MediaTime d = Timeline::frameDuration(c.segments);
        EXPECT_EQ(d.value, c.expected.value) << c.what;
        EXPECT_EQ(d.timescale, c.expected.timescale) << c.what;
    }
}

TEST(TimelineRules, CanJoinWithoutReencoding) {
    const Layout fit{FrameShape::auto_, FillMode::fit};
    // A 30 fps clip changed by `change`.
    const auto v = [](auto change) {
        Segment s = video(30);
        change(s);
        return s;
    };
    const Segment lpcm = v([](Segment& s) { s.info.audioCoding.codec = AV_CODEC_ID_PCM_S16LE; });
    const Segment mutedLpcm = v([](Segment& s) {
        s.info.audioCoding.codec = AV_CODEC_ID_PCM_S16LE;
        s.edits.muted = true;
    });
    const Segment silent = v([](Segment& s) {
        s.info.audioCoding = {};
        s.info.hasAudio = false;
    });
    const Segment heAac = v([](Segment& s) { s.info.audioCoding.profile = FF_PROFILE_AAC_HE; });
    const Segment missing = v([](Segment& s) { s.info.kind = MediaKind::missing; });
    const Segment unsupported = v([](Segment& s) {
        s.info.kind = MediaKind::unsupported;
        s.info.frameRate = 60;
    });
    struct Case {
        const char* what;
        std::vector<Segment> segments;
        Layout layout;
        bool expected;
    };
    const Case cases[] = {
        {"29.97 and 30 fps join", {video(29.97f), video(30)}, fit, true},
        {"the same under tall do not", {video(29.97f), video(30)}, {FrameShape::tall}, false},
        {"turned once", {video(30), v([](Segment& s) { s.edits.quarterTurns = 1; })}, fit, false},
        {"turned four times",
         {video(30), v([](Segment& s) { s.edits.quarterTurns = 4; })},
         fit,
         true},
        {"a muted clip of another audio format", {video(30), mutedLpcm}, fit, true},
        {"another audio format heard", {video(30), lpcm}, fit, false},
        {"another AAC profile heard", {video(30), heAac}, fit, false},
        {"a clip without sound", {video(30), silent}, fit, true},
        {"a photo", {video(30), photo()}, fit, false},
        {"nothing usable", {missing}, fit, false},
        {"unusable clips are left out", {video(30), unsupported}, fit, true},
        {"speed", {v([](Segment& s) { s.edits.speed = 2; })}, fit, false},
        {"trimmed", {v([](Segment& s) { s.edits.trimStart = 1; })}, fit, true},
        {"frame rates 0.5 apart", {video(30), video(30.5f)}, fit, false},
        {"another codec",
         {video(30), v([](Segment& s) { s.info.videoCoding.codec = AV_CODEC_ID_HEVC; })},
         fit,
         false},
        {"another sample entry",
         {video(30), v([](Segment& s) { s.info.videoCoding.tag = MKTAG('a', 'v', 'c', '3'); })},
         fit,
         false},
        {"HDR and SDR", {video(30), v([](Segment& s) { s.info.isHDR = true; })}, fit, false},
        {"another transform",
         {video(30), v([](Segment& s) { s.info.transform = {0, 1, -1, 0, 1080, 0}; })},
         fit,
         false},
        {"another size", {video(30), video(30, {1280, 720})}, fit, false},
        {"a size the render size cannot keep", {video(30, {1921, 1080})}, fit, false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Timeline::canJoinWithoutReencoding(c.segments, c.layout), c.expected) << c.what;
}

} // namespace
} // namespace vimbo
