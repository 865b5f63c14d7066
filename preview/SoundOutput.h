#pragma once

// The preview's clock and loudspeaker. With a sound device, a QAudioSink pulls the SoundFeed's
// buffer and the time it has played is the clock: pictures follow the sound. Without one
// (servers, CI) or after the device fails, the sound is taken at the same pace and dropped, and
// a monotonic clock keeps the time; playback looks the same, silently.
//
// Lives on the interface thread and is used only there (the sink pulls on it too; the feed's
// worker only wakes it through a queued call).

#ifndef Q_MOC_RUN // moc cannot parse <compare>, and needs nothing from here
#include "timeline/MediaTime.h"
#endif

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <cstdint>
#include <memory>

class QAudioSink;
class QIODevice;

namespace vimbo {

class SoundFeed;

class SoundOutput : public QObject {
    Q_OBJECT
public:
    explicit SoundOutput(SoundFeed& feed, QObject* parent = nullptr);
    ~SoundOutput() override;

    // Lets the sound device go; later the output is silent. Qt's sink runs the event loop while
    // it closes, so an owner calls this while everything that queued calls reach is alive.
    void close();

    // True while a sound device plays (and clocks) the sound.
    bool hasDevice() const { return sink_ != nullptr; }

    // Stops the sound; it will play from `at`, and the clock reads `at` until start().
    void cue(const MediaTime& at);
    // Fills the feed from the cue now, so that start() sounds at once. cue() leaves this for
    // later: seeks while paused (scrubbing) leave the cores to the picture.
    void prepare();
    // Plays from the cue, or on from where pause() held.
    void start();
    // Holds the clock (and the device) where it is.
    void pause();
    bool isRunning() const { return running_; }

    // The time being heard: the cue plus what has played since.
    MediaTime now() const;

    // Times the sound ran dry while playing (the feed fell behind the device or the clock).
    std::int64_t underruns() const { return underruns_; }

    // The feed's worker calls this (through a queued call) when sound arrives after it ran dry.
    void soundArrived();

private:
    void openDevice();
    void dropDevice(const char* why);
    void sinkStateChanged();
    void drainSilently();
    std::int64_t playedMicroseconds() const;

    SoundFeed& feed_;
    std::unique_ptr<QAudioSink> sink_;
    std::unique_ptr<QIODevice> device_; // reads the feed for the sink
    MediaTime cue_;
    bool running_ = false;
    bool cued_ = false;    // the feed is still to be moved to the cue
    bool started_ = false; // the sink (or the silent clock) has run since the cue

    // Without a device: the time run since the cue and the sound taken so far.
    QElapsedTimer elapsed_;
    std::int64_t heldMicroseconds_ = 0; // run before the last pause
    std::int64_t taken_ = 0;            // frames taken from the feed since the cue
    bool dry_ = false;
    QTimer drain_;

    std::int64_t underruns_ = 0;
};

} // namespace vimbo
