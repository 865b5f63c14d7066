// The project's undo and persistence: named steps, gestures, the autosave, restoring the saved
// project at start, and reading each clip's file in the background.
#include "model/Project.h"

#include <QCoreApplication>
#include <QThreadPool>

namespace vimbo {

void Project::registerUndo(const Snapshot& from, const char* name) {
    Snapshot after = snapshot();
    if (after == from)
        return;
    history_.record(from, after, name);
}

void Project::apply(const Snapshot& s) {
    setClips(s.clips);
    assignLayout(s.layout);
    QSet<QUuid> present;
    for (const Clip& clip : clips_)
        present.insert(clip.id);
    setSelection(selection_ & present);
}

void Project::beginGesture() {
    if (!gestureStart_)
        gestureStart_ = snapshot();
}

void Project::endGesture(const char* name) {
    if (auto start = std::exchange(gestureStart_, std::nullopt))
        registerUndo(*start, name);
}

void Project::observeUndo(QUndoStack* undoManager) {
    history_.setStack(undoManager);
}

void Project::refreshUndo() {
    if (const bool can = history_.canUndo(); std::exchange(canUndo_, can) != can)
        emit canUndoChanged();
    if (const bool can = history_.canRedo(); std::exchange(canRedo_, can) != can)
        emit canRedoChanged();
}

void Project::scheduleSave() {
    if (restoring_ || !store_)
        return;
    saveTimer_.start(); // restarting postpones the pending save
}

void Project::save() {
    saveTimer_.stop();
    if (!writer_)
        return;
    writer_->write(Saved{clips_, layout_, nextAdded_});
}

void Project::saveNow() {
    save();
    if (writer_)
        writer_->wait();
}

void Project::restore() {
    if (!store_)
        return;
    restoring_ = true;
    if (const auto saved = store_->load()) {
        assignLayout(saved->layout);
        nextAdded_ = saved->nextAdded;
        std::vector<Clip> clips;
        clips.reserve(saved->clips.size());
        for (const Clip& clip : saved->clips)
            clips.push_back(store_->restored(clip));
        setClips(std::move(clips));
        store_->cleanImports(clips_);
        read(clips_);
    } else {
        store_->cleanImports({});
    }
    restoring_ = false;
}

void Project::read(const std::vector<Clip>& clips) {
    for (const Clip& clip : clips) {
        // The worker holds a weak pointer made here, and only ever reads it back on this thread.
        QThreadPool::globalInstance()->start(
            [self = QPointer<Project>(this), media = media_, id = clip.id, url = clip.url] {
                const MediaInfo info = media.probe(url);
                QMetaObject::invokeMethod(QCoreApplication::instance(), [self, id, info] {
                    if (self)
                        self->storeInfo(id, info);
                });
                auto image = media.thumbnail ? media.thumbnail(url, info.kind, thumbnailPixels)
                                             : std::nullopt;
                if (!image)
                    return;
                QMetaObject::invokeMethod(QCoreApplication::instance(),
                                          [self, id, image = std::move(*image)] {
                                              if (self)
                                                  self->storeThumbnail(id, image);
                                          });
            });
    }
}

void Project::storeInfo(const QUuid& id, const MediaInfo& info) {
    info_.insert(id, info);
    emit infoChanged();
}

void Project::storeThumbnail(const QUuid& id, const QImage& image) {
    thumbnails_.insert(id, image);
    emit thumbnailsChanged();
}

} // namespace vimbo
