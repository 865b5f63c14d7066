#include "model/Bookmark.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/stat.h>

namespace vimbo::Bookmark {
namespace {

struct FileId {
    qint64 device = 0;
    qint64 inode = 0;
    friend bool operator==(const FileId&, const FileId&) = default;
};

std::optional<FileId> fileId(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return std::nullopt;
    return FileId{static_cast<qint64>(st.st_dev), static_cast<qint64>(st.st_ino)};
}

// How far the search for a moved file goes: the old folder's ancestors up to this many levels,
// each searched this deep, visiting at most this many entries in all. A file moved to a sibling
// or parent folder is found; a disk is never crawled.
constexpr int searchLevelsUp = 2;
constexpr int searchDepth = 3;
constexpr int searchBudget = 20000;

std::optional<QString> findMoved(const QString& oldPath, const FileId& id) {
    int visited = 0;
    QString folder = QFileInfo(oldPath).absolutePath();
    for (int level = 0; level <= searchLevelsUp && visited < searchBudget; ++level) {
        const int rootDepth = folder.count(QLatin1Char('/'));
        QDirIterator it(folder, QDir::Files | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (it.hasNext() && visited++ < searchBudget) {
            const QString path = it.next();
            if (path.count(QLatin1Char('/')) - rootDepth <= searchDepth && fileId(path) == id)
                return path;
        }
        const QString parent = QFileInfo(folder).path();
        if (parent == folder)
            break;
        folder = parent;
    }
    return std::nullopt;
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

std::optional<Resolved> resolve(const QByteArray& bookmark) {
    const QJsonObject o = QJsonDocument::fromJson(bookmark).object();
    const QString path = o.value(QStringLiteral("path")).toString();
    if (path.isEmpty() || !o.value(QStringLiteral("inode")).isDouble())
        return std::nullopt;
    const FileId saved{o.value(QStringLiteral("device")).toInteger(),
                       o.value(QStringLiteral("inode")).toInteger()};

    if (const auto now = fileId(path))
        return Resolved{QUrl::fromLocalFile(path), *now != saved};
    if (const auto moved = findMoved(path, saved))
        return Resolved{QUrl::fromLocalFile(*moved), true};
    return std::nullopt;
}

} // namespace vimbo::Bookmark
