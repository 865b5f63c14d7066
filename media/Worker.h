#pragma once

// A thread that sleeps until its owner has work for it or is being destroyed: the one shape of
// the program's long-lived workers (the preview's picture and sound feeds, the view's frame
// converter, the export's progress ticker).
//
// The owner keeps the state it shares with the thread under mutex() and changes it through
// post(), which wakes the thread; the thread sleeps in wait() or sleepUntil(), which return
// false once it is to stop. Destroying the worker asks the thread to stop, wakes it and joins
// it, so it must be the owner's last member: everything the thread touches outlives it. An
// owner whose thread may be busy elsewhere (decoding, say) makes it give up in its own
// destructor, which runs first.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>

namespace vimbo {

class Worker {
public:
    // Starts `body` on the thread at once; it returns when its stop token says so.
    explicit Worker(std::function<void(std::stop_token)> body)
        : thread_(std::move(body)) {}
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    std::mutex& mutex() const { return mutex_; }

    // Runs `change` under the lock, then wakes the thread.
    template <typename Change>
    void post(Change&& change) {
        {
            std::lock_guard lock(mutex_);
            change();
        }
        wake_.notify_all();
    }

    // Wakes the thread after a change made under mutex() by hand.
    void wake() { wake_.notify_all(); }

    // On the thread: runs `call` with `lock` released, as anything that may take long or call
    // back into the owner must.
    template <typename Call>
    static void unlocked(std::unique_lock<std::mutex>& lock, Call&& call) {
        lock.unlock();
        call();
        lock.lock();
    }

    // On the thread, `lock` held on mutex(): sleeps until `ready` holds (true) or the thread is
    // to stop (false).
    template <typename Ready>
    bool wait(std::unique_lock<std::mutex>& lock, const std::stop_token& stop, Ready ready) {
        wake_.wait(lock, stop, std::move(ready));
        return !stop.stop_requested();
    }

    // On the thread, `lock` held on mutex(): sleeps until `time`; false when the thread is to
    // stop.
    bool sleepUntil(std::unique_lock<std::mutex>& lock, const std::stop_token& stop,
                    std::chrono::steady_clock::time_point time) {
        wake_.wait_until(lock, stop, time, [] { return false; });
        return !stop.stop_requested();
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable_any wake_;
    std::jthread thread_; // last: stopped and joined while the lock and the condition remain
};

} // namespace vimbo
