#include "model/Segment.h"

#include <algorithm>

namespace vimbo {

Segment::Range Segment::trimmedRange() const {
    const double d = info.duration;
    const double lower =
        std::min(std::max(edits.trimStart, 0.0), std::max(d - ClipEdits::shortestClip, 0.0));
    const double end = edits.trimEnd < 0 ? d : d - edits.trimEnd;
    const double upper = std::min(d, std::max(end, lower + ClipEdits::shortestClip));
    return {lower, std::max(upper, lower)};
}

double Segment::duration() const {
    switch (info.kind) {
    case MediaKind::video: {
        const Range r = trimmedRange();
        return (r.upper - r.lower) / edits.speed;
    }
    case MediaKind::photo:
        return std::max(edits.photoDuration, ClipEdits::shortestClip);
    case MediaKind::unsupported:
    case MediaKind::missing:
        break;
    }
    return 0;
}

Size Segment::displaySize() const {
    if (edits.quarterTurns & 1)
        return {info.size.height, info.size.width};
    return info.size;
}

} // namespace vimbo
