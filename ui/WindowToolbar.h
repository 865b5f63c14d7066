// Stand-in until the real view lands.
#pragma once

#include <QToolBar>

namespace vimbo {
class ExportController;
class Project;
} // namespace vimbo

namespace vimbo::ui {

// The window's everyday commands; this stand-in has only the inspector button.
class WindowToolbar : public QToolBar {
    Q_OBJECT
public:
    WindowToolbar(Project& project, ExportController& exporter, QWidget* parent = nullptr);
    void setInspectorShown(bool shown);

signals:
    void inspectorToggled();

private:
    QAction* inspector_;
};

} // namespace vimbo::ui
