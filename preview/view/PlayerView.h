#pragma once

// The preview's view: the player's picture on black with its transport controls under it:
// play/pause, a position slider that scrubs (it seeks while it is dragged), the time as
// "position / duration", and a full-screen toggle (the button or a double-click; Escape leaves).
// Keys while it has focus: Space plays and pauses, Left/Right step one frame when paused,
// Home/End go to the start and the end.
//
// Interface thread only. The view only shows what the player says and asks it to act; it owns
// no playback state of its own. The player must outlive the view.

#include <QWidget>

class QLabel;
class QSlider;
class QToolButton;

namespace vimbo {

class Player;
class PictureView;

class PlayerView : public QWidget {
    Q_OBJECT
public:
    explicit PlayerView(Player& player, QWidget* parent = nullptr);

    bool isFullScreen() const { return fullScreen_; }
    void setFullScreen(bool on);

    PictureView& picture() { return *picture_; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QWidget* makeTransport();
    void togglePlay();
    void itemChanged();
    void rateChanged();
    void fullScreenChanged();
    void timeChanged();
    void scrubStarted();
    void scrubEnded();

    Player& player_;
    PictureView* picture_;
    QToolButton* play_ = nullptr;
    QSlider* position_;
    QLabel* time_;
    QToolButton* fullScreenButton_;
    bool fullScreen_ = false;
    bool resumeAfterScrub_ = false;
};

} // namespace vimbo
