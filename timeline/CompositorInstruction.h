#pragma once

// What the compositor draws over one part of the timeline: one clip's picture, upright, turned
// and placed. Immutable after creation; each instruction carries an identity of its own (a copy
// made by `with` is a new instruction), which keys the compositor's cache of photo frames.

#include "media/Orientation.h"
#include "model/Geometry.h"
#include "model/Layout.h"
#include "timeline/MediaTime.h"

#include <QUrl>

#include <cstdint>
#include <optional>
#include <variant>

namespace vimbo {

class CompositorInstruction {
public:
    struct Video {
        ImageOrientation orientation = ImageOrientation::up; // of the source frames
        friend bool operator==(const Video&, const Video&) = default;
    };
    struct Photo {
        QUrl url;
        Size pixelSize; // the photo's upright size
        friend bool operator==(const Photo&, const Photo&) = default;
    };
    using Source = std::variant<Video, Photo>;

    // quarterTurns is kept as its two lowest bits, so −1 becomes 3.
    CompositorInstruction(TimeRange timeRange, std::optional<std::int32_t> trackID, Source source,
                          std::int64_t quarterTurns, FillMode fill);

    // The same instruction over (start, end − start): a new identity.
    CompositorInstruction with(const MediaTime& end) const;

    const TimeRange& timeRange() const { return timeRange_; }
    const std::optional<std::int32_t>& trackID() const { return trackID_; }
    const Source& source() const { return source_; }
    const Photo* photo() const { return std::get_if<Photo>(&source_); }
    std::int64_t quarterTurns() const { return quarterTurns_; }
    FillMode fill() const { return fill_; }
    std::uint64_t identity() const { return identity_; }

private:
    TimeRange timeRange_;
    std::optional<std::int32_t> trackID_;
    Source source_;
    std::int64_t quarterTurns_;
    FillMode fill_;
    std::uint64_t identity_;
};

} // namespace vimbo
