#pragma once

// The quieter text and fill tones the views draw with, derived from the desktop palette so
// that they read in light and dark themes alike: secondary for captions and details, tertiary
// for outlines that should barely show, and a faint fill behind pictures still loading.

#include <QColor>
#include <QPalette>

namespace vimbo::ui {

inline QColor withAlpha(QColor color, double alpha) {
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

inline QColor secondaryText(const QPalette& palette) {
    return withAlpha(palette.color(QPalette::WindowText), 0.62);
}

inline QColor tertiaryText(const QPalette& palette) {
    return withAlpha(palette.color(QPalette::WindowText), 0.32);
}

inline QColor faintFill(const QPalette& palette) {
    return withAlpha(palette.color(QPalette::WindowText), 0.08);
}

} // namespace vimbo::ui
