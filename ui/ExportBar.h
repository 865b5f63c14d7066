// Stand-in until the real view lands.
#pragma once

#include <QWidget>

namespace vimbo {
class ExportController;
}

namespace vimbo::ui {

// The strip under the filmstrip while an export runs or has ended; this stand-in shows a label.
class ExportBar : public QWidget {
    Q_OBJECT
public:
    explicit ExportBar(ExportController& controller, QWidget* parent = nullptr);
};

} // namespace vimbo::ui
