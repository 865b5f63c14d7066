#pragma once

// Whether a file is taken in as a clip, and the facts of a media file. Probing never fails: a
// file that cannot be read is `missing`, one that cannot be used is `unsupported`, and both
// carry empty facts. Every function here is safe to call from any thread at once.

#include "model/MediaInfo.h"

#include <QDateTime>
#include <QSet>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <optional>

namespace vimbo::MediaProbe {

// Lower-case extensions that are taken in and then shown as unsupported, without opening them.
const QSet<QString>& knownUnsupported();

// True when a file of this name should become a clip: an image or video type by its extension,
// or a refused extension (so that it arrives as an unsupported clip).
bool isMedia(const QUrl& url);

// The facts of the file. Slow work (file I/O, demuxing); run it off the interface thread.
MediaInfo probe(const QUrl& url);

// Absent when the file is not a usable photo / video.
std::optional<MediaInfo> probePhoto(const QUrl& url);
std::optional<MediaInfo> probeVideo(const QUrl& url);

// Text of a four-character code, trimmed ("aac " gives "aac"); the decimal number when the
// bytes are not text.
QString fourCC(std::uint32_t code);

// An EXIF date-time "yyyy:MM:dd HH:mm:ss", at the given offset ("+02:00") when that is well
// formed, otherwise in the local time zone.
std::optional<QDateTime> exifDate(const QString& text, const std::optional<QString>& offset);

// The file's creation date, else its modification date.
std::optional<QDateTime> fileDate(const QUrl& url);

} // namespace vimbo::MediaProbe
