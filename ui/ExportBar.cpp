#include "ui/ExportBar.h"

#include "export/ExportController.h"
#include "model/TimeText.h"
#include "ui/ElidedLabel.h"
#include "ui/Icons.h"
#include "ui/Reveal.h"
#include "ui/ShareMenu.h"
#include "ui/Tones.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QToolButton>

namespace vimbo::ui {
namespace {

constexpr int progressSteps = 1000;

// A filled circle with a check, or a triangle with an exclamation mark, for when neither the
// bundled drawings nor the desktop theme have the sign.
QPixmap drawnSign(Icon which, const QColor& color, int side, double dpr) {
    QPixmap pixmap(QSize(side, side) * dpr);
    pixmap.setDevicePixelRatio(dpr);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(color);
    const QRectF box(0.5, 0.5, side - 1, side - 1);
    if (which == Icon::done) {
        p.drawEllipse(box);
        p.setPen(QPen(Qt::white, side / 8.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawPolyline(QPolygonF{
            {side * 0.28, side * 0.52}, {side * 0.44, side * 0.68}, {side * 0.72, side * 0.34}});
    } else {
        p.drawPolygon(QPolygonF{{side / 2.0, box.top()}, box.bottomRight(), box.bottomLeft()});
        p.setPen(QPen(Qt::black, side / 9.0, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(side / 2.0, side * 0.38), QPointF(side / 2.0, side * 0.66));
        p.drawPoint(QPointF(side / 2.0, side * 0.8));
    }
    return pixmap;
}

// The outcome's sign: the bundled drawing in its colour, else the desktop theme's own.
QLabel* sign(Icon which, const QColor& color, const QString& name) {
    auto* label = new QLabel;
    constexpr int side = 16;
    QIcon drawing = bundledIcon(which, color);
    if (drawing.isNull())
        drawing = icon(which);
    label->setPixmap(drawing.isNull() ? drawnSign(which, color, side, label->devicePixelRatioF())
                                      : drawing.pixmap(side, side));
    label->setAccessibleName(name);
    return label;
}

} // namespace

ExportBar::ExportBar(ExportController& controller, QWidget* parent)
    : QWidget(parent)
    , controller_(controller)
    , progress_(new QProgressBar)
    , remaining_(new QLabel)
    , cancel_(new QPushButton(tr("Cancel")))
    , doneIcon_(sign(Icon::done, QColor(0x34, 0xc7, 0x59), tr("Done")))
    , file_(new ElidedLabel)
    , reveal_(new QPushButton(tr("Show in Folder")))
    , share_(new QToolButton)
    , shareMenu_(new ShareMenu(this))
    , warningIcon_(sign(Icon::warning, QColor(0xff, 0xcc, 0x00), tr("Failed")))
    , message_(new ElidedLabel(nullptr, Qt::ElideRight))
    , close_(new QToolButton) {
    setAccessibleName(tr("Export"));
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(12, 8, 12, 8);
    row->setSpacing(12);

    progress_->setRange(0, progressSteps);
    progress_->setTextVisible(false);
    progress_->setAccessibleName(tr("Export progress"));
    QPalette quiet = remaining_->palette();
    quiet.setColor(QPalette::WindowText, secondaryText(quiet));
    remaining_->setPalette(quiet);
    remaining_->setAccessibleName(tr("Time remaining"));
    cancel_->setAccessibleName(tr("Cancel"));
    connect(cancel_, &QPushButton::clicked, &controller, &ExportController::cancel);

    file_->setAccessibleDescription(tr("Exported file"));
    reveal_->setAccessibleName(tr("Show in Folder"));
    connect(reveal_, &QPushButton::clicked, this,
            [this] { revealInFileManager({controller_.state().url}); });
    share_->setText(tr("Share\u2026"));
    share_->setAccessibleName(tr("Share\u2026"));
    share_->setIcon(icon(Icon::share));
    share_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    share_->setPopupMode(QToolButton::InstantPopup);
    share_->setMenu(shareMenu_);

    message_->setAccessibleDescription(tr("Why the export failed"));
    close_->setIcon(icon(Icon::close));
    if (close_->icon().isNull())
        close_->setText(QStringLiteral("\u2715"));
    close_->setAutoRaise(true);
    close_->setToolTip(tr("Close"));
    close_->setAccessibleName(tr("Close"));
    connect(close_, &QToolButton::clicked, &controller, &ExportController::close);

    row->addWidget(progress_, 1);
    row->addWidget(remaining_);
    row->addWidget(cancel_);
    row->addWidget(doneIcon_);
    row->addWidget(warningIcon_);
    row->addWidget(file_, 1);
    row->addWidget(message_, 1);
    row->addWidget(reveal_);
    row->addWidget(share_);
    row->addWidget(close_);

    connect(&controller, &ExportController::stateChanged, this, &ExportBar::refresh);
    refresh();
}

QString ExportBar::remainingText(std::optional<double> seconds) {
    return seconds ? tr("About %1 remaining").arg(TimeText::short_(*seconds))
                   : tr("Exporting\u2026");
}

void ExportBar::refresh() {
    using Kind = ExportController::State::Kind;
    const ExportController::State& state = controller_.state();
    const bool running = state.kind == Kind::running;
    const bool done = state.kind == Kind::done;
    const bool failed = state.kind == Kind::failed;
    for (QWidget* w : {static_cast<QWidget*>(progress_), static_cast<QWidget*>(remaining_),
                       static_cast<QWidget*>(cancel_)})
        w->setVisible(running);
    for (QWidget* w : {static_cast<QWidget*>(doneIcon_), static_cast<QWidget*>(file_),
                       static_cast<QWidget*>(reveal_), static_cast<QWidget*>(share_)})
        w->setVisible(done);
    warningIcon_->setVisible(failed);
    message_->setVisible(failed);
    close_->setVisible(done || failed);

    if (running) {
        progress_->setValue(static_cast<int>(state.progress * progressSteps));
        remaining_->setText(remainingText(state.remaining));
    }
    if (done) {
        file_->setFullText(state.url.fileName());
        shareMenu_->setFile(state.url);
    }
    if (failed)
        message_->setFullText(state.message);
}

} // namespace vimbo::ui
