#include "ui/PhotoGridDelegate.h"

#include "model/TimeText.h"
#include "ui/Icons.h"
#include "ui/PhotoGridModel.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace vimbo::ui {
namespace {

constexpr double radius = 6;
constexpr int badgeRadius = 10;

void drawPlaceholder(QPainter* painter, const QRectF& tile, const QStyleOptionViewItem& option,
                     bool failed) {
    QColor shade = option.palette.color(QPalette::Text);
    shade.setAlphaF(0.07F);
    painter->fillRect(tile, shade);
    if (!failed)
        return;
    // Nothing could be decoded: say so quietly rather than leave a hole.
    const QColor faint = option.palette.color(QPalette::Disabled, QPalette::Text);
    const int side = 28;
    const QRect iconRect(static_cast<int>(tile.center().x()) - side / 2,
                         static_cast<int>(tile.center().y()) - side / 2, side, side);
    bundledIcon(Icon::missing, faint).paint(painter, iconRect);
}

void drawVideoLength(QPainter* painter, const QRectF& tile, const QStyleOptionViewItem& option,
                     double seconds) {
    const double shadeHeight = 30;
    QLinearGradient gradient(tile.bottomLeft() - QPointF(0, shadeHeight), tile.bottomLeft());
    gradient.setColorAt(0, QColor(0, 0, 0, 0));
    gradient.setColorAt(1, QColor(0, 0, 0, 150));
    painter->fillRect(QRectF(tile.left(), tile.bottom() - shadeHeight, tile.width(), shadeHeight),
                      gradient);
    QFont font = option.font;
    font.setWeight(QFont::DemiBold);
    font.setPointSizeF(font.pointSizeF() * 0.85);
    painter->setFont(font);
    painter->setPen(Qt::white);
    painter->drawText(tile.adjusted(6, 0, -6, -4), Qt::AlignRight | Qt::AlignBottom,
                      TimeText::short_(seconds));
    // A small play mark on the left, so a video reads as one before its length is read.
    const QPointF base(tile.left() + 8, tile.bottom() - 8);
    const QPolygonF play{base + QPointF(0, -9), base + QPointF(7.5, -4.5), base};
    painter->setPen(Qt::NoPen);
    painter->setBrush(Qt::white);
    painter->drawPolygon(play);
}

void drawCheckBadge(QPainter* painter, const QRectF& tile, const QColor& accent, bool picked) {
    const QPointF centre(tile.right() - badgeRadius - 5, tile.top() + badgeRadius + 5);
    if (!picked) {
        // Under the pointer: an empty ring that invites a click.
        painter->setPen(QPen(QColor(255, 255, 255, 230), 1.5));
        painter->setBrush(QColor(0, 0, 0, 60));
        painter->drawEllipse(centre, badgeRadius, badgeRadius);
        return;
    }
    painter->setPen(QPen(Qt::white, 1.5));
    painter->setBrush(accent);
    painter->drawEllipse(centre, badgeRadius, badgeRadius);
    QPainterPath check;
    check.moveTo(centre + QPointF(-4.5, 0.2));
    check.lineTo(centre + QPointF(-1.3, 3.4));
    check.lineTo(centre + QPointF(4.6, -3.2));
    painter->setPen(QPen(Qt::white, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->setBrush(Qt::NoBrush);
    painter->drawPath(check);
}

} // namespace

void PhotoGridDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const {
    const QRectF tile = QRectF(option.rect).adjusted(tileInset, tileInset, -tileInset, -tileInset);
    const bool picked = option.state & QStyle::State_Selected;
    const QColor accent = option.palette.color(QPalette::Highlight);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);

    QPainterPath rounded;
    rounded.addRoundedRect(tile, radius, radius);
    painter->save();
    painter->setClipPath(rounded);
    const QImage image = index.data(Qt::DecorationRole).value<QImage>();
    if (image.isNull())
        drawPlaceholder(painter, tile, option, index.data(PhotoGridModel::loadedRole).toBool());
    else
        painter->drawImage(tile, image);
    if (index.data(PhotoGridModel::isVideoRole).toBool())
        drawVideoLength(painter, tile, option, index.data(PhotoGridModel::durationRole).toDouble());
    if (picked) {
        // A light veil and an accent frame: the picked tiles stand apart even in a busy grid.
        painter->fillRect(tile, QColor(255, 255, 255, 40));
        painter->setPen(QPen(accent, 6));
        painter->setBrush(Qt::NoBrush);
        painter->drawPath(rounded);
    }
    painter->restore();

    if (picked || option.state & QStyle::State_MouseOver)
        drawCheckBadge(painter, tile, accent, picked);
    if (option.state & QStyle::State_HasFocus) {
        // Where the keyboard is: a thin ring just outside the tile.
        QColor ring = accent;
        ring.setAlphaF(0.6F);
        painter->setPen(QPen(ring, 1.5));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(tile.adjusted(-2.5, -2.5, 2.5, 2.5), radius + 2, radius + 2);
    }
    painter->restore();
}

QSize PhotoGridDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const {
    return {cellSize, cellSize};
}

} // namespace vimbo::ui
