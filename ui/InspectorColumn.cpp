#include "ui/InspectorColumn.h"

#include "ui/Icons.h"
#include "ui/InspectorView.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace vimbo::ui {

InspectorColumn::InspectorColumn(Project& project, QWidget* parent)
    : QWidget(parent) {
    setMinimumWidth(narrowest);
    setMaximumWidth(widest);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    setAccessibleName(tr("Inspector"));

    auto* close = new QToolButton(this);
    close->setAutoRaise(true);
    QIcon cross = icon(Icon::close);
    if (cross.isNull())
        cross = style()->standardIcon(QStyle::SP_TitleBarCloseButton);
    close->setIcon(cross);
    close->setToolTip(tr("Hide Inspector"));
    close->setAccessibleName(tr("Hide Inspector"));
    connect(close, &QToolButton::clicked, this, &InspectorColumn::closeRequested);

    auto* title = new QLabel(tr("Inspector"), this);
    title->setForegroundRole(QPalette::PlaceholderText);
    auto* header = new QHBoxLayout;
    header->setContentsMargins(12, 4, 4, 0);
    header->addWidget(title);
    header->addStretch();
    header->addWidget(close);

    auto* column = new QVBoxLayout;
    column->setSpacing(0);
    column->addLayout(header);
    column->addWidget(new InspectorView(project, this), 1);

    // A hairline between the editor and the column, as between the preview and the filmstrip.
    auto* line = new QFrame(this);
    line->setFrameShape(QFrame::VLine);
    line->setFrameShadow(QFrame::Plain);
    line->setForegroundRole(QPalette::Mid);
    line->setFixedWidth(1);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(line);
    layout->addLayout(column, 1);
}

QSize InspectorColumn::sizeHint() const {
    return {idealWidth, QWidget::sizeHint().height()};
}

} // namespace vimbo::ui
