#pragma once

// The accent-coloured frame over the whole window while files are dragged over it. Clicks and
// drops pass through it to the widgets below. Follows its parent's size. Interface thread.

#include <QWidget>

namespace vimbo::ui {

class DropOverlay : public QWidget {
    Q_OBJECT
public:
    explicit DropOverlay(QWidget& parent);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};

} // namespace vimbo::ui
