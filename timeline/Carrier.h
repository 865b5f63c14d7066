#pragma once

// The carrier: a tiny blank movie (one second of 64 × 64 black H.264 video and one second of
// 48 kHz mono silence) in the temporary folder. The timeline stretches its video under every
// photo and its audio wherever the output is silent, so that both tracks run without gaps;
// renderers never decode it.
//
// One file per user and version, kept and reused from run to run: a run finds it, checks that
// it is the user's own and a carrier, and writes it only when it is missing or damaged (under
// a name of its own, then renamed into place, so two runs starting together are safe). Files
// that earlier versions left, one per run, are removed when it is written.
//
// Thread-safe: the first call of tracks() starts the preparation on a background thread;
// every caller, on any thread, waits for that one result. A failure stays for the rest of the
// run.

#include "timeline/Composition.h"

#include <QString>

namespace vimbo::Carrier {

// The length of the carrier's media: one second.
MediaTime duration();

// Where the carrier lives: the temporary folder, "Vimbo-carrier-<version>-<user id>.mov" (the
// user id only where the folder may be shared between users).
QString path();

struct Tracks {
    SourceTrack video;
    SourceTrack audio;
};

// The carrier's video and audio tracks. Blocks until the file is ready (and starts preparing it
// on first use). Throws the writing's error, VimboError::exportFailed("Couldn’t prepare
// photos.") or FFmpeg's own, the same on every call of the run.
Tracks tracks();

} // namespace vimbo::Carrier
