#include "ui/OpenRequests.h"

namespace vimbo::ui {

void OpenRequests::open(const QList<QUrl>& files) {
    if (handler_)
        handler_(files);
    else
        pending_ += files;
}

void OpenRequests::setHandler(Handler handler) {
    handler_ = std::move(handler);
    if (handler_ && !pending_.isEmpty())
        handler_(pending_);
    pending_.clear();
}

} // namespace vimbo::ui
