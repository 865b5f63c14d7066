#include "ui/Segmented.h"

#include <QButtonGroup>
#include <QEvent>
#include <QHBoxLayout>
#include <QPushButton>

namespace vimbo::ui {

Segmented::Segmented(const QString& name, const QStringList& choices, QWidget* parent)
    : QWidget(parent)
    , group_(new QButtonGroup(this)) {
    setAccessibleName(name);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    for (int i = 0; i < choices.size(); ++i) {
        auto* button = new QPushButton(choices[i]);
        button->setCheckable(true);
        button->setAutoDefault(false);
        button->setAccessibleName(choices[i]);
        group_->addButton(button, i);
        row->addWidget(button);
    }
    connect(group_, &QButtonGroup::idClicked, this, [this](int id) {
        paintChoice();
        if (chosen_)
            chosen_(id);
    });
    setCurrent(0);
}

int Segmented::current() const {
    return group_->checkedId();
}

void Segmented::setCurrent(int index) {
    if (QAbstractButton* button = group_->button(index))
        button->setChecked(true);
    paintChoice();
}

void Segmented::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        paintChoice(); // the desktop switched between light and dark
}

void Segmented::paintChoice() {
    for (QAbstractButton* button : group_->buttons()) {
        QPalette colours = palette();
        if (button->isChecked()) {
            colours.setColor(QPalette::Button, colours.color(QPalette::Highlight));
            colours.setColor(QPalette::ButtonText, colours.color(QPalette::HighlightedText));
        }
        button->setPalette(colours);
    }
}

} // namespace vimbo::ui
