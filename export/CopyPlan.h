#pragma once

// Whether clips can be joined by copying their packets, and exactly which packets go where.
// Pure: it works on the packet tables read from the files (SourceScan), so that the rules can
// be tested on made-up tables as well as on real files.
//
// A copy must show exactly what a re-encode would: every clip's trimmed range and nothing
// else. So a clip may be copied only when its trim start falls on a key frame, its trim end on
// a frame boundary that no kept frame depends on beyond, and the joins keep decoding order.
// Sound is laid on AAC's fixed 1024-sample frames: each clip's packets are placed from the
// clip's absolute start, so a join is never off by more than half a frame (about 11 ms) and
// the error never adds up along the movie. Each later clip keeps the packet before its first
// kept sample so the decoder's overlap is primed by the clip's own sound, not by the clip
// before; that packet takes the place of the earlier clip's last one.

extern "C" {
#include <libavutil/rational.h>
}

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

namespace vimbo {

struct PacketStamp {
    std::int64_t pts = 0;
    std::int64_t dts = 0;
    std::int64_t duration = 0;
    bool key = false;
    bool discard = false; // before the start of the track's edit: decoded, never shown
};

struct VideoFacts {
    int codecId = 0;
    int width = 0;
    int height = 0;
    QByteArray extradata; // the parameter sets
    AVRational timeBase{1, 1};
    // Where the track says it ends (its last frame may be held past its stated duration), or
    // 0 when it does not say.
    std::int64_t declaredEnd = 0;
    std::vector<PacketStamp> packets; // in decoding order
};

struct AudioFacts {
    int codecId = 0;
    QByteArray extradata; // AudioSpecificConfig for AAC
    int sampleRate = 0;
    int channels = 0;
    AVRational timeBase{1, 1};
    std::vector<PacketStamp> packets; // in decoding order
};

// One clip as the copy sees it.
struct CopyClip {
    VideoFacts video;
    std::optional<AudioFacts> audio; // absent when the clip has no sound or is muted
    double lower = 0;                // trimmed range, seconds from the video track's start
    double upper = 0;
};

enum class CopyRefusal {
    none,
    noClips,
    codecDiffers,        // different video codecs or frame sizes
    parameterSetsDiffer, // different extradata
    timeBase,            // timestamps that the output cannot hold exactly
    trimStartNotKey,     // the first kept frame is not a key frame, or needs frames before it
    trimStartBetweenFrames,
    trimEndBetweenFrames,
    trimEndCutsReferences, // a dropped frame comes before a kept one in decoding order
    joinOrder,             // decoding timestamps would go backwards at a join
    audioCodec,            // sound other than AAC-LC with 1024-sample frames
    audioFormatsDiffer,
    audioNotContiguous, // gaps or overlaps inside a clip's sound
    silenceUnavailable, // no AAC silence that decodes under the clips' configuration
};

// Which video packets of a clip are kept, and where they land.
struct VideoCut {
    std::int64_t firstPacket = 0; // decoding-order indices, end exclusive
    std::int64_t endPacket = 0;
    std::int64_t sourceStart = 0; // pts of the first shown frame, source time base
    std::int64_t sourceEnd = 0;   // where the clip's last frame ends, source time base
    std::int64_t outputStart = 0; // where that frame lands, output time base
    AVRational sourceTimeBase{1, 1};
};

// The output's audio frames [slotBegin, slotEnd) belong to one clip. Slot k carries the clip's
// packet k - packetOffset when that index is in [usedBegin, usedEnd), and silence otherwise.
struct AudioCut {
    std::int64_t slotBegin = 0;
    std::int64_t slotEnd = 0;
    std::int64_t packetOffset = 0;
    std::int64_t usedBegin = 0;
    std::int64_t usedEnd = 0;

    bool carriesPacket(std::int64_t slot) const {
        const std::int64_t p = slot - packetOffset;
        return p >= usedBegin && p < usedEnd;
    }
};

struct AudioPlan {
    static constexpr int frameSamples = 1024;
    int sampleRate = 0;
    // Samples before the movie's start in the first frame: the output's encoder delay.
    std::int64_t priming = 0;
    int formatClip = 0;          // the clip whose codec parameters the output's track takes
    std::vector<AudioCut> clips; // one per clip, in order, covering the slots without gaps
    bool needsSilence = false;

    // Output pts of a slot, in samples.
    std::int64_t slotPts(std::int64_t slot) const { return slot * frameSamples - priming; }
};

struct CopyPlan {
    AVRational videoTimeBase{1, 1};
    std::vector<VideoCut> video; // one per clip
    std::int64_t duration = 0;   // output time base
    std::optional<AudioPlan> audio;
};

struct PlanResult {
    std::optional<CopyPlan> plan;
    CopyRefusal refusal = CopyRefusal::none;
    int clip = -1; // the clip that was refused, where one was
};

// The plan for joining the clips in order, or why they cannot be joined exactly.
PlanResult planCopy(const std::vector<CopyClip>& clips);

// The presentation time of a clip's first shown frame and where its last one stops showing,
// in the video's time base; a refusal when a trim falls between frames.
CopyRefusal shownFrames(const CopyClip& clip, std::int64_t& first, std::int64_t& end);

// The sound of a plan whose video cuts are made: absent when no clip has sound, or when its
// sound refuses (then `refusal` and `refused`, the clip, say why).
std::optional<AudioPlan> planAudio(const std::vector<CopyClip>& clips, const CopyPlan& plan,
                                   CopyRefusal& refusal, int& refused);

} // namespace vimbo
