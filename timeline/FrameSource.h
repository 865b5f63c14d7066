#pragma once

// One source video stream, decoded in order, answering "which frame shows at this instant".
// Frames are decoded sequentially; the decoder seeks only on a jump (backwards, or forward past
// a key frame far enough ahead that decoding up to it would be wasted work).
// One thread at a time; owned by the video renderer.

#include "media/ff/Cancel.h"
#include "media/ff/Decoder.h"
#include "media/ff/Demuxer.h"
#include "timeline/Composition.h"

namespace vimbo {

class FrameSource {
public:
    // Opens the file and its decoder. Throws VimboError::unreadable when it cannot be opened.
    // `cancel` (may be null) must outlive this object.
    FrameSource(const SourceTrack& track, const CancelFlag* cancel);

    const SourceTrack& track() const { return track_; }
    // The timescale in which frameAt() compares exactly.
    std::int32_t timescale() const { return timeBase_.den; }

    // The frame whose presentation interval (its timestamp up to the next frame's) covers t, or
    // null where the stream has no frame (before its first, after its last). The frame stays
    // valid until the next call. Throws Cancelled when the cancel flag is raised.
    const AVFrame* frameAt(const MediaTime& t);

private:
    std::int64_t ticks(const MediaTime& t) const;
    std::int64_t timestamp(const AVFrame* f) const;
    std::int64_t end(const AVFrame* f) const;
    bool worthSeeking(std::int64_t target) const;
    void seek(std::int64_t target);
    void decodeNext();

    SourceTrack track_;
    const CancelFlag* cancel_;
    ff::Demuxer input_;
    ff::Decoder decoder_;
    AVRational timeBase_;
    std::int64_t nominalDuration_; // of one frame, in ticks, for a last frame that does not say
    std::int64_t origin_;          // the earliest instant the current run of decoding can show
    std::int64_t trackEnd_ = 0;    // where the stream says it ends, when it says
    bool awaitingKey_ = false;     // frames before the first key frame after a seek are dropped
    ff::FramePtr current_;
    ff::FramePtr next_;
};

} // namespace vimbo
