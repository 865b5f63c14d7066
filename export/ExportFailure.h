#pragma once

// The sentences an export failure shows, and which failure an FFmpeg or system error code
// stands for. Every message is one sentence a person can act on.

#include "model/VimboError.h"

#include <QString>

namespace vimbo::ExportFailure {

// "This combination of clips can’t be exported."
VimboError cannotExport();
// "The export failed."
VimboError failed();
// The destination's disk (or the user's quota) ran out of space.
VimboError diskFull();
// The destination's folder cannot be written to.
VimboError unwritable(const QString& destination);
// A clip's file disappeared (or became unreadable) while the export ran.
VimboError sourceGone(const QString& source);
// The destination is one of the movie's own clips, `clip`.
VimboError overClip(const QString& clip);
// Something other than a file (a folder, a device) is at the destination.
VimboError notAFile(const QString& destination);

// The failure of writing the movie with FFmpeg's error code `averror`.
VimboError writing(int averror, const QString& destination);
// The failure of reading a clip's file with FFmpeg's error code `averror`.
VimboError reading(int averror, const QString& source);

} // namespace vimbo::ExportFailure
