#pragma once

namespace vimbo::ff {

// FFmpeg prints its complaints about damaged files to stderr; Vimbo reports problems in its
// own words, so the library stays quiet unless VIMBO_FFMPEG_LOG is set (for debugging).
void quietLibraryLog();

} // namespace vimbo::ff
