#include "media/ff/TimedInput.h"

#include "media/ff/Movie.h"

namespace vimbo::ff {

int TimedInput::Deadline::passed(void* deadline) {
    return std::chrono::steady_clock::now() >= static_cast<const Deadline*>(deadline)->end;
}

TimedInput::TimedInput(std::unique_ptr<Deadline> deadline, InputPtr context)
    : deadline_(std::move(deadline))
    , context_(std::move(context)) {}

std::optional<TimedInput> TimedInput::open(const QString& path, std::chrono::milliseconds timeout) {
    auto deadline =
        std::make_unique<Deadline>(Deadline{std::chrono::steady_clock::now() + timeout});
    InputPtr context = openMovie(path, {&Deadline::passed, deadline.get()});
    if (!context)
        return std::nullopt;
    return TimedInput(std::move(deadline), std::move(context));
}

} // namespace vimbo::ff
