// Stand-in until the real view lands.
#include "ui/WindowToolbar.h"

#include <QAction>

namespace vimbo::ui {

WindowToolbar::WindowToolbar(Project&, ExportController&, QWidget* parent)
    : QToolBar(parent)
    , inspector_(addAction(tr("Inspector"))) {
    setMovable(false);
    inspector_->setCheckable(true);
    connect(inspector_, &QAction::triggered, this, &WindowToolbar::inspectorToggled);
}

void WindowToolbar::setInspectorShown(bool shown) {
    inspector_->setChecked(shown);
}

} // namespace vimbo::ui
