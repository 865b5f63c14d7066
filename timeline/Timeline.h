#pragma once

// A built timeline: the clip list laid out as one composition (a video track and an audio
// track), plus, unless the media can be copied untouched, the video composition that routes
// every output frame through the compositor with one instruction per clip. Immutable once
// built: the preview and the exporter share one through std::shared_ptr<const Timeline> and
// read it from any thread.

#include "model/Layout.h"
#include "model/Segment.h"
#include "timeline/Composition.h"
#include "timeline/CompositorInstruction.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace vimbo {

// How every output frame of a composed timeline is made.
struct VideoComposition {
    enum class ColorStandard { itu709 };

    std::vector<CompositorInstruction> instructions; // in time order, reaching the end
    Size renderSize;
    MediaTime frameDuration;
    ColorStandard colorPrimaries = ColorStandard::itu709;
    ColorStandard transferFunction = ColorStandard::itu709;
    ColorStandard yCbCrMatrix = ColorStandard::itu709;

    // The instruction covering output time t, or null.
    const CompositorInstruction* instructionAt(const MediaTime& t) const;
};

// The first rule that keeps a clip list from being joined without re-encoding, and the clips
// it is about: indices into the list given, of the clip that breaks the rule and of the clip
// it differs from (the first usable one, or for sound the first one heard).
struct JoinObstacle {
    enum class Kind {
        noClips,      // no usable clip at all
        photo,        // `clip` is a photo
        speed,        // `clip` plays faster or slower
        turned,       // `clip` is turned by quarter turns
        codec,        // `clip` has another codec than `reference`,
        codedSize,    // another coded size,
        transform,    // another display matrix,
        dynamicRange, // HDR where `reference` is not, or the reverse,
        frameRate,    // or a frame rate 0.5 fps or more apart
        soundFormat,  // `clip` is heard in another sound format than `reference`
        frame,        // the output frame is not the clips' own (`clip` is the first clip)
    };
    Kind kind = Kind::noClips;
    std::size_t clip = 0;
    std::size_t reference = 0;
    friend bool operator==(const JoinObstacle&, const JoinObstacle&) = default;
};

class Timeline {
public:
    Timeline(Composition composition, std::optional<VideoComposition> videoComposition,
             Size renderSize, MediaTime duration, std::vector<double> starts);

    // Lays the usable segments end to end: each video's trimmed range (stretched by its speed)
    // with its sound or silence, each photo as an edit without a file for its time. Blocking
    // (opens every video file); run it off the interface thread. Throws
    // VimboError::nothingToMerge (no usable segment, or a photo in a passthrough build) or
    // VimboError::unreadable (a video file that cannot be opened or has no video).
    static Timeline build(const std::vector<Segment>& segments, const Layout& layout,
                          std::optional<double> maxLongEdge, bool passthrough);

    // The output frame size of a clip list under a layout: the first usable clip's ratio (or the
    // shape's), the largest long edge among the clips within the caps below, even edges.
    // No usable clip gives 1920 × 1080. maxLongEdge bounds the long edge (preview, smaller
    // exports) but never below 320.
    static Size renderSize(const std::vector<Segment>& segments, const Layout& layout,
                           std::optional<double> maxLongEdge = std::nullopt);

    // The duration of one output frame: the standard rate nearest to the fastest video's, held
    // within 24…60; 1/30 when there is no video.
    static MediaTime frameDuration(const std::vector<Segment>& segments);

    // True when the videos can be joined by copying their media: only videos, unchanged in speed
    // and turn, of one codec, coded size, transform, dynamic range and frame rate, one audio
    // format among the clips that are heard, and an output frame equal to theirs.
    static bool canJoinWithoutReencoding(const std::vector<Segment>& segments,
                                         const Layout& layout);
    // Why not, checking clip by clip in order; absent exactly when they can be joined.
    static std::optional<JoinObstacle> joinObstacle(const std::vector<Segment>& segments,
                                                    const Layout& layout);

    const Composition& composition() const { return composition_; }
    const std::optional<VideoComposition>& videoComposition() const { return videoComposition_; }
    Size renderSize() const { return renderSize_; }
    MediaTime duration() const { return duration_; }
    // The start, in seconds, of every usable segment in order.
    const std::vector<double>& starts() const { return starts_; }
    bool isPassthrough() const { return !videoComposition_; }

private:
    Composition composition_;
    std::optional<VideoComposition> videoComposition_;
    Size renderSize_;
    MediaTime duration_;
    std::vector<double> starts_;
};

} // namespace vimbo
