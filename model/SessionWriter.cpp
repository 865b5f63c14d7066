#include "model/SessionWriter.h"

namespace vimbo {

SessionWriter::SessionWriter(SessionStore store)
    : store_(std::move(store)) {
    worker_.setMaxThreadCount(1);
}

SessionWriter::~SessionWriter() {
    wait();
}

void SessionWriter::write(Saved saved) {
    std::lock_guard lock(mutex_);
    pending_ = std::move(saved);
    if (!std::exchange(draining_, true))
        worker_.start([this] { drain(); });
}

void SessionWriter::drain() {
    for (;;) {
        Saved saved;
        {
            std::lock_guard lock(mutex_);
            if (!pending_) {
                draining_ = false;
                return;
            }
            saved = std::move(*pending_);
            pending_.reset();
        }
        // A failure, or a value JSON cannot hold, is retried by the next change's save.
        store_.save(saved);
    }
}

void SessionWriter::wait() {
    worker_.waitForDone();
}

} // namespace vimbo
