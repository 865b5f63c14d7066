#include "timeline/Composition.h"

#include <algorithm>

namespace vimbo {
namespace {

// Where a target time t lands after the range (start, from) was stretched to `to`.
MediaTime stretched(const MediaTime& t, const MediaTime& start, const MediaTime& from,
                    const MediaTime& to, std::int32_t timescale) {
    return start + (t - start).scaledFloor(to, from, timescale);
}

} // namespace

MediaTime Edit::sourceTime(const MediaTime& t, std::int32_t timescale) const {
    const MediaTime offset = t - target.start;
    if (!isStretched())
        return (sourceRange.start + offset).flooredTo(timescale);
    // The start's own timescale is normally a multiple of the stream's, so flooring twice
    // equals flooring the exact value once.
    const std::int32_t fine = sourceRange.start.timescale;
    return (sourceRange.start + offset.scaledFloor(sourceRange.duration, target.duration, fine))
        .flooredTo(timescale);
}

MediaTime CompositionTrack::duration() const {
    return edits_.empty() ? MediaTime::zero() : edits_.back().target.end();
}

const Edit* CompositionTrack::editAt(const MediaTime& t) const {
    auto it =
        std::upper_bound(edits_.begin(), edits_.end(), t,
                         [](const MediaTime& v, const Edit& e) { return v < e.target.start; });
    if (it == edits_.begin())
        return nullptr;
    --it;
    return it->target.contains(t) ? &*it : nullptr;
}

void CompositionTrack::splitAt(const MediaTime& t) {
    const auto it = std::find_if(edits_.begin(), edits_.end(), [&](const Edit& e) {
        return e.target.start < t && t < e.target.end();
    });
    if (it == edits_.end())
        return;
    Edit head = *it;
    Edit tail = *it;
    const MediaTime sourceSplit = head.isStretched()
                                      ? head.sourceTime(t, head.sourceRange.start.timescale)
                                      : head.sourceRange.start + (t - head.target.start);
    head.target.duration = t - head.target.start;
    head.sourceRange.duration = sourceSplit - head.sourceRange.start;
    tail.target = {t, it->target.end() - t};
    tail.sourceRange = {sourceSplit, it->sourceRange.end() - sourceSplit};
    *it = head;
    edits_.insert(it + 1, tail);
}

void CompositionTrack::insert(const SourceTrack& source, const TimeRange& range,
                              const MediaTime& at) {
    if (range.isEmpty())
        return;
    splitAt(at);
    for (Edit& e : edits_)
        if (e.target.start >= at)
            e.target.start += range.duration;
    const auto pos = std::find_if(edits_.begin(), edits_.end(),
                                  [&](const Edit& e) { return e.target.start > at; });
    edits_.insert(pos, Edit{source, range, {at, range.duration}});
}

void CompositionTrack::insertBlank(const TimeRange& target) {
    insert(SourceTrack{}, {MediaTime::zero(), target.duration}, target.start);
}

void CompositionTrack::scale(const TimeRange& range, const MediaTime& duration) {
    if (range.isEmpty())
        return;
    splitAt(range.start);
    splitAt(range.end());
    const MediaTime end = range.end();
    const MediaTime shift = duration - range.duration;
    // One timescale for every boundary, so that an edit's new end and the next one's new start
    // are the same instant.
    const std::int32_t ts =
        std::max({range.start.timescale, range.duration.timescale, duration.timescale});
    for (Edit& e : edits_) {
        if (e.target.start >= end) {
            e.target.start += shift;
        } else if (e.target.start >= range.start) {
            const MediaTime newStart =
                stretched(e.target.start, range.start, range.duration, duration, ts);
            const MediaTime editEnd = e.target.end();
            const MediaTime newEnd =
                editEnd == end ? range.start + duration
                               : stretched(editEnd, range.start, range.duration, duration, ts);
            e.target = {newStart, newEnd - newStart};
        }
    }
}

Composition::Composition()
    : video_(CompositionTrack(MediaType::video, 1))
    , audio_(CompositionTrack(MediaType::audio, 2)) {}

CompositionTrack* Composition::track(MediaType type) {
    auto& t = type == MediaType::video ? video_ : audio_;
    return t ? &*t : nullptr;
}

const CompositionTrack* Composition::track(MediaType type) const {
    const auto& t = type == MediaType::video ? video_ : audio_;
    return t ? &*t : nullptr;
}

void Composition::removeTrack(MediaType type) {
    (type == MediaType::video ? video_ : audio_).reset();
}

MediaTime Composition::duration() const {
    MediaTime d = MediaTime::zero();
    for (const auto* t : {track(MediaType::video), track(MediaType::audio)})
        if (t)
            d = std::max(d, t->duration());
    return d;
}

} // namespace vimbo
