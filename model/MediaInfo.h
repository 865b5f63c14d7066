#pragma once

#include "model/Geometry.h"

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <optional>

namespace vimbo {

// What a clip's file is. The order matters: the first two kinds are the usable ones.
enum class MediaKind { video, photo, unsupported, missing };

// The facts probed from one media file. Made from a kind alone, every other field empty; the
// probe fills in what it learns.
struct MediaInfo {
    // FFmpeg's identity of a stream's coding, which the copy rules compare: the codec (an
    // AVCodecID), the container's sample-entry code as FFmpeg keeps it (avc1 and avc3 keep their
    // parameter sets in different places), the profile as FFmpeg numbers it, and for sound the
    // rate and channel count. All 0 in empty facts.
    struct Coding {
        int codec = 0;
        std::uint32_t tag = 0;
        int profile = 0;
        int sampleRate = 0;
        int channels = 0;
        friend bool operator==(const Coding&, const Coding&) = default;
    };

    MediaKind kind = MediaKind::missing;
    Size size;           // upright display size in pixels
    double duration = 0; // seconds; of the first video track for a video
    std::optional<QDateTime> dateTaken;
    float frameRate = 0; // nominal frames per second
    bool hasAudio = false;
    bool isHDR = false;
    QString codec;       // four-character code of the video codec, e.g. "avc1"
    QString audioFormat; // e.g. "aac 48000 2"
    Coding videoCoding;  // what `codec` names
    Coding audioCoding;  // what `audioFormat` names; all 0 without sound
    Size naturalSize;    // coded size before the transform
    AffineTransform transform;

    MediaInfo() = default;
    explicit MediaInfo(MediaKind k)
        : kind(k) {}

    bool isUsable() const { return kind == MediaKind::video || kind == MediaKind::photo; }

    friend bool operator==(const MediaInfo&, const MediaInfo&) = default;
};

} // namespace vimbo
