#pragma once

// The flat look of the window's toolbar buttons: no bevel and no frame, just the label on the
// window's own background, with a soft rounded fill that says "pointer here", "pressed" or
// "switched on". Every colour is the palette's text colour at some opacity, so the look follows
// the desktop's light or dark theme without a colour of its own.
//
// A proxy over the application's style: it draws tool buttons, tool bar separators and the tool
// bar's panel, and hands everything else to the desktop style. Apply it with setStyle() to the
// tool bar and to each of its buttons (setStyle does not reach a widget's children). Interface
// thread only. Does not own the widgets it is set on; it must outlive them (parent it to the
// tool bar).
//
// What each button shows comes from its QToolButton:
// - titled: toolButtonStyle() is Qt::ToolButtonTextBesideIcon (icon and title side by side),
//   otherwise the icon alone in a 32 px wide box;
// - active: the button is checked (a checkable action that is on);
// - pressed, hovering, enabled: the button's own states.

#include <QColor>
#include <QProxyStyle>

namespace vimbo::ui {

class FlatButtonStyle : public QProxyStyle {
    Q_OBJECT
public:
    explicit FlatButtonStyle(QObject* parent = nullptr);

    static constexpr int buttonHeight = 28;
    static constexpr int iconOnlyWidth = 32;
    static constexpr int titledPadding = 9; // left and right of a titled button's content
    static constexpr int cornerRadius = 7;
    static constexpr int titledIconSize = 16;
    static constexpr int iconOnlySize = 18;
    static constexpr int separatorHeight = 18;
    static constexpr int separatorSpace = 4; // left and right of the separator line

    // Opacity of the text colour filled behind a button: none when disabled, whatever else
    // holds; 0.12 pressed or on; 0.07 under the pointer; none at rest.
    static double fillOpacity(QStyle::State state);
    // The label's colour: faint when disabled, full when on, otherwise a step back from full.
    static QColor foreground(const QPalette& palette, QStyle::State state);

    void polish(QWidget* widget) override;
    using QProxyStyle::polish;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption* option = nullptr,
                    const QWidget* widget = nullptr) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                            QPainter* painter, const QWidget* widget = nullptr) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget = nullptr) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget = nullptr) const override;
};

} // namespace vimbo::ui
