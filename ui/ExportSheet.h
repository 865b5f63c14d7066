// Stand-in until the real view lands.
#pragma once

#include <QDialog>

namespace vimbo {
class ExportController;
class Project;
} // namespace vimbo

namespace vimbo::ui {

// Format and quality, then where to save. This stand-in has only the two buttons: Return
// (Export…) asks where to save an MP4 at original quality and starts the export.
class ExportSheet : public QDialog {
    Q_OBJECT
public:
    ExportSheet(Project& project, ExportController& controller, QWidget* parent = nullptr);
};

} // namespace vimbo::ui
