#pragma once

// Plain geometry values shared by every layer: sizes in pixels and 2D affine transforms.

namespace vimbo {

struct Size {
    double width = 0;
    double height = 0;

    friend bool operator==(const Size&, const Size&) = default;
};

// Maps a point (x, y) to (a·x + c·y + tx, b·x + d·y + ty): the row-vector convention of
// QuickTime track matrices, so a movie's display matrix reads off into these fields directly.
struct AffineTransform {
    double a = 1;
    double b = 0;
    double c = 0;
    double d = 1;
    double tx = 0;
    double ty = 0;

    static AffineTransform identity() { return {}; }
    bool isIdentity() const { return *this == AffineTransform{}; }

    friend bool operator==(const AffineTransform&, const AffineTransform&) = default;
};

} // namespace vimbo
