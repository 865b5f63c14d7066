#pragma once

#include "model/Geometry.h"

#include <QImage>

namespace vimbo {

// The eight EXIF/TIFF orientation codes: how stored pixels must be turned to stand upright.
enum class ImageOrientation {
    up = 1,
    upMirrored = 2,
    down = 3,
    downMirrored = 4,
    leftMirrored = 5,
    right = 6, // turn a quarter clockwise to display
    rightMirrored = 7,
    left = 8, // turn a quarter counter-clockwise to display
};

// The orientation a video track's display matrix stands for; translation is ignored and the
// four factors are rounded first, so slightly imprecise matrices still count.
ImageOrientation orientation(const AffineTransform& transform);

// The stored picture stood upright: turned and mirrored as the orientation says.
QImage upright(const QImage& image, ImageOrientation o);

} // namespace vimbo
