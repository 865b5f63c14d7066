#include "preview/RebuildTrigger.h"

namespace vimbo {

RebuildTrigger::RebuildTrigger(Preview& preview, std::function<Preview::Key()> readKey,
                               QObject* parent)
    : QObject(parent)
    , preview_(preview)
    , readKey_(std::move(readKey)) {
    debounce_.setSingleShot(true);
    debounce_.setTimerType(Qt::PreciseTimer);
    debounce_.setInterval(debounceMilliseconds);
    connect(&debounce_, &QTimer::timeout, this, &RebuildTrigger::rebuild);
}

void RebuildTrigger::keyMayHaveChanged() {
    Preview::Key key = readKey_();
    if (seen_ && *seen_ == key)
        return; // the rebuild under way (or done) is for this very key
    seen_ = std::move(key);
    preview_.cancelUpdates();
    // Built during the pause, so that the rebuild after it finds the timeline ready when the
    // key has stayed the same.
    preview_.prepare(*seen_);
    debounce_.start();
}

void RebuildTrigger::rebuild() {
    preview_.update(readKey_());
}

} // namespace vimbo
