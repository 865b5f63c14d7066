#pragma once

// Files dragged from a file manager onto the window, wherever the pointer is: over the player,
// the filmstrip or a text field of the inspector alike. Drags that carry no files, and drags
// that started inside Vimbo (reordering tiles), are left to the widgets under the pointer.
// Interface thread.

#include <QList>
#include <QObject>
#include <QUrl>

#include <functional>

class QMimeData;
class QWidget;

namespace vimbo::ui {

// The local files a drag carries (its text/uri-list), in the drag's order; empty when it
// carries none.
QList<QUrl> droppedFiles(const QMimeData* data);

class FileDrop : public QObject {
    Q_OBJECT
public:
    // Watches every widget of `window` (installed on the application, so widgets made later
    // are covered). A drop hands its files to `onDrop` in one call, from the event loop's next
    // turn, so the drag source is released at once.
    FileDrop(QWidget& window, std::function<void(const QList<QUrl>&)> onDrop);
    ~FileDrop() override;

    bool hovering() const { return hovering_; }

signals:
    // A drag with files entered the window (true) or left it, or was dropped (false).
    void hoveringChanged(bool hovering);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setHovering(bool hovering);

    QWidget& window_;
    std::function<void(const QList<QUrl>&)> onDrop_;
    bool hovering_ = false;
};

} // namespace vimbo::ui
