// Stand-in until the real view lands.
#include "ui/ExportBar.h"

#include <QHBoxLayout>
#include <QLabel>

namespace vimbo::ui {

ExportBar::ExportBar(ExportController&, QWidget* parent)
    : QWidget(parent) {
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Export bar"), this));
}

} // namespace vimbo::ui
