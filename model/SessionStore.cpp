#include "model/SessionStore.h"

#include "model/Bookmark.h"
#include "model/JsonWriter.h"
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

namespace {

void write(JsonWriter& w, const ClipEdits& e) {
    w.beginObject();
    w.key("trimStart");
    w.number(e.trimStart);
    w.key("trimEnd");
    w.number(e.trimEnd);
    w.key("speed");
    w.number(e.speed);
    w.key("muted");
    w.boolean(e.muted);
    w.key("quarterTurns");
    w.integer(e.quarterTurns);
    w.key("photoDuration");
    w.number(e.photoDuration);
    w.endObject();
}

void write(JsonWriter& w, const Clip& clip) {
    w.beginObject();
    w.key("id");
    w.string(uuidText(clip.id));
    w.key("url");
    w.string(clip.url.toString(QUrl::FullyEncoded));
    if (clip.bookmark) {
        w.key("bookmark");
        w.string(QString::fromLatin1(clip.bookmark->toBase64()));
    }
    w.key("edits");
    write(w, clip.edits);
    w.key("added");
    w.integer(clip.added);
    w.key("imported");
    w.boolean(clip.imported);
    w.endObject();
}

} // namespace

std::optional<QByteArray> encodeSaved(const Saved& saved) {
    JsonWriter w;
    w.beginObject();
    w.key("clips");
    w.beginArray();
    for (const Clip& clip : saved.clips) {
        if (!isFinite(clip.edits))
            return std::nullopt;
        write(w, clip);
    }
    w.endArray();
    w.key("layout");
    w.beginObject();
    w.key("shape");
    w.string(frameShapeText(saved.layout.shape));
    w.key("fill");
    w.string(fillModeText(saved.layout.fill));
    w.endObject();
    w.key("nextAdded");
    w.integer(saved.nextAdded);
    w.endObject();
    return w.bytes();
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
    return bytes && write(*bytes);
}

bool SessionStore::write(const QByteArray& bytes) const {
    QDir().mkpath(folder_);
    QSaveFile file(sessionFile());
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(bytes);
    return file.commit();
}

std::optional<Saved> SessionStore::load() const {
    QFile file(sessionFile());
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return decodeSaved(file.readAll());
}

Clip SessionStore::restored(Clip clip) const {
    if (clip.bookmark) {
        const auto resolved = Bookmark::resolve(*clip.bookmark);
        if (!resolved)
            return clip; // probes as missing when the file is really gone
        clip.url = resolved->url;
        if (resolved->stale)
            clip.bookmark = Bookmark::make(clip.url);
    } else if (clip.imported) {
        // The copy's own folder and name, under today's store: the data folder may have moved.
        const QFileInfo old(clip.url.path());
        clip.url = QUrl::fromLocalFile(importsFolder() + QLatin1Char('/') +
                                       QFileInfo(old.path()).fileName() + QLatin1Char('/') +
                                       old.fileName());
    }
    return clip;
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
