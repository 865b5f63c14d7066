// Stand-in until the real view lands.
#include "ui/InspectorView.h"

#include <QLabel>
#include <QVBoxLayout>

namespace vimbo::ui {

InspectorView::InspectorView(Project&, QWidget* parent)
    : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Inspector"), this), 0, Qt::AlignCenter);
}

} // namespace vimbo::ui
