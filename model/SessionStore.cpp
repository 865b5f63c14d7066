#include "model/SessionStore.h"

#include "model/Bookmark.h"
#include "model/RecordJson.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QStandardPaths>

#include <cmath>

namespace vimbo {
namespace {

bool isFinite(const ClipEdits& e) {
    return std::isfinite(e.trimStart) && std::isfinite(e.trimEnd) && std::isfinite(e.speed) &&
           std::isfinite(e.photoDuration);
}

QString importFolderName(const QUrl& url) {
    return QFileInfo(QFileInfo(url.toLocalFile()).path()).fileName();
}

} // namespace

std::optional<QByteArray> encodeSaved(const Saved& saved) {
    QJsonArray clips;
    for (const Clip& clip : saved.clips) {
        // JSON has no spelling for these; written as null they would make the file unreadable.
        if (!isFinite(clip.edits))
            return std::nullopt;
        clips.append(toJson(clip));
    }
    return compactJson({{QStringLiteral("clips"), clips},
                        {QStringLiteral("layout"), toJson(saved.layout)},
                        {QStringLiteral("nextAdded"), static_cast<qint64>(saved.nextAdded)}});
}

std::optional<Saved> decodeSaved(const QByteArray& bytes) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return json::decodeOrNull([&] {
        const json::Reader r(document.object());
        Saved saved;
        for (const QJsonValue& value : r.array(QStringLiteral("clips"))) {
            auto clip = clipFromJson(value);
            if (!clip)
                throw json::Invalid{};
            saved.clips.push_back(std::move(*clip));
        }
        const auto layout = layoutFromJson(r.value(QStringLiteral("layout")));
        if (!layout)
            throw json::Invalid{};
        saved.layout = *layout;
        saved.nextAdded = r.integer(QStringLiteral("nextAdded"));
        return saved;
    });
}

SessionStore::SessionStore(QString folder)
    : folder_(std::move(folder)) {}

QString SessionStore::standardFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/Vimbo");
}

QString SessionStore::sessionFile() const {
    return folder_ + QStringLiteral("/Session.json");
}

QString SessionStore::importsFolder() const {
    return folder_ + QStringLiteral("/Imports");
}

bool SessionStore::save(const Saved& saved) const {
    const auto bytes = encodeSaved(saved);
    if (!bytes)
        return false;
    QDir().mkpath(folder_);
    QSaveFile file(sessionFile());
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(*bytes);
    return file.commit();
}

std::optional<Saved> SessionStore::load() const {
    QFile file(sessionFile());
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return decodeSaved(file.readAll());
}

Clip SessionStore::restored(Clip clip) const {
    if (clip.imported && !clip.bookmark) {
        // The copy's own folder and name, under today's store: the data folder may have moved.
        const QFileInfo old(clip.url.path());
        clip.url = QUrl::fromLocalFile(importsFolder() + QLatin1Char('/') +
                                       QFileInfo(old.path()).fileName() + QLatin1Char('/') +
                                       old.fileName());
    }
    return clip;
}

std::vector<Clip> SessionStore::located(std::vector<Clip> clips) {
    std::vector<QByteArray> bookmarks;
    std::vector<Clip*> bookmarked;
    for (Clip& clip : clips)
        if (clip.bookmark) {
            bookmarks.push_back(*clip.bookmark);
            bookmarked.push_back(&clip);
        }
    const auto found = Bookmark::resolve(bookmarks);
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (!found[i])
            continue;
        Clip& clip = *bookmarked[i];
        clip.url = found[i]->url;
        if (found[i]->stale)
            clip.bookmark = Bookmark::make(clip.url);
    }
    return clips;
}

void SessionStore::cleanImports(const std::vector<Clip>& clips) const {
    QSet<QString> keep;
    for (const Clip& clip : clips)
        if (clip.imported)
            keep.insert(importFolderName(clip.url));
    QDir imports(importsFolder());
    if (!imports.exists())
        return;
    const auto entries = imports.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                               QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries) {
        if (keep.contains(entry.fileName()))
            continue;
        if (entry.isDir() && !entry.isSymLink())
            QDir(entry.absoluteFilePath()).removeRecursively();
        else
            QFile::remove(entry.absoluteFilePath());
    }
}

} // namespace vimbo
