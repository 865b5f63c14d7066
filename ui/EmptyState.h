#pragma once

// What a new project shows instead of the editor: an invitation to drop files, and the two
// ways to choose them, which the window opens. Interface thread.

#include <QWidget>

class QLabel;

namespace vimbo::ui {

class EmptyState : public QWidget {
    Q_OBJECT
public:
    explicit EmptyState(QWidget* parent = nullptr);

signals:
    void addRequested();
    void addFromPhotosRequested();

protected:
    void changeEvent(QEvent* event) override;

private:
    void showIcon();

    QLabel* icon_;
};

} // namespace vimbo::ui
