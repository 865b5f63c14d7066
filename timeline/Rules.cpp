#include "timeline/Timeline.h"

#include <cmath>

namespace vimbo {
namespace {

struct Rate {
    float perSecond;
    MediaTime frame;
};

constexpr Rate rates[] = {
    {23.976f, {1001, 24000}}, {24.0f, {1, 24}}, {25.0f, {1, 25}},        {29.97f, {1001, 30000}},
    {30.0f, {1, 30}},         {50.0f, {1, 50}}, {59.94f, {1001, 60000}}, {60.0f, {1, 60}},
};

using Kind = JoinObstacle::Kind;

// The first way in which `s` cannot share a copied stream with `first`.
std::optional<Kind> mismatch(const Segment& s, const Segment& first) {
    if (s.info.kind != MediaKind::video)
        return Kind::photo;
    if (s.edits.speed != 1.0)
        return Kind::speed;
    if ((s.edits.quarterTurns & 3) != 0)
        return Kind::turned;
    if (s.info.videoCoding != first.info.videoCoding)
        return Kind::codec;
    if (s.info.naturalSize != first.info.naturalSize)
        return Kind::codedSize;
    if (s.info.transform != first.info.transform)
        return Kind::transform;
    if (s.info.isHDR != first.info.isHDR)
        return Kind::dynamicRange;
    if (!(std::fabs(s.info.frameRate - first.info.frameRate) < 0.5f))
        return Kind::frameRate;
    return std::nullopt;
}

} // namespace

MediaTime Timeline::frameDuration(const std::vector<Segment>& segments) {
    float fastest = 30;
    bool any = false;
    for (const Segment& s : segments) {
        if (s.info.kind != MediaKind::video)
            continue;
        if (!any || s.info.frameRate > fastest)
            fastest = s.info.frameRate;
        any = true;
    }
    // Held within the table: above 60 counts as 60, and anything slower than its slowest rate
    // (including an unknown 0) as 24, so that 23.976 material keeps its own rate.
    float k = fastest > 60 ? 60 : fastest;
    if (fastest < rates[0].perSecond)
        k = 24;
    std::size_t best = 0;
    for (std::size_t i = 1; i < std::size(rates); ++i)
        if (std::fabs(rates[i].perSecond - k) < std::fabs(rates[best].perSecond - k))
            best = i;
    return rates[best].frame;
}

bool Timeline::canJoinWithoutReencoding(const std::vector<Segment>& segments,
                                        const Layout& layout) {
    return !joinObstacle(segments, layout);
}

std::optional<JoinObstacle> Timeline::joinObstacle(const std::vector<Segment>& segments,
                                                   const Layout& layout) {
    std::vector<std::size_t> usable;
    for (std::size_t i = 0; i < segments.size(); ++i)
        if (segments[i].info.isUsable())
            usable.push_back(i);
    if (usable.empty())
        return JoinObstacle{};
    const std::size_t first = usable.front();
    for (const std::size_t i : usable)
        if (const auto kind = mismatch(segments[i], segments[first]))
            return JoinObstacle{*kind, i, first};
    // One sound format among the clips that are heard; muted ones and silent ones do not count.
    std::optional<std::size_t> heard;
    for (const std::size_t i : usable) {
        const Segment& s = segments[i];
        if (!s.info.hasAudio || s.edits.muted)
            continue;
        if (!heard)
            heard = i;
        else if (s.info.audioCoding != segments[*heard].info.audioCoding)
            return JoinObstacle{Kind::soundFormat, i, *heard};
    }
    std::vector<Segment> kept;
    for (const std::size_t i : usable)
        kept.push_back(segments[i]);
    if (renderSize(kept, layout) != segments[first].info.size)
        return JoinObstacle{Kind::frame, first, first};
    return std::nullopt;
}

const CompositorInstruction* VideoComposition::instructionAt(const MediaTime& t) const {
    auto it = std::upper_bound(
        instructions.begin(), instructions.end(), t,
        [](const MediaTime& v, const CompositorInstruction& i) { return v < i.timeRange().start; });
    if (it == instructions.begin())
        return nullptr;
    --it;
    return it->timeRange().contains(t) ? &*it : nullptr;
}

Timeline::Timeline(Composition composition, std::optional<VideoComposition> videoComposition,
                   Size renderSize, MediaTime duration, std::vector<double> starts)
    : composition_(std::move(composition))
    , videoComposition_(std::move(videoComposition))
    , renderSize_(renderSize)
    , duration_(duration)
    , starts_(std::move(starts)) {}

} // namespace vimbo
