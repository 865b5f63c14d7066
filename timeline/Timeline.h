#pragma once

#include "model/Layout.h"
#include "model/Segment.h"

#include <optional>
#include <vector>

namespace vimbo {

// A built composition and the pure decisions about it.
struct Timeline {
    // The output frame size of a clip list under a layout: the first usable clip's ratio (or the
    // shape's), the largest long edge among the clips within the caps below, even edges.
    // No usable clip gives 1920 × 1080. maxLongEdge bounds the long edge (preview, smaller
    // exports) but never below 320.
    static Size renderSize(const std::vector<Segment>& segments, const Layout& layout,
                           std::optional<double> maxLongEdge = std::nullopt);
};

} // namespace vimbo
