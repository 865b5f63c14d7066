#include "media/Orientation.h"

#include "model/TurnedImage.h"

#include <cmath>

namespace vimbo {

ImageOrientation orientation(const AffineTransform& t) {
    const double a = std::round(t.a), b = std::round(t.b), c = std::round(t.c), d = std::round(t.d);
    auto is = [&](double ea, double eb, double ec, double ed) {
        return a == ea && b == eb && c == ec && d == ed;
    };
    if (is(0, 1, -1, 0))
        return ImageOrientation::right;
    if (is(-1, 0, 0, -1))
        return ImageOrientation::down;
    if (is(0, -1, 1, 0))
        return ImageOrientation::left;
    if (is(-1, 0, 0, 1))
        return ImageOrientation::upMirrored;
    if (is(1, 0, 0, -1))
        return ImageOrientation::downMirrored;
    if (a != 0)
        return ImageOrientation::up;
    if (is(0, 1, 1, 0))
        return ImageOrientation::leftMirrored;
    if (is(0, -1, -1, 0))
        return ImageOrientation::rightMirrored;
    return ImageOrientation::up;
}

QImage upright(const QImage& image, ImageOrientation o) {
    switch (o) {
    case ImageOrientation::up:
        return image;
    case ImageOrientation::upMirrored:
        return image.mirrored(true, false);
    case ImageOrientation::down:
        return turned(image, 2);
    case ImageOrientation::downMirrored:
        return image.mirrored(false, true);
    case ImageOrientation::leftMirrored:
        return turned(image.mirrored(true, false), 3);
    case ImageOrientation::right:
        return turned(image, 1);
    case ImageOrientation::rightMirrored:
        return turned(image.mirrored(true, false), 1);
    case ImageOrientation::left:
        return turned(image, 3);
    }
    return image;
}

} // namespace vimbo
