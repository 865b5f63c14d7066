// Stand-in until the real view lands.
#include "preview/RebuildTrigger.h"

namespace vimbo {

RebuildTrigger::RebuildTrigger(Preview& preview, std::function<Preview::Key()> readKey,
                               QObject* parent)
    : QObject(parent)
    , preview_(preview)
    , readKey_(std::move(readKey)) {
    wait_.setSingleShot(true);
    wait_.setInterval(200);
    connect(&wait_, &QTimer::timeout, this, [this] { preview_.update(readKey_()); });
}

void RebuildTrigger::keyMayHaveChanged() {
    Preview::Key key = readKey_();
    if (last_ && *last_ == key)
        return;
    last_ = std::move(key);
    wait_.start();
}

} // namespace vimbo
