#include "timeline/Timeline.h"

#include <cmath>
#include <set>

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

std::vector<const Segment*> usableOf(const std::vector<Segment>& segments) {
    std::vector<const Segment*> usable;
    for (const Segment& s : segments)
        if (s.info.isUsable())
            usable.push_back(&s);
    return usable;
}

bool matchesFirst(const Segment& s, const Segment& first) {
    return s.info.kind == MediaKind::video && s.edits.speed == 1.0 &&
           (s.edits.quarterTurns & 3) == 0 && s.info.codec == first.info.codec &&
           s.info.naturalSize == first.info.naturalSize &&
           s.info.transform == first.info.transform && s.info.isHDR == first.info.isHDR &&
           std::fabs(s.info.frameRate - first.info.frameRate) < 0.5f;
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
    const std::vector<const Segment*> usable = usableOf(segments);
    if (usable.empty())
        return false;
    const Segment& first = *usable.front();
    std::set<QString> audioFormats;
    std::vector<Segment> copies;
    for (const Segment* s : usable) {
        if (!matchesFirst(*s, first))
            return false;
        if (s->info.hasAudio && !s->edits.muted)
            audioFormats.insert(s->info.audioFormat);
        copies.push_back(*s);
    }
    return audioFormats.size() <= 1 && renderSize(copies, layout) == first.info.size;
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
