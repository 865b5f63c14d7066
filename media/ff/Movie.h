#pragma once

// Opening movie files for reading: the one way every reader (probe, thumbnails, timeline,
// renderers, stream copy) gets at a file's streams, so that all of them accept the same files
// and stay safe on hostile ones.
//
// Only local QuickTime/MP4-family files are read (mov, mp4, m4v, m4a, 3gp, mj2): the movie
// files the rest of the system takes in. References to other files or URLs inside a movie are
// never followed, and pipes or devices are never opened (an open would block beyond the reach
// of any interrupt).

#include "media/ff/Ptr.h"

#include <QString>

namespace vimbo::ff {

// The opened file, or null with FFmpeg's error code in *error (AVERROR(ENOENT) when there is
// no file, AVERROR(EINVAL) when it is not a regular file). Only the header is read: codec parameters come from the sample
// descriptions. `interrupt` is asked before every read; it must outlive the context.
InputPtr openMovie(const QString& path, AVIOInterruptCB interrupt, int* error = nullptr);

// Some sample descriptions (H.263 in 3GPP, for one) leave sizes or rates to the bitstream; then
// a few packets are read to fill in those of the first video and audio streams. Returns false
// when that fails.
bool completeParameters(AVFormatContext* context);

// The first stream of this type that is a track of the movie (cover art comes as a
// one-picture video stream and is not), or -1.
int firstStream(const AVFormatContext* context, AVMediaType type);

} // namespace vimbo::ff
