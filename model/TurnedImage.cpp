#include "model/TurnedImage.h"

#include <QTransform>

namespace vimbo {

QImage turned(const QImage& image, std::int64_t quarterTurns) {
    const int q = static_cast<int>(quarterTurns & 3);
    if (q == 0 || image.isNull())
        return image;
    // Qt's y axis points down, so a positive angle turns clockwise as seen; quarter angles are
    // exact pixel permutations, never resampled.
    return image.transformed(QTransform().rotate(90.0 * q));
}

} // namespace vimbo
