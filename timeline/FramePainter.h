#pragma once

// The pixel work of the compositor: draws a decoded picture of any pixel format into an output
// frame, turned, scaled and placed, on black. Output frames are yuv420p, limited range, tagged
// BT.709 (primaries, transfer, matrix): what the H.264/HEVC encoders and the preview take as
// they are. Sources are scaled in their stored orientation straight to the final size and
// format (one swscale pass, only over the part that shows), then the small result is turned
// while it is copied into place, so no RGB round trip and no full-size intermediate happen.
//
// One thread at a time (it keeps its scaler and scratch frame between calls).

#include "media/ff/Ptr.h"
#include "timeline/Placement.h"

namespace vimbo {

class FramePainter {
public:
    // A black output frame. Throws VimboError::exportFailed("Out of memory.").
    static ff::FramePtr blackFrame(int width, int height);

    // `source` drawn at `placement` in a black frame of width × height. When the source already
    // is such a frame, the result shares its pixels (a new reference, never written again).
    ff::FramePtr paint(const AVFrame& source, const PlaneMap& map, const Placement& placement,
                       int width, int height);

    // A pixel rectangle from (x0, y0) up to, not including, (x1, y1).
    struct Rect {
        int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
        int width() const { return x1 - x0; }
        int height() const { return y1 - y0; }
        bool isEmpty() const { return x1 <= x0 || y1 <= y0; }
        friend bool operator==(const Rect&, const Rect&) = default;
    };

private:
    // What configured the scaler last. A change of size, format or flags makes a new scaler; a
    // change of colorspace or range only sets its coefficients again.
    struct ScalerKey {
        int srcWidth = 0, srcHeight = 0, format = -1, width = 0, height = 0, flags = 0;
        int colorspace = -1, fullRange = -1;
        const SwsContext* context = nullptr;
        friend bool operator==(const ScalerKey&, const ScalerKey&) = default;
    };

    // The scaler for these sizes, formats and flags, made anew when they change.
    SwsContext* scaler(const ScalerKey& key);
    // Scales the `crop` part of `source` into `target` (yuv420p BT.709, its size).
    bool scale(const AVFrame& source, const Rect& crop, Resampling resampling, AVFrame* target);
    // A frame that writes into `planes` of `owner`'s buffer.
    static ff::FramePtr window(const AVFrame& owner, std::uint8_t* const planes[4], int width,
                               int height);
    AVFrame* scratch(int width, int height);
    // A new output frame from a pool of buffers of this size (fresh memory for every frame
    // would cost a page fault per 4 KB).
    ff::FramePtr outputFrame(int width, int height);

    ff::SwsPtr scaler_;
    ScalerKey key_;
    ff::FramePtr scratch_;
    ff::BufferPoolPtr pool_;
    int poolWidth_ = 0;
    int poolHeight_ = 0;
};

} // namespace vimbo
