#pragma once

// When the preview rebuilds: the window calls keyMayHaveChanged() on every project change that
// can change the preview key, and once when its content is first shown. A key that differs from
// the last one seen (the first call always counts) cancels the rebuild under way and starts a
// new one, which waits 0.2 s and then updates the preview with the key read at that moment; so a
// burst of changes (a slider drag, files arriving) makes one rebuild. The key is built early,
// during the pause (Preview::prepare), so when it has not changed by then the new item is ready
// at once. Interface thread only.

#include "preview/Preview.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>

namespace vimbo {

class RebuildTrigger : public QObject {
    Q_OBJECT
public:
    static constexpr int debounceMilliseconds = 200;

    RebuildTrigger(Preview& preview, std::function<Preview::Key()> readKey,
                   QObject* parent = nullptr);

    void keyMayHaveChanged();

private:
    void rebuild();

    Preview& preview_;
    std::function<Preview::Key()> readKey_;
    std::optional<Preview::Key> seen_; // the key of the latest rebuild started
    QTimer debounce_;
};

} // namespace vimbo
