#include "preview/view/PictureView.h"

#include <QMouseEvent>
#include <QPainter>

#include <cmath>

namespace vimbo {

PictureView::PictureView(QWidget* parent)
    : QWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent); // every pixel is painted: black, then the picture
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAccessibleName(tr("Preview"));
    connect(&converter_, &FrameConverter::converted, this, &PictureView::converted);
}

void PictureView::setPicture(Picture picture) {
    picture_ = std::move(picture);
    if (!picture_) {
        image_ = {};
        update();
        return;
    }
    convert();
}

QRectF PictureView::pictureRect() const {
    if (!picture_ || picture_->width <= 0 || picture_->height <= 0)
        return {};
    const double scale =
        std::min(width() / double(picture_->width), height() / double(picture_->height));
    const double w = picture_->width * scale, h = picture_->height * scale;
    return {(width() - w) / 2, (height() - h) / 2, w, h};
}

QSize PictureView::deviceSize() const {
    const QRectF rect = pictureRect();
    const double ratio = devicePixelRatioF();
    return {static_cast<int>(std::lround(rect.width() * ratio)),
            static_cast<int>(std::lround(rect.height() * ratio))};
}

void PictureView::convert() {
    const QSize size = deviceSize();
    if (picture_ && size.width() > 0 && size.height() > 0 && isVisible())
        converter_.request(picture_, size);
}

void PictureView::converted(const QImage& image) {
    if (!picture_)
        return; // cleared while it was converting
    image_ = image;
    image_.setDevicePixelRatio(devicePixelRatioF());
    update();
    emit imageChanged();
}

void PictureView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    if (image_.isNull())
        return;
    const QRectF target = pictureRect();
    if (image_.size() == deviceSize()) {
        // Pixel for pixel: a plain copy, no scaling by the painter.
        painter.drawImage(QPointF(std::round(target.x()), std::round(target.y())), image_);
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform); // a resize, until it converts
    painter.drawImage(target, image_);
}

void PictureView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    convert();
}

void PictureView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    convert();
}

void PictureView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        emit doubleClicked();
}

} // namespace vimbo
