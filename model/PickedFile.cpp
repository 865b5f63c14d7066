#include "model/PickedFile.h"

#include "model/Clip.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace vimbo {

std::optional<PickedFile> PickedFile::keeping(const QUrl& received, const SessionStore& store) {
    const QString folder = store.importsFolder() + QLatin1Char('/') + uuidText(QUuid::createUuid());
    if (!QDir().mkpath(folder))
        return std::nullopt;
    const QString source = received.toLocalFile();
    const QString destination = folder + QLatin1Char('/') + QFileInfo(source).fileName();
    if (!QFile::copy(source, destination))
        return std::nullopt;
    return PickedFile{QUrl::fromLocalFile(destination)};
}

} // namespace vimbo
