#pragma once

// The pure geometry of drawing one picture into the output frame: how stored pixels turn to
// stand upright and take the clip's quarter turns (PlaneMap), where the turned picture lands and
// how it is resampled (place), and how many pixels a photo needs (photoPixelBudget).

#include "media/Orientation.h"
#include "model/Geometry.h"
#include "model/Layout.h"

#include <cstdint>

namespace vimbo {

// Which stored pixel shows at a point of the shown picture. With (x, y) the shown point and
// (u, v) the stored one, both as fractions of their picture's width and height: (u, v) is
// (y, x) when `swap`, else (x, y); then u becomes 1 − u when `flipX`, v becomes 1 − v when
// `flipY`. Every combination of orientation and quarter turns is one of these eight.
struct PlaneMap {
    bool swap = false;
    bool flipX = false;
    bool flipY = false;

    bool isIdentity() const { return !swap && !flipX && !flipY; }
    friend bool operator==(const PlaneMap&, const PlaneMap&) = default;
};

// Upright by `orientation` (the EXIF meaning of 1…8), then `quarterTurns` clockwise.
PlaneMap planeMap(ImageOrientation orientation, std::int64_t quarterTurns);

enum class Resampling { none, linear, lanczos };

// Where a picture of `picture` size lands in a frame of `render` size, in whole output pixels.
// The origin is negative where the picture overflows the frame (fill).
struct Placement {
    double scale = 1;
    Resampling resampling = Resampling::none;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    friend bool operator==(const Placement&, const Placement&) = default;
};

// Fit: the smaller of W/w and H/h (the whole picture shows, black bars); fill: the larger (the
// frame is covered, the overflow cut). Centred with halves rounded away from zero. Scaling at
// or above 0.75 is linear, below it Lanczos (sharper when shrinking a lot), exactly 1 none.
// A picture without area is left unscaled at the origin.
Placement place(Size picture, Size render, FillMode fill);
double placementScale(Size picture, Size render, FillMode fill);

// The long side, in pixels, at which to decode a photo of upright size `pixelSize` shown with
// these turns in this frame: no more than the output shows, never more than the photo has.
std::int64_t photoPixelBudget(Size pixelSize, std::int64_t quarterTurns, Size render,
                              FillMode fill);

} // namespace vimbo
