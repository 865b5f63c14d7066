#pragma once

// The filmstrip's list: a QListView in one horizontal row whose tiles are painted by
// ClipTileDelegate, and which handles clicks, keys, the context menu and the drag that
// reorders clips itself, because the project, not the view, holds the selection and the
// order. Part of Filmstrip; interface thread only.

#include <QListView>
#include <QPointer>
#include <QTimer>
#include <QUuid>

#include <functional>
#include <optional>

class QPropertyAnimation;

namespace vimbo {
class Project;
}

namespace vimbo::ui {

class ClipListModel;
class ClipTileDelegate;

class StripView : public QListView {
    Q_OBJECT
public:
    StripView(Project& project, std::function<void(const QUuid&)> onSelect, QWidget* parent);

    // The row of the clip tile under a point of the viewport, or -1 (gaps and the add tile).
    int clipRowAt(const QPoint& point) const;
    bool addTileAt(const QPoint& point) const;

signals:
    // The add tile was clicked: the window opens its Add… dialog.
    void addRequested();

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void press(QMouseEvent* event);
    void startDrag();
    void dragTo(const QPoint& point);
    void endDrag();
    void autoScroll();
    void step(int by, Qt::KeyboardModifiers modifiers);
    void clipsChanged();
    void scrollToEnd();
    void tickSpinner();
    QSet<QUuid> targetsOf(const QUuid& clicked) const;

    Project& project_;
    std::function<void(const QUuid&)> onSelect_;
    ClipListModel* model_;
    ClipTileDelegate* delegate_;

    std::optional<QUuid> pressed_; // the clip tile the left button went down on
    QPoint pressPoint_;
    std::optional<QUuid> cursor_; // the clip last clicked or stepped to: where arrows go from
    bool pressedAdd_ = false;
    bool dragging_ = false;
    std::optional<QUuid> dragged_; // stays set when a drag ends without its release
    QPoint dragPoint_;
    QTimer autoScroll_;

    std::optional<QUuid> lastClip_;
    QPointer<QPropertyAnimation> scrolling_;
    QTimer spinner_;
    int spinnerAngle_ = 0;
};

} // namespace vimbo::ui
