#include "ui/Filmstrip.h"

#include "ui/ClipTileDelegate.h"
#include "ui/StripView.h"

#include <QVBoxLayout>

namespace vimbo::ui {

Filmstrip::Filmstrip(Project& project, std::function<void(const QUuid&)> onSelect, QWidget* parent)
    : QWidget(parent)
    , view_(new StripView(project, std::move(onSelect), this)) {
    setFixedHeight(StripMetrics::height);
    setBackgroundRole(QPalette::Window);
    setAutoFillBackground(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(view_);
    setFocusProxy(view_);
    setAccessibleName(tr("Filmstrip"));
    connect(view_, &StripView::addRequested, this, &Filmstrip::addRequested);
}

Filmstrip::~Filmstrip() = default;

} // namespace vimbo::ui
