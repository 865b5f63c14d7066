#pragma once

// The preview's picture: the player's current frame drawn aspect-fitted and centred on black
// (black alone when there is no frame). Frames are converted to RGB at the size they are shown,
// in device pixels, off the interface thread (FrameConverter); until a conversion for a new size
// lands, the last one is stretched to fit. Interface thread only.

#include "preview/Picture.h"
#include "preview/view/FrameConverter.h"

#include <QImage>
#include <QWidget>

namespace vimbo {

class PictureView : public QWidget {
    Q_OBJECT
public:
    explicit PictureView(QWidget* parent = nullptr);

    // The frame to show from now on (null: black).
    void setPicture(Picture picture);
    // Where the picture lies within the view, in logical pixels: aspect-fitted and centred.
    QRectF pictureRect() const;
    // The image currently drawn (tests and benchmarks look at it).
    const QImage& image() const { return image_; }

    QSize sizeHint() const override { return {640, 360}; }
    QSize minimumSizeHint() const override { return {160, 90}; }

signals:
    void doubleClicked();
    // A conversion landed and the view will show it.
    void imageChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    QSize deviceSize() const;
    void convert();
    void converted(const QImage& image);

    Picture picture_;
    QImage image_;
    FrameConverter converter_;
};

} // namespace vimbo
