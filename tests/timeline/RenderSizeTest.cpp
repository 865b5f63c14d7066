#include "timeline/Timeline.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace vimbo {
namespace {

Segment seg(MediaKind kind, double w, double h, std::int64_t turns = 0) {
    MediaInfo info(kind);
    info.size = {w, h};
    ClipEdits edits;
    edits.quarterTurns = turns;
    return {QUrl(), info, edits};
}
Segment video(double w, double h, std::int64_t turns = 0) {
    return seg(MediaKind::video, w, h, turns);
}
Segment photo(double w, double h) {
    return seg(MediaKind::photo, w, h);
}

struct Case {
    const char* what;
    std::vector<Segment> segments;
    FrameShape shape;
    std::optional<double> maxLongEdge;
    Size expected;
};

TEST(RenderSize, FromTheClipsShapeAndLimits) {
    using S = FrameShape;
    const Segment missing = seg(MediaKind::missing, 100, 1000);
    const Case cases[] = {
        {"empty", {}, S::tall, 100, {1920, 1080}},
        {"only unusable",
         {missing, seg(MediaKind::unsupported, 10, 10)},
         S::square,
         {},
         {1920, 1080}},
        {"1080p", {video(1920, 1080)}, S::auto_, std::nullopt, {1920, 1080}},
        {"uhd short edge at limit", {video(3840, 2160)}, S::auto_, {}, {3840, 2160}},
        {"dci 4k capped, half away from zero", {video(4096, 2160)}, S::auto_, {}, {3840, 2026}},
        {"odd width made even", {video(853, 480)}, S::auto_, {}, {854, 480}},
        {"long-edge floor", {video(200, 100)}, S::auto_, {}, {320, 160}},
        {"floor beats maxLongEdge", {video(1920, 1080)}, S::wide, 100, {320, 180}},
        {"preview", {video(1920, 1080)}, S::wide, 1280, {1280, 720}},
        {"tall", {video(1920, 1080)}, S::tall, {}, {1080, 1920}},
        {"portrait", {video(1920, 1080)}, S::portrait, {}, {1536, 1920}},
        {"square 4k short-edge cap", {video(3840, 2160)}, S::square, {}, {2160, 2160}},
        {"portrait 4k", {video(3840, 2160)}, S::portrait, {}, {2160, 2700}},
        {"photo cap", {photo(4000, 3000)}, S::auto_, {}, {1920, 1440}},
        {"photo wins", {photo(6000, 4000), video(1280, 720)}, S::auto_, {}, {1920, 1280}},
        {"quarter turn", {video(1080, 1920, 1)}, S::auto_, {}, {1920, 1080}},
        {"negative odd turn", {video(1080, 1920, -1)}, S::auto_, {}, {1920, 1080}},
        {"largest edge, bounded",
         {video(1280, 720), video(3840, 2160)},
         S::auto_,
         1920,
         {1920, 1080}},
        {"unusable first clip", {missing, video(1280, 720)}, S::auto_, {}, {1280, 720}},
        {"zero height", {video(1920, 0)}, S::auto_, {}, {1920, 2}},
        {"both zero", {video(0, 0)}, S::auto_, {}, {320, 2}},
    };
    for (const Case& c : cases)
        for (const FillMode fill : {FillMode::fit, FillMode::fill}) {
            const Size s = Timeline::renderSize(c.segments, Layout{c.shape, fill}, c.maxLongEdge);
            EXPECT_EQ(s, c.expected) << c.what << ": got " << s.width << " × " << s.height;
        }

    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Size s = Timeline::renderSize({video(nan, nan)}, {});
    EXPECT_GE(s.height, 2);
    EXPECT_EQ(std::fmod(s.width, 2), 0);
}

} // namespace
} // namespace vimbo
