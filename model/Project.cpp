#include "model/Project.h"

#include "model/Bookmark.h"
#include "model/NaturalOrder.h"
#include "model/PickedFile.h"
#include "model/TurnedImage.h"
#include "model/UndoNames.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QFileInfo>
#include <QThreadPool>

#include <algorithm>

namespace vimbo {
namespace {

constexpr int autosaveDelayMs = 500;

QList<QUrl> expandOne(const QUrl& url, const std::function<bool(const QUrl&)>& isMedia) {
    const QFileInfo info(url.toLocalFile());
    if (!url.isLocalFile() || !info.exists())
        return {};
    if (!info.isDir())
        return isMedia(url) ? QList<QUrl>{url} : QList<QUrl>{};

    QStringList paths;
    QDirIterator it(info.absoluteFilePath(), QDir::Files | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (isMedia(QUrl::fromLocalFile(path)))
            paths.append(path);
    }
    std::sort(paths.begin(), paths.end(),
              [](const QString& a, const QString& b) { return naturalCompare(a, b) < 0; });
    QList<QUrl> urls;
    urls.reserve(paths.size());
    for (const QString& path : paths)
        urls.append(QUrl::fromLocalFile(path));
    return urls;
}

} // namespace

Project::Project(MediaAccess media, std::optional<SessionStore> store, QObject* parent)
    : QObject(parent)
    , media_(std::move(media))
    , store_(std::move(store))
    , writer_(store_ ? std::make_unique<SessionWriter>(*store_) : nullptr)
    , history_([this](const Snapshot& s) { apply(s); }) {
    saveTimer_.setSingleShot(true);
    saveTimer_.setInterval(autosaveDelayMs);
    connect(&saveTimer_, &QTimer::timeout, this, &Project::save);
    connect(&history_, &UndoHistory::abilitiesChanged, this, &Project::refreshUndo);
    restore();
}

Project::~Project() {
    // Clips not yet read are dropped; a read or an import under way is waited for.
    workers_.clear();
    workers_.waitForDone();
}

// Every assignment of clips or layout goes through these two, so each one schedules a save.
void Project::setClips(std::vector<Clip> clips) {
    clips_ = std::move(clips);
    scheduleSave();
    emit clipsChanged();
}

void Project::assignLayout(const Layout& layout) {
    layout_ = layout;
    scheduleSave();
    emit layoutChanged();
}

void Project::setSelection(QSet<QUuid> selection) {
    if (selection == selection_)
        return;
    selection_ = std::move(selection);
    emit selectionChanged();
}

Clip Project::newClip(const QUrl& url) {
    Clip clip;
    clip.id = QUuid::createUuid();
    clip.url = url;
    clip.added = nextAdded_++;
    return clip;
}

void Project::appendClips(std::vector<Clip> fresh) {
    const Snapshot before = snapshot();
    std::vector<Clip> all = clips_;
    all.insert(all.end(), fresh.begin(), fresh.end());
    setClips(std::move(all));
    registerUndo(before, UndoName::addClips);
    QSet<QUuid> ids;
    for (const Clip& clip : fresh)
        ids.insert(clip.id);
    setSelection(std::move(ids));
    read(fresh);
}

void Project::add(const QList<QUrl>& urls) {
    const QList<QUrl> expanded = expand(urls, media_.isMedia);
    if (expanded.isEmpty())
        return;
    std::vector<Clip> fresh;
    for (const QUrl& url : expanded) {
        Clip clip = newClip(url);
        clip.bookmark = Bookmark::make(url);
        fresh.push_back(std::move(clip));
    }
    anchor_ = fresh.back().id;
    appendClips(std::move(fresh));
}

void Project::addImported(const QList<QUrl>& urls) {
    if (urls.isEmpty())
        return;
    std::vector<Clip> fresh;
    for (const QUrl& url : urls) {
        Clip clip = newClip(url);
        clip.imported = true;
        fresh.push_back(std::move(clip));
    }
    appendClips(std::move(fresh));
}

QList<QUrl> Project::expand(const QList<QUrl>& urls,
                            const std::function<bool(const QUrl&)>& isMedia) {
    QList<QUrl> result;
    for (const QUrl& url : urls)
        result += expandOne(url, isMedia);
    return result;
}

void Project::remove(const QSet<QUuid>& ids) {
    if (ids.isEmpty())
        return;
    const Snapshot before = snapshot();
    std::vector<Clip> kept;
    std::copy_if(clips_.begin(), clips_.end(), std::back_inserter(kept),
                 [&](const Clip& c) { return !ids.contains(c.id); });
    setClips(std::move(kept));
    registerUndo(before, UndoName::remove);
    setSelection(selection_ - ids);
}

void Project::startOver() {
    const Snapshot before = snapshot();
    setClips({});
    assignLayout(Layout{});
    registerUndo(before, UndoName::startOver);
    setSelection({});
}

void Project::move(const QUuid& moved, const QUuid& before) {
    if (moved == before)
        return;
    auto indexOf = [&](const QUuid& id) {
        return std::find_if(clips_.begin(), clips_.end(),
                            [&](const Clip& c) { return c.id == id; }) -
               clips_.begin();
    };
    const auto from = indexOf(moved);
    const auto to = indexOf(before);
    const auto count = static_cast<std::ptrdiff_t>(clips_.size());
    if (from == count || to == count)
        return;
    std::vector<Clip> clips = clips_;
    // The moved clip takes the target's index; the clips between shift toward where it was.
    if (from < to)
        std::rotate(clips.begin() + from, clips.begin() + from + 1, clips.begin() + to + 1);
    else
        std::rotate(clips.begin() + to, clips.begin() + from, clips.begin() + from + 1);
    setClips(std::move(clips));
}

void Project::importFromPhotos(const QList<QUrl>& picked) {
    if (picked.isEmpty() || !store_)
        return;
    QPointer<Project> self(this);
    const SessionStore store = *store_;
    workers_.start([self, store, picked] {
        QList<QUrl> kept;
        for (const QUrl& url : picked)
            if (const auto copy = PickedFile::keeping(url, store))
                kept.append(copy->url);
        QMetaObject::invokeMethod(QCoreApplication::instance(), [self, kept] {
            if (self)
                self->addImported(kept);
        });
    });
}

void Project::click(const QUuid& id, Qt::KeyboardModifiers modifiers) {
    if (modifiers & Qt::ControlModifier) {
        QSet<QUuid> selection = selection_;
        if (!selection.remove(id))
            selection.insert(id);
        setSelection(std::move(selection));
        anchor_ = id;
        return;
    }
    if (modifiers & Qt::ShiftModifier && anchor_) {
        auto indexOf = [&](const QUuid& x) {
            return std::find_if(clips_.begin(), clips_.end(),
                                [&](const Clip& c) { return c.id == x; });
        };
        const auto a = indexOf(*anchor_);
        const auto b = indexOf(id);
        if (a != clips_.end() && b != clips_.end()) {
            QSet<QUuid> selection;
            for (auto it = std::min(a, b); it <= std::max(a, b); ++it)
                selection.insert(it->id);
            setSelection(std::move(selection));
            return;
        }
    }
    setSelection({id});
    anchor_ = id;
}

void Project::selectAll() {
    QSet<QUuid> all;
    for (const Clip& clip : clips_)
        all.insert(clip.id);
    setSelection(std::move(all));
}

void Project::clearSelection() {
    setSelection({});
}

std::vector<Clip> Project::selectedClips() const {
    std::vector<Clip> selected;
    std::copy_if(clips_.begin(), clips_.end(), std::back_inserter(selected),
                 [&](const Clip& c) { return selection_.contains(c.id); });
    return selected;
}

void Project::edit(const char* name, std::optional<QSet<QUuid>> ids, const EditChange& change) {
    const QSet<QUuid> targets = ids ? *ids : selection_;
    const Snapshot before = snapshot();
    std::vector<Clip> clips = clips_;
    bool touched = false;
    for (Clip& clip : clips) {
        const auto info = info_.constFind(clip.id);
        if (targets.contains(clip.id) && info != info_.constEnd()) {
            change(clip.edits, *info);
            touched = true;
        }
    }
    if (touched)
        setClips(std::move(clips));
    if (name)
        registerUndo(before, name);
}

void Project::rotateSelection(int by) {
    edit(UndoName::rotate, std::nullopt,
         [by](ClipEdits& e, const MediaInfo&) { e.quarterTurns = (e.quarterTurns + by + 4) % 4; });
}

void Project::sort(SortOrder order) {
    auto dateOf = [this](const Clip& c) -> std::optional<QDateTime> {
        const auto it = info_.constFind(c.id);
        return it == info_.constEnd() ? std::nullopt : it->dateTaken;
    };
    auto before = [&](const Clip& a, const Clip& b) {
        switch (order) {
        case SortOrder::orderAdded:
            break;
        case SortOrder::dateTaken: {
            const auto da = dateOf(a), db = dateOf(b);
            if (da && db && *da != *db)
                return *da < *db;
            if (da && !db)
                return true;
            if (db && !da)
                return false;
            break;
        }
        case SortOrder::fileName:
            if (const int c = naturalCompare(a.url.fileName(), b.url.fileName()); c != 0)
                return c < 0;
            break;
        }
        return a.added < b.added;
    };
    const Snapshot previous = snapshot();
    std::vector<Clip> clips = clips_;
    std::stable_sort(clips.begin(), clips.end(), before);
    setClips(std::move(clips));
    registerUndo(previous, UndoName::sort);
}

void Project::setLayout(const Layout& layout, const char* name) {
    const Snapshot before = snapshot();
    assignLayout(layout);
    registerUndo(before, name);
}

std::vector<std::pair<QUuid, Segment>> Project::usable() const {
    std::vector<std::pair<QUuid, Segment>> result;
    for (const Clip& clip : clips_) {
        const auto info = info_.constFind(clip.id);
        if (info != info_.constEnd() && info->isUsable())
            result.emplace_back(clip.id, Segment{clip.url, *info, clip.edits});
    }
    return result;
}

double Project::duration() const {
    double total = 0;
    for (const auto& [id, segment] : usable())
        total += segment.duration();
    return total;
}

std::optional<QImage> Project::thumbnail(const Clip& clip) {
    const auto plain = thumbnails_.constFind(clip.id);
    if (plain == thumbnails_.constEnd())
        return std::nullopt;
    const std::int64_t q = clip.edits.quarterTurns & 3;
    if (q == 0)
        return *plain;
    const QString key = uuidText(clip.id) + QLatin1Char('-') + QString::number(q);
    auto cached = turnedThumbnails_.constFind(key);
    if (cached == turnedThumbnails_.constEnd())
        cached = turnedThumbnails_.insert(key, turned(*plain, q));
    return *cached;
}

} // namespace vimbo
