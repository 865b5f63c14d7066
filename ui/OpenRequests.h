#pragma once

// Files the desktop asks Vimbo to open: the command line's, and those of later starts handed
// over by the single-instance server. Until the window installs its handler they wait, in the
// order they arrived; then they go to it in one call, and later ones go to it at once.
// Interface thread.

#include <QList>
#include <QUrl>

#include <functional>

namespace vimbo::ui {

class OpenRequests {
public:
    using Handler = std::function<void(const QList<QUrl>&)>;

    void open(const QList<QUrl>& files);
    // Hands the waiting files to `handler` (when there are any) and empties the queue.
    void setHandler(Handler handler);
    const QList<QUrl>& pending() const { return pending_; }

private:
    Handler handler_;
    QList<QUrl> pending_;
};

} // namespace vimbo::ui
