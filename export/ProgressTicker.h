#pragma once

// Reports a job's progress on a thread of its own: at once, then every 0.2 s on the monotonic
// clock, until stopped. The job only stores its fraction; the ticker samples it, so a report
// never waits for the job and the job never waits for a report.

#include "media/Worker.h"

#include <atomic>
#include <chrono>
#include <functional>

namespace vimbo {

class ProgressTicker {
public:
    static constexpr std::chrono::milliseconds period{200};

    ProgressTicker(const std::atomic<double>& fraction, std::function<void(double)> report);
    ProgressTicker(const ProgressTicker&) = delete;
    ProgressTicker& operator=(const ProgressTicker&) = delete;
    // Stops and waits for the thread; no report follows.
    ~ProgressTicker() = default;

private:
    void run(const std::stop_token& stop);

    const std::atomic<double>& fraction_;
    std::function<void(double)> report_;
    Worker worker_;
};

} // namespace vimbo
