#include "app/QuitSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace vimbo::app {
namespace {

int signalPipe[2] = {-1, -1};

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(signalPipe[1], &byte, 1);
}

} // namespace

QuitSignals::QuitSignals(std::initializer_list<int> which, std::function<void()> onSignal_)
    : signals_(which) {
    // Close-on-exec: a program started meanwhile must not hold the pipe open.
    if (::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    notifier_ = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [onSignal_] {
        char bytes[16];
        while (::read(signalPipe[0], bytes, sizeof bytes) > 0) {
        }
        onSignal_();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : signals_)
        ::sigaction(signal, &action, nullptr);
}

QuitSignals::~QuitSignals() {
    for (const int signal : signals_)
        std::signal(signal, SIG_DFL);
    notifier_.reset();
    for (int& end : signalPipe)
        if (end >= 0)
            ::close(std::exchange(end, -1));
}

} // namespace vimbo::app
