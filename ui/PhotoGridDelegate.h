#pragma once

// Paints one tile of the photo picker's grid: the square thumbnail with rounded corners (a
// soft placeholder until it arrives), a video's length over a shade at the bottom, and for a
// picked item an accent frame with a check mark badge, so a selection reads at a glance.

#include <QStyledItemDelegate>

namespace vimbo::ui {

class PhotoGridDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    static constexpr int cellSize = 124; // the grid's pitch, tile and gap
    static constexpr int tileInset = 4;  // the gap around a tile, on each side
    static constexpr int tileSize = cellSize - 2 * tileInset;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

} // namespace vimbo::ui
