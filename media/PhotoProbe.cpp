#include "media/HeifPhoto.h"
#include "media/JxlPhoto.h"
#include "media/MediaProbe.h"
#include "media/Photo.h"
#include "media/PhotoMetadata.h"
#include "media/RawPhoto.h"

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

Size sizeOf(QSize size) {
    return {static_cast<double>(size.width()), static_cast<double>(size.height())};
}

// LibRaw's size is already turned by the file's orientation; the dates come from the EXIF that
// Exiv2 reads in every TIFF-based raw format.
std::optional<MediaInfo> probeRaw(const QUrl& url, const QString& path) {
    const std::optional<QSize> size = rawPhotoSize(path);
    if (!size || size->isEmpty())
        return std::nullopt;
    PhotoMetadata metadata = readPhotoMetadata(path);
    metadata.orientation = 1;
    return photoInfo(url, sizeOf(*size), metadata);
}

// JPEG XL: the codestream's orientation counts, never the EXIF box's.
std::optional<MediaInfo> probeJxl(const QUrl& url, const QString& path) {
    const std::optional<JxlFacts> jxl = readJxl(path);
    if (!jxl || jxl->size.isEmpty())
        return std::nullopt;
    PhotoMetadata metadata = decodeExif(jxl->exif);
    metadata.orientation = 1;
    return photoInfo(url, sizeOf(jxl->size), metadata);
}

} // namespace

std::optional<MediaInfo> probePhoto(const QUrl& url) {
    const QString path = url.toLocalFile();
    // A pipe or device would block the readers below, perhaps for ever.
    if (!QFileInfo(path).isFile())
        return std::nullopt;
    switch (Photo::decoderOf(path)) {
    case Photo::Decoder::heif:
        return probeHeif(url, path);
    case Photo::Decoder::raw:
        return probeRaw(url, path);
    case Photo::Decoder::jxl:
        return probeJxl(url, path);
    case Photo::Decoder::qt:
        break;
    }
    // Only the header is read: the size comes without decoding a pixel.
    const QSize pixels = QImageReader(path).size();
    if (pixels.width() <= 0 || pixels.height() <= 0)
        return std::nullopt;
    return photoInfo(url, sizeOf(pixels), readPhotoMetadata(path));
}

} // namespace vimbo::MediaProbe
