#pragma once

#include "model/Clip.h"
#include "model/Layout.h"

#include <cstdint>
#include <vector>

namespace vimbo {

// The undoable state of the project: every named change goes from one snapshot to another.
struct Snapshot {
    std::vector<Clip> clips;
    Layout layout;

    friend bool operator==(const Snapshot&, const Snapshot&) = default;
};

// What the saved project holds.
struct Saved {
    std::vector<Clip> clips;
    Layout layout;
    std::int64_t nextAdded = 0;

    friend bool operator==(const Saved&, const Saved&) = default;
};

} // namespace vimbo
