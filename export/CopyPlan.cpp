#include "export/CopyPlan.h"

#include "media/CodecCodes.h"

extern "C" {
#include <libavcodec/codec_id.h>
#include <libavutil/mathematics.h>
}

#include <climits>
#include <cmath>
#include <numeric>

namespace vimbo {
namespace {

constexpr std::int64_t frame = AudioPlan::frameSamples;

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
    const std::int64_t q = a / b;
    return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}
std::int64_t floorMod(std::int64_t a, std::int64_t b) {
    return a - floorDiv(a, b) * b;
}
std::int64_t ceilDiv(std::int64_t a, std::int64_t b) {
    return -floorDiv(-a, b);
}

// The timeline states times in 1/6000 s, so a trim is "on" a frame within one such tick.
std::int64_t toTicks(double seconds, AVRational tb) {
    return std::llround(seconds * tb.den / tb.num);
}
std::int64_t tolerance(AVRational tb) {
    return static_cast<std::int64_t>(tb.den / (6000.0 * tb.num));
}

// The pts of a shown frame within tolerance of t, the nearest one.
std::optional<std::int64_t> frameAt(const std::vector<PacketStamp>& packets, std::int64_t t,
                                    std::int64_t tol) {
    std::optional<std::int64_t> best;
    for (const PacketStamp& p : packets)
        if (!p.discard && std::llabs(p.pts - t) <= tol &&
            (!best || std::llabs(p.pts - t) < std::llabs(*best - t)))
            best = p.pts;
    return best;
}

} // namespace

CopyRefusal shownFrames(const CopyClip& clip, std::int64_t& firstShown, std::int64_t& endShown) {
    const auto& packets = clip.video.packets;
    const AVRational tb = clip.video.timeBase;
    std::int64_t start = INT64_MAX;
    std::int64_t trackEnd = INT64_MIN;
    for (const PacketStamp& p : packets)
        if (!p.discard) {
            start = std::min(start, p.pts);
            trackEnd = std::max(trackEnd, p.pts + p.duration);
        }
    if (start == INT64_MAX)
        return CopyRefusal::trimStartBetweenFrames;
    const std::int64_t tol = tolerance(tb);
    // The track's own length decides how long its last frame shows, as a player shows it;
    // a track that ends before its last frame does is a trim like any other.
    const std::int64_t framesEnd = trackEnd;
    if (clip.video.declaredEnd > start)
        trackEnd = clip.video.declaredEnd;
    if (trackEnd < framesEnd - tol && !frameAt(packets, trackEnd, tol))
        return CopyRefusal::trimEndBetweenFrames;
    const auto first = frameAt(packets, start + toTicks(clip.lower, tb), tol);
    if (!first)
        return CopyRefusal::trimStartBetweenFrames;
    std::int64_t end = trackEnd;
    const std::int64_t upper = start + toTicks(clip.upper, tb);
    if (trackEnd < framesEnd - tol)
        end = *frameAt(packets, trackEnd, tol);
    if (upper < trackEnd - tol) {
        const auto last = frameAt(packets, upper, tol);
        if (!last)
            return CopyRefusal::trimEndBetweenFrames;
        end = *last;
    }
    firstShown = *first;
    endShown = end;
    return CopyRefusal::none;
}

namespace {

CopyRefusal cutVideo(const CopyClip& clip, VideoCut& cut) {
    const auto& packets = clip.video.packets;
    std::int64_t first = 0;
    std::int64_t end = 0;
    if (const CopyRefusal r = shownFrames(clip, first, end); r != CopyRefusal::none)
        return r;
    const auto kept = [&](const PacketStamp& p) {
        return !p.discard && p.pts >= first && p.pts < end;
    };
    std::int64_t from = -1;
    std::int64_t to = -1;
    for (std::size_t i = 0; i < packets.size(); ++i)
        if (kept(packets[i])) {
            from = from < 0 ? static_cast<std::int64_t>(i) : from;
            to = static_cast<std::int64_t>(i) + 1;
        }
    if (from < 0 || !packets[from].key || packets[from].pts != first)
        return CopyRefusal::trimStartNotKey;
    for (std::int64_t i = from; i < to; ++i)
        if (!kept(packets[i]))
            return packets[i].pts < first ? CopyRefusal::trimStartNotKey
                                          : CopyRefusal::trimEndCutsReferences;
    cut = {from, to, first, end, 0, clip.video.timeBase};
    return CopyRefusal::none;
}

// The refusal, if any, and the clip it is about.
std::pair<CopyRefusal, int> checkVideoFormats(const std::vector<CopyClip>& clips,
                                              std::int64_t& timescale) {
    const VideoFacts& ref = clips.front().video;
    std::int64_t lcm = 1;
    for (std::size_t i = 0; i < clips.size(); ++i) {
        const VideoFacts& v = clips[i].video;
        const int clip = static_cast<int>(i);
        if (v.codecId != ref.codecId || v.width != ref.width || v.height != ref.height)
            return {CopyRefusal::codecDiffers, clip};
        if (v.extradata != ref.extradata)
            return {CopyRefusal::parameterSetsDiffer, clip};
        if (v.timeBase.num != 1 || v.timeBase.den <= 0)
            return {CopyRefusal::timeBase, clip};
        lcm = std::lcm(lcm, static_cast<std::int64_t>(v.timeBase.den));
        if (lcm > INT_MAX)
            return {CopyRefusal::timeBase, clip};
    }
    timescale = lcm;
    return {CopyRefusal::none, -1};
}

std::int64_t inOutput(std::int64_t t, const VideoCut& cut, std::int64_t timescale) {
    return (t - cut.sourceStart) * (timescale / cut.sourceTimeBase.den) + cut.outputStart;
}

CopyRefusal checkAudio(const CopyClip& clip, const AudioFacts& ref) {
    const AudioFacts& a = *clip.audio;
    const auto config = aacConfig(reinterpret_cast<const std::uint8_t*>(a.extradata.constData()),
                                  static_cast<int>(a.extradata.size()));
    // Plain AAC-LC at a rate of the table and a channel count of its own, as the silence
    // encoder makes it.
    if (a.codecId != AV_CODEC_ID_AAC || !config || config->objectType != 2 ||
        config->frequencyIndex == 15 || config->channelConfiguration == 0 || a.timeBase.num != 1 ||
        a.timeBase.den != a.sampleRate)
        return CopyRefusal::audioCodec;
    if (a.extradata != ref.extradata || a.sampleRate != ref.sampleRate ||
        a.channels != ref.channels)
        return CopyRefusal::audioFormatsDiffer;
    // Frames follow each other without gaps; stated durations may be missing (0), never long.
    for (std::size_t j = 0; j < a.packets.size(); ++j)
        if (a.packets[j].duration > frame ||
            (j + 1 < a.packets.size() && a.packets[j + 1].pts - a.packets[j].pts != frame))
            return CopyRefusal::audioNotContiguous;
    return CopyRefusal::none;
}

bool hasSound(const CopyClip& clip) {
    return clip.audio && !clip.audio->packets.empty();
}

// Source samples of a clip's video range, in the clip's audio.
std::int64_t toSamples(std::int64_t t, AVRational tb, int rate) {
    return av_rescale_rnd(t, static_cast<std::int64_t>(rate) * tb.num, tb.den, AV_ROUND_NEAR_INF);
}

AudioCut placeAudio(const CopyClip& clip, const VideoCut& cut, std::int64_t outStart,
                    std::int64_t priming, int rate) {
    const auto& packets = clip.audio->packets;
    const std::int64_t s0 = packets.front().pts;
    const std::int64_t from = toSamples(cut.sourceStart, cut.sourceTimeBase, rate);
    const std::int64_t to = toSamples(cut.sourceEnd, cut.sourceTimeBase, rate);
    // Source sample x would ideally land at x + shift; packets can only land on the output's
    // frame grid, so take the grid-aligned shift nearest to the ideal one.
    const std::int64_t shift = outStart - from;
    const std::int64_t residue = floorMod(-(s0 + priming), frame);
    const std::int64_t aligned = shift + floorMod(residue - shift + frame / 2, frame) - frame / 2;
    AudioCut a;
    a.packetOffset = (priming + aligned + s0) / frame;
    a.usedBegin = std::max<std::int64_t>(0, floorDiv(from - 2 * frame - s0, frame) + 1);
    a.usedEnd =
        std::min<std::int64_t>(static_cast<std::int64_t>(packets.size()), ceilDiv(to - s0, frame));
    return a;
}

} // namespace

std::optional<AudioPlan> planAudio(const std::vector<CopyClip>& clips, const CopyPlan& plan,
                                   CopyRefusal& refusal, int& refused) {
    int formatClip = -1;
    for (std::size_t i = 0; i < clips.size() && formatClip < 0; ++i)
        if (hasSound(clips[i]))
            formatClip = static_cast<int>(i);
    if (formatClip < 0)
        return std::nullopt;
    const AudioFacts& ref = *clips[formatClip].audio;
    for (std::size_t i = 0; i < clips.size(); ++i)
        if (hasSound(clips[i]) && (refusal = checkAudio(clips[i], ref)) != CopyRefusal::none) {
            refused = static_cast<int>(i);
            return std::nullopt;
        }
    const int rate = ref.sampleRate;
    AudioPlan audio;
    audio.sampleRate = rate;
    audio.formatClip = formatClip;
    audio.priming = frame;
    if (hasSound(clips[0])) {
        const std::int64_t from =
            toSamples(plan.video[0].sourceStart, plan.video[0].sourceTimeBase, rate);
        audio.priming = floorMod(from - clips[0].audio->packets.front().pts, frame) + frame;
    }
    const auto outSamples = [&](std::int64_t t) {
        return av_rescale_rnd(t, rate, plan.videoTimeBase.den, AV_ROUND_NEAR_INF);
    };
    const auto boundary = [&](std::int64_t t) {
        return floorDiv(outSamples(t) + audio.priming + frame / 2, frame);
    };
    for (std::size_t i = 0; i < clips.size(); ++i) {
        const VideoCut& cut = plan.video[i];
        AudioCut a;
        // A clip with sound starts where its first kept sample landed, preceded by the packet
        // that primes the decoder; one without starts at the frame nearest its picture.
        std::int64_t k = boundary(cut.outputStart);
        if (hasSound(clips[i])) {
            a = placeAudio(clips[i], cut, outSamples(cut.outputStart), audio.priming, rate);
            const std::int64_t from = toSamples(cut.sourceStart, cut.sourceTimeBase, rate);
            k = floorDiv(from - clips[i].audio->packets.front().pts, frame) + a.packetOffset;
        }
        a.slotBegin = i == 0 ? 0 : (a.carriesPacket(k - 1) ? k - 1 : k);
        if (i > 0) {
            if (a.slotBegin <= audio.clips.back().slotBegin) {
                refusal = CopyRefusal::joinOrder;
                refused = static_cast<int>(i);
                return std::nullopt;
            }
            audio.clips.back().slotEnd = a.slotBegin;
        }
        audio.clips.push_back(a);
    }
    audio.clips.back().slotEnd = boundary(plan.duration);
    for (const AudioCut& a : audio.clips)
        if (a.slotEnd > a.slotBegin &&
            (a.usedBegin + a.packetOffset > a.slotBegin || a.usedEnd + a.packetOffset < a.slotEnd))
            audio.needsSilence = true;
    return audio;
}

PlanResult planCopy(const std::vector<CopyClip>& clips) {
    if (clips.empty())
        return {std::nullopt, CopyRefusal::noClips, -1};
    CopyPlan plan;
    std::int64_t timescale = 1;
    if (const auto [r, clip] = checkVideoFormats(clips, timescale); r != CopyRefusal::none)
        return {std::nullopt, r, clip};
    plan.videoTimeBase = {1, static_cast<int>(timescale)};
    std::int64_t cursor = 0;
    for (std::size_t i = 0; i < clips.size(); ++i) {
        VideoCut cut;
        if (const auto r = cutVideo(clips[i], cut); r != CopyRefusal::none)
            return {std::nullopt, r, static_cast<int>(i)};
        cut.outputStart = cursor;
        cursor = inOutput(cut.sourceEnd, cut, timescale);
        if (i > 0) {
            const VideoCut& before = plan.video.back();
            const auto& prev = clips[i - 1].video.packets;
            const auto& next = clips[i].video.packets;
            if (inOutput(prev[before.endPacket - 1].dts, before, timescale) >=
                inOutput(next[cut.firstPacket].dts, cut, timescale))
                return {std::nullopt, CopyRefusal::joinOrder, static_cast<int>(i)};
        }
        plan.video.push_back(cut);
    }
    plan.duration = cursor;
    CopyRefusal refusal = CopyRefusal::none;
    int refused = -1;
    plan.audio = planAudio(clips, plan, refusal, refused);
    if (refusal != CopyRefusal::none)
        return {std::nullopt, refusal, refused};
    return {std::move(plan), CopyRefusal::none, -1};
}

} // namespace vimbo
