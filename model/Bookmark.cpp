#include "model/Bookmark.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <deque>
#include <sys/stat.h>

namespace vimbo::Bookmark {
namespace {

struct FileId {
    qint64 device = 0;
    qint64 inode = 0;
    friend bool operator==(const FileId&, const FileId&) = default;
};

size_t qHash(const FileId& id, size_t seed = 0) {
    return ::qHash(id.device, seed) ^ ::qHash(id.inode, seed);
}

std::optional<FileId> fileId(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return std::nullopt;
    return FileId{static_cast<qint64>(st.st_dev), static_cast<qint64>(st.st_ino)};
}

struct Saved {
    QString path;
    FileId id;
};

std::optional<Saved> read(const QByteArray& bookmark) {
    const QJsonObject o = QJsonDocument::fromJson(bookmark).object();
    const QString path = o.value(QStringLiteral("path")).toString();
    if (path.isEmpty() || !o.value(QStringLiteral("inode")).isDouble())
        return std::nullopt;
    return Saved{path,
                 {o.value(QStringLiteral("device")).toInteger(),
                  o.value(QStringLiteral("inode")).toInteger()}};
}

// How far the search for moved files goes: from each old folder up to this many levels (never
// to the top of the file system), then down this deep, visiting at most this many entries
// under each such folder. A file moved to a sibling or parent folder, or renamed, is found; a
// disk is never crawled.
constexpr int searchLevelsUp = 2;
constexpr int searchDepth = 4;
constexpr int searchBudget = 20000;

QString searchRoot(const QString& oldPath) {
    QString folder = QFileInfo(oldPath).absolutePath();
    for (int level = 0; level < searchLevelsUp; ++level) {
        const QString parent = QFileInfo(folder).path();
        if (parent == folder || QFileInfo(parent).path() == parent)
            break; // `parent` is the file system's root
        folder = parent;
    }
    return folder;
}

// The distinct roots, leaving out those inside another one (searched with it).
QStringList outermost(QSet<QString> roots) {
    QStringList kept;
    for (const QString& root : roots) {
        bool inside = false;
        for (const QString& other : roots)
            inside = inside || (other != root && root.startsWith(other + QLatin1Char('/')));
        if (!inside)
            kept.append(root);
    }
    return kept;
}

// Breadth first, so that the nearest folders are looked at before the budget runs out.
void search(const QString& root, QHash<FileId, QString>& found, const QSet<FileId>& wanted) {
    std::deque<std::pair<QString, int>> folders{{root, 0}};
    int visited = 0;
    while (!folders.empty() && visited < searchBudget && found.size() < wanted.size()) {
        const auto [folder, depth] = folders.front();
        folders.pop_front();
        QDirIterator it(folder, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::NoSymLinks);
        while (it.hasNext() && visited++ < searchBudget) {
            const QString path = it.next();
            if (it.fileInfo().isDir()) {
                if (depth < searchDepth)
                    folders.emplace_back(path, depth + 1);
            } else if (const auto id = fileId(path); id && wanted.contains(*id)) {
                found.insert(*id, path);
            }
        }
    }
}

} // namespace

std::optional<QByteArray> make(const QUrl& url) {
    if (!url.isLocalFile())
        return std::nullopt;
    const QString path = url.toLocalFile();
    const auto id = fileId(path);
    if (!id)
        return std::nullopt;
    const QJsonObject o{{QStringLiteral("path"), path},
                        {QStringLiteral("device"), id->device},
                        {QStringLiteral("inode"), id->inode}};
    return QJsonDocument(o).toJson(QJsonDocument::Compact);
}

std::vector<std::optional<Resolved>> resolve(const std::vector<QByteArray>& bookmarks) {
    std::vector<std::optional<Resolved>> result(bookmarks.size());
    std::vector<std::pair<std::size_t, FileId>> gone;
    QSet<FileId> wanted;
    QSet<QString> roots;
    for (std::size_t i = 0; i < bookmarks.size(); ++i) {
        const auto saved = read(bookmarks[i]);
        if (!saved)
            continue;
        if (const auto now = fileId(saved->path)) {
            result[i] = Resolved{QUrl::fromLocalFile(saved->path), *now != saved->id};
            continue;
        }
        gone.emplace_back(i, saved->id);
        wanted.insert(saved->id);
        roots.insert(searchRoot(saved->path));
    }
    QHash<FileId, QString> found;
    for (const QString& root : outermost(roots))
        search(root, found, wanted);
    for (const auto& [i, id] : gone)
        if (const auto path = found.constFind(id); path != found.constEnd())
            result[i] = Resolved{QUrl::fromLocalFile(*path), true};
    return result;
}

} // namespace vimbo::Bookmark
