#pragma once

// Paints the filmstrip's tiles: a clip's picture (cropped to fill, rounded), its duration badge
// and speed and mute marks, the selection outline and the name line; a spinner while the file
// is being read; the dashed add tile at the end. Pictures are scaled once per size and kept in
// QPixmapCache, so a paint is only a few pixmap copies and short texts. Interface thread only.

#include <QFont>
#include <QStyledItemDelegate>

namespace vimbo {
class Project;
struct Clip;
} // namespace vimbo

namespace vimbo::ui {

class ClipListModel;

// The strip's measures, in device-independent pixels.
struct StripMetrics {
    static constexpr int height = 124;
    static constexpr int paddingX = 12;
    static constexpr int paddingTop = 10;
    static constexpr int spacing = 8;
    static constexpr int pictureWidth = 128;
    static constexpr int pictureHeight = 80;
    static constexpr int nameGap = 4;
    static constexpr int addSide = 80;
    static constexpr double radius = 6;
};

class ClipTileDelegate : public QStyledItemDelegate {
public:
    ClipTileDelegate(Project& project, const ClipListModel& model, QObject* parent = nullptr);

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

    // Where the tile itself lies within its row's rectangle (rows also hold the gaps).
    QRect tileRect(const QRect& itemRect, int row) const;
    // The spinner's turn, in degrees; the strip advances it while clips are being read.
    void setSpinnerAngle(int degrees) { spinnerAngle_ = degrees; }

private:
    // The tile's fonts, made from the view's font once rather than in every paint.
    struct Fonts {
        QFont base;
        QFont name;
        QFont badge;
        QFont mark;
        int nameHeight = 0;
    };
    const Fonts& fonts(const QFont& base) const;

    void paintClip(QPainter* painter, const QStyleOptionViewItem& option, const Clip& clip,
                   const QRect& tile) const;
    void paintPicture(QPainter* painter, const QStyleOptionViewItem& option, const Clip& clip,
                      const QRect& picture) const;
    void paintLabels(QPainter* painter, const QStyleOptionViewItem& option, const Clip& clip,
                     const QRect& picture) const;
    void paintAddTile(QPainter* painter, const QStyleOptionViewItem& option,
                      const QRect& tile) const;

    Project& project_;
    const ClipListModel& model_;
    int spinnerAngle_ = 0;
    mutable Fonts fonts_;
};

} // namespace vimbo::ui
