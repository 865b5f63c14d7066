#include "export/ProgressTicker.h"

namespace vimbo {

ProgressTicker::ProgressTicker(const std::atomic<double>& fraction,
                               std::function<void(double)> report)
    : fraction_(fraction)
    , report_(std::move(report))
    , thread_([this] { run(); }) {}

ProgressTicker::~ProgressTicker() {
    {
        std::lock_guard lock(mutex_);
        stopped_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

void ProgressTicker::run() {
    std::unique_lock lock(mutex_);
    auto next = std::chrono::steady_clock::now();
    while (!stopped_) {
        lock.unlock();
        report_(fraction_.load(std::memory_order_relaxed));
        lock.lock();
        // Periods are counted from the first report, so reports keep their pace.
        next += period;
        wake_.wait_until(lock, next, [&] { return stopped_; });
    }
}

} // namespace vimbo
