#include "media/PhotoLibrary.h"

#include "media/MediaProbe.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>

namespace vimbo::PhotoLibrary {

Roots Roots::standard() {
    Roots roots;
    roots.pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    const QString user = qEnvironmentVariable("USER");
    if (!user.isEmpty())
        roots.mountParents << QStringLiteral("/media/") + user
                           << QStringLiteral("/run/media/") + user;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty())
        roots.mountParents << runtime + QStringLiteral("/gvfs");
    return roots;
}

namespace {

// A camera card has DCIM at its top; a phone over MTP shows its storages one level down
// ("Internal shared storage/DCIM", "SD card/DCIM").
QStringList dcimFolders(const QFileInfo& mount) {
    const QString direct = mount.absoluteFilePath() + QStringLiteral("/DCIM");
    if (QFileInfo(direct).isDir())
        return {direct};
    QStringList nested;
    const auto storages =
        QDir(mount.absoluteFilePath()).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QFileInfo& storage : storages)
        if (const QString dcim = storage.absoluteFilePath() + QStringLiteral("/DCIM");
            QFileInfo(dcim).isDir())
            nested << dcim;
    return nested;
}

} // namespace

std::vector<Place> places(const Roots& roots) {
    std::vector<Place> result;
    if (!roots.pictures.isEmpty() && QFileInfo(roots.pictures).isDir())
        result.push_back({QDir(roots.pictures).dirName(), roots.pictures});

    std::vector<Place> volumes;
    for (const QString& parent : roots.mountParents) {
        const auto mounts = QDir(parent).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot);
        for (const QFileInfo& mount : mounts)
            for (const QString& dcim : dcimFolders(mount))
                volumes.push_back({mount.fileName(), dcim});
    }
    std::stable_sort(volumes.begin(), volumes.end(),
                     [](const Place& a, const Place& b) { return a.name < b.name; });
    result.insert(result.end(), volumes.begin(), volumes.end());
    return result;
}

std::vector<Item> items(const QString& placePath) {
    std::vector<Item> found;
    QDirIterator it(placePath, QDir::Files | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QUrl url = QUrl::fromLocalFile(path);
        const QString ext = it.fileInfo().suffix().toLower();
        if (MediaProbe::knownUnsupported().contains(ext) || !MediaProbe::isMedia(url))
            continue;
        found.push_back({url, it.fileInfo().lastModified()});
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const Item& a, const Item& b) { return a.modified > b.modified; });
    return found;
}

} // namespace vimbo::PhotoLibrary
