#pragma once

// Generated media and pixel/sample probes shared by the timeline tests.

#include "media/ff/Ptr.h"
#include "model/Segment.h"

#include <QString>

#include <vector>

namespace vimbo::test {

// 320 × 240, 30 fps, 2 s of H.264 (with B-frames) whose frame index is written in its pixels
// (see frameNumber), with a 48 kHz 440 Hz sine when `withSound`.
QString numberedVideo(bool withSound = true);
// 320 × 160 four-colour quadrants (red, green / blue, white), 1 s at 30 fps, no sound; with a
// display matrix turning it a quarter clockwise when `turned`.
QString quadrantVideo(bool turned = false);
// A 2 s movie of a sine at `hertz` (48 kHz mono AAC) under a black 160 × 120 picture. The sound
// starts `audioDelay` seconds after the picture and lasts `audioLength` (0: as long).
QString toneVideo(int hertz, double audioDelay = 0, double audioLength = 0);

// A video segment as the probe would describe the file.
Segment videoSegment(const QString& path, double duration, Size size, float frameRate = 30,
                     bool hasAudio = true);
Segment photoSegment(const QString& path, Size size, double seconds = 3);

// The frame index written by numberedVideo into this frame (drawn at 320 × 240), or -1.
int frameNumber(const AVFrame& frame);
// The colour class of the pixel at (x, y) of a yuv420p BT.709 frame: 'R', 'G', 'B', 'W',
// 'K' (black), or '?' for anything else.
char colourAt(const AVFrame& frame, int x, int y);

// The frequency of a sine by its rising zero crossings.
double frequency(const float* samples, std::size_t count, int rate);
// The power of one frequency in a block of samples (Goertzel).
double power(const float* samples, std::size_t count, int rate, double hertz);

} // namespace vimbo::test
