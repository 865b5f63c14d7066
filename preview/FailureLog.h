#pragma once

// One warning line per file that fails during playback, however many frames and sound blocks
// fail with it, from whichever of the preview's threads notices first. Thread-safe.

#include <QUrl>

#include <exception>
#include <mutex>
#include <vector>

namespace vimbo {

class FailureLog {
public:
    // Logs the failure unless this file (or, without one, this kind of failure) was logged
    // since the last forget().
    void report(const std::exception& error);
    // A new item: its files may fail anew.
    void forget();

private:
    std::mutex mutex_;
    std::vector<QUrl> reported_;
};

} // namespace vimbo
