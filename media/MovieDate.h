#pragma once

// When a movie was recorded, from the metadata of its header.

#include <QDateTime>

extern "C" {
#include <libavutil/dict.h>
}

#include <optional>

namespace vimbo {

// The QuickTime creation date that Apple devices write (local time with its offset), else the
// movie header's creation time when it is a real date: set, not an epoch's zero, and not after
// `now` by more than a day (clocks that were never set). Absent otherwise.
std::optional<QDateTime> movieCreationDate(const AVDictionary* metadata, const QDateTime& now);

} // namespace vimbo
