#pragma once

// One cancellation token for a long job: raised from any thread, read at every frame and packet
// of the loops under it, and handed to FFmpeg as its I/O interrupt so that a blocking read gives
// up too.

#include <atomic>
#include <exception>

extern "C" {
#include <libavformat/avio.h>
}

namespace vimbo {

// Thrown by work that stopped because its token was raised. Never shown to a person.
struct Cancelled : std::exception {
    const char* what() const noexcept override { return "cancelled"; }
};

class CancelFlag {
public:
    void cancel() { raised_.store(true, std::memory_order_relaxed); }
    bool isCancelled() const { return raised_.load(std::memory_order_relaxed); }
    void throwIfCancelled() const {
        if (isCancelled())
            throw Cancelled();
    }

private:
    std::atomic<bool> raised_{false};
};

namespace ff {

// An interrupt callback that aborts FFmpeg I/O once `flag` is raised; a null flag never does.
// The flag must outlive every context that uses the callback.
AVIOInterruptCB interruptCallback(const CancelFlag* flag);

} // namespace ff
} // namespace vimbo
