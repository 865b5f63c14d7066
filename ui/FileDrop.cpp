#include "ui/FileDrop.h"

#include <QApplication>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QPointer>
#include <QTimer>
#include <QWidget>

namespace vimbo::ui {

QList<QUrl> droppedFiles(const QMimeData* data) {
    QList<QUrl> files;
    if (!data || !data->hasUrls())
        return files;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile() && !url.toLocalFile().isEmpty())
            files << url;
    return files;
}

FileDrop::FileDrop(QWidget& window, std::function<void(const QList<QUrl>&)> onDrop)
    : QObject(&window)
    , window_(window)
    , onDrop_(std::move(onDrop)) {
    window_.setAcceptDrops(true); // so a drag over any child without its own drop area arrives
    qApp->installEventFilter(this);
}

FileDrop::~FileDrop() {
    qApp->removeEventFilter(this);
}

bool FileDrop::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (type != QEvent::DragEnter && type != QEvent::DragMove && type != QEvent::DragLeave &&
        type != QEvent::Drop)
        return false;
    const auto* widget = qobject_cast<QWidget*>(watched);
    if (!widget || widget->window() != &window_)
        return false;
    if (type == QEvent::DragLeave) {
        setHovering(false);
        return false;
    }
    auto* drag = static_cast<QDropEvent*>(event);
    const QList<QUrl> files = drag->source() ? QList<QUrl>{} : droppedFiles(drag->mimeData());
    if (files.isEmpty())
        return false;
    drag->setDropAction(Qt::CopyAction);
    drag->accept();
    if (type != QEvent::Drop) {
        setHovering(true);
        return true;
    }
    setHovering(false);
    QTimer::singleShot(0, this, [this, files] { onDrop_(files); });
    return true;
}

void FileDrop::setHovering(bool hovering) {
    if (std::exchange(hovering_, hovering) != hovering)
        emit hoveringChanged(hovering);
}

} // namespace vimbo::ui
