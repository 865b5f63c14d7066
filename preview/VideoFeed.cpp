#include "preview/VideoFeed.h"

#include "preview/FailureLog.h"
#include "timeline/VideoRenderer.h"

#include <algorithm>
#include <limits>

namespace vimbo {

VideoFeed::VideoFeed(FailureLog& failures, std::function<void()> ready)
    : failures_(failures)
    , ready_(std::move(ready))
    , cancel_(std::make_shared<CancelFlag>())
    , worker_([this](std::stop_token stop) { run(stop); }) {}

VideoFeed::~VideoFeed() {
    cancel_->cancel(); // a frame being made gives up; then the worker stops
}

void VideoFeed::setTimeline(std::shared_ptr<const Timeline> timeline) {
    worker_.post([&] {
        if (renderer_)
            renderer_->cancelAll(); // the frame in progress is of no use any more
        nextTimeline_ = std::move(timeline);
        replacing_ = true;
        renderer_ = nullptr;
        frameCount_ = 0;
        next_ = limit_ = 0;
        queue_.clear();
    });
}

void VideoFeed::seek(std::int64_t index, std::uint64_t epoch, bool running) {
    worker_.post([&] {
        if (renderer_)
            renderer_->cancelAll();
        clockMicroseconds_ = -1;
        epoch_ = epoch;
        running_ = running;
        next_ = index;
        limit_ = running ? std::numeric_limits<std::int64_t>::max() : index + 1;
        queue_.clear();
    });
}

void VideoFeed::setRunning(bool running) {
    worker_.post([&] {
        running_ = running;
        limit_ = running ? std::numeric_limits<std::int64_t>::max() : next_ + 1;
    });
}

void VideoFeed::setClock(const MediaTime& time) {
    clockMicroseconds_ = scaled(time.value, 1'000'000, time.timescale, Rounding::down);
}

std::optional<VideoFeed::Frame> VideoFeed::front() const {
    std::lock_guard lock(worker_.mutex());
    if (queue_.empty())
        return std::nullopt;
    return queue_.front();
}

void VideoFeed::pop() {
    worker_.post([&] {
        if (!queue_.empty())
            queue_.pop_front();
    });
}

bool VideoFeed::hasWork() const {
    return renderer_ && next_ < std::min(limit_, frameCount_) && queue_.size() < capacity;
}

bool VideoFeed::isLate(const VideoRenderer& renderer, const Job& job) const {
    const std::int64_t clock = clockMicroseconds_;
    if (!job.running || clock < 0 || job.index + 1 >= renderer.frameCount())
        return false;
    const MediaTime end = renderer.timeOf(job.index + 1);
    return scaled(end.value, 1'000'000, end.timescale, Rounding::down) <= clock;
}

// Swaps in the renderer of the next timeline, with the old one's decoders; the old one is
// destroyed here, unlocked.
void VideoFeed::adopt(std::unique_lock<std::mutex>& lock, const std::stop_token& stop,
                      std::unique_ptr<VideoRenderer>& renderer) {
    replacing_ = false;
    std::shared_ptr<const Timeline> timeline = std::move(nextTimeline_);
    std::shared_ptr<const CancelFlag> cancel = cancel_;
    lock.unlock();
    lastGood_.reset();
    timeline_ = timeline;
    std::unique_ptr<VideoRenderer> fresh;
    if (timeline) {
        fresh = std::make_unique<VideoRenderer>(std::move(timeline), std::move(cancel),
                                                FramePainter::Scaling::fast);
        if (renderer)
            fresh->takeSources(*renderer);
    }
    renderer.reset();
    lock.lock();
    renderer = std::move(fresh);
    if (replacing_ || stop.stop_requested())
        return; // replaced again meanwhile: the next round adopts the newer one
    renderer_ = renderer.get();
    frameCount_ = renderer ? renderer->frameCount() : 0;
}

std::uint64_t VideoFeed::instructionOf(const VideoRenderer& renderer, std::int64_t index) const {
    const CompositorInstruction* instruction =
        timeline_->videoComposition()->instructionAt(renderer.timeOf(index));
    return instruction ? instruction->identity() : 0;
}

ff::FramePtr VideoFeed::standIn(VideoRenderer& renderer, std::int64_t index,
                                const std::exception& error) {
    failures_.report(error);
    ff::FramePtr frame;
    if (lastGood_ && lastGoodInstruction_ == instructionOf(renderer, index))
        frame.reset(av_frame_clone(lastGood_.get()));
    else
        frame = FramePainter::blackFrame(static_cast<int>(renderer.size().width),
                                         static_cast<int>(renderer.size().height));
    if (frame)
        frame->pts = index;
    return frame;
}

ff::FramePtr VideoFeed::make(VideoRenderer& renderer, std::int64_t index) {
    try {
        ff::FramePtr frame = renderer.render(index);
        if (frame) {
            lastGood_.reset(av_frame_clone(frame.get()));
            lastGoodInstruction_ = instructionOf(renderer, index);
        }
        return frame;
    } catch (const Cancelled&) {
        return nullptr; // the item is being replaced
    } catch (const std::exception& error) {
        try {
            return standIn(renderer, index, error);
        } catch (const std::exception&) {
            return nullptr; // out of memory even for black: the frame is skipped
        }
    }
}

void VideoFeed::run(const std::stop_token& stop) {
    std::unique_ptr<VideoRenderer> renderer; // destroyed last, unlocked
    std::unique_lock lock(worker_.mutex());
    while (worker_.wait(lock, stop, [this] { return replacing_ || hasWork(); })) {
        if (replacing_) {
            adopt(lock, stop, renderer);
            continue;
        }
        const Job job{next_, epoch_, running_};
        lock.unlock();
        ff::FramePtr frame;
        bool late = isLate(*renderer, job);
        if (!late)
            frame = make(*renderer, job.index);
        lock.lock();
        if (job.epoch != epoch_ || replacing_ || next_ != job.index)
            continue; // a seek or a new item arrived meanwhile: this frame is stale
        ++next_;
        if (late || !frame) {
            ++skipped_;
        } else {
            queue_.push_back({job.index, job.epoch, sharePicture(std::move(frame))});
            Worker::unlocked(lock, ready_);
        }
    }
}

} // namespace vimbo
