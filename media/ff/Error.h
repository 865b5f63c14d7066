#pragma once

// FFmpeg's error codes as the errors that reach a person.

#include <QString>

namespace vimbo::ff {

// FFmpeg's own sentence for an error code ("Invalid data found when processing input").
QString errorText(int averror);

// Returns a non-negative result unchanged; throws VimboError::exportFailed with FFmpeg's text for
// a negative one.
int check(int result);

} // namespace vimbo::ff
