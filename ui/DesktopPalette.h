#pragma once

// Light or dark, as the desktop says. KDE's platform theme already hands Qt its palette; on
// GNOME and the desktops that follow the freedesktop settings portal Qt stays light, so here
// the portal's colour scheme (and GTK_THEME naming a ":dark" variant) are followed, switching
// to the Fusion style with a dark palette and back as the preference changes. The portal is
// asked asynchronously: the window never waits for it. Interface thread.

class QApplication;

namespace vimbo::ui {

void followDesktopPalette(QApplication& app);

} // namespace vimbo::ui
