#pragma once

// Renders the video of a composed timeline, frame by frame, at its render size and frame rate:
// the frame n shows output time n × frameDuration. Each time maps through the edit of the
// composition's video track that covers it back into its source (stretch included); that
// source's frame is decoded (sequentially, a decoder kept open per source while it is in use)
// and drawn by the compositor under the instruction that covers the time. Photos (edits
// without a file) decode nothing.
//
// Threads: one thread at a time calls render() (export runs it on its video thread, the preview
// on its decoding thread); cancelAll() may be called from any other thread. The timeline is
// shared and read-only; the cancel flag, when given, is shared with the job that owns it.
// Frames returned are yuv420p, BT.709, with pts = n in units of frameDuration(); they may share
// pixels with earlier frames, so they are read-only.
//
// Export renders n = 0 … frameCount() − 1 in order and encodes each frame. The preview renders
// frameAt(clock) onwards a few frames ahead of its clock; to jump it calls cancelAll() (so a
// frame being made for the old position is dropped) and goes on from frameAt(newTime): the
// source decoders seek by themselves when the time jumps.

#include "media/ff/Cancel.h"
#include "media/ff/Ptr.h"
#include "timeline/Compositor.h"
#include "timeline/FrameSource.h"
#include "timeline/Timeline.h"

#include <memory>
#include <vector>

namespace vimbo {

class VideoRenderer {
public:
    // The timeline must have a video composition (not passthrough). The preview asks for fast
    // scaling (see FramePainter): it shows each frame once and never encodes it.
    explicit VideoRenderer(std::shared_ptr<const Timeline> timeline,
                           std::shared_ptr<const CancelFlag> cancel = nullptr,
                           FramePainter::Scaling scaling = FramePainter::Scaling::quality);
    ~VideoRenderer();

    Size size() const { return composition_.renderSize; }
    MediaTime frameDuration() const { return composition_.frameDuration; }
    // Frames until the timeline's end: the last one starts before it.
    std::int64_t frameCount() const { return frameCount_; }
    MediaTime timeOf(std::int64_t n) const;
    // The frame showing at time t.
    std::int64_t frameAt(const MediaTime& t) const;

    // Frame n (0 ≤ n < frameCount()). Null when cancelAll() was called while it was being
    // made. Throws Cancelled when the cancel flag is raised, VimboError when a source cannot be
    // opened or memory runs out.
    ff::FramePtr render(std::int64_t n);
    // Gives up the frame being rendered now; later calls render again.
    void cancelAll() { compositor_.cancelAll(); }
    // Takes over the open source decoders of a renderer of an earlier timeline (the preview
    // after a rebuild): frames of the same files then come without opening and seeking them
    // anew. Both renderers must share one cancel flag (the decoders keep the one they were
    // opened with); `previous` is left without sources.
    void takeSources(VideoRenderer& previous);

private:
    const AVFrame* sourceFrame(const MediaTime& t, const FrameSource** from);
    FrameSource& source(const SourceTrack& track);

    // The last frame made from a decoded source frame, reused while the same source frame
    // shows under the same instruction (slow motion, lower source frame rates).
    struct Reuse {
        std::uint64_t instruction = 0;
        const FrameSource* source = nullptr;
        std::int64_t timestamp = 0;
        ff::FramePtr frame;
    };

    std::shared_ptr<const Timeline> timeline_;
    std::shared_ptr<const CancelFlag> cancel_;
    const VideoComposition& composition_;
    std::int64_t frameCount_;
    Compositor compositor_;
    std::vector<std::unique_ptr<FrameSource>> sources_; // most recently used last
    Reuse reuse_;
};

} // namespace vimbo
