#include "export/ProgressTicker.h"

namespace vimbo {

ProgressTicker::ProgressTicker(const std::atomic<double>& fraction,
                               std::function<void(double)> report)
    : fraction_(fraction)
    , report_(std::move(report))
    , worker_([this](std::stop_token stop) { run(stop); }) {}

void ProgressTicker::run(const std::stop_token& stop) {
    std::unique_lock lock(worker_.mutex());
    // Periods are counted from the first report, so reports keep their pace.
    auto next = std::chrono::steady_clock::now();
    while (!stop.stop_requested()) {
        lock.unlock();
        report_(fraction_.load(std::memory_order_relaxed));
        lock.lock();
        next += period;
        worker_.sleepUntil(lock, stop, next);
    }
}

} // namespace vimbo
