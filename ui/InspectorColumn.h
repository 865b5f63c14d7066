#pragma once

// The right-hand column around the inspector: between 250 and 380 pixels wide (280 to start),
// with its own close control. Closing it, by that control or by dragging the divider all the
// way to the window edge, is the user's wish to hide it. Interface thread.

#include <QWidget>

namespace vimbo {
class Project;
}

namespace vimbo::ui {

class InspectorColumn : public QWidget {
    Q_OBJECT
public:
    static constexpr int narrowest = 250;
    static constexpr int idealWidth = 280;
    static constexpr int widest = 380;

    explicit InspectorColumn(Project& project, QWidget* parent = nullptr);

    QSize sizeHint() const override;

signals:
    void closeRequested();
};

} // namespace vimbo::ui
