#pragma once

#include <QImage>

#include <cstdint>

namespace vimbo {

// The image turned by quarter turns clockwise; only the two lowest bits count, so −1 is three
// turns. No turn gives the image itself (sharing its pixels).
QImage turned(const QImage& image, std::int64_t quarterTurns);

} // namespace vimbo
