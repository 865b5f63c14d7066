// Stand-in until the real view lands.
#pragma once

#include <QUuid>
#include <QWidget>

#include <functional>

namespace vimbo {
class Project;
}

namespace vimbo::ui {

// The strip of clip tiles under the preview; this stand-in shows a label.
class Filmstrip : public QWidget {
    Q_OBJECT
public:
    Filmstrip(Project& project, std::function<void(const QUuid&)> onSelect,
              QWidget* parent = nullptr);
};

} // namespace vimbo::ui
