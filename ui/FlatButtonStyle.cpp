#include "ui/FlatButtonStyle.h"

#include <QFontMetrics>
#include <QIcon>
#include <QPainter>
#include <QPainterPath>
#include <QStyleOption>
#include <QToolButton>

#include <algorithm>

namespace vimbo::ui {
namespace {

constexpr int iconTextGap = 5;
constexpr int toolBarMargin = 6;
constexpr int toolBarSpacing = 4;

// macOS-like label levels, but less faint: on Linux the window background is often mid-grey,
// where a disabled label at one tenth would vanish rather than read as "off".
constexpr double secondaryAlpha = 0.72;
constexpr double quaternaryAlpha = 0.28;
constexpr double separatorAlpha = 0.16;

QColor withAlpha(QColor color, double alpha) {
    color.setAlphaF(static_cast<float>(color.alphaF() * alpha));
    return color;
}

bool isTitled(const QStyleOptionToolButton& option) {
    return option.toolButtonStyle != Qt::ToolButtonIconOnly && !option.text.isEmpty();
}

bool hasIcon(const QStyleOptionToolButton& option) {
    return option.toolButtonStyle != Qt::ToolButtonTextOnly && !option.icon.isNull();
}

QFont titleFont(const QStyleOptionToolButton& option) {
    QFont font = option.font;
    font.setWeight(QFont::Medium);
    return font;
}

// The icon as a one-colour silhouette in the label's colour. Toolbar icons are drawn as
// templates: the bundled ones are line art, and the desktop themes' action icons are symbolic
// (single-colour) too, so tinting keeps them legible on dark and light backgrounds and lets
// them dim and brighten with the button's state like the title does.
QPixmap tinted(const QIcon& icon, int size, qreal ratio, const QColor& color) {
    QPixmap pixmap = icon.pixmap(QSize(size, size), ratio);
    if (pixmap.isNull())
        return pixmap;
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(QRect(QPoint(), pixmap.size()), color);
    return pixmap;
}

void drawBackground(const QStyleOptionToolButton& option, QPainter* painter) {
    const QRectF box = QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -0.5);
    const double fill = FlatButtonStyle::fillOpacity(option.state);
    if (fill > 0) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(withAlpha(option.palette.color(QPalette::WindowText), fill));
        painter->drawRoundedRect(box, FlatButtonStyle::cornerRadius, FlatButtonStyle::cornerRadius);
    }
}

void drawLabel(const QStyleOptionToolButton& option, QPainter* painter) {
    const QColor color = FlatButtonStyle::foreground(option.palette, option.state);
    const bool titled = isTitled(option);
    const int iconSize = titled ? FlatButtonStyle::titledIconSize : FlatButtonStyle::iconOnlySize;
    const QRect box = option.rect;
    const int iconWidth = hasIcon(option) ? iconSize : 0;

    if (!titled) {
        const QRect iconRect(box.center().x() - iconSize / 2 + 1,
                             box.center().y() - iconSize / 2 + 1, iconSize, iconSize);
        painter->drawPixmap(
            iconRect, tinted(option.icon, iconSize, painter->device()->devicePixelRatioF(), color));
        return;
    }
    const QFont font = titleFont(option);
    const int textWidth = QFontMetrics(font).horizontalAdvance(option.text);
    const int gap = iconWidth > 0 ? iconTextGap : 0;
    // Centred as a group, so a button stretched wider than its content still looks right.
    int x = box.x() + (box.width() - (iconWidth + gap + textWidth)) / 2;
    if (iconWidth > 0) {
        const QRect iconRect(x, box.y() + (box.height() - iconSize) / 2, iconSize, iconSize);
        painter->drawPixmap(
            iconRect, tinted(option.icon, iconSize, painter->device()->devicePixelRatioF(), color));
        x += iconWidth + gap;
    }
    painter->setFont(font);
    painter->setPen(color);
    painter->drawText(QRect(x, box.y(), textWidth + 1, box.height()),
                      Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, option.text);
}

} // namespace

FlatButtonStyle::FlatButtonStyle(QObject* parent) {
    setParent(parent);
}

double FlatButtonStyle::fillOpacity(QStyle::State state) {
    if (!(state & State_Enabled))
        return 0;
    if (state & (State_Sunken | State_On))
        return 0.12;
    if (state & State_MouseOver)
        return 0.07;
    return 0;
}

QColor FlatButtonStyle::foreground(const QPalette& palette, QStyle::State state) {
    const QColor text = palette.color(QPalette::Active, QPalette::WindowText);
    if (!(state & State_Enabled))
        return withAlpha(text, quaternaryAlpha);
    if (state & State_On)
        return text;
    return withAlpha(text, secondaryAlpha);
}

void FlatButtonStyle::polish(QWidget* widget) {
    QProxyStyle::polish(widget);
    // Hover fills need enter and leave repaints.
    if (qobject_cast<QToolButton*>(widget))
        widget->setAttribute(Qt::WA_Hover);
}

QSize FlatButtonStyle::sizeFromContents(ContentsType type, const QStyleOption* option,
                                        const QSize& size, const QWidget* widget) const {
    const auto* button = qstyleoption_cast<const QStyleOptionToolButton*>(option);
    if (type != CT_ToolButton || !button)
        return QProxyStyle::sizeFromContents(type, option, size, widget);
    if (!isTitled(*button))
        return {iconOnlyWidth, buttonHeight};
    const int iconWidth = hasIcon(*button) ? titledIconSize + iconTextGap : 0;
    const int textWidth = QFontMetrics(titleFont(*button)).horizontalAdvance(button->text);
    const int textHeight = QFontMetrics(titleFont(*button)).height();
    // A large desktop font grows the button rather than clipping its title.
    return {iconWidth + textWidth + 2 * titledPadding, std::max(buttonHeight, textHeight + 8)};
}

int FlatButtonStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                                 const QWidget* widget) const {
    switch (metric) {
    case PM_ToolBarSeparatorExtent:
        return 1 + 2 * separatorSpace;
    case PM_ToolBarItemSpacing:
        return toolBarSpacing;
    case PM_ToolBarItemMargin:
        return toolBarMargin;
    case PM_ToolBarFrameWidth:
        return 0;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

void FlatButtonStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                         QPainter* painter, const QWidget* widget) const {
    const auto* button = qstyleoption_cast<const QStyleOptionToolButton*>(option);
    if (control != CC_ToolButton || !button) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        return;
    }
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    drawBackground(*button, painter);
    drawLabel(*button, painter);
    painter->restore();
}

void FlatButtonStyle::drawControl(ControlElement element, const QStyleOption* option,
                                  QPainter* painter, const QWidget* widget) const {
    // The tool bar sits on the window's own background: no gradient, no frame lines.
    if (element == CE_ToolBar)
        return;
    QProxyStyle::drawControl(element, option, painter, widget);
}

void FlatButtonStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                    QPainter* painter, const QWidget* widget) const {
    if (element == PE_PanelToolBar)
        return;
    if (element != PE_IndicatorToolBarSeparator) {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    // A hairline across the tool bar's direction, centred in the separator's box.
    const QRect box = option->rect;
    const QColor color = withAlpha(option->palette.color(QPalette::WindowText), separatorAlpha);
    if (option->state & State_Horizontal)
        painter->fillRect(
            QRect(box.center().x(), box.center().y() - separatorHeight / 2 + 1, 1, separatorHeight),
            color);
    else
        painter->fillRect(
            QRect(box.center().x() - separatorHeight / 2 + 1, box.center().y(), separatorHeight, 1),
            color);
}

} // namespace vimbo::ui
