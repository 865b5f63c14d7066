#include "media/HeifPhoto.h"
#include "media/MediaProbe.h"
#include "media/PhotoMetadata.h"

#include <QFileInfo>
#include <QImageReader>

namespace vimbo::MediaProbe {
namespace {

MediaInfo photoInfo(const QUrl& url, Size pixels, const PhotoMetadata& metadata) {
    MediaInfo info(MediaKind::photo);
    // Orientations 5 to 8 turn the picture by a quarter, so it stands the other way round.
    const bool quarterTurn = metadata.orientation >= 5;
    info.size = quarterTurn ? Size{pixels.height, pixels.width} : pixels;

    // The capture date; the modification date (IFD0) only when the camera wrote no other.
    // The offset belongs to the original date but is the best guess for either.
    const auto& text = metadata.dateTimeOriginal ? metadata.dateTimeOriginal : metadata.dateTime;
    if (text)
        info.dateTaken = exifDate(*text, metadata.offsetTimeOriginal);
    if (!info.dateTaken)
        info.dateTaken = fileDate(url);
    return info;
}

std::optional<MediaInfo> probeHeif(const QUrl& url, const QString& path) {
    const auto heif = readHeif(path);
    if (!heif || heif->width <= 0 || heif->height <= 0)
        return std::nullopt;
    // libheif's size is already turned by the file's rotation box. The EXIF orientation of a
    // HEIF either repeats that turn or contradicts it; displays follow the box, and so do we.
    PhotoMetadata metadata = decodeExif(heif->exif);
    metadata.orientation = 1;
    const Size pixels{static_cast<double>(heif->width), static_cast<double>(heif->height)};
    return photoInfo(url, pixels, metadata);
}

} // namespace

std::optional<MediaInfo> probePhoto(const QUrl& url) {
    const QString path = url.toLocalFile();
    // A pipe or device would block the readers below, perhaps for ever.
    if (!QFileInfo(path).isFile())
        return std::nullopt;
    if (isHeifFile(path))
        return probeHeif(url, path);
    // Only the header is read: the size comes without decoding a pixel.
    const QSize pixels = QImageReader(path).size();
    if (pixels.width() <= 0 || pixels.height() <= 0)
        return std::nullopt;
    const Size size{static_cast<double>(pixels.width()), static_cast<double>(pixels.height())};
    return photoInfo(url, size, readPhotoMetadata(path));
}

} // namespace vimbo::MediaProbe
