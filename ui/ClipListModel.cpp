#include "ui/ClipListModel.h"

#include "model/Project.h"
#include "model/TimeText.h"

namespace vimbo::ui {

ClipListModel::ClipListModel(Project& project, QObject* parent)
    : QAbstractListModel(parent)
    , project_(project)
    , rows_(static_cast<int>(project.clips().size()) + 1) {
    connect(&project, &Project::clipsChanged, this, &ClipListModel::clipsChanged);
    connect(&project, &Project::infoChanged, this, &ClipListModel::everyRowChanged);
    connect(&project, &Project::thumbnailsChanged, this, &ClipListModel::everyRowChanged);
    connect(&project, &Project::selectionChanged, this, &ClipListModel::everyRowChanged);
}

int ClipListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : rows_;
}

bool ClipListModel::isAddTile(int row) const {
    return row == rows_ - 1;
}

const Clip* ClipListModel::clipAt(int row) const {
    const auto& clips = project_.clips();
    return row >= 0 && static_cast<std::size_t>(row) < clips.size() ? &clips[row] : nullptr;
}

int ClipListModel::rowOf(const QUuid& id) const {
    const auto& clips = project_.clips();
    for (std::size_t i = 0; i < clips.size(); ++i)
        if (clips[i].id == id)
            return static_cast<int>(i);
    return -1;
}

QString ClipListModel::help(const Clip& clip) const {
    const auto info = project_.info().constFind(clip.id);
    if (info != project_.info().constEnd()) {
        if (info->kind == MediaKind::missing)
            return tr("The file can\u2019t be found");
        if (info->kind == MediaKind::unsupported)
            return tr("This format isn\u2019t supported yet");
    }
    return clip.url.fileName();
}

QString ClipListModel::spokenName(const Clip& clip) const {
    QString name = clip.url.fileName();
    const auto info = project_.info().constFind(clip.id);
    if (info == project_.info().constEnd())
        return tr("%1, loading").arg(name);
    if (!info->isUsable())
        return tr("%1, %2").arg(name, help(clip));
    name =
        tr("%1, %2").arg(name, TimeText::short_(Segment{clip.url, *info, clip.edits}.duration()));
    // The marks a sighted person sees on the tile.
    if (info->kind == MediaKind::video && clip.edits.speed != 1.0)
        name = tr("%1, %2\u00D7").arg(name, TimeText::seconds(clip.edits.speed));
    if (info->kind == MediaKind::video && clip.edits.muted)
        name = tr("%1, muted").arg(name);
    if (project_.selection().contains(clip.id))
        name = tr("%1, selected").arg(name);
    return name;
}

QVariant ClipListModel::data(const QModelIndex& index, int role) const {
    if (isAddTile(index.row())) {
        if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
            return tr("Add\u2026");
        if (role == Qt::ToolTipRole)
            return tr("Add photos and videos");
        return {};
    }
    const Clip* clip = clipAt(index.row());
    if (!clip)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return clip->url.fileName();
    case Qt::AccessibleTextRole:
        return spokenName(*clip);
    case Qt::ToolTipRole:
        return help(*clip);
    case ClipIdRole:
        return clip->id;
    default:
        return {};
    }
}

void ClipListModel::clipsChanged() {
    const int rows = static_cast<int>(project_.clips().size()) + 1;
    if (rows != rows_) {
        beginResetModel();
        rows_ = rows;
        endResetModel();
        return;
    }
    everyRowChanged();
}

void ClipListModel::everyRowChanged() {
    emit dataChanged(index(0), index(rows_ - 1));
}

} // namespace vimbo::ui
