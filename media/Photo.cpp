#include "media/Photo.h"

#include "media/HeifPhoto.h"
#include "media/JxlPhoto.h"
#include "media/Orientation.h"
#include "media/PhotoMetadata.h"
#include "media/RawPhoto.h"

#include <QFileInfo>
#include <QImageReader>

#include <libheif/heif.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <mutex>

namespace vimbo::Photo {
namespace {

struct HeifContextDeleter {
    void operator()(heif_context* c) const { heif_context_free(c); }
};
struct HeifHandleDeleter {
    void operator()(heif_image_handle* h) const { heif_image_handle_release(h); }
};
struct HeifImageDeleter {
    void operator()(heif_image* i) const { heif_image_release(i); }
};

// `size` made smaller so that its longer side is at most `longest`; never larger.
QSize bounded(QSize size, std::int64_t longest) {
    const int side = std::max(size.width(), size.height());
    if (side <= longest)
        return size;
    const double f = static_cast<double>(longest) / side;
    return {std::max(1, static_cast<int>(std::lround(size.width() * f))),
            std::max(1, static_cast<int>(std::lround(size.height() * f)))};
}

// The image scaled down so that its longer side is at most `longest`.
QImage fitted(QImage image, std::int64_t longest) {
    const QSize size = bounded(image.size(), longest);
    if (size == image.size())
        return image;
    return image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QImage loadWithQt(const QString& file, std::int64_t longest) {
    // Some readers (WebP, PNG) cannot decode at a reduced size; Qt's default 128 MB limit would
    // then refuse panoramas and large camera files that we only want small.
    static std::once_flag raised;
    std::call_once(raised, [] { QImageReader::setAllocationLimit(1024); });
    QImageReader reader(file);
    reader.setAutoTransform(true);
    // The scaled size applies before the orientation turns the picture; the longer side is the
    // same either way.
    const QSize stored = reader.size();
    if (stored.isValid()) {
        const QSize target = bounded(stored, longest);
        if (target != stored)
            reader.setScaledSize(target);
    }
    // Asked before reading: the reader forgets both once it has read.
    const QByteArray format = reader.format();
    const bool turnedByQt = reader.transformation() != QImageIOHandler::TransformationNone;
    QImage image = reader.read();
    if (image.isNull())
        return {};
    // Qt stands JPEG and TIFF upright by their EXIF orientation, but not PNG (eXIf chunk or
    // ImageMagick's text profile) or WebP (EXIF chunk), whose size the probe reports turned all
    // the same. Exiv2 reads their orientation as it does for the probe.
    if ((format == "png" || format == "webp") && !turnedByQt)
        image = upright(image, static_cast<ImageOrientation>(readPhotoMetadata(file).orientation));
    return fitted(std::move(image), longest);
}

QImage loadWithHeif(const QString& file, std::int64_t longest) {
    std::unique_ptr<heif_context, HeifContextDeleter> context(heif_context_alloc());
    if (!context)
        return {};
    const QByteArray path = file.toUtf8();
    if (heif_context_read_from_file(context.get(), path.constData(), nullptr).code != heif_error_Ok)
        return {};
    heif_image_handle* rawHandle = nullptr;
    if (heif_context_get_primary_image_handle(context.get(), &rawHandle).code != heif_error_Ok)
        return {};
    std::unique_ptr<heif_image_handle, HeifHandleDeleter> handle(rawHandle);
    const bool alpha = heif_image_handle_has_alpha_channel(rawHandle);
    const heif_chroma chroma = alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB;
    heif_image* rawImage = nullptr;
    // Default options: libheif applies the file's rotation and mirroring.
    if (heif_decode_image(rawHandle, &rawImage, heif_colorspace_RGB, chroma, nullptr).code !=
        heif_error_Ok)
        return {};
    std::unique_ptr<heif_image, HeifImageDeleter> decoded(rawImage);
    const int width = heif_image_get_width(rawImage, heif_channel_interleaved);
    const int height = heif_image_get_height(rawImage, heif_channel_interleaved);
    int stride = 0;
    const std::uint8_t* pixels =
        heif_image_get_plane_readonly(rawImage, heif_channel_interleaved, &stride);
    if (!pixels || width <= 0 || height <= 0)
        return {};
    const QImage::Format format = alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888;
    const QImage view(pixels, width, height, stride, format);
    // A copy either way: the image must not outlive libheif's buffer.
    return view.size() == bounded(view.size(), longest) ? view.copy() : fitted(view, longest);
}

} // namespace

Decoder decoderOf(const QString& path) {
    if (isCameraRaw(path))
        return Decoder::raw;
    if (isHeifFile(path))
        return Decoder::heif;
    if (isJxlFile(path))
        return Decoder::jxl;
    return Decoder::qt;
}

QImage load(const QUrl& url, std::int64_t maxPixels) {
    const std::int64_t longest = std::max<std::int64_t>(maxPixels, 1);
    const QString file = url.toLocalFile();
    switch (decoderOf(file)) {
    case Decoder::heif:
        return loadWithHeif(file, longest);
    case Decoder::raw:
        return fitted(loadRawPhoto(file, longest), longest);
    case Decoder::jxl:
        return fitted(loadJxl(file), longest);
    case Decoder::qt:
        break;
    }
    return loadWithQt(file, longest);
}

} // namespace vimbo::Photo
