#pragma once

// The facts of a movie's video stream as the platform reports them for a video track: its
// transform, upright size, length, nominal frame rate and dynamic range. Pure reads of what
// the demuxer found in the header; nothing here does I/O.

#include "model/Geometry.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace vimbo {

// The track's display matrix as an affine transform; the identity when there is none or it is
// singular (it would squash the picture to a line).
AffineTransform displayTransform(const AVStream& stream);

// The bounding box of the rectangle of `natural` size at the origin once transformed, each side
// rounded to whole pixels (halves away from zero).
Size transformedSize(Size natural, const AffineTransform& transform);

// Seconds the track lasts, edit lists applied. When the header declares no length, or the
// 0xFFFFFFFF "unknown" of fragmented files, it is measured from the track's sample index.
double trackDuration(AVStream& stream);

// Frames per second on average; 0 when nothing tells.
float nominalFrameRate(const AVStream& stream, double duration);

// PQ or HLG transfer, or Dolby Vision without a backward-compatible base layer. `decoded` is
// the transfer a decoder found in the codec's own headers, for containers that do not say.
bool isHdr(const AVStream& stream, AVColorTransferCharacteristic decoded);

} // namespace vimbo
