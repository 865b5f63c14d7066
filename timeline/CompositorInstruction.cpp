#include "timeline/CompositorInstruction.h"

#include <atomic>

namespace vimbo {
namespace {

std::uint64_t nextIdentity() {
    static std::atomic<std::uint64_t> counter{0};
    return ++counter;
}

} // namespace

CompositorInstruction::CompositorInstruction(TimeRange timeRange,
                                             std::optional<std::int32_t> trackID, Source source,
                                             std::int64_t quarterTurns, FillMode fill)
    : timeRange_(timeRange)
    , trackID_(trackID)
    , source_(std::move(source))
    , quarterTurns_(quarterTurns & 3)
    , fill_(fill)
    , identity_(nextIdentity()) {}

CompositorInstruction CompositorInstruction::with(const MediaTime& end) const {
    return CompositorInstruction({timeRange_.start, end - timeRange_.start}, trackID_, source_,
                                 quarterTurns_, fill_);
}

} // namespace vimbo
