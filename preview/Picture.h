#pragma once

// A rendered preview frame as the player hands it to views: yuv420p, limited range, BT.709, at
// the timeline's render size. Shared and read-only, so the player, its view and the view's
// converter can hold the same frame on different threads without copying its pixels.

#include "media/ff/Ptr.h"

#include <memory>

namespace vimbo {

using Picture = std::shared_ptr<const AVFrame>;

inline Picture sharePicture(ff::FramePtr frame) {
    return Picture(frame.release(), ff::FrameDeleter());
}

} // namespace vimbo
