#pragma once

#include "model/Clip.h"
#include "model/MediaInfo.h"

namespace vimbo {

// A clip resolved for the timeline: its file, what was probed from it, and its edits.
struct Segment {
    QUrl url;
    MediaInfo info;
    ClipEdits edits;

    struct Range {
        double lower = 0;
        double upper = 0;
        friend bool operator==(const Range&, const Range&) = default;
    };

    // The media seconds a video plays: at least shortestClip long where the media allows,
    // never starting before 0 or after the end minus shortestClip, never ending after the end.
    Range trimmedRange() const;
    // Seconds the segment lasts on the timeline.
    double duration() const;
    // The media's size after the clip's quarter turns.
    Size displaySize() const;

    friend bool operator==(const Segment&, const Segment&) = default;
};

} // namespace vimbo
