#include "timeline/Placement.h"

#include <array>
#include <cmath>

namespace vimbo {
namespace {

// A PlaneMap as a signed permutation matrix acting on (x, y): rows give u and v.
using Matrix = std::array<std::array<int, 2>, 2>;

Matrix matrix(const PlaneMap& m) {
    Matrix r = m.swap ? Matrix{{{0, 1}, {1, 0}}} : Matrix{{{1, 0}, {0, 1}}};
    if (m.flipX)
        r[0] = {-r[0][0], -r[0][1]};
    if (m.flipY)
        r[1] = {-r[1][0], -r[1][1]};
    return r;
}

PlaneMap fromMatrix(const Matrix& r) {
    const bool swap = r[0][0] == 0;
    return {swap, (swap ? r[0][1] : r[0][0]) < 0, (swap ? r[1][0] : r[1][1]) < 0};
}

// a ∘ b: first b (from the shown picture inwards), then a.
PlaneMap compose(const PlaneMap& a, const PlaneMap& b) {
    const Matrix x = matrix(a), y = matrix(b);
    Matrix r{};
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 2; ++j)
            r[i][j] = x[i][0] * y[0][j] + x[i][1] * y[1][j];
    return fromMatrix(r);
}

PlaneMap orientationMap(ImageOrientation o) {
    switch (o) {
    case ImageOrientation::up:
        return {};
    case ImageOrientation::upMirrored:
        return {false, true, false};
    case ImageOrientation::down:
        return {false, true, true};
    case ImageOrientation::downMirrored:
        return {false, false, true};
    case ImageOrientation::leftMirrored:
        return {true, false, false};
    case ImageOrientation::right:
        return {true, false, true};
    case ImageOrientation::rightMirrored:
        return {true, true, true};
    case ImageOrientation::left:
        return {true, true, false};
    }
    return {};
}

} // namespace

PlaneMap planeMap(ImageOrientation orientation, std::int64_t quarterTurns) {
    PlaneMap m = orientationMap(orientation);
    const PlaneMap clockwise = orientationMap(ImageOrientation::right);
    for (std::int64_t i = 0; i < (quarterTurns & 3); ++i)
        m = compose(m, clockwise);
    return m;
}

double placementScale(Size picture, Size render, FillMode fill) {
    const double sx = render.width / picture.width;
    const double sy = render.height / picture.height;
    if (fill == FillMode::fill)
        return sx <= sy ? sy : sx;
    return sy < sx ? sy : sx;
}

Placement place(Size picture, Size render, FillMode fill) {
    if (!(picture.width > 0) || !(picture.height > 0))
        return {1,
                Resampling::none,
                0,
                0,
                static_cast<int>(picture.width),
                static_cast<int>(picture.height)};
    const double scale = placementScale(picture, render, fill);
    const Resampling resampling = scale == 1      ? Resampling::none
                                  : scale >= 0.75 ? Resampling::linear
                                                  : Resampling::lanczos;
    const double w = picture.width * scale;
    const double h = picture.height * scale;
    // std::round takes halves away from zero.
    return {scale,
            resampling,
            static_cast<int>(std::round((render.width - w) * 0.5)),
            static_cast<int>(std::round((render.height - h) * 0.5)),
            std::max(1, static_cast<int>(std::round(w))),
            std::max(1, static_cast<int>(std::round(h)))};
}

std::int64_t photoPixelBudget(Size pixelSize, std::int64_t quarterTurns, Size render,
                              FillMode fill) {
    const Size turned = (quarterTurns & 1) ? Size{pixelSize.height, pixelSize.width} : pixelSize;
    const double scale = placementScale(turned, render, fill);
    return static_cast<std::int64_t>(
        std::ceil(std::max(turned.width, turned.height) * std::fmin(scale, 1.0)));
}

} // namespace vimbo
