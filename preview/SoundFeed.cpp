#include "preview/SoundFeed.h"

#include "preview/FailureLog.h"
#include "timeline/AudioRenderer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vimbo {
namespace {

std::int16_t sample16(float v) {
    return static_cast<std::int16_t>(std::lrint(std::clamp(v, -1.0f, 1.0f) * 32767.0f));
}

} // namespace

SoundFeed::SoundFeed(FailureLog& failures, std::function<void()> ready)
    : failures_(failures)
    , ready_(std::move(ready))
    , ring_(capacity * channels)
    , worker_([this](std::stop_token stop) { run(stop); }) {}

SoundFeed::~SoundFeed() {
    std::lock_guard lock(worker_.mutex());
    if (cancel_)
        cancel_->cancel(); // sound being rendered gives up; then the worker stops
}

void SoundFeed::setTimeline(std::shared_ptr<const Timeline> timeline) {
    worker_.post([&] {
        if (cancel_)
            cancel_->cancel();
        cancel_ = std::make_shared<CancelFlag>();
        nextTimeline_ = std::move(timeline);
        replacing_ = true;
        seeking_ = placed_ = false;
        ++epoch_;
        head_ = size_ = 0;
    });
}

void SoundFeed::seek(const MediaTime& t) {
    worker_.post([&] {
        seeking_ = placed_ = true;
        seekTo_ = t;
        ++epoch_;
        head_ = size_ = 0;
    });
}

std::int64_t SoundFeed::read(char* data, std::int64_t maxBytes) {
    std::size_t frames = 0;
    {
        std::lock_guard lock(worker_.mutex());
        frames = std::min<std::size_t>(size_, static_cast<std::size_t>(maxBytes / bytesPerFrame));
        for (std::size_t done = 0; done < frames;) {
            const std::size_t n = std::min(frames - done, capacity - head_);
            std::memcpy(data + done * bytesPerFrame, &ring_[head_ * channels], n * bytesPerFrame);
            head_ = (head_ + n) % capacity;
            done += n;
        }
        size_ -= frames;
    }
    if (frames > 0)
        worker_.wake();
    return static_cast<std::int64_t>(frames) * bytesPerFrame;
}

std::size_t SoundFeed::buffered() const {
    std::lock_guard lock(worker_.mutex());
    return size_;
}

bool SoundFeed::hasWork() const {
    return hasRenderer_ && placed_ && (seeking_ || capacity - size_ >= blockFrames);
}

void SoundFeed::push(const std::int16_t* block, int frames) {
    std::size_t tail = (head_ + size_) % capacity;
    for (std::size_t done = 0; done < static_cast<std::size_t>(frames);) {
        const std::size_t n = std::min(static_cast<std::size_t>(frames) - done, capacity - tail);
        std::memcpy(&ring_[tail * channels], block + done * channels, n * bytesPerFrame);
        tail = (tail + n) % capacity;
        done += n;
    }
    size_ += static_cast<std::size_t>(frames);
}

void SoundFeed::adopt(std::unique_lock<std::mutex>& lock, const std::stop_token& stop,
                      std::unique_ptr<AudioRenderer>& renderer) {
    replacing_ = false;
    timeline_ = std::move(nextTimeline_);
    std::unique_ptr<AudioRenderer> fresh;
    Worker::unlocked(lock, [&, cancel = std::shared_ptr<const CancelFlag>(cancel_)] {
        renderer.reset();
        silentLeft_ = 0;
        if (timeline_)
            fresh = std::make_unique<AudioRenderer>(timeline_, cancel);
    });
    if (!replacing_ && !stop.stop_requested()) {
        renderer = std::move(fresh);
        hasRenderer_ = renderer != nullptr;
    }
}

// Silence from the failure to the end of the edit that failed, then reading goes on after it.
void SoundFeed::skipFailedEdit(AudioRenderer& renderer, const std::exception& error) {
    failures_.report(error);
    const std::int64_t at = renderer.position();
    const CompositionTrack* track = timeline_->composition().track(MediaType::audio);
    const Edit* edit = track ? track->editAt({at, sampleRate}) : nullptr;
    const std::int64_t end = edit ? AudioRenderer::sampleAt(edit->target.end()) : at + blockFrames;
    renderer.seek({std::max(end, at + 1), sampleRate});
    silentLeft_ = renderer.position() - at;
}

int SoundFeed::produce(AudioRenderer* renderer, std::int16_t* block) {
    if (silentLeft_ > 0 || !renderer) {
        const int n = static_cast<int>(
            std::min<std::int64_t>(blockFrames, silentLeft_ > 0 ? silentLeft_ : blockFrames));
        silentLeft_ -= n;
        std::fill(block, block + n * channels, std::int16_t(0));
        return n;
    }
    try {
        const ff::FramePtr frame = renderer->read(blockFrames);
        if (!frame) { // past the end: silence while the player runs out its last frame
            std::fill(block, block + blockFrames * channels, std::int16_t(0));
            return blockFrames;
        }
        const auto* left = reinterpret_cast<const float*>(frame->extended_data[0]);
        const auto* right = reinterpret_cast<const float*>(frame->extended_data[1]);
        for (int i = 0; i < frame->nb_samples; ++i) {
            block[2 * i] = sample16(left[i]);
            block[2 * i + 1] = sample16(right[i]);
        }
        return frame->nb_samples;
    } catch (const Cancelled&) {
        return 0; // the item is being replaced
    } catch (const std::exception& error) {
        skipFailedEdit(*renderer, error);
        return 0;
    }
}

void SoundFeed::run(const std::stop_token& stop) {
    std::unique_ptr<AudioRenderer> renderer; // destroyed last, unlocked
    std::vector<std::int16_t> block(blockFrames * channels);
    std::unique_lock lock(worker_.mutex());
    while (worker_.wait(lock, stop, [this] { return replacing_ || hasWork(); })) {
        if (replacing_) {
            adopt(lock, stop, renderer);
            continue;
        }
        const std::uint64_t epoch = epoch_;
        const bool seeking = seeking_;
        const MediaTime to = seekTo_;
        seeking_ = false;
        lock.unlock();
        int frames = 0;
        if (seeking) {
            renderer->seek(to);
            silentLeft_ = 0;
        } else {
            frames = produce(renderer.get(), block.data());
        }
        lock.lock();
        if (epoch != epoch_ || frames == 0)
            continue; // a seek or a new item arrived meanwhile: this sound is stale
        const bool wasDry = size_ == 0;
        push(block.data(), frames);
        if (wasDry)
            Worker::unlocked(lock, ready_);
    }
}

} // namespace vimbo
