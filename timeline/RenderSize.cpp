#include "timeline/Timeline.h"

#include <algorithm>
#include <cmath>

namespace vimbo {
namespace {

constexpr Size emptyListSize{1920, 1080};
constexpr double photoLongEdgeCap = 1920;
constexpr double longEdgeCeiling = 3840;
constexpr double longEdgeFloor = 320;
constexpr double shortEdgeCeiling = 2160;
constexpr double minimumEdge = 2;

double even(double edge) {
    return 2 * std::round(edge / 2); // std::round takes halves away from zero
}

} // namespace

Size Timeline::renderSize(const std::vector<Segment>& segments, const Layout& layout,
                          std::optional<double> maxLongEdge) {
    std::vector<const Segment*> usable;
    for (const Segment& s : segments)
        if (s.info.isUsable())
            usable.push_back(&s);
    if (usable.empty())
        return emptyListSize;

    Ratio ratio{0, 0};
    if (const auto fixed = fixedRatio(layout.shape)) {
        ratio = *fixed;
    } else {
        const Size first = usable.front()->displaySize();
        ratio = {first.width, first.height};
    }

    // The running maximum only moves on a strictly larger value, so a NaN never replaces it.
    double m = 0;
    bool firstEdge = true;
    for (const Segment* s : usable) {
        const Size d = s->displaySize();
        double edge = std::max(d.width, d.height);
        if (s->info.kind == MediaKind::photo && edge > photoLongEdgeCap)
            edge = photoLongEdgeCap;
        if (firstEdge || edge > m)
            m = edge;
        firstEdge = false;
    }

    double longEdge = std::min(m, longEdgeCeiling);
    if (maxLongEdge)
        longEdge = std::min(longEdge, *maxLongEdge);
    longEdge = std::fmax(longEdge, longEdgeFloor); // a NaN edge gives way to the floor

    double width, height;
    if (ratio.height > ratio.width) {
        height = longEdge;
        width = ratio.width * longEdge / ratio.height;
    } else {
        width = longEdge;
        height = ratio.height * longEdge / ratio.width;
    }

    const double shortEdge = height < width ? height : width;
    if (shortEdge > shortEdgeCeiling) {
        width = width * shortEdgeCeiling / shortEdge;
        height = height * shortEdgeCeiling / shortEdge;
    }

    return {std::fmax(even(width), minimumEdge), std::fmax(even(height), minimumEdge)};
}

} // namespace vimbo
