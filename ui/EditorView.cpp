#include "ui/EditorView.h"

#include "export/ExportController.h"
#include "preview/view/PlayerView.h"
#include "ui/ExportBar.h"
#include "ui/Filmstrip.h"

#include <QFrame>
#include <QVBoxLayout>

namespace vimbo::ui {
namespace {

QFrame* divider(QWidget* parent) {
    auto* line = new QFrame(parent);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Plain);
    line->setForegroundRole(QPalette::Mid);
    line->setFixedHeight(1);
    return line;
}

} // namespace

EditorView::EditorView(Project& project, ExportController& exporter, Player& player,
                       std::function<void(const QUuid&)> onSelect, QWidget* parent)
    : QWidget(parent)
    , exporter_(exporter)
    , exportPart_(new QWidget(this)) {
    auto* picture = new PlayerView(player, this);
    picture->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    auto* strip = new Filmstrip(project, std::move(onSelect), this);
    connect(strip, &Filmstrip::addRequested, this, &EditorView::addRequested);

    auto* exportLayout = new QVBoxLayout(exportPart_);
    exportLayout->setContentsMargins(0, 0, 0, 0);
    exportLayout->setSpacing(0);
    exportLayout->addWidget(divider(exportPart_));
    exportLayout->addWidget(new ExportBar(exporter, exportPart_));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(picture, 1);
    layout->addWidget(divider(this));
    layout->addWidget(strip);
    layout->addWidget(exportPart_);

    connect(&exporter_, &ExportController::stateChanged, this, &EditorView::followExport);
    followExport();
}

bool EditorView::exportBarShown() const {
    return !exportPart_->isHidden();
}

void EditorView::followExport() {
    exportPart_->setVisible(exporter_.state().kind != ExportController::State::Kind::idle);
}

} // namespace vimbo::ui
