#pragma once

// The preview's player: plays one built Timeline (its "item") in real time with its sound.
// It can play, pause, seek exactly (the picture shown is the frame at that time, no tolerance),
// step one frame, replace its item while the caller keeps position and play state, and it stops
// at the item's end.
//
// Threads: a Player lives on the interface thread and all of its observable state (item,
// current time, rate, the picture to show) changes only there, announced by its signals.
// Decoding runs on a VideoFeed thread a few frames ahead, sound on a SoundFeed thread into the
// SoundOutput; their results come back as queued calls, so no call here waits for decoding,
// disk or the sound device. The sound device's played time is the clock (a monotonic clock
// without a device); a frame is shown when its time comes and skipped when it is late.
//
// Seeking: every seek cancels the frame being made and holds the clock at the target until the
// exact frame is shown; a seek arriving meanwhile supersedes it, so scrubbing stays responsive.
// While playing, the sound starts again from the target once that frame is on screen.

#include "preview/FailureLog.h"
#include "preview/Picture.h"
#include "preview/SoundOutput.h"
#ifndef Q_MOC_RUN // moc cannot parse <compare>, and needs nothing from here
#include "preview/SoundFeed.h"
#include "preview/VideoFeed.h"
#include "timeline/Timeline.h"
#endif

#include <QObject>
#include <QTimer>

#include <cstdint>
#include <memory>

namespace vimbo {

class Player : public QObject {
    Q_OBJECT
public:
    // How playback went: frames put on screen, frames dropped (made too late to show, or not
    // made at all because their time had passed), and times the sound ran dry.
    struct Statistics {
        std::int64_t shown = 0;
        std::int64_t dropped = 0;
        std::int64_t underruns = 0;
    };

    explicit Player(QObject* parent = nullptr);
    ~Player() override;

    // The item, null for none; a timeline with a video composition (never a passthrough one).
    // The play state is kept, as with any player whose item is swapped; the position goes to
    // `at` in the new item (clamped; its start by default), exactly as a seek there. Without an
    // item the player is paused and shows nothing.
    void replaceCurrentItem(std::shared_ptr<const Timeline> timeline,
                            const MediaTime& at = MediaTime::zero());
    const std::shared_ptr<const Timeline>& currentItem() const { return item_; }
    bool hasItem() const { return item_ != nullptr; }

    // The item's length (zero without an item) and the length of one of its frames.
    MediaTime duration() const;
    MediaTime frameDuration() const;
    // The time playing now: the clock while playing, else where the player stands.
    MediaTime currentTime() const;
    // 1 while playing, 0 while paused.
    double rate() const { return playing_ ? 1 : 0; }
    bool isPlaying() const { return playing_; }

    // Plays from the current time; at the end, from the start again. Nothing without an item.
    void play();
    void pause();
    // Shows exactly the frame at t (clamped to the item), keeping the play state.
    void seek(const MediaTime& t);
    // Paused: moves by whole frames from the frame shown (−1 back, 1 forward).
    void step(int frames);
    // True from a seek until its frame is shown.
    bool isSeeking() const { return seeking_; }

    // The picture to show: yuv420p at the item's render size; null when there is none.
    const Picture& picture() const { return picture_; }
    // The index of the frame shown, or −1.
    std::int64_t pictureIndex() const { return pictureIndex_; }

    // True while a sound device plays the sound; false: silent, on a monotonic clock.
    bool hasSoundDevice() const { return output_.hasDevice(); }
    Statistics statistics() const;

signals:
    void currentItemChanged();
    void rateChanged();
    // The current time moved: a seek, a new frame while playing, the end.
    void timeChanged();
    void pictureChanged();
    // The frame of the latest seek is on screen.
    void seekFinished();

private:
    std::int64_t frameIndexAt(const MediaTime& t) const;
    MediaTime clamped(const MediaTime& t) const;
    MediaTime timeOf(std::int64_t index) const;
    void frameArrived();
    bool finishSeek();
    void present();
    void catchUp(const MediaTime& now);
    void show(const VideoFeed::Frame& frame);
    void reachEnd();
    void startClock();
    void schedule(const MediaTime& now);

    std::shared_ptr<const Timeline> item_;
    MediaTime position_; // where the player stands when not running
    std::int64_t frameCount_ = 0;
    bool playing_ = false;
    bool seeking_ = false;
    std::int64_t seekIndex_ = 0;
    std::uint64_t epoch_ = 0;
    Picture picture_;
    std::int64_t pictureIndex_ = -1;
    std::int64_t shown_ = 0;
    std::int64_t dropped_ = 0;
    QTimer tick_;

    // Declared last: their threads stop first, before anything they call back into goes.
    FailureLog failures_;
    SoundFeed sound_;
    SoundOutput output_;
    VideoFeed video_;
};

} // namespace vimbo
