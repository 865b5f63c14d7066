#include "export/SmartCutPlan.h"

#include <algorithm>
#include <climits>
#include <numeric>

namespace vimbo {
namespace {

// Decoding-order indices where a copy may start or stop: a key frame with every earlier
// packet showing before it and every later one at or after it.
std::vector<bool> cleanSplits(const std::vector<PacketStamp>& packets) {
    const std::size_t n = packets.size();
    std::vector<std::int64_t> laterMin(n + 1, INT64_MAX);
    for (std::size_t i = n; i-- > 0;)
        laterMin[i] = std::min(laterMin[i + 1], packets[i].pts);
    std::vector<bool> clean(n + 1, false);
    std::int64_t earlierMax = INT64_MIN;
    for (std::size_t i = 0; i < n; ++i) {
        clean[i] = packets[i].key && earlierMax < packets[i].pts && laterMin[i] >= packets[i].pts;
        earlierMax = std::max(earlierMax, packets[i].pts);
    }
    clean[n] = true;
    return clean;
}

EncodedStretch stretch(const std::vector<std::int64_t>& shown, std::int64_t from, std::int64_t to) {
    EncodedStretch s;
    for (const std::int64_t pts : shown)
        if (pts >= from && pts < to)
            s.frames.push_back(pts);
    s.end = to;
    return s;
}

SmartRefusal cutClip(const CopyClip& clip, std::int64_t first, std::int64_t end, VideoCut& cut,
                     SmartClip& smart) {
    const auto& packets = clip.video.packets;
    const std::vector<bool> clean = cleanSplits(packets);
    std::vector<std::int64_t> shown;
    bool keyInside = false;
    for (const PacketStamp& p : packets)
        if (!p.discard && p.pts >= first && p.pts < end) {
            shown.push_back(p.pts);
            keyInside = keyInside || (p.key && p.pts > first);
        }
    std::sort(shown.begin(), shown.end());
    const auto n = static_cast<std::int64_t>(packets.size());
    std::int64_t from = -1;
    for (std::int64_t i = 0; i < n && from < 0; ++i)
        if (clean[i] && packets[i].pts >= first && packets[i].pts < end)
            from = i;
    cut = {0, 0, first, end, 0, clip.video.timeBase};
    if (from < 0) {
        // Too short to hold a whole group of pictures: all of it is encoded, unless a key
        // frame inside shows that its groups could not be cut apart.
        if (keyInside)
            return SmartRefusal::openGop;
        smart.head = stretch(shown, first, end);
        return SmartRefusal::none;
    }
    std::int64_t to = from;
    while (to < n && packets[to].pts < end)
        ++to;
    bool cleanEnd = true;
    for (std::int64_t i = to; i < n; ++i)
        cleanEnd = cleanEnd && packets[i].pts >= end;
    if (!cleanEnd) {
        // Copy up to the last clean key frame before the end, encode the rest.
        to = from;
        for (std::int64_t i = from + 1; i < n; ++i)
            if (clean[i] && packets[i].pts < end)
                to = i;
    }
    cut.firstPacket = from;
    cut.endPacket = to;
    const std::int64_t copyFrom = packets[from].pts;
    const std::int64_t copyTo = to < n && !cleanEnd ? packets[to].pts : end;
    if (copyFrom > first)
        smart.head = stretch(shown, first, copyFrom);
    if (copyTo < end)
        smart.tail = stretch(shown, copyTo, end);
    if (from == to) { // nothing copied after all: one stretch
        smart.head = stretch(shown, first, end);
        smart.tail.reset();
    }
    return SmartRefusal::none;
}

// The first clip at which decoding times stop rising, re-encoded frames included; -1 if none.
int decodingOrderBreaks(const std::vector<CopyClip>& clips, const SmartCutPlan& plan) {
    std::int64_t last = INT64_MIN;
    const std::int64_t den = plan.copy.videoTimeBase.den;
    for (std::size_t i = 0; i < clips.size(); ++i) {
        const VideoCut& cut = plan.copy.video[i];
        const std::int64_t scale = den / cut.sourceTimeBase.den;
        const auto out = [&](std::int64_t t) {
            return (t - cut.sourceStart) * scale + cut.outputStart;
        };
        const auto encoded = [&](const std::optional<EncodedStretch>& s) {
            if (!s || s->frames.empty())
                return true;
            if (out(s->frames.front()) - plan.encodedDelay <= last)
                return false;
            last = out(s->frames.back()) - plan.encodedDelay;
            return true;
        };
        const int clip = static_cast<int>(i);
        if (!encoded(plan.clips[i].head))
            return clip;
        for (std::int64_t p = cut.firstPacket; p < cut.endPacket; ++p) {
            const std::int64_t dts = out(clips[i].video.packets[p].dts);
            if (dts <= last)
                return clip;
            last = dts;
        }
        if (!encoded(plan.clips[i].tail))
            return clip;
    }
    return -1;
}

} // namespace

std::int64_t SmartCutPlan::encodedFrames() const {
    std::int64_t n = 0;
    for (const SmartClip& c : clips)
        n += static_cast<std::int64_t>((c.head ? c.head->frames.size() : 0) +
                                       (c.tail ? c.tail->frames.size() : 0));
    return n;
}

SmartPlanResult planSmartCut(const std::vector<CopyClip>& clips) {
    if (clips.empty())
        return {std::nullopt, SmartRefusal::none, CopyRefusal::noClips, -1};
    std::int64_t timescale = 1;
    for (const CopyClip& c : clips)
        timescale = std::lcm(timescale, static_cast<std::int64_t>(c.video.timeBase.den));
    SmartCutPlan plan;
    plan.copy.videoTimeBase = {1, static_cast<int>(timescale)};
    std::int64_t cursor = 0;
    for (std::size_t i = 0; i < clips.size(); ++i) {
        const int index = static_cast<int>(i);
        std::int64_t first = 0;
        std::int64_t end = 0;
        if (const CopyRefusal r = shownFrames(clips[i], first, end); r != CopyRefusal::none)
            return {std::nullopt, SmartRefusal::none, r, index};
        VideoCut cut;
        SmartClip smart;
        if (const SmartRefusal r = cutClip(clips[i], first, end, cut, smart);
            r != SmartRefusal::none)
            return {std::nullopt, r, CopyRefusal::none, index};
        const std::int64_t scale = timescale / cut.sourceTimeBase.den;
        cut.outputStart = cursor;
        cursor += (end - first) * scale;
        if (cut.endPacket > cut.firstPacket) {
            const PacketStamp& key = clips[i].video.packets[cut.firstPacket];
            plan.encodedDelay = std::max(plan.encodedDelay, (key.pts - key.dts) * scale);
        }
        plan.copy.video.push_back(cut);
        plan.clips.push_back(std::move(smart));
    }
    plan.copy.duration = cursor;
    if (const int clip = decodingOrderBreaks(clips, plan); clip >= 0)
        return {std::nullopt, SmartRefusal::joinOrder, CopyRefusal::none, clip};
    CopyRefusal refusal = CopyRefusal::none;
    int refused = -1;
    plan.copy.audio = planAudio(clips, plan.copy, refusal, refused);
    if (refusal != CopyRefusal::none)
        return {std::nullopt, SmartRefusal::none, refusal, refused};
    return {std::move(plan), SmartRefusal::none, CopyRefusal::none, -1};
}

} // namespace vimbo
