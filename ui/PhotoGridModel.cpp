#include "ui/PhotoGridModel.h"

#include "media/MediaProbe.h"
#include "media/Thumbnail.h"
#include "model/TimeText.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLocale>
#include <QPointer>
#include <QThread>
#include <QThreadPool>

#include <algorithm>

namespace vimbo::ui {
namespace {

// About 400 thumbnails of 224 × 224: plenty for a screenful and scrolling back a little.
constexpr int cacheKilobytes = 96 * 1024;

// The picker's own workers. Never destroyed before the program ends, so nothing waits for a
// decode when a picker closes.
// Decoding needs Qt's image plug-ins, which go with the application object: the pool winds
// down (queued work dropped, running work finished) before the application does.
QThreadPool& thumbnailPool() {
    static QThreadPool pool;
    static const bool windsDown = [] {
        qAddPostRoutine([] {
            pool.clear();
            pool.waitForDone();
        });
        return true;
    }();
    Q_UNUSED(windsDown);
    return pool;
}

// Each request outranks the ones before it: after a fast scroll the tiles now on screen are
// made first, and the ones scrolled past wait.
int nextPriority() {
    static int priority = 0;
    return priority = priority == INT_MAX ? 0 : priority + 1;
}

QImage squareCrop(const QImage& image, int side) {
    const int edge = std::min(image.width(), image.height());
    return image.copy((image.width() - edge) / 2, (image.height() - edge) / 2, edge, edge)
        .scaled(side, side, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

PhotoGridModel::PhotoGridModel(QObject* parent)
    : QAbstractListModel(parent) {
    thumbs_.setMaxCost(cacheKilobytes);
}

PhotoGridModel::~PhotoGridModel() {
    generation_->store(-1);
}

void PhotoGridModel::setItems(std::vector<PhotoLibrary::Item> items) {
    beginResetModel();
    items_ = std::move(items);
    thumbs_.clear();
    pending_.clear();
    generation_->fetch_add(1);
    endResetModel();
}

void PhotoGridModel::setThumbnailPixels(int pixels) {
    if (pixels == thumbnailPixels_)
        return;
    thumbnailPixels_ = pixels;
    thumbs_.clear();
    pending_.clear();
    generation_->fetch_add(1);
    if (!items_.empty())
        emit dataChanged(index(0), index(rowCount() - 1), {Qt::DecorationRole});
}

int PhotoGridModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(items_.size());
}

QVariant PhotoGridModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const int row = index.row();
    const PhotoLibrary::Item& item = items_[static_cast<std::size_t>(row)];
    const Thumb* thumb = thumbs_.object(row);
    switch (role) {
    case Qt::DisplayRole:
        return item.url.fileName();
    case Qt::ToolTipRole:
        return item.url.fileName() + QLatin1Char('\n') +
               QLocale().toString(item.modified, QLocale::ShortFormat);
    case Qt::AccessibleTextRole:
        if (thumb && thumb->isVideo)
            return tr("%1, video, %2").arg(item.url.fileName(), TimeText::short_(thumb->duration));
        return item.url.fileName();
    case Qt::DecorationRole:
        if (!thumb) {
            request(row);
            return QImage();
        }
        return thumb->image;
    case isVideoRole:
        return thumb && thumb->isVideo;
    case durationRole:
        return thumb && thumb->isVideo ? QVariant(thumb->duration) : QVariant();
    case loadedRole:
        return thumb != nullptr;
    default:
        return {};
    }
}

void PhotoGridModel::request(int row) const {
    if (pending_.contains(row))
        return;
    pending_.insert(row);
    const QUrl url = items_[static_cast<std::size_t>(row)].url;
    const int side = thumbnailPixels_;
    const int generation = generation_->load();
    QPointer<PhotoGridModel> self(const_cast<PhotoGridModel*>(this));
    thumbnailPool().start(
        [self, url, side, generation, shared = generation_, row] {
            if (shared->load() != generation)
                return;
            const MediaInfo info = MediaProbe::probe(url);
            Thumb thumb;
            thumb.isVideo = info.kind == MediaKind::video;
            thumb.duration = info.duration;
            // Twice the side on the long edge leaves the short edge wide enough to crop a
            // square from for any photo up to 2:1.
            if (const auto image = Thumbnail::make(url, info.kind, 2 * side))
                thumb.image = squareCrop(*image, side);
            if (QCoreApplication* app = QCoreApplication::instance())
                QMetaObject::invokeMethod(app, [self, generation, row, thumb] {
                    if (self)
                        self->arrived(generation, row, thumb);
                });
        },
        nextPriority());
}

void PhotoGridModel::arrived(int generation, int row, const Thumb& thumb) {
    if (generation != generation_->load())
        return;
    pending_.remove(row);
    const auto kilobytes =
        static_cast<int>(std::max<qsizetype>(1, thumb.image.sizeInBytes() / 1024));
    thumbs_.insert(row, new Thumb(thumb), kilobytes); // NOLINT: the cache owns its entries
    emit dataChanged(index(row), index(row));
}

} // namespace vimbo::ui
