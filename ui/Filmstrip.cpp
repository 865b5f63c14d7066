// Stand-in until the real view lands.
#include "ui/Filmstrip.h"

#include <QLabel>
#include <QVBoxLayout>

namespace vimbo::ui {

Filmstrip::Filmstrip(Project&, std::function<void(const QUuid&)>, QWidget* parent)
    : QWidget(parent) {
    setFixedHeight(124);
    setAccessibleName(tr("Clips"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Filmstrip"), this), 0, Qt::AlignCenter);
}

} // namespace vimbo::ui
