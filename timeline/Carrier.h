#pragma once

// The carrier: a tiny blank movie (one second of 64 × 64 black H.264 video and one second of
// 48 kHz mono silence) written once per run into the temporary folder. The timeline stretches
// its video under every photo and its audio wherever the output is silent, so that both tracks
// run without gaps; renderers never decode it.
//
// Thread-safe: the first call of tracks() starts the writing on a background thread; every
// caller, on any thread, waits for that one result. A failure stays for the rest of the run.
// The file is removed when the process exits normally.

#include "timeline/Composition.h"

#include <QString>

namespace vimbo::Carrier {

// The length of the carrier's media: one second.
MediaTime duration();

// Where this run's carrier lives: the temporary folder, "Vimbo-carrier-<pid>.mov".
QString path();

struct Tracks {
    SourceTrack video;
    SourceTrack audio;
};

// The carrier's video and audio tracks. Blocks until the file is written (and starts writing it
// on first use). Throws the writing's error, VimboError::exportFailed("Couldn’t prepare
// photos.") or FFmpeg's own, the same on every call of the run.
Tracks tracks();

} // namespace vimbo::Carrier
