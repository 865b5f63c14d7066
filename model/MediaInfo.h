#pragma once

#include "model/Geometry.h"

#include <QDateTime>
#include <QString>

#include <optional>

namespace vimbo {

// What a clip's file is. The order matters: the first two kinds are the usable ones.
enum class MediaKind { video, photo, unsupported, missing };

// The facts probed from one media file. Made from a kind alone, every other field empty; the
// probe fills in what it learns.
struct MediaInfo {
    MediaKind kind = MediaKind::missing;
    Size size;           // upright display size in pixels
    double duration = 0; // seconds; of the first video track for a video
    std::optional<QDateTime> dateTaken;
    float frameRate = 0; // nominal frames per second
    bool hasAudio = false;
    bool isHDR = false;
    QString codec;       // four-character code of the video codec, e.g. "avc1"
    QString audioFormat; // e.g. "aac 48000 2"
    Size naturalSize;    // coded size before the transform
    AffineTransform transform;

    MediaInfo() = default;
    explicit MediaInfo(MediaKind k)
        : kind(k) {}

    bool isUsable() const { return kind == MediaKind::video || kind == MediaKind::photo; }

    friend bool operator==(const MediaInfo&, const MediaInfo&) = default;
};

} // namespace vimbo
