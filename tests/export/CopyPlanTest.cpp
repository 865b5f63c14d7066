// The rules that decide whether clips join by copying, on made-up packet tables, and the
// placement of their sound on the output's AAC frames.
#include "export/CopyPlan.h"

extern "C" {
#include <libavcodec/codec_id.h>
}

#include <cmath>
#include <gtest/gtest.h>

namespace vimbo {
namespace {

constexpr int timescale = 15360; // 30 fps: 512 ticks a frame
constexpr int tick = 512;

// Frames of a GOP-structured stream in decoding order. `pattern` is the display-order GOP
// ("IBBP…"); B frames are shown before the P that follows them, as encoders lay them out.
VideoFacts video(int frames, const std::string& gop, const char* extradata = "sps-pps") {
    VideoFacts v;
    v.codecId = AV_CODEC_ID_H264;
    v.width = 320;
    v.height = 240;
    v.extradata = extradata;
    v.timeBase = {1, timescale};
    std::vector<int> order; // display indices in decoding order
    for (int start = 0; start < frames; start += static_cast<int>(gop.size())) {
        std::vector<int> pendingB;
        for (int i = 0; i < static_cast<int>(gop.size()) && start + i < frames; ++i) {
            if (gop[i] == 'B') {
                pendingB.push_back(start + i);
                continue;
            }
            order.push_back(start + i);
            order.insert(order.end(), pendingB.begin(), pendingB.end());
            pendingB.clear();
        }
        order.insert(order.end(), pendingB.begin(), pendingB.end());
    }
    const std::int64_t delay = gop.find('B') == std::string::npos ? 0 : 2 * tick;
    for (std::size_t d = 0; d < order.size(); ++d) {
        const int shown = order[d];
        const bool key = shown % static_cast<int>(gop.size()) == 0;
        v.packets.push_back(
            {std::int64_t{shown} * tick, static_cast<std::int64_t>(d) * tick - delay, tick, key});
    }
    return v;
}

AudioFacts aac(double seconds, int rate = 48000, const char* config = "\x11\x90") {
    AudioFacts a;
    a.codecId = AV_CODEC_ID_AAC;
    a.extradata = QByteArray(config, 2);
    a.sampleRate = rate;
    a.channels = 2;
    a.timeBase = {1, rate};
    const auto count = static_cast<std::int64_t>(std::ceil(seconds * rate / 1024)) + 1;
    for (std::int64_t j = 0; j < count; ++j)
        a.packets.push_back({j * 1024 - 1024, j * 1024 - 1024, 1024, true});
    return a;
}

CopyClip clip(VideoFacts v, double lower, double upper, std::optional<AudioFacts> a = {}) {
    return {std::move(v), std::move(a), lower, upper};
}

TEST(CopyPlan, TrimsAndJoinsAreCopiedOnlyWhenExact) {
    const VideoFacts ip = video(60, "IPPPPPPPPPPPPPP");  // 2 s, key frames every 0.5 s
    const VideoFacts ibp = video(60, "IBBPBBPBBPBBPBB"); // same with B frames
    struct Case {
        const char* what;
        std::vector<CopyClip> clips;
        CopyRefusal expected;
        int clip;
    };
    using R = CopyRefusal;
    const VideoFacts otherSets = video(60, "IPPPPPPPPPPPPPP", "other");
    const AudioFacts other = aac(2, 44100, "\x12\x10");
    const Case cases[] = {
        {"untrimmed clips join", {clip(ip, 0, 2), clip(ip, 0, 2)}, R::none, -1},
        {"B frames join", {clip(ibp, 0, 2), clip(ibp, 0, 2)}, R::none, -1},
        {"start on a key frame", {clip(ip, 0, 2), clip(ip, 0.5, 2)}, R::none, -1},
        {"start within a tick of a key frame", {clip(ip, 0.50001, 2)}, R::none, -1},
        {"start on a P frame", {clip(ip, 0, 2), clip(ip, 0.6, 2)}, R::trimStartNotKey, 1},
        {"start between frames", {clip(ip, 0.51, 2)}, R::trimStartBetweenFrames, 0},
        {"end on any frame without B frames", {clip(ip, 0, 1.2)}, R::none, -1},
        {"end between frames", {clip(ip, 0, 1.21)}, R::trimEndBetweenFrames, 0},
        // 1.1 s is P 33: cutting there drops it, yet B 31 and B 32, which are kept, follow
        // it in decoding order because they refer to it.
        {"end that drops a referenced P", {clip(ibp, 0, 1.1)}, R::trimEndCutsReferences, 0},
        {"end right after a P", {clip(ibp, 0, 1.0)}, R::none, -1},
        {"parameter sets", {clip(ip, 0, 2), clip(otherSets, 0, 2)}, R::parameterSetsDiffer, 1},
        {"sound formats",
         {clip(ip, 0, 2, aac(2)), clip(ip, 0, 2, other)},
         R::audioFormatsDiffer,
         1},
        {"no clips", {}, R::noClips, -1},
    };
    for (const Case& c : cases) {
        const PlanResult r = planCopy(c.clips);
        EXPECT_EQ(r.refusal, c.expected) << c.what << ": refused as " << int(r.refusal);
        EXPECT_EQ(r.clip, c.clip) << c.what;
        EXPECT_EQ(r.plan.has_value(), c.expected == CopyRefusal::none) << c.what;
    }
}

TEST(CopyPlan, TheTracksStatedLengthEndsIt) {
    VideoFacts held = video(30, "IPPPPPPPPPPPPPP");
    held.declaredEnd = 31 * tick + 100; // the last frame shows a little longer
    VideoFacts cut = video(30, "IPPPPPPPPPPPPPP");
    cut.declaredEnd = 27 * tick; // the track's edit ends three frames early
    VideoFacts ragged = cut;
    ragged.declaredEnd = 27 * tick + 200;
    const PlanResult a = planCopy({clip(held, 0, 5), clip(cut, 0, 5)});
    ASSERT_TRUE(a.plan) << int(a.refusal);
    EXPECT_EQ(a.plan->video[1].outputStart, 31 * tick + 100);
    EXPECT_EQ(a.plan->video[1].endPacket - a.plan->video[1].firstPacket, 27);
    EXPECT_EQ(a.plan->duration, 31 * tick + 100 + 27 * tick);
    EXPECT_EQ(planCopy({clip(ragged, 0, 5)}).refusal, CopyRefusal::trimEndBetweenFrames);
}

TEST(CopyPlan, VideoLandsEndToEndWithDecodingOrderKept) {
    const VideoFacts ibp = video(60, "IBBPBBPBBPBBPBB");
    const PlanResult r = planCopy({clip(ibp, 0.5, 2), clip(ibp, 0, 1.0), clip(ibp, 1.0, 2)});
    ASSERT_TRUE(r.plan) << int(r.refusal);
    const CopyPlan& p = *r.plan;
    EXPECT_EQ(p.videoTimeBase.den, timescale);
    ASSERT_EQ(p.video.size(), 3u);
    EXPECT_EQ(p.video[0].outputStart, 0);
    EXPECT_EQ(p.video[1].outputStart, 45 * tick); // 1.5 s
    EXPECT_EQ(p.video[2].outputStart, 75 * tick); // + 1.0 s
    EXPECT_EQ(p.duration, 105 * tick);            // 3.5 s
    // 1.5 s of 30 fps kept from the first clip: 45 packets, starting at its key frame.
    EXPECT_EQ(p.video[0].endPacket - p.video[0].firstPacket, 45);
    EXPECT_TRUE(ibp.packets[p.video[0].firstPacket].key);
    EXPECT_EQ(p.video[1].endPacket - p.video[1].firstPacket, 30);
}

TEST(CopyPlan, SoundIsPlacedFromEachClipsAbsoluteStart) {
    // Forty joins of clips whose length is no whole number of AAC frames: placing each clip
    // from its own absolute start keeps every join within half a frame, with no drift.
    const VideoFacts ip = video(37, "IPPPPPPPPPPPPPP"); // 37 frames: 1.2333 s
    std::vector<CopyClip> clips(40, clip(ip, 0, 2, aac(37.0 / 30)));
    clips[3].audio.reset(); // a clip without sound: silence
    const PlanResult r = planCopy(clips);
    ASSERT_TRUE(r.plan) << int(r.refusal);
    const AudioPlan& a = *r.plan->audio;
    EXPECT_EQ(a.priming, 1024); // the first clip's own priming, copied with its packet
    EXPECT_TRUE(a.needsSilence);
    ASSERT_EQ(a.clips.size(), 40u);
    for (std::size_t i = 0; i < clips.size(); ++i) {
        const AudioCut& cut = a.clips[i];
        if (i > 0) {
            EXPECT_EQ(cut.slotBegin, a.clips[i - 1].slotEnd) << "gap or overlap at join " << i;
        }
        if (!clips[i].audio)
            continue;
        // Where the clip's first real sample (source pts 0, packet 1) lands.
        const std::int64_t landed = a.slotPts(1 + cut.packetOffset);
        const double ideal = static_cast<double>(r.plan->video[i].outputStart) / timescale * 48000;
        EXPECT_LE(std::abs(static_cast<double>(landed) - ideal), 512.5) << "clip " << i;
        // The packet before it primes the decoder, in the clip's first slot.
        if (i > 0 && clips[i - 1].audio) {
            EXPECT_TRUE(cut.carriesPacket(cut.slotBegin) && cut.slotBegin - cut.packetOffset == 0)
                << "clip " << i;
        }
    }
    const double end = static_cast<double>(a.slotPts(a.clips.back().slotEnd));
    EXPECT_NEAR(end, static_cast<double>(r.plan->duration) / timescale * 48000, 512.5);
}

TEST(CopyPlan, TrimmedFirstClipStartsItsSoundExactly) {
    const VideoFacts ip = video(60, "IPPPPPPPPPPPPPP");
    const PlanResult r = planCopy({clip(ip, 0.5, 2, aac(2))});
    ASSERT_TRUE(r.plan);
    const AudioPlan& a = *r.plan->audio;
    // 0.5 s is sample 24000 = packet 24 (pts 23552) + 448: the edit list skips the priming
    // packet before it and those 448 samples.
    EXPECT_EQ(a.priming, 1024 + 448);
    EXPECT_EQ(a.clips[0].slotBegin - a.clips[0].packetOffset, 23); // the pre-roll packet
    EXPECT_FALSE(a.needsSilence);
}

} // namespace
} // namespace vimbo
