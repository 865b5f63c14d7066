#pragma once

// A one-line label that shortens its text with an ellipsis (in the middle by default, so
// that both the start of a file name and its extension stay readable) when it gets narrower
// than the text. The full text stays its accessible name and, while shortened, its tooltip.

#include <QLabel>

namespace vimbo::ui {

class ElidedLabel : public QLabel {
public:
    explicit ElidedLabel(QWidget* parent = nullptr, Qt::TextElideMode mode = Qt::ElideMiddle);

    void setFullText(const QString& text);
    const QString& fullText() const { return full_; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void refresh();

    QString full_;
    Qt::TextElideMode mode_;
};

} // namespace vimbo::ui
