#pragma once

// The window's icons. Most have a freedesktop icon name, so a desktop theme (Adwaita, Breeze…)
// draws them in its own style; where the theme has none, Vimbo's bundled drawing is used
// (ui/icons/, one-colour line art on a 24 × 24 grid), tinted with the palette's text colour so
// it reads in light and dark themes alike. Interface thread only.

#include <QIcon>

namespace vimbo::ui {

enum class Icon {
    undo,
    redo,
    add,   // a plus
    sort,  // arrows up and down
    frame, // a landscape rectangle: the frame shape menu
    framePortrait,
    share,     // a box with an arrow out of it: export, share
    inspector, // a window with a right-hand column
    film,      // a video, and a clip whose format is not supported
    missing,   // a dashed square with a question mark: a file that cannot be found
    muted,     // a speaker with a small x
    rotateLeft,
    rotateRight,
    done,      // a check mark in a circle
    warning,   // an exclamation mark in a triangle
    close,     // an x
    filmStack, // the empty window's invitation
    photos,    // the photo picker
};

// The icon, from the desktop theme when it has one (its symbolic variant first, tinted like the
// bundled drawings), else bundled.
QIcon icon(Icon which);

// The bundled drawing alone, in one colour (the done check in green, the warning in yellow).
QIcon bundledIcon(Icon which, const QColor& color);

} // namespace vimbo::ui
