#include "preview/FailureLog.h"

#include "model/VimboError.h"

#include <QtDebug>

#include <algorithm>

namespace vimbo {

void FailureLog::report(const std::exception& error) {
    const auto* failure = dynamic_cast<const VimboError*>(&error);
    const QUrl url = failure ? failure->url() : QUrl();
    {
        std::lock_guard lock(mutex_);
        if (std::find(reported_.begin(), reported_.end(), url) != reported_.end())
            return;
        reported_.push_back(url);
    }
    qWarning("Preview: %s: %s The preview plays on without it.",
             qPrintable(url.isEmpty() ? QStringLiteral("a clip") : url.toDisplayString()),
             failure ? qPrintable(failure->errorDescription()) : error.what());
}

void FailureLog::forget() {
    std::lock_guard lock(mutex_);
    reported_.clear();
}

} // namespace vimbo
