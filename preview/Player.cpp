#include "preview/Player.h"

#include <algorithm>

namespace vimbo {

Player::Player(QObject* parent)
    : QObject(parent)
    , sound_(failures_,
             [this] {
                 QMetaObject::invokeMethod(
                     this, [this] { output_.soundArrived(); }, Qt::QueuedConnection);
             })
    , output_(sound_)
    , video_(failures_, [this] {
        QMetaObject::invokeMethod(this, &Player::frameArrived, Qt::QueuedConnection);
    }) {
    tick_.setSingleShot(true);
    tick_.setTimerType(Qt::PreciseTimer);
    connect(&tick_, &QTimer::timeout, this, &Player::present);
}

Player::~Player() {
    // Before any member goes: closing the sound device runs the event loop, which may deliver
    // a frame's arrival to this player.
    playing_ = false;
    tick_.stop();
    output_.close();
}

MediaTime Player::duration() const {
    return item_ ? item_->duration() : MediaTime::zero();
}

MediaTime Player::frameDuration() const {
    return item_ ? item_->videoComposition()->frameDuration : MediaTime{1, 30};
}

MediaTime Player::timeOf(std::int64_t index) const {
    const MediaTime d = frameDuration();
    return {index * d.value, d.timescale};
}

std::int64_t Player::frameIndexAt(const MediaTime& t) const {
    const MediaTime d = frameDuration();
    const std::int64_t n = scaled(t.value, d.timescale, d.value * t.timescale, Rounding::down);
    return std::clamp<std::int64_t>(n, 0, std::max<std::int64_t>(0, frameCount_ - 1));
}

MediaTime Player::clamped(const MediaTime& t) const {
    return std::clamp(t, MediaTime::zero(), duration());
}

MediaTime Player::currentTime() const {
    return playing_ && !seeking_ ? clamped(output_.now()) : position_;
}

Player::Statistics Player::statistics() const {
    return {shown_, dropped_ + video_.skipped(), output_.underruns()};
}

void Player::replaceCurrentItem(std::shared_ptr<const Timeline> timeline, const MediaTime& at) {
    if (timeline && timeline->isPassthrough())
        timeline.reset(); // nothing to draw its frames with
    item_ = std::move(timeline);
    ++epoch_;
    failures_.forget();
    tick_.stop();
    video_.setTimeline(item_);
    sound_.setTimeline(item_);
    position_ = MediaTime::zero();
    frameCount_ = 0;
    if (item_) {
        const MediaTime d = frameDuration();
        const MediaTime end = item_->duration();
        // Frames that start before the end: ceil(duration / frame).
        frameCount_ = scaled(end.value, d.timescale, d.value * end.timescale, Rounding::up);
    }
    emit currentItemChanged();
    if (item_) {
        seek(at); // one seek: an intermediate one would send the decoders to the start first
        return;
    }
    seeking_ = false;
    output_.cue(MediaTime::zero());
    picture_.reset();
    pictureIndex_ = -1;
    emit pictureChanged();
    if (playing_) {
        playing_ = false;
        emit rateChanged();
    }
    emit timeChanged();
}

void Player::play() {
    if (!item_ || playing_)
        return;
    if (!seeking_ && position_ >= duration())
        seek(MediaTime::zero()); // a player at its end starts over
    playing_ = true;
    video_.setRunning(true);
    emit rateChanged();
    if (!seeking_)
        startClock();
}

void Player::pause() {
    if (!playing_)
        return;
    position_ = currentTime();
    if (!seeking_)
        catchUp(position_);
    playing_ = false;
    output_.pause();
    video_.setRunning(false);
    tick_.stop();
    emit rateChanged();
    emit timeChanged();
}

void Player::seek(const MediaTime& t) {
    if (!item_)
        return;
    position_ = clamped(t);
    ++epoch_;
    seeking_ = true;
    seekIndex_ = frameIndexAt(position_);
    tick_.stop();
    output_.cue(position_);
    video_.seek(seekIndex_, epoch_, playing_);
    emit timeChanged();
}

void Player::step(int frames) {
    if (!item_ || playing_)
        return;
    const std::int64_t from = seeking_ ? seekIndex_ : std::max<std::int64_t>(0, pictureIndex_);
    const std::int64_t to =
        std::clamp<std::int64_t>(from + frames, 0, std::max<std::int64_t>(0, frameCount_ - 1));
    seek(timeOf(to));
}

void Player::frameArrived() {
    if (seeking_)
        finishSeek();
    else if (playing_)
        present();
}

// The first frame of the current epoch is the seek's target: it shows at once, then the
// clock runs from the target if playing.
bool Player::finishSeek() {
    while (const std::optional<VideoFeed::Frame> frame = video_.front()) {
        video_.pop();
        if (frame->epoch != epoch_)
            continue;
        show(*frame);
        seeking_ = false;
        emit seekFinished();
        if (playing_)
            startClock();
        else
            output_.prepare(); // the picture is done: now the sound, so that play starts at once
        return true;
    }
    return false;
}

void Player::startClock() {
    output_.start();
    present();
}

void Player::show(const VideoFeed::Frame& frame) {
    picture_ = frame.picture;
    pictureIndex_ = frame.index;
    ++shown_;
    emit pictureChanged();
}

void Player::present() {
    if (!playing_ || seeking_ || !item_)
        return;
    const MediaTime now = clamped(output_.now());
    video_.setClock(now);
    catchUp(now);
    if (now >= duration()) {
        reachEnd();
        return;
    }
    emit timeChanged();
    schedule(now);
}

// Shows the latest frame whose time has come; those before it were late and are dropped.
void Player::catchUp(const MediaTime& now) {
    std::optional<VideoFeed::Frame> due;
    while (std::optional<VideoFeed::Frame> frame = video_.front()) {
        if (frame->epoch == epoch_ && timeOf(frame->index) > now)
            break;
        video_.pop();
        if (frame->epoch != epoch_)
            continue;
        if (due)
            ++dropped_;
        due = std::move(frame);
    }
    if (due)
        show(*due);
}

// Wakes at the next frame's time; with none ready yet, within half a frame (its arrival also
// wakes the player).
void Player::schedule(const MediaTime& now) {
    MediaTime wake = now + MediaTime{frameDuration().value, frameDuration().timescale * 2};
    const std::optional<VideoFeed::Frame> next = video_.front();
    if (next && next->epoch == epoch_)
        wake = timeOf(next->index);
    wake = std::min(wake, duration());
    const double ms = (wake - now).seconds() * 1000;
    tick_.start(std::clamp(static_cast<int>(ms + 0.999), 1, 1000));
}

void Player::reachEnd() {
    position_ = duration();
    playing_ = false;
    output_.pause();
    video_.setRunning(false);
    tick_.stop();
    emit rateChanged();
    emit timeChanged();
}

} // namespace vimbo
