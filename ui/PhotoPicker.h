// Stand-in until the real view lands.
#pragma once

#include <QDialog>

namespace vimbo {
class Project;
}

namespace vimbo::ui {

// Picks photos and videos from the Pictures folder and cameras; this stand-in shows a label.
class PhotoPicker : public QDialog {
    Q_OBJECT
public:
    explicit PhotoPicker(Project& project, QWidget* parent = nullptr);
};

} // namespace vimbo::ui
