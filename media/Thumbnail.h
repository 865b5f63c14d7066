#pragma once

// The filmstrip's picture of a clip. make() does file I/O and decoding: call it off the
// interface thread. Safe to call from many threads at once.

#include "model/MediaInfo.h"

#include <QImage>
#include <QUrl>

#include <cstdint>
#include <optional>

namespace vimbo::Thumbnail {

// A photo decoded upright at most maxPixels on its long side; for a video, the frame at 0.1 s
// (or the first one after it), upright by the track's display matrix, fitted into
// maxPixels × maxPixels. Absent for missing and unsupported clips, whose files are not
// touched, and whenever nothing can be decoded.
std::optional<QImage> make(const QUrl& url, MediaKind kind, std::int64_t maxPixels);

// The image turned clockwise by quarter turns (only the two lowest bits count).
QImage rotate(const QImage& image, std::int64_t quarterTurns);

} // namespace vimbo::Thumbnail
