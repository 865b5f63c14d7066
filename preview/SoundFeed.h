#pragma once

// The preview's sound thread: renders the timeline's sound (AudioRenderer: every clip's speed
// applied with its pitch kept, silence where nothing plays) into a short buffer of 16-bit stereo
// at 48 kHz, ahead of the sound output that reads it. Past the timeline's end it yields silence,
// so that an output that is the clock keeps running until the player stops.
//
// Threads: one worker thread, started by the constructor and joined by the destructor.
// setTimeline() and seek() are called on the interface thread; read() by the one thread that
// feeds the sound output (the interface thread too). `ready` runs on the worker whenever sound
// arrives in a buffer that had run dry, so it must only post a wake-up. The renderer is made,
// used and destroyed on the worker.
//
// A clip whose sound cannot be read (its file was deleted, a read error) plays as silence to its
// end, and the failure goes to the log once.

#include "media/Worker.h"
#include "timeline/MediaTime.h"

#include <QUrl>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace vimbo {

class AudioRenderer;
class CancelFlag;
class FailureLog;
class Timeline;

class SoundFeed {
public:
    static constexpr int sampleRate = 48000;
    static constexpr int channels = 2;
    static constexpr int bytesPerFrame = channels * 2; // 16-bit samples
    // Sound kept ready ahead of the output: half a second.
    static constexpr std::size_t capacity = sampleRate / 2;

    // `failures` must outlive the feed.
    SoundFeed(FailureLog& failures, std::function<void()> ready);
    ~SoundFeed();
    SoundFeed(const SoundFeed&) = delete;
    SoundFeed& operator=(const SoundFeed&) = delete;

    // Takes this timeline (null: silence); its sound is rendered from the next seek() on. Until
    // then nothing is rendered: the player places every new item at once, and sound made from
    // the start meanwhile would only take the processor from the new item's first picture.
    void setTimeline(std::shared_ptr<const Timeline> timeline);
    // Drops what is buffered; sound continues from time t.
    void seek(const MediaTime& t);

    // Takes up to maxBytes of buffered sound (whole frames); 0 when none is ready.
    std::int64_t read(char* data, std::int64_t maxBytes);
    // Frames buffered now.
    std::size_t buffered() const;

private:
    static constexpr int blockFrames = 1024;

    void run(const std::stop_token& stop);
    bool hasWork() const;
    void adopt(std::unique_lock<std::mutex>& lock, const std::stop_token& stop,
               std::unique_ptr<AudioRenderer>& renderer);
    // Renders the next block into `block`; returns its frames.
    int produce(AudioRenderer* renderer, std::int16_t* block);
    void skipFailedEdit(AudioRenderer& renderer, const std::exception& error);
    void push(const std::int16_t* block, int frames);

    FailureLog& failures_;
    std::function<void()> ready_;

    // Guarded by the worker's mutex, up to the worker-only part.
    bool replacing_ = false;
    bool seeking_ = false;
    bool placed_ = false; // a seek came since the timeline did: there is a place to render from
    MediaTime seekTo_;
    std::uint64_t epoch_ = 0; // raised by every seek and item change
    std::shared_ptr<const Timeline> nextTimeline_;
    std::shared_ptr<CancelFlag> cancel_;
    bool hasRenderer_ = false;
    std::vector<std::int16_t> ring_; // interleaved frames
    std::size_t head_ = 0;           // first buffered frame
    std::size_t size_ = 0;           // frames buffered

    // Worker-only.
    std::shared_ptr<const Timeline> timeline_;
    std::int64_t silentLeft_ = 0; // frames of silence owed for a clip that failed

    Worker worker_;
};

} // namespace vimbo
