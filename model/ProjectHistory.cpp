// The project's undo and persistence: named steps, gestures, the autosave, restoring the saved
// project at start, and reading each clip's file in the background.
#include "model/Project.h"

#include <QCoreApplication>
#include <QThreadPool>

#include <algorithm>

namespace vimbo {

void Project::registerUndo(const Snapshot& from, const char* name) {
    Snapshot after = snapshot();
    if (after == from)
        return;
    history_.record(from, after, name);
}

void Project::apply(const Snapshot& s) {
    std::vector<Clip> clips = s.clips;
    followMoves(clips); // a step recorded before a file was found again still has its old place
    setClips(std::move(clips));
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
        locate();
    } else {
        store_->cleanImports({});
    }
    restoring_ = false;
}

void Project::locate() {
    std::vector<Clip> bookmarked;
    std::copy_if(clips_.begin(), clips_.end(), std::back_inserter(bookmarked),
                 [](const Clip& c) { return c.bookmark.has_value(); });
    if (bookmarked.empty())
        return;
    locating_ = true;
    workers_.start([self = QPointer<Project>(this), bookmarked] {
        const std::vector<Clip> located = SessionStore::located(bookmarked);
        std::vector<Clip> found;
        for (std::size_t i = 0; i < located.size(); ++i)
            if (located[i].url != bookmarked[i].url ||
                located[i].bookmark != bookmarked[i].bookmark)
                found.push_back(located[i]);
        QMetaObject::invokeMethod(QCoreApplication::instance(), [self, found] {
            if (self)
                self->foundAgain(found);
        });
    });
}

void Project::foundAgain(const std::vector<Clip>& found) {
    locating_ = false;
    std::vector<Clip> moved;
    for (const Clip& clip : found) {
        const auto was = std::find_if(clips_.begin(), clips_.end(),
                                      [&](const Clip& c) { return c.id == clip.id; });
        if (was != clips_.end() && was->url != clip.url)
            moved.push_back(clip);
        foundAgain_.insert(clip.id, {clip.url, clip.bookmark});
    }
    if (!found.empty()) {
        std::vector<Clip> clips = clips_;
        followMoves(clips);
        if (gestureStart_)
            followMoves(gestureStart_->clips);
        // Not an undoable change, but one to keep: the next start finds the files at once.
        setClips(std::move(clips));
    }
    read(moved);
    readingProgressed();
}

void Project::followMoves(std::vector<Clip>& clips) const {
    for (Clip& clip : clips)
        if (const auto found = foundAgain_.constFind(clip.id); found != foundAgain_.constEnd()) {
            clip.url = found->first;
            clip.bookmark = found->second;
        }
}

void Project::read(const std::vector<Clip>& clips) {
    for (const Clip& clip : clips) {
        // A clip read again (its file was found elsewhere) keeps only the newest read's results.
        const std::uint64_t ticket = ++reads_[clip.id];
        ++pendingReads_;
        // The worker holds a weak pointer made here, and only ever reads it back on this thread.
        workers_.start(
            [self = QPointer<Project>(this), media = media_, id = clip.id, url = clip.url, ticket] {
                const MediaInfo info = media.probe(url);
                QMetaObject::invokeMethod(QCoreApplication::instance(), [self, id, info, ticket] {
                    if (!self)
                        return;
                    --self->pendingReads_;
                    if (self->reads_.value(id) == ticket)
                        self->storeInfo(id, info);
                    self->readingProgressed();
                });
                auto image = media.thumbnail ? media.thumbnail(url, info.kind, thumbnailPixels)
                                             : std::nullopt;
                if (!image)
                    return;
                QMetaObject::invokeMethod(QCoreApplication::instance(),
                                          [self, id, image = std::move(*image), ticket] {
                                              if (self && self->reads_.value(id) == ticket)
                                                  self->storeThumbnail(id, image);
                                          });
            });
    }
}

void Project::readingProgressed() {
    if (!isReading())
        emit allRead();
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
