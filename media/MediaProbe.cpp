#include "media/MediaProbe.h"

#include "media/RawPhoto.h"

#include <QFileInfo>
#include <QMimeDatabase>

#include <algorithm>

namespace vimbo::MediaProbe {
namespace {

enum class FileType { unknown, image, movie, other };

QString lowerExtension(const QUrl& url) {
    const QString name = url.fileName();
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : name.mid(dot + 1).toLower();
}

bool conformsTo(const QMimeType& type, QLatin1String family) {
    if (type.name().startsWith(family))
        return true;
    // A subtype counts as its parent (a camera's raw format is a TIFF image). Aliases do not:
    // some are wrong for what users mean by a photo (a PDF has the alias image/pdf).
    const QStringList ancestors = type.allAncestors();
    return std::any_of(ancestors.begin(), ancestors.end(),
                       [family](const QString& ancestor) { return ancestor.startsWith(family); });
}

// The type of a file by its extension alone, as the system's shared MIME database names it.
FileType typeOfExtension(const QString& extension) {
    if (extension.isEmpty())
        return FileType::unknown;
    if (isCameraRaw(QStringLiteral("file.") + extension))
        return FileType::image; // some raw types are missing from the MIME database
    const QMimeType type = QMimeDatabase().mimeTypeForFile(QStringLiteral("file.") + extension,
                                                           QMimeDatabase::MatchExtension);
    if (!type.isValid() || type.isDefault())
        return FileType::unknown;
    if (conformsTo(type, QLatin1String("image/")))
        return FileType::image;
    if (conformsTo(type, QLatin1String("video/")))
        return FileType::movie;
    return FileType::other;
}

} // namespace

const QSet<QString>& knownUnsupported() {
    static const QSet<QString> extensions{
        QStringLiteral("mkv"),  QStringLiteral("webm"), QStringLiteral("avi"),
        QStringLiteral("wmv"),  QStringLiteral("flv"),  QStringLiteral("ogv"),
        QStringLiteral("rm"),   QStringLiteral("rmvb"), QStringLiteral("vob"),
        QStringLiteral("3gp"),  QStringLiteral("mts"),  QStringLiteral("m2ts"),
        QStringLiteral("ts"),   QStringLiteral("mpg"),  QStringLiteral("mpeg"),
        QStringLiteral("divx"), QStringLiteral("asf"),
    };
    return extensions;
}

bool isMedia(const QUrl& url) {
    const QString extension = lowerExtension(url);
    if (knownUnsupported().contains(extension))
        return true;
    const FileType type = typeOfExtension(extension);
    return type == FileType::image || type == FileType::movie;
}

MediaInfo probe(const QUrl& url) {
    const QString path = url.toLocalFile();
    if (path.isEmpty() || !QFileInfo(path).isReadable())
        return MediaInfo(MediaKind::missing);
    const QString extension = lowerExtension(url);
    // A photo that cannot be read is not tried as a movie: that would only be slower.
    if (typeOfExtension(extension) == FileType::image)
        return probePhoto(url).value_or(MediaInfo(MediaKind::unsupported));
    if (knownUnsupported().contains(extension))
        return MediaInfo(MediaKind::unsupported);
    // Everything else, unknown extensions included, gets its chance as a movie.
    return probeVideo(url).value_or(MediaInfo(MediaKind::unsupported));
}

std::optional<QDateTime> fileDate(const QUrl& url) {
    const QFileInfo info(url.toLocalFile());
    if (!info.exists())
        return std::nullopt;
    QDateTime date = info.birthTime();
    if (!date.isValid())
        date = info.lastModified();
    if (!date.isValid())
        return std::nullopt;
    return date;
}

} // namespace vimbo::MediaProbe
