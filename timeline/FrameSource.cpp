#include "timeline/FrameSource.h"

#include <limits>

namespace vimbo {
namespace {

constexpr double forwardSeekSeconds = 0.5; // a shorter jump is decoded through
constexpr double blindSeekSeconds = 5;     // the same without an index of key frames

ff::Demuxer& onlyStream(ff::Demuxer& input, int stream) {
    input.select({stream});
    return input;
}

} // namespace

FrameSource::FrameSource(const SourceTrack& track, const CancelFlag* cancel)
    : track_(track)
    , cancel_(cancel)
    , input_(track.url, cancel)
    , decoder_(onlyStream(input_, track.stream), track.stream)
    , timeBase_(input_.stream(track.stream)->time_base)
    , origin_(std::numeric_limits<std::int64_t>::min()) {
    const AVStream* s = input_.stream(track.stream);
    const AVRational rate = s->avg_frame_rate.num > 0 ? s->avg_frame_rate : s->r_frame_rate;
    nominalDuration_ =
        rate.num > 0 ? std::max<std::int64_t>(1, av_rescale_q(1, av_inv_q(rate), timeBase_)) : 1;
    if (s->duration > 0 && s->duration != AV_NOPTS_VALUE)
        trackEnd_ = (s->start_time != AV_NOPTS_VALUE ? s->start_time : 0) + s->duration;
    decodeNext();
}

std::int64_t FrameSource::ticks(const MediaTime& t) const {
    const MediaTime floored = t.flooredTo(timeBase_.den);
    return divideFloor(floored.value, timeBase_.num);
}

std::int64_t FrameSource::timestamp(const AVFrame* f) const {
    return f->best_effort_timestamp != AV_NOPTS_VALUE ? f->best_effort_timestamp : f->pts;
}

std::int64_t FrameSource::end(const AVFrame* f) const {
    if (next_)
        return timestamp(next_.get());
    // The last frame shows until the track says it ends, as players show it, even when the
    // frame's own duration is shorter.
    return std::max(timestamp(f) + (f->pkt_duration > 0 ? f->pkt_duration : nominalDuration_),
                    trackEnd_);
}

void FrameSource::decodeNext() {
    if (cancel_)
        cancel_->throwIfCancelled();
    ff::FramePtr frame = ff::makeFrame();
    while (decoder_.receive(frame.get())) {
        // A frame that cannot be placed in time is of no use. Just after a seek, frames shown
        // before the key frame (an open GOP's leading pictures) lack their references.
        awaitingKey_ = awaitingKey_ && !frame->key_frame;
        if (timestamp(frame.get()) != AV_NOPTS_VALUE && !awaitingKey_) {
            next_ = std::move(frame);
            return;
        }
        av_frame_unref(frame.get());
    }
    if (cancel_)
        cancel_->throwIfCancelled();
    next_.reset();
}

bool FrameSource::worthSeeking(std::int64_t target) const {
    if (target < origin_ || (current_ && target < timestamp(current_.get())))
        return true; // backwards: decoding restarts from an earlier key frame
    // With no frame at all from here (an empty stream, or a seek past the end) only a jump
    // backwards, handled above, can help.
    if (!current_ && !next_)
        return false;
    const std::int64_t position = current_ ? timestamp(current_.get()) : timestamp(next_.get());
    if (target <= position)
        return false;
    const double ahead = static_cast<double>(target - position) * av_q2d(timeBase_);
    AVStream* s = input_.stream(track_.stream);
    const AVIndexEntry* key =
        avformat_index_get_entry_from_timestamp(s, target, AVSEEK_FLAG_BACKWARD);
    if (key)
        return ahead > forwardSeekSeconds && key->timestamp > position;
    return ahead > blindSeekSeconds;
}

void FrameSource::seek(std::int64_t target) {
    // Demuxers find key frames by decoding time; with reordered frames (and edit lists) the key
    // frame found may show after the target, or not at all. Then look again, further back each
    // time.
    const std::int64_t second = std::max<std::int64_t>(1, av_rescale_q(1, {1, 1}, timeBase_));
    const AVStream* s = input_.stream(track_.stream);
    const std::int64_t start = s->start_time != AV_NOPTS_VALUE ? s->start_time : 0;
    for (std::int64_t back = 0;; back = back ? back * 2 : second) {
        input_.seek(track_.stream, target - back);
        decoder_.flush();
        decoder_.skipUnneededBefore(target);
        awaitingKey_ = target - back > start;
        current_.reset();
        next_.reset();
        decodeNext();
        // No frame at all is the same story: an open-GOP key frame that the decoder waits
        // past until the next IDR frame.
        if ((next_ && timestamp(next_.get()) <= target) || target - back <= start ||
            back > 64 * second)
            break;
    }
    origin_ = target;
}

const AVFrame* FrameSource::frameAt(const MediaTime& t) {
    const std::int64_t target = ticks(t);
    if (worthSeeking(target))
        seek(target);
    while (next_ && timestamp(next_.get()) <= target) {
        current_ = std::move(next_);
        decodeNext();
    }
    if (!current_ || timestamp(current_.get()) > target || target >= end(current_.get()))
        return nullptr;
    return current_.get();
}

} // namespace vimbo
