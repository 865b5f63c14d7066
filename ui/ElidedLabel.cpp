#include "ui/ElidedLabel.h"

#include <QEvent>

namespace vimbo::ui {

ElidedLabel::ElidedLabel(QWidget* parent, Qt::TextElideMode mode)
    : QLabel(parent)
    , mode_(mode) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void ElidedLabel::setFullText(const QString& text) {
    if (text == full_)
        return;
    full_ = text;
    setAccessibleName(text);
    refresh();
    updateGeometry();
}

QSize ElidedLabel::sizeHint() const {
    const QMargins m = contentsMargins();
    return {fontMetrics().horizontalAdvance(full_) + m.left() + m.right() + 2 * margin(),
            QLabel::sizeHint().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().horizontalAdvance(QStringLiteral("M\u2026M")),
            QLabel::minimumSizeHint().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    refresh();
}

void ElidedLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        refresh();
}

void ElidedLabel::refresh() {
    const QString shown = fontMetrics().elidedText(full_, mode_, contentsRect().width());
    QLabel::setText(shown);
    setToolTip(shown == full_ ? QString() : full_);
}

} // namespace vimbo::ui
