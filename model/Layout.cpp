#include "model/Layout.h"

namespace vimbo {

std::optional<Ratio> fixedRatio(FrameShape shape) {
    switch (shape) {
    case FrameShape::auto_:
        return std::nullopt;
    case FrameShape::wide:
        return Ratio{16, 9};
    case FrameShape::tall:
        return Ratio{9, 16};
    case FrameShape::square:
        return Ratio{1, 1};
    case FrameShape::portrait:
        return Ratio{4, 5};
    }
    return std::nullopt;
}

std::optional<QString> ratioName(FrameShape shape) {
    const auto r = fixedRatio(shape);
    if (!r)
        return std::nullopt;
    return QStringLiteral("%1:%2")
        .arg(static_cast<long long>(r->width))
        .arg(static_cast<long long>(r->height));
}

} // namespace vimbo
