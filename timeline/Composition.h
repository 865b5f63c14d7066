#pragma once

// The composition model: a video track and an audio track, each an ordered list of edits that
// place a range of a source track at a time of the output, possibly stretched. Plain values: a
// built composition is never changed, so any number of threads may read one at once.

#include "timeline/MediaTime.h"

#include <QUrl>

#include <optional>
#include <vector>

namespace vimbo {

enum class MediaType { video, audio };

// One track of one file, or none: an edit without a file holds a photo's time on the video
// track (the compositor draws the photo there) or silence on the audio track, and nothing
// decodes it.
struct SourceTrack {
    QUrl url;
    int stream = -1; // the stream's index in the file

    bool isBlank() const { return url.isEmpty(); }

    friend bool operator==(const SourceTrack&, const SourceTrack&) = default;
};

// A source range shown over a target range of the output; the two durations differ when the
// edit is stretched.
struct Edit {
    SourceTrack source;
    TimeRange sourceRange;
    TimeRange target;

    bool isStretched() const { return sourceRange.duration != target.duration; }
    // The source instant shown at output time t, rounded down to the given timescale (so that
    // comparing it with that timescale's timestamps is exact).
    MediaTime sourceTime(const MediaTime& t, std::int32_t timescale) const;

    friend bool operator==(const Edit&, const Edit&) = default;
};

class CompositionTrack {
public:
    CompositionTrack(MediaType type, std::int32_t trackID)
        : type_(type)
        , trackID_(trackID) {}

    MediaType type() const { return type_; }
    std::int32_t trackID() const { return trackID_; }
    const std::vector<Edit>& edits() const { return edits_; }
    // The end of the last edit.
    MediaTime duration() const;

    // Places `range` of `source` at `at`; whatever lay at or after `at` moves later by the
    // range's duration. An edit that spans `at` is split there.
    void insert(const SourceTrack& source, const TimeRange& range, const MediaTime& at);
    // Places an edit without a file over `target`, moving later edits as insert() does.
    void insertBlank(const TimeRange& target);
    // Stretches whatever lies in `range` to last `duration`; later edits move to follow it.
    void scale(const TimeRange& range, const MediaTime& duration);
    // The edit whose target contains t, or none.
    const Edit* editAt(const MediaTime& t) const;

    friend bool operator==(const CompositionTrack&, const CompositionTrack&) = default;

private:
    void splitAt(const MediaTime& t);

    MediaType type_;
    std::int32_t trackID_;
    std::vector<Edit> edits_; // in target order, never overlapping
};

class Composition {
public:
    // Makes a composition with one empty video track and one empty audio track.
    Composition();

    CompositionTrack* track(MediaType type);
    const CompositionTrack* track(MediaType type) const;
    void removeTrack(MediaType type);
    // The end of the longest track.
    MediaTime duration() const;

    friend bool operator==(const Composition&, const Composition&) = default;

private:
    std::optional<CompositionTrack> video_;
    std::optional<CompositionTrack> audio_;
};

} // namespace vimbo
