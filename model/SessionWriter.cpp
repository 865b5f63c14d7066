#include "model/SessionWriter.h"

namespace vimbo {

SessionWriter::SessionWriter(SessionStore store)
    : store_(std::move(store)) {
    worker_.setMaxThreadCount(1);
}

SessionWriter::~SessionWriter() {
    wait();
}

void SessionWriter::write(QByteArray bytes) {
    std::lock_guard lock(mutex_);
    pending_ = std::move(bytes);
    if (!std::exchange(draining_, true))
        worker_.start([this] { drain(); });
}

void SessionWriter::drain() {
    for (;;) {
        QByteArray bytes;
        {
            std::lock_guard lock(mutex_);
            if (!pending_) {
                draining_ = false;
                return;
            }
            bytes = std::move(*pending_);
            pending_.reset();
        }
        store_.write(bytes); // a failure is retried by the next change's save
    }
}

void SessionWriter::wait() {
    worker_.waitForDone();
}

} // namespace vimbo
