#pragma once

#include "model/MediaInfo.h"

#include <QByteArray>
#include <QUrl>
#include <QUuid>

#include <array>
#include <cstdint>
#include <optional>

namespace vimbo {

// How the user has edited one clip. A default-constructed value is a new clip's edits.
struct ClipEdits {
    double trimStart = 0; // seconds cut from the start of a video
    double trimEnd = 0;   // seconds cut from the end of a video (an amount, not an end time)
    double speed = 1;
    bool muted = false;
    std::int64_t quarterTurns = 0; // clockwise
    double photoDuration = 3;      // seconds a photo is shown

    static constexpr std::array<double, 6> speeds{0.25, 0.5, 1, 1.5, 2, 4};
    // The shortest played length of any clip, in seconds.
    static constexpr double shortestClip = 0.1;

    friend bool operator==(const ClipEdits&, const ClipEdits&) = default;
};

// One item of the project.
struct Clip {
    QUuid id;
    QUrl url;
    std::optional<QByteArray> bookmark; // finds the file again after it moved
    ClipEdits edits;
    std::int64_t added = 0; // sequence number of the addition
    bool imported = false;  // a copy in the project's own import store

    friend bool operator==(const Clip&, const Clip&) = default;
};

// The upper-case 8-4-4-4-12 form used wherever a clip id is written out.
QString uuidText(const QUuid& id);

} // namespace vimbo
