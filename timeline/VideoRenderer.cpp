#include "timeline/VideoRenderer.h"

#include <stdexcept>

namespace vimbo {
namespace {

constexpr std::size_t openSources = 2; // the clip showing and the one before or after it

const VideoComposition& compositionOf(const Timeline& timeline) {
    if (!timeline.videoComposition())
        throw std::invalid_argument("a passthrough timeline has no frames to render");
    return *timeline.videoComposition();
}

std::int64_t framesIn(const MediaTime& duration, const MediaTime& frame) {
    // The number of frame starts before the end: ceil(duration / frame).
    const std::int64_t d = frame.value * duration.timescale;
    return d > 0 ? scaled(duration.value, frame.timescale, d, Rounding::up) : 0;
}

} // namespace

VideoRenderer::VideoRenderer(std::shared_ptr<const Timeline> timeline,
                             std::shared_ptr<const CancelFlag> cancel,
                             FramePainter::Scaling scaling)
    : timeline_(std::move(timeline))
    , cancel_(std::move(cancel))
    , composition_(compositionOf(*timeline_))
    , frameCount_(framesIn(timeline_->duration(), composition_.frameDuration))
    , compositor_(scaling) {}

VideoRenderer::~VideoRenderer() = default;

MediaTime VideoRenderer::timeOf(std::int64_t n) const {
    return {n * composition_.frameDuration.value, composition_.frameDuration.timescale};
}

std::int64_t VideoRenderer::frameAt(const MediaTime& t) const {
    const MediaTime d = composition_.frameDuration;
    return scaled(t.value, d.timescale, d.value * t.timescale, Rounding::down);
}

void VideoRenderer::takeSources(VideoRenderer& previous) {
    previous.reuse_ = {};
    sources_ = std::move(previous.sources_);
    previous.sources_.clear();
    reuse_ = {};
}

FrameSource& VideoRenderer::source(const SourceTrack& track) {
    for (auto it = sources_.begin(); it != sources_.end(); ++it) {
        if ((*it)->track() == track) {
            std::rotate(it, it + 1, sources_.end());
            return *sources_.back();
        }
    }
    if (sources_.size() >= openSources) {
        if (reuse_.source == sources_.front().get())
            reuse_ = {};
        sources_.erase(sources_.begin());
    }
    sources_.push_back(std::make_unique<FrameSource>(track, cancel_.get()));
    return *sources_.back();
}

const AVFrame* VideoRenderer::sourceFrame(const MediaTime& t, const FrameSource** from) {
    const CompositionTrack* track = timeline_->composition().track(MediaType::video);
    const Edit* edit = track ? track->editAt(t) : nullptr;
    if (!edit || edit->source.isBlank())
        return nullptr;
    FrameSource& s = source(edit->source);
    *from = &s;
    return s.frameAt(edit->sourceTime(t, s.timescale()));
}

ff::FramePtr VideoRenderer::render(std::int64_t n) {
    const std::int64_t ticket = compositor_.generation();
    if (cancel_)
        cancel_->throwIfCancelled();
    const MediaTime t = timeOf(n);
    const Size renderSize = composition_.renderSize;
    const CompositorInstruction* instruction = composition_.instructionAt(t);
    ff::FramePtr frame;
    if (!instruction) {
        frame = FramePainter::blackFrame(static_cast<int>(renderSize.width),
                                         static_cast<int>(renderSize.height));
    } else if (instruction->photo()) {
        frame = compositor_.render(*instruction, nullptr, renderSize, ticket);
    } else {
        const FrameSource* from = nullptr;
        const AVFrame* decoded = sourceFrame(t, &from);
        const std::int64_t stamp = decoded ? decoded->best_effort_timestamp : AV_NOPTS_VALUE;
        if (reuse_.frame && reuse_.instruction == instruction->identity() &&
            reuse_.source == from && reuse_.timestamp == stamp) {
            frame.reset(av_frame_clone(reuse_.frame.get()));
        } else {
            frame = compositor_.render(*instruction, decoded, renderSize, ticket);
            if (frame)
                reuse_ = {instruction->identity(), from, stamp,
                          ff::FramePtr(av_frame_clone(frame.get()))};
        }
    }
    if (!frame || compositor_.generation() != ticket)
        return nullptr;
    frame->pts = n;
    return frame;
}

} // namespace vimbo
