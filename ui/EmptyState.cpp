#include "ui/EmptyState.h"

#include "ui/Icons.h"

#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace vimbo::ui {
namespace {

constexpr int iconSize = 64;

} // namespace

EmptyState::EmptyState(QWidget* parent)
    : QWidget(parent)
    , icon_(new QLabel(this)) {
    icon_->setAlignment(Qt::AlignCenter);
    icon_->setAccessibleName(tr("Photos and videos"));
    showIcon();

    auto* title = new QLabel(tr("Drop Photos and Videos Here"), this);
    title->setAlignment(Qt::AlignCenter);
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.6);
    big.setWeight(QFont::DemiBold);
    title->setFont(big);

    auto* add = new QPushButton(tr("Add…"), this);
    add->setAccessibleName(tr("Add photos and videos"));
    auto* photos = new QPushButton(tr("Add from Photos…"), this);
    photos->setAccessibleName(tr("Add from Photos"));
    add->setDefault(true);
    connect(add, &QPushButton::clicked, this, &EmptyState::addRequested);
    connect(photos, &QPushButton::clicked, this, &EmptyState::addFromPhotosRequested);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(add);
    buttons->addWidget(photos);
    buttons->addStretch();

    auto* layout = new QVBoxLayout(this);
    layout->addStretch();
    layout->addWidget(icon_);
    layout->addSpacing(12);
    layout->addWidget(title);
    layout->addSpacing(16);
    layout->addLayout(buttons);
    layout->addStretch();
}

void EmptyState::changeEvent(QEvent* event) {
    // The icon is drawn in the palette's colours: follow a switch between light and dark.
    if (event->type() == QEvent::PaletteChange)
        showIcon();
    QWidget::changeEvent(event);
}

void EmptyState::showIcon() {
    QIcon picture = icon(Icon::filmStack);
    if (picture.isNull())
        picture = QApplication::windowIcon();
    icon_->setPixmap(picture.pixmap(iconSize, iconSize, QIcon::Disabled));
}

} // namespace vimbo::ui
