#pragma once

// Signals that ask the program to stop (a session logging out, a closed terminal, Ctrl-C),
// turned into a call on the interface thread for as long as this lives, so the program can
// save or clean up instead of dying mid-way. The handler only writes a byte into a pipe; a
// socket notifier reads it from the event loop. One at a time: the pipe is the process's.

#include <QObject>

#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

class QSocketNotifier;

namespace vimbo::app {

class QuitSignals {
public:
    QuitSignals(std::initializer_list<int> which, std::function<void()> onSignal);
    // Gives the signals back their default handling and closes the pipe.
    ~QuitSignals();
    QuitSignals(const QuitSignals&) = delete;
    QuitSignals& operator=(const QuitSignals&) = delete;

private:
    std::vector<int> signals_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace vimbo::app
