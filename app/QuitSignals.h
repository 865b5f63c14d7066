#pragma once

// SIGTERM (a session logging out), SIGHUP and SIGINT, turned into a call on the interface
// thread, so the program can close its window and save instead of dying mid-way. The handler
// only writes a byte into a pipe; a socket notifier reads it from the event loop.

#include <QObject>

#include <functional>
#include <memory>

class QSocketNotifier;

namespace vimbo::app {

class QuitSignals {
public:
    explicit QuitSignals(std::function<void()> onSignal);
    ~QuitSignals();
    QuitSignals(const QuitSignals&) = delete;
    QuitSignals& operator=(const QuitSignals&) = delete;

private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace vimbo::app
