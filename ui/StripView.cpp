#include "ui/StripView.h"

#include "model/Project.h"
#include "model/UndoNames.h"
#include "ui/ClipListModel.h"
#include "ui/ClipTileDelegate.h"
#include "ui/Reveal.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPropertyAnimation>
#include <QScrollBar>

namespace vimbo::ui {
namespace {

constexpr int autoScrollEdge = 40; // pixels from either end where a drag scrolls the strip
constexpr int spinnerInterval = 80;

bool isStripKey(const QKeyEvent* e) {
    return e->matches(QKeySequence::Delete) || e->matches(QKeySequence::SelectAll) ||
           e->key() == Qt::Key_Backspace || e->key() == Qt::Key_Delete ||
           e->key() == Qt::Key_Escape || e->key() == Qt::Key_Left || e->key() == Qt::Key_Right ||
           e->key() == Qt::Key_Home || e->key() == Qt::Key_End;
}

} // namespace

StripView::StripView(Project& project, std::function<void(const QUuid&)> onSelect, QWidget* parent)
    : QListView(parent)
    , project_(project)
    , onSelect_(std::move(onSelect))
    , model_(new ClipListModel(project, this))
    , delegate_(new ClipTileDelegate(project, *model_, this)) {
    setModel(model_);
    setItemDelegate(delegate_);
    setFlow(QListView::LeftToRight);
    setWrapping(false);
    setUniformItemSizes(false);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    horizontalScrollBar()->setSingleStep(StripMetrics::pictureWidth / 4);
    setFrameShape(QFrame::NoFrame);
    setBackgroundRole(QPalette::Window);
    viewport()->setBackgroundRole(QPalette::Window);
    viewport()->setAttribute(Qt::WA_Hover);
    setMouseTracking(true);
    setAccessibleName(tr("Clips"));

    autoScroll_.setInterval(16);
    connect(&autoScroll_, &QTimer::timeout, this, &StripView::autoScroll);
    spinner_.setInterval(spinnerInterval);
    connect(&spinner_, &QTimer::timeout, this, &StripView::tickSpinner);
    connect(&project, &Project::clipsChanged, this, &StripView::clipsChanged);
    connect(&project, &Project::infoChanged, this, &StripView::clipsChanged);
    if (!project.clips().empty())
        lastClip_ = project.clips().back().id;
    clipsChanged();
}

int StripView::clipRowAt(const QPoint& point) const {
    const QModelIndex index = indexAt(point);
    if (!index.isValid() || model_->isAddTile(index.row()))
        return -1;
    return delegate_->tileRect(visualRect(index), index.row()).contains(point) ? index.row() : -1;
}

bool StripView::addTileAt(const QPoint& point) const {
    const QModelIndex index = indexAt(point);
    return index.isValid() && model_->isAddTile(index.row()) &&
           delegate_->tileRect(visualRect(index), index.row()).contains(point);
}

bool StripView::event(QEvent* event) {
    // While the strip has focus its keys are its own, ahead of the window's shortcuts.
    if (event->type() == QEvent::ShortcutOverride && isStripKey(static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QListView::event(event);
}

void StripView::mousePressEvent(QMouseEvent* event) {
    press(event);
}

void StripView::mouseDoubleClickEvent(QMouseEvent* event) {
    press(event);
}

void StripView::press(QMouseEvent* event) {
    setFocus(Qt::MouseFocusReason);
    // A drag whose release never arrived is over; its step is made when the next one starts.
    dragged_.reset();
    pressed_.reset();
    pressedAdd_ = false;
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint point = event->position().toPoint();
    if (const int row = clipRowAt(point); row >= 0) {
        const QUuid id = model_->clipAt(row)->id;
        pressed_ = id;
        cursor_ = id;
        pressPoint_ = point;
        project_.click(id, event->modifiers());
        if (onSelect_)
            onSelect_(id);
    } else if (addTileAt(point)) {
        pressedAdd_ = true;
    } else {
        project_.clearSelection();
    }
}

void StripView::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & Qt::LeftButton)) {
        QListView::mouseMoveEvent(event); // hover
        return;
    }
    const QPoint point = event->position().toPoint();
    if (!dragged_ && pressed_ &&
        (point - pressPoint_).manhattanLength() >= QApplication::startDragDistance())
        startDrag();
    if (!dragged_)
        return;
    dragPoint_ = point;
    dragTo(point);
    if (point.x() < autoScrollEdge || point.x() > viewport()->width() - autoScrollEdge)
        autoScroll_.start();
}

void StripView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    if (dragged_)
        endDrag();
    else if (pressedAdd_ && addTileAt(event->position().toPoint()))
        emit addRequested();
    pressed_.reset();
    pressedAdd_ = false;
}

void StripView::startDrag() {
    project_.endGesture(UndoName::moveClip); // left by a drag that never got its release
    dragged_ = pressed_;
    project_.beginGesture();
    viewport()->setCursor(Qt::ClosedHandCursor);
}

void StripView::dragTo(const QPoint& point) {
    // Only across matters: a pointer that strays above or below the row still reorders.
    const QPoint probe(point.x(), StripMetrics::paddingTop + StripMetrics::pictureHeight / 2);
    const int row = clipRowAt(probe);
    if (row < 0)
        return;
    const QUuid target = model_->clipAt(row)->id;
    if (target != *dragged_)
        project_.move(*dragged_, target);
}

void StripView::endDrag() {
    autoScroll_.stop();
    dragged_.reset();
    viewport()->unsetCursor();
    project_.endGesture(UndoName::moveClip);
}

void StripView::autoScroll() {
    const int x = dragPoint_.x();
    int by = 0;
    if (x < autoScrollEdge)
        by = -(autoScrollEdge - x) / 2 - 2;
    else if (x > viewport()->width() - autoScrollEdge)
        by = (x - viewport()->width() + autoScrollEdge) / 2 + 2;
    QScrollBar* bar = horizontalScrollBar();
    const int before = bar->value();
    bar->setValue(before + by);
    if (!dragged_ || by == 0 || bar->value() == before) {
        autoScroll_.stop();
        return;
    }
    dragTo(dragPoint_);
}

void StripView::focusOutEvent(QFocusEvent* event) {
    if (dragged_)
        endDrag();
    QListView::focusOutEvent(event);
}

void StripView::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Delete) || event->key() == Qt::Key_Backspace ||
        event->key() == Qt::Key_Delete) {
        project_.remove(project_.selection());
    } else if (event->key() == Qt::Key_Escape) {
        if (dragged_)
            endDrag();
        project_.clearSelection();
    } else if (event->matches(QKeySequence::SelectAll)) {
        project_.selectAll();
    } else if (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right) {
        step(event->key() == Qt::Key_Left ? -1 : 1, event->modifiers());
    } else if (event->key() == Qt::Key_Home || event->key() == Qt::Key_End) {
        step(event->key() == Qt::Key_Home ? -model_->rowCount() : model_->rowCount(),
             event->modifiers());
    } else {
        event->ignore(); // Space and the like belong to the window
    }
}

// Selects the clip `by` places from the one last clicked or stepped to, like a click on it
// (Shift extends the selection from its anchor).
void StripView::step(int by, Qt::KeyboardModifiers modifiers) {
    const auto& clips = project_.clips();
    if (clips.empty())
        return;
    const int count = static_cast<int>(clips.size());
    int from = cursor_ ? model_->rowOf(*cursor_) : -1;
    if (from < 0)
        from = by > 0 ? -1 : count;
    const int to = std::clamp(from + by, 0, count - 1);
    const QUuid id = clips[static_cast<std::size_t>(to)].id;
    cursor_ = id;
    project_.click(id, modifiers & Qt::ShiftModifier);
    scrollTo(model_->index(to));
    if (onSelect_)
        onSelect_(id);
}

QSet<QUuid> StripView::targetsOf(const QUuid& clicked) const {
    return project_.selection().contains(clicked) ? project_.selection() : QSet<QUuid>{clicked};
}

void StripView::contextMenuEvent(QContextMenuEvent* event) {
    const int row = clipRowAt(event->pos());
    if (row < 0)
        return;
    const QSet<QUuid> targets = targetsOf(model_->clipAt(row)->id);
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("Show in Folder"), this, [this, targets] {
        QList<QUrl> files;
        for (const Clip& clip : project_.clips())
            if (targets.contains(clip.id))
                files << clip.url;
        revealInFileManager(files);
    });
    menu->addSeparator();
    menu->addAction(tr("Remove"), this, [this, targets] { project_.remove(targets); });
    menu->addAction(tr("Remove All"), this, [this] { project_.startOver(); });
    menu->popup(event->globalPos());
}

void StripView::clipsChanged() {
    const auto& clips = project_.clips();
    const std::optional<QUuid> last =
        clips.empty() ? std::nullopt : std::optional<QUuid>(clips.back().id);
    // Not while dragging: the strip must stay under the pointer.
    if (last && last != lastClip_ && !dragged_)
        QTimer::singleShot(0, this, &StripView::scrollToEnd); // after the new row is laid out
    lastClip_ = last;

    const bool loading = std::any_of(clips.begin(), clips.end(), [this](const Clip& clip) {
        return !project_.info().contains(clip.id);
    });
    if (loading && !spinner_.isActive())
        spinner_.start();
    else if (!loading)
        spinner_.stop();
}

void StripView::scrollToEnd() {
    executeDelayedItemsLayout();
    QScrollBar* bar = horizontalScrollBar();
    if (scrolling_)
        scrolling_->stop();
    if (!isVisible()) {
        bar->setValue(bar->maximum());
        return;
    }
    auto* animation = new QPropertyAnimation(bar, "value", this);
    animation->setDuration(250);
    animation->setEasingCurve(QEasingCurve::OutCubic);
    animation->setEndValue(bar->maximum());
    animation->start(QAbstractAnimation::DeleteWhenStopped);
    scrolling_ = animation;
}

void StripView::tickSpinner() {
    spinnerAngle_ = (spinnerAngle_ + 30) % 360;
    delegate_->setSpinnerAngle(spinnerAngle_);
    viewport()->update();
}

} // namespace vimbo::ui
