#include "ui/ClipTileDelegate.h"

#include "model/Project.h"
#include "model/TimeText.h"
#include "ui/ClipListModel.h"
#include "ui/Icons.h"
#include "ui/Tones.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>

namespace vimbo::ui {
namespace {

using M = StripMetrics;

QFont scaled(QFont font, double factor, QFont::Weight weight) {
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(std::max(8, static_cast<int>(font.pixelSize() * factor)));
    font.setWeight(weight);
    return font;
}

QPainterPath rounded(const QRectF& rect, double radius) {
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

// The picture cropped to fill `size`, with rounded corners, at the screen's pixel density.
QPixmap tilePicture(const QImage& image, QSize size, double dpr) {
    const QString key = QStringLiteral("vimbo-tile-%1-%2x%3@%4")
                            .arg(image.cacheKey())
                            .arg(size.width())
                            .arg(size.height())
                            .arg(dpr);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    // Crop the overflow: the largest part of the image with the tile's shape, centred. QImage
    // scales it once; a smooth painter transform under the antialiased corner clip cost a
    // paint over 15 ms whenever a row of thumbnails landed together.
    const QSizeF source = QSizeF(size).scaled(QSizeF(image.size()), Qt::KeepAspectRatio);
    const QRect from(qRound((image.width() - source.width()) / 2),
                     qRound((image.height() - source.height()) / 2), qRound(source.width()),
                     qRound(source.height()));
    const QSize pixels = size * dpr;
    QBrush fill(image.copy(from).scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    fill.setTransform(QTransform::fromScale(1 / dpr, 1 / dpr));
    pixmap = QPixmap(pixels);
    pixmap.setDevicePixelRatio(dpr);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(fill);
    p.drawPath(rounded(QRectF(QPointF(0, 0), QSizeF(size)), M::radius));
    p.end();
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

// The icon's shape in white, whatever colours the desktop theme gives it; null when neither
// the theme nor the bundled set has it.
QPixmap whiteIcon(Icon which, int side, double dpr) {
    const QString key =
        QStringLiteral("vimbo-white-%1-%2@%3").arg(static_cast<int>(which)).arg(side).arg(dpr);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    pixmap = icon(which).pixmap(QSize(side, side), dpr);
    if (pixmap.isNull())
        return pixmap;
    QPainter p(&pixmap);
    p.setCompositionMode(QPainter::CompositionMode_SourceIn);
    p.fillRect(pixmap.rect(), Qt::white);
    p.end();
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

// A white speaker with a slash, for when no icon drawing is at hand.
void paintMutedGlyph(QPainter* painter, const QRectF& r) {
    painter->save();
    painter->setPen(Qt::NoPen);
    painter->setBrush(Qt::white);
    QPainterPath speaker;
    speaker.moveTo(r.left(), r.top() + r.height() * 0.35);
    speaker.lineTo(r.left() + r.width() * 0.25, r.top() + r.height() * 0.35);
    speaker.lineTo(r.left() + r.width() * 0.55, r.top() + r.height() * 0.08);
    speaker.lineTo(r.left() + r.width() * 0.55, r.bottom() - r.height() * 0.08);
    speaker.lineTo(r.left() + r.width() * 0.25, r.bottom() - r.height() * 0.35);
    speaker.lineTo(r.left(), r.bottom() - r.height() * 0.35);
    speaker.closeSubpath();
    painter->drawPath(speaker);
    painter->setPen(QPen(Qt::white, std::max(1.0, r.width() / 9), Qt::SolidLine, Qt::RoundCap));
    painter->drawLine(QPointF(r.left() + r.width() * 0.1, r.top()), QPointF(r.right(), r.bottom()));
    painter->restore();
}

// A dark capsule holding white text and, optionally, the muted sign after it.
void paintCapsule(QPainter* painter, const QFont& font, const QString& text, bool muted,
                  const QPoint& corner, Qt::Corner at) {
    const QFontMetrics metrics(font);
    const int glyph = metrics.ascent();
    const int textWidth = text.isEmpty() ? 0 : metrics.horizontalAdvance(text);
    const int gap = !text.isEmpty() && muted ? 3 : 0;
    const QSize size(textWidth + gap + (muted ? glyph : 0) + 10, metrics.height() + 2);
    const QPoint topLeft = at == Qt::TopLeftCorner
                               ? corner
                               : QPoint(corner.x() - size.width(), corner.y() - size.height());
    const QRect capsule(topLeft, size);
    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor(0, 0, 0, 140));
    painter->drawRoundedRect(capsule, size.height() / 2.0, size.height() / 2.0);
    painter->setFont(font);
    painter->setPen(Qt::white);
    const QRect inner = capsule.adjusted(5, 1, -5, -1);
    painter->drawText(inner, Qt::AlignLeft | Qt::AlignVCenter, text);
    if (!muted)
        return;
    const QRect place(inner.right() + 1 - glyph, inner.center().y() - glyph / 2, glyph, glyph);
    const QPixmap sign = whiteIcon(Icon::muted, glyph, painter->device()->devicePixelRatioF());
    if (sign.isNull())
        paintMutedGlyph(painter, QRectF(place).adjusted(0.5, 1, -0.5, -1));
    else
        painter->drawPixmap(place, sign);
}

void paintSpinner(QPainter* painter, const QPalette& palette, const QPoint& centre, int angle) {
    const QRectF ring(centre.x() - 8, centre.y() - 8, 16, 16);
    painter->setBrush(Qt::NoBrush);
    painter->setPen(QPen(tertiaryText(palette), 2));
    painter->drawEllipse(ring);
    painter->setPen(QPen(secondaryText(palette), 2, Qt::SolidLine, Qt::RoundCap));
    painter->drawArc(ring, -angle * 16, 100 * 16);
}

} // namespace

ClipTileDelegate::ClipTileDelegate(Project& project, const ClipListModel& model, QObject* parent)
    : QStyledItemDelegate(parent)
    , project_(project)
    , model_(model) {}

QSize ClipTileDelegate::sizeHint(const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const {
    const int height =
        M::paddingTop + M::pictureHeight + M::nameGap + fonts(option.font).nameHeight;
    const int row = index.row();
    const int leading = row == 0 ? M::paddingX : 0;
    if (model_.isAddTile(row))
        return {leading + M::addSide + M::paddingX, height};
    return {leading + M::pictureWidth + M::spacing, height};
}

const ClipTileDelegate::Fonts& ClipTileDelegate::fonts(const QFont& base) const {
    if (fonts_.nameHeight == 0 || !(fonts_.base == base)) {
        fonts_.base = base;
        fonts_.name = scaled(base, 0.85, QFont::Normal);   // caption
        fonts_.badge = scaled(base, 0.77, QFont::Medium);  // caption 2
        fonts_.mark = scaled(base, 0.77, QFont::DemiBold); //
        fonts_.nameHeight = QFontMetrics(fonts_.name).height();
    }
    return fonts_;
}

QRect ClipTileDelegate::tileRect(const QRect& itemRect, int row) const {
    const int x = itemRect.x() + (row == 0 ? M::paddingX : 0);
    const int y = itemRect.y() + M::paddingTop;
    if (model_.isAddTile(row))
        return {x, y, M::addSide, M::addSide};
    return {x, y, M::pictureWidth, itemRect.height() - M::paddingTop};
}

void ClipTileDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const {
    const QRect tile = tileRect(option.rect, index.row());
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (model_.isAddTile(index.row()))
        paintAddTile(painter, option, tile);
    else if (const Clip* clip = model_.clipAt(index.row()))
        paintClip(painter, option, *clip, tile);
    painter->restore();
}

void ClipTileDelegate::paintClip(QPainter* painter, const QStyleOptionViewItem& option,
                                 const Clip& clip, const QRect& tile) const {
    const auto info = project_.info().constFind(clip.id);
    const bool known = info != project_.info().constEnd();
    if (known && !info->isUsable())
        painter->setOpacity(0.45);
    const QRect picture(tile.topLeft(), QSize(M::pictureWidth, M::pictureHeight));
    paintPicture(painter, option, clip, picture);
    paintLabels(painter, option, clip, picture);

    const bool selected = project_.selection().contains(clip.id);
    if (selected) {
        painter->setBrush(Qt::NoBrush);
        painter->setPen(QPen(option.palette.color(QPalette::Highlight), 3));
        painter->drawPath(rounded(QRectF(picture).adjusted(1.5, 1.5, -1.5, -1.5), M::radius - 1));
    }
    const Fonts& f = fonts(option.font);
    painter->setFont(f.name);
    painter->setPen(selected ? option.palette.color(QPalette::WindowText)
                             : secondaryText(option.palette));
    const QRect name(tile.left(), picture.bottom() + 1 + M::nameGap, M::pictureWidth, f.nameHeight);
    painter->drawText(
        name, Qt::AlignHCenter | Qt::AlignTop | Qt::TextDontClip,
        QFontMetrics(f.name).elidedText(clip.url.fileName(), Qt::ElideMiddle, M::pictureWidth));
}

void ClipTileDelegate::paintPicture(QPainter* painter, const QStyleOptionViewItem& option,
                                    const Clip& clip, const QRect& picture) const {
    if (const auto image = project_.thumbnail(clip); image && !image->isNull()) {
        const double dpr = painter->device()->devicePixelRatioF();
        painter->drawPixmap(picture.topLeft(), tilePicture(*image, picture.size(), dpr));
        return;
    }
    painter->setPen(Qt::NoPen);
    painter->setBrush(faintFill(option.palette));
    painter->drawPath(rounded(picture, M::radius));
    const auto info = project_.info().constFind(clip.id);
    if (info == project_.info().constEnd()) {
        paintSpinner(painter, option.palette, picture.center(), spinnerAngle_);
        return;
    }
    const QIcon symbol = icon(info->kind == MediaKind::missing ? Icon::missing : Icon::film);
    symbol.paint(painter, QRect(picture.center() - QPoint(11, 11), QSize(22, 22)));
}

void ClipTileDelegate::paintLabels(QPainter* painter, const QStyleOptionViewItem& option,
                                   const Clip& clip, const QRect& picture) const {
    const auto info = project_.info().constFind(clip.id);
    if (info == project_.info().constEnd() || !info->isUsable())
        return;
    const Segment segment{clip.url, *info, clip.edits};
    paintCapsule(painter, fonts(option.font).badge, TimeText::short_(segment.duration()), false,
                 picture.bottomRight() + QPoint(1 - 4, 1 - 4), Qt::BottomRightCorner);
    const bool sped = clip.edits.speed != 1.0;
    if (info->kind != MediaKind::video || !(sped || clip.edits.muted))
        return;
    const QString speed = sped ? TimeText::seconds(clip.edits.speed) + u'\u00D7' : QString();
    paintCapsule(painter, fonts(option.font).mark, speed, clip.edits.muted,
                 picture.topLeft() + QPoint(4, 4), Qt::TopLeftCorner);
}

void ClipTileDelegate::paintAddTile(QPainter* painter, const QStyleOptionViewItem& option,
                                    const QRect& tile) const {
    const bool hovering = option.state & QStyle::State_MouseOver;
    const QColor color = hovering ? secondaryText(option.palette) : tertiaryText(option.palette);
    QPen outline(color, 1.5);
    outline.setDashPattern({5 / 1.5, 4 / 1.5}); // in pen widths: dashes of 5, gaps of 4
    painter->setPen(outline);
    painter->setBrush(Qt::NoBrush);
    painter->drawPath(rounded(QRectF(tile).adjusted(0.75, 0.75, -0.75, -0.75), M::radius));
    painter->setPen(QPen(color, 1.5, Qt::SolidLine, Qt::RoundCap));
    const QPointF c = QRectF(tile).center();
    painter->drawLine(c - QPointF(9, 0), c + QPointF(9, 0));
    painter->drawLine(c - QPointF(0, 9), c + QPointF(0, 9));
}

} // namespace vimbo::ui
