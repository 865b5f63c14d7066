#include "preview/view/PlayerView.h"

#include "model/TimeText.h"
#include "preview/Player.h"
#include "preview/view/PictureView.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QProxyStyle>
#include <QRegularExpression>
#include <QSlider>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace vimbo {
namespace {

// A press on the slider's groove jumps there and keeps dragging, as media players do, instead
// of paging towards the press.
class JumpStyle : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* returned) const override {
        if (hint == QStyle::SH_Slider_AbsoluteSetButtons)
            return Qt::LeftButton;
        return QProxyStyle::styleHint(hint, option, widget, returned);
    }
};

// The style's standard pictogram in the palette's text colour: the stock ones are drawn for
// light backgrounds and vanish on a dark one.
QIcon tinted(const QWidget& widget, QStyle::StandardPixmap which) {
    const QIcon stock = widget.style()->standardIcon(which, nullptr, &widget);
    QIcon icon;
    for (QSize size : {QSize(16, 16), QSize(24, 24), QSize(32, 32)}) {
        QPixmap pixmap = stock.pixmap(size, widget.devicePixelRatioF());
        QPainter painter(&pixmap);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(pixmap.rect(), widget.palette().color(QPalette::ButtonText));
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

int milliseconds(const MediaTime& t) {
    return static_cast<int>(std::lround(t.seconds() * 1000));
}

} // namespace

PlayerView::PlayerView(Player& player, QWidget* parent)
    : QWidget(parent)
    , player_(player)
    , picture_(new PictureView(this)) {
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("Player"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(picture_, 1);
    layout->addWidget(makeTransport());

    connect(picture_, &PictureView::doubleClicked, this, [this] { setFullScreen(!fullScreen_); });
    connect(&player_, &Player::pictureChanged, this,
            [this] { picture_->setPicture(player_.picture()); });
    connect(&player_, &Player::currentItemChanged, this, &PlayerView::itemChanged);
    connect(&player_, &Player::rateChanged, this, &PlayerView::rateChanged);
    connect(&player_, &Player::timeChanged, this, &PlayerView::timeChanged);
    picture_->setPicture(player_.picture());
    itemChanged();
    rateChanged();
    fullScreenChanged();
}

QWidget* PlayerView::makeTransport() {
    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(6, 4, 6, 4);

    play_ = new QToolButton(bar);
    play_->setAutoRaise(true);
    connect(play_, &QToolButton::clicked, this, &PlayerView::togglePlay);

    position_ = new QSlider(Qt::Horizontal, bar);
    auto* style = new JumpStyle;
    style->setParent(position_);
    position_->setStyle(style);
    position_->setFocusPolicy(Qt::NoFocus); // the view's own keys move through the movie
    position_->setAccessibleName(tr("Position"));
    connect(position_, &QSlider::sliderPressed, this, &PlayerView::scrubStarted);
    connect(position_, &QSlider::sliderReleased, this, &PlayerView::scrubEnded);
    connect(position_, &QSlider::sliderMoved, this, [this](int ms) {
        player_.seek(MediaTime{ms, 1000});
    });

    time_ = new QLabel(bar);
    time_->setAccessibleName(tr("Time"));

    fullScreenButton_ = new QToolButton(bar);
    fullScreenButton_->setAutoRaise(true);
    connect(fullScreenButton_, &QToolButton::clicked, this,
            [this] { setFullScreen(!fullScreen_); });

    row->addWidget(play_);
    row->addWidget(position_, 1);
    row->addWidget(time_);
    row->addWidget(fullScreenButton_);
    return bar;
}

void PlayerView::togglePlay() {
    if (player_.isPlaying())
        player_.pause();
    else
        player_.play();
}

void PlayerView::itemChanged() {
    const bool has = player_.hasItem();
    play_->setEnabled(has);
    position_->setEnabled(has);
    position_->setRange(0, milliseconds(player_.duration()));
    // Room for the longest text this item can show, so the slider does not twitch.
    QString widest = TimeText::short_(player_.duration().seconds());
    widest.replace(QRegularExpression("[0-9]"), "0");
    time_->setMinimumWidth(time_->fontMetrics().horizontalAdvance(widest + " / " + widest));
    timeChanged();
}

void PlayerView::rateChanged() {
    const bool playing = player_.isPlaying();
    play_->setIcon(tinted(*this, playing ? QStyle::SP_MediaPause : QStyle::SP_MediaPlay));
    play_->setAccessibleName(playing ? tr("Pause") : tr("Play"));
    play_->setToolTip(play_->accessibleName());
}

void PlayerView::timeChanged() {
    const MediaTime now = player_.currentTime();
    if (!position_->isSliderDown())
        position_->setValue(milliseconds(now));
    time_->setText(tr("%1 / %2").arg(TimeText::short_(now.seconds()),
                                     TimeText::short_(player_.duration().seconds())));
}

void PlayerView::scrubStarted() {
    // Scrubbing shows still frames; playing resumes where the slider is let go.
    resumeAfterScrub_ = player_.isPlaying();
    player_.pause();
    player_.seek(MediaTime{position_->sliderPosition(), 1000});
}

void PlayerView::scrubEnded() {
    if (resumeAfterScrub_)
        player_.play();
    resumeAfterScrub_ = false;
}

void PlayerView::setFullScreen(bool on) {
    if (on == fullScreen_)
        return;
    fullScreen_ = on;
    // Embedded in a window, the view leaves it for a screen of its own and comes back into its
    // place in the layout.
    if (parentWidget())
        setWindowFlag(Qt::Window, on);
    if (on)
        showFullScreen();
    else
        showNormal();
    if (on) {
        activateWindow();
        setFocus();
    }
    fullScreenButton_->setIcon(
        style()->standardIcon(on ? QStyle::SP_TitleBarNormalButton : QStyle::SP_TitleBarMaxButton));
    fullScreenChanged();
}

void PlayerView::fullScreenChanged() {
    fullScreenButton_->setIcon(tinted(*this, fullScreen_ ? QStyle::SP_TitleBarNormalButton
                                                         : QStyle::SP_TitleBarMaxButton));
    fullScreenButton_->setAccessibleName(fullScreen_ ? tr("Exit Full Screen") : tr("Full Screen"));
    fullScreenButton_->setToolTip(fullScreenButton_->accessibleName());
}

void PlayerView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    const bool look =
        event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange;
    if (look && play_) {
        rateChanged();
        fullScreenChanged();
    }
}

void PlayerView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Space:
        togglePlay();
        break;
    case Qt::Key_Left:
    case Qt::Key_Right:
        player_.step(event->key() == Qt::Key_Left ? -1 : 1); // does nothing while playing
        break;
    case Qt::Key_Home:
        player_.seek(MediaTime::zero());
        break;
    case Qt::Key_End:
        player_.seek(player_.duration());
        break;
    case Qt::Key_Escape:
        if (!fullScreen_) {
            QWidget::keyPressEvent(event);
            return;
        }
        setFullScreen(false);
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    event->accept();
}

} // namespace vimbo
