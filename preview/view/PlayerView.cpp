// Stand-in until the real view lands.
#include "preview/view/PlayerView.h"

#include <QPalette>

namespace vimbo {

PlayerView::PlayerView(Player&, QWidget* parent)
    : QWidget(parent) {
    setAccessibleName(tr("Preview"));
    setAutoFillBackground(true);
    QPalette black = palette();
    black.setColor(QPalette::Window, Qt::black);
    setPalette(black);
}

} // namespace vimbo
