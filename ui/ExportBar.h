#pragma once

// The strip at the bottom of the window for the export under way and its outcome: a progress
// bar with "About 1:15 remaining" (or "Exporting…" until an estimate is fair) and Cancel;
// once written, a green check, the file's name, Show in Folder, Share… and a close button;
// after a failure, a yellow warning, the one-sentence reason and a close button. Closing
// returns the controller to idle; the window hides the bar while it is idle. Interface thread;
// the controller must outlive the bar.

#include <QWidget>

#include <optional>

class QLabel;
class QProgressBar;
class QPushButton;
class QToolButton;

namespace vimbo {
class ExportController;
}

namespace vimbo::ui {

class ElidedLabel;
class ShareMenu;

class ExportBar : public QWidget {
    Q_OBJECT
public:
    explicit ExportBar(ExportController& controller, QWidget* parent = nullptr);

    // "About 1:15 remaining" for an estimate of 75 s; "Exporting…" without one.
    static QString remainingText(std::optional<double> seconds);

private:
    void refresh();

    ExportController& controller_;
    QProgressBar* progress_;
    QLabel* remaining_;
    QPushButton* cancel_;
    QLabel* doneIcon_;
    ElidedLabel* file_;
    QPushButton* reveal_;
    QToolButton* share_;
    ShareMenu* shareMenu_;
    QLabel* warningIcon_;
    ElidedLabel* message_;
    QToolButton* close_;
};

} // namespace vimbo::ui
