#pragma once

// Draws one output frame: a clip's source frame or photo, upright, turned by the clip's quarter
// turns, fitted or filled into the render size and centred on black (FramePainter does the
// pixels). A photo is decoded at just the resolution the frame needs, and its finished frame is
// kept so that the following frames of the same instruction and size cost nothing.
//
// Threads: render() is called by one rendering thread at a time (the renderer that owns this
// compositor); it keeps the photo frame and the scaler without locks. cancelAll() and
// generation() may be called from any thread: a render() whose ticket was taken before a
// cancel-all gives up and returns null. Frames returned are shared read-only.

#include "media/ff/Ptr.h"
#include "timeline/CompositorInstruction.h"
#include "timeline/FramePainter.h"

#include <atomic>
#include <cstdint>

namespace vimbo {

class Compositor {
public:
    explicit Compositor(FramePainter::Scaling scaling = FramePainter::Scaling::quality)
        : painter_(scaling) {}

    // The ticket to hand to render(); raised by every cancelAll().
    std::int64_t generation() const { return generation_.load(); }
    void cancelAll() { ++generation_; }

    // The frame for `instruction` at `size` (even width and height). `source` is the decoded
    // frame of a video instruction, or null where the source has none (black then); it is
    // ignored for photos. Null when cancelAll() ran since `ticket` was read. Throws
    // VimboError::exportFailed("Out of memory.") when no frame can be allocated.
    ff::FramePtr render(const CompositorInstruction& instruction, const AVFrame* source, Size size,
                        std::int64_t ticket);

    // How many photos were decoded so far (each one costs a file read and a decode).
    std::int64_t photoDecodes() const { return photoDecodes_; }

private:
    ff::FramePtr renderPhoto(const CompositorInstruction& instruction, int width, int height);
    ff::FramePtr renderVideo(const CompositorInstruction& instruction, const AVFrame* source,
                             int width, int height);

    struct Still {
        std::uint64_t instruction = 0;
        Size size;
        ff::FramePtr frame;
    };

    std::atomic<std::int64_t> generation_{0};
    Still still_;
    FramePainter painter_;
    std::int64_t photoDecodes_ = 0;
};

} // namespace vimbo
