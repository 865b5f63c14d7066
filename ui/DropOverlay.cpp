#include "ui/DropOverlay.h"

#include <QEvent>
#include <QPainter>

namespace vimbo::ui {
namespace {

constexpr qreal inset = 3;
constexpr qreal lineWidth = 3;
constexpr qreal radius = 8;

} // namespace

DropOverlay::DropOverlay(QWidget& parent)
    : QWidget(&parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    setGeometry(parent.rect());
    parent.installEventFilter(this);
    hide();
}

bool DropOverlay::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parent() && event->type() == QEvent::Resize)
        setGeometry(parentWidget()->rect());
    return false;
}

void DropOverlay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(palette().color(QPalette::Highlight), lineWidth);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    // The stroke lies inside the rounded rectangle: half a line in from its edge.
    const qreal in = inset + lineWidth / 2;
    painter.drawRoundedRect(QRectF(rect()).adjusted(in, in, -in, -in), radius - lineWidth / 2,
                            radius - lineWidth / 2);
}

} // namespace vimbo::ui
