#pragma once

// The preview's decoding thread: runs a VideoRenderer over the current timeline from a target
// frame onwards into a short queue, a few frames ahead of the player's clock, and skips frames
// whose time has already passed. The player drains the queue on the interface thread.
//
// Threads: one worker thread, started by the constructor and joined by the destructor. Every
// public function is called on the interface thread (the player's); `ready` is called on the
// worker thread each time a frame joins the queue, so it must only post a wake-up. The renderer
// is made, used and destroyed on the worker only: closing decoders never costs the interface
// thread anything.
//
// Epochs: every seek carries an epoch from the player; frames are tagged with the epoch they were
// made for, so a frame that was being made while a newer seek arrived is recognised as stale and
// never shown. A seek or an item change cancels the frame in progress (VideoRenderer::cancelAll);
// destroying the feed raises its cancel flag, so even a blocking read gives up. A new item's
// renderer takes over the decoders of the previous one: after a rebuild the frame at the same
// place of the same file comes without opening and seeking the file again.
//
// A frame that cannot be made (its file was deleted, a read error) is replaced by the last good
// frame of the same clip, or black, and the failure goes to the log once.

#include "media/Worker.h"
#include "preview/Picture.h"
#include "timeline/MediaTime.h"

#include <QUrl>

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vimbo {

class CancelFlag;
class FailureLog;
class Timeline;
class VideoRenderer;

class VideoFeed {
public:
    struct Frame {
        std::int64_t index = 0;
        std::uint64_t epoch = 0;
        Picture picture;
    };

    // Frames kept ready ahead of the clock while playing: about a quarter second at 30 fps,
    // enough to ride out a photo's decode or a few frames that take longer (a 4K key frame, the
    // processor busy elsewhere) without a drop; 1.4 MB each at the preview's 1280 × 720.
    static constexpr std::size_t capacity = 8;

    // `failures` must outlive the feed.
    VideoFeed(FailureLog& failures, std::function<void()> ready);
    ~VideoFeed();
    VideoFeed(const VideoFeed&) = delete;
    VideoFeed& operator=(const VideoFeed&) = delete;

    // Renders this timeline from now on (null: nothing). Frames already queued are dropped.
    void setTimeline(std::shared_ptr<const Timeline> timeline);
    // Drops what is queued and renders frame `index` next, tagged with `epoch`; when `running`,
    // it goes on to the end, otherwise it stops after that one frame.
    void seek(std::int64_t index, std::uint64_t epoch, bool running);
    // Goes on past the target (playing) or stops after the next frame (paused).
    void setRunning(bool running);
    // The player's clock, so that frames already late are skipped instead of made.
    void setClock(const MediaTime& time);

    // The oldest queued frame, left in the queue.
    std::optional<Frame> front() const;
    void pop();

    // Frames skipped because the clock had passed them before they were made.
    std::int64_t skipped() const { return skipped_.load(); }

private:
    struct Job {
        std::int64_t index;
        std::uint64_t epoch;
        bool running;
    };

    void run(const std::stop_token& stop);
    bool hasWork() const;
    bool isLate(const VideoRenderer& renderer, const Job& job) const;
    void adopt(std::unique_lock<std::mutex>& lock, const std::stop_token& stop,
               std::unique_ptr<VideoRenderer>& renderer);
    ff::FramePtr make(VideoRenderer& renderer, std::int64_t index);
    std::uint64_t instructionOf(const VideoRenderer& renderer, std::int64_t index) const;
    ff::FramePtr standIn(VideoRenderer& renderer, std::int64_t index, const std::exception& error);

    FailureLog& failures_;
    std::function<void()> ready_;

    // Guarded by the worker's mutex, up to the atomics.
    bool replacing_ = false;
    std::shared_ptr<const Timeline> nextTimeline_;
    std::shared_ptr<CancelFlag> cancel_; // shared by every renderer of the feed
    VideoRenderer* renderer_ = nullptr;  // the worker's, published for cancelAll()
    std::int64_t frameCount_ = 0;
    std::int64_t next_ = 0;  // the frame to make next
    std::int64_t limit_ = 0; // frames before this one are wanted
    std::uint64_t epoch_ = 0;
    bool running_ = false;
    std::deque<Frame> queue_;

    std::atomic<std::int64_t> clockMicroseconds_{-1}; // -1: no clock running
    std::atomic<std::int64_t> skipped_{0};

    // Worker-only: the timeline rendered, the last good frame and the clip it belongs to.
    std::shared_ptr<const Timeline> timeline_;
    ff::FramePtr lastGood_;
    std::uint64_t lastGoodInstruction_ = 0;

    Worker worker_;
};

} // namespace vimbo
