// Stand-in until the real view lands.
#pragma once

#include "preview/Preview.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>

namespace vimbo {

// Rebuilds the preview 0.2 s after the last change of its key, so a burst of changes (a slider
// drag, files arriving one by one) costs one rebuild, made from the key read at that moment.
// Interface thread.
class RebuildTrigger : public QObject {
    Q_OBJECT
public:
    RebuildTrigger(Preview& preview, std::function<Preview::Key()> readKey,
                   QObject* parent = nullptr);

    // Reads the key; the first call, and any call that finds a new key, restarts the wait.
    void keyMayHaveChanged();

private:
    Preview& preview_;
    std::function<Preview::Key()> readKey_;
    std::optional<Preview::Key> last_;
    QTimer wait_;
};

} // namespace vimbo
