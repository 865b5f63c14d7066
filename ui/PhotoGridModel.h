#pragma once

// The photo picker's items: one row per photo or video of a place, newest first, with a square
// thumbnail that is made in the background the first time a view asks for it.
//
// Lives on the interface thread. Thumbnails are probed and decoded on a thread pool of the
// picker's own (so the project's probing is not held up) and arrive as queued calls; the
// interface thread never waits for them, not even when the model is destroyed: work still
// under way then finishes on its own and is dropped. At most a bounded number of thumbnails is
// kept; one pushed out is made again when it is looked at again.

#include "media/PhotoLibrary.h"

#include <QAbstractListModel>
#include <QCache>
#include <QImage>
#include <QSet>

#include <atomic>
#include <memory>
#include <vector>

namespace vimbo::ui {

class PhotoGridModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role {
        // bool: the item is a video (known once its thumbnail has been made)
        isVideoRole = Qt::UserRole,
        // double: a video's length in seconds, once known
        durationRole,
        // bool: the thumbnail has been attempted (it may still be null: the file is unreadable)
        loadedRole,
    };

    explicit PhotoGridModel(QObject* parent = nullptr);
    ~PhotoGridModel() override;

    // Replaces the items; thumbnails of the previous ones still being made are dropped.
    void setItems(std::vector<PhotoLibrary::Item> items);
    const std::vector<PhotoLibrary::Item>& items() const { return items_; }
    // The side of the square thumbnails, in device pixels. Changing it makes them again.
    void setThumbnailPixels(int pixels);

    int rowCount(const QModelIndex& parent = {}) const override;
    // Qt::DecorationRole gives the square QImage (null until it has arrived; asking starts
    // making it); Qt::DisplayRole the file name; Qt::ToolTipRole name and date.
    QVariant data(const QModelIndex& index, int role) const override;

private:
    struct Thumb {
        QImage image;
        bool isVideo = false;
        double duration = 0;
    };
    void request(int row) const;
    void arrived(int generation, int row, const Thumb& thumb);

    std::vector<PhotoLibrary::Item> items_;
    int thumbnailPixels_ = 224;
    mutable QCache<int, Thumb> thumbs_;
    mutable QSet<int> pending_;
    // Counts item lists (and thumbnail sizes). Shared with the work under way, which is
    // skipped when it belongs to an earlier count; -1 once the model is gone.
    std::shared_ptr<std::atomic<int>> generation_ = std::make_shared<std::atomic<int>>(0);
};

} // namespace vimbo::ui
