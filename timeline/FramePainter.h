#pragma once

// The pixel work of the compositor: draws a decoded picture of any pixel format into an output
// frame, turned, scaled and placed, on black. Output frames are yuv420p, limited range, tagged
// BT.709 (primaries, transfer, matrix): what the H.264/HEVC encoders and the preview take as
// they are. Sources are scaled in their stored orientation straight to the final size and
// format (one swscale pass, only over the part that shows), then the small result is turned
// while it is copied into place, so no RGB round trip and no full-size intermediate happen.
// HDR (PQ, HLG) sources are tone-mapped to SDR on the way, after scaling down, so the cost
// follows the output's size rather than the source's.
//
// One thread at a time (it keeps its scaler and scratch frame between calls).
//
// A painter for the preview trades resampling quality for time: every resize is a fast bilinear
// one (two taps across, a quarter of Lanczos's work on a 4K source), since the picture is shown
// once at screen size and never encoded. An export's painter keeps the chosen resampling.

#include "media/ff/Ptr.h"
#include "timeline/Placement.h"

namespace vimbo {

class FramePainter {
public:
    enum class Scaling { quality, fast };

    explicit FramePainter(Scaling scaling = Scaling::quality)
        : scaling_(scaling) {}

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
    // What the scaler was made for; a change of any of these makes a new one.
    struct ScalerShape {
        int srcWidth = 0, srcHeight = 0, format = -1, width = 0, height = 0, target = -1;
        int flags = 0;
        friend bool operator==(const ScalerShape&, const ScalerShape&) = default;
    };
    // The YCbCr conversion it does (SWS_CS_… matrices, full range or not); a change only sets
    // new coefficients.
    struct ScalerColours {
        int from = -1, to = -1;
        int fromFull = -1, toFull = -1;
        friend bool operator==(const ScalerColours&, const ScalerColours&) = default;
    };

    // The scaler for this shape, made anew when it changes.
    SwsContext* scaler(const ScalerShape& shape);
    // Scales the `crop` part of `source` into `target` (yuv420p BT.709, its size). HDR sources
    // are scaled in their own YCbCr at 16 bits, then tone-mapped into `target`.
    bool scale(const AVFrame& source, const Rect& crop, Resampling resampling, AVFrame* target);
    // A frame that writes into `planes` of `owner`'s buffer.
    static ff::FramePtr window(const AVFrame& owner, std::uint8_t* const planes[4], int width,
                               int height);
    AVFrame* scratch(ff::FramePtr& frame, AVPixelFormat format, int width, int height);
    // A new output frame from a pool of buffers of this size (fresh memory for every frame
    // would cost a page fault per 4 KB).
    ff::FramePtr outputFrame(int width, int height);

    Scaling scaling_;
    ff::SwsPtr scaler_;
    ScalerShape shape_;
    ScalerColours colours_;
    ff::FramePtr scratch_; // the scaled picture before it is turned into place
    ff::FramePtr wide_;    // an HDR picture scaled, before its tone mapping
    ff::BufferPoolPtr pool_;
    int poolWidth_ = 0;
    int poolHeight_ = 0;
};

} // namespace vimbo
