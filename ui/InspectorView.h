// Stand-in until the real view lands.
#pragma once

#include <QWidget>

namespace vimbo {
class Project;
}

namespace vimbo::ui {

// The inspector column's content; this stand-in shows a label.
class InspectorView : public QWidget {
    Q_OBJECT
public:
    explicit InspectorView(Project& project, QWidget* parent = nullptr);
};

} // namespace vimbo::ui
