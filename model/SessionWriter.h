#pragma once

#include "model/SessionStore.h"

#include <QThreadPool>

#include <mutex>
#include <optional>

namespace vimbo {

// Encodes sessions and writes them to disk on a worker thread, so that the interface thread
// only hands over a copy of the project (its lists share their data until changed) and never
// waits for encoding or the disk (an atomic write ends with a flush to the device). Writes
// happen in order and a newer session replaces one still waiting, so the file only ever moves
// forward. write() may be called from any thread; the destructor waits for the last write.
class SessionWriter {
public:
    explicit SessionWriter(SessionStore store);
    ~SessionWriter();
    SessionWriter(const SessionWriter&) = delete;
    SessionWriter& operator=(const SessionWriter&) = delete;

    void write(Saved saved);
    // Returns once everything handed to write() is on disk (or failed, quietly).
    void wait();

private:
    void drain();

    SessionStore store_;
    QThreadPool worker_;
    std::mutex mutex_;
    std::optional<Saved> pending_; // guarded by mutex_
    bool draining_ = false;        // guarded by mutex_
};

} // namespace vimbo
