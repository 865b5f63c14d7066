#include "media/RawPhoto.h"

#include "media/Orientation.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QMimeDatabase>

#include <algorithm>
#include <array>
#include <cstring>
#include <libraw.h>
#include <memory>

namespace vimbo {
namespace {

struct ProcessedDeleter {
    void operator()(libraw_processed_image_t* image) const { LibRaw::dcraw_clear_mem(image); }
};
using ProcessedPtr = std::unique_ptr<libraw_processed_image_t, ProcessedDeleter>;

// LibRaw keeps large tables inside the object: on the heap, not on a worker's stack.
std::unique_ptr<LibRaw> open(const QString& path) {
    auto raw = std::make_unique<LibRaw>();
    const QByteArray name = QFile::encodeName(path);
    if (raw->open_file(name.constData()) != LIBRAW_SUCCESS)
        return nullptr;
    return raw;
}

// LibRaw's flip (bit 0 mirrors left to right, bit 1 top to bottom, bit 2 swaps the axes
// first) as the EXIF orientation that means the same.
ImageOrientation orientationOfFlip(int flip) {
    static constexpr std::array<ImageOrientation, 8> table{
        ImageOrientation::up,    ImageOrientation::upMirrored,    ImageOrientation::downMirrored,
        ImageOrientation::down,  ImageOrientation::leftMirrored,  ImageOrientation::left,
        ImageOrientation::right, ImageOrientation::rightMirrored,
    };
    return table[static_cast<std::size_t>(flip & 7)];
}

QSize shown(int width, int height, int flip) {
    return flip & 4 ? QSize(height, width) : QSize(width, height);
}

// An 8-bit RGB or grey picture of LibRaw's as an image of our own.
QImage copyBitmap(const unsigned char* data, int width, int height, int colours) {
    if (width <= 0 || height <= 0 || (colours != 1 && colours != 3))
        return {};
    QImage image(width, height, colours == 3 ? QImage::Format_RGB888 : QImage::Format_Grayscale8);
    if (image.isNull())
        return {};
    const std::size_t row = static_cast<std::size_t>(width) * static_cast<std::size_t>(colours);
    for (int y = 0; y < height; ++y)
        std::memcpy(image.scanLine(y), data + row * static_cast<std::size_t>(y), row);
    return image;
}

// The embedded preview, decoded only when its longer side reaches `needed`, upright.
QImage preview(LibRaw& raw, std::int64_t needed, std::int64_t longest) {
    const libraw_thumbnail_t& t = raw.imgdata.thumbnail;
    // Its format is known only once it is read.
    if (t.tlength == 0 || raw.unpack_thumb() != LIBRAW_SUCCESS || !t.thumb || t.tlength == 0 ||
        (t.tformat != LIBRAW_THUMBNAIL_JPEG && t.tformat != LIBRAW_THUMBNAIL_BITMAP))
        return {};
    QImage image;
    if (t.tformat == LIBRAW_THUMBNAIL_JPEG) {
        QByteArray bytes = QByteArray::fromRawData(t.thumb, static_cast<qsizetype>(t.tlength));
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        QImageReader reader(&buffer, "jpeg");
        // The camera stores the preview as the sensor saw it; the raw's orientation applies.
        reader.setAutoTransform(false);
        const QSize size = reader.size();
        if (!size.isValid() || std::max(size.width(), size.height()) < needed)
            return {};
        const int side = std::max(size.width(), size.height());
        if (side > longest)
            reader.setScaledSize(size * (static_cast<double>(longest) / side));
        image = reader.read();
    } else {
        if (std::max<std::int64_t>(t.twidth, t.theight) < needed ||
            t.tlength < static_cast<unsigned>(t.twidth) * t.theight * 3)
            return {};
        image = copyBitmap(reinterpret_cast<const unsigned char*>(t.thumb), t.twidth, t.theight, 3);
    }
    return image.isNull() ? image : upright(image, orientationOfFlip(raw.imgdata.sizes.flip));
}

// The raw data demosaiced at half size, in the camera's white balance, upright.
QImage halfSize(LibRaw& raw) {
    libraw_output_params_t& p = raw.imgdata.params;
    p.half_size = 1;
    p.use_camera_wb = 1;
    p.output_bps = 8;
    if (raw.unpack() != LIBRAW_SUCCESS || raw.dcraw_process() != LIBRAW_SUCCESS)
        return {};
    int error = 0;
    const ProcessedPtr image(raw.dcraw_make_mem_image(&error));
    if (!image || error != LIBRAW_SUCCESS || image->type != LIBRAW_IMAGE_BITMAP || image->bits != 8)
        return {};
    return copyBitmap(image->data, image->width, image->height, image->colors);
}

} // namespace

bool isCameraRaw(const QString& path) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    // Raw formats the MIME database has no type for: Samsung, Hasselblad, Epson, Leica, Phase
    // One, Leaf.
    static const QStringList unknownToMime{"srw", "3fr", "erf", "rwl", "iiq", "mos"};
    if (unknownToMime.contains(suffix))
        return true;
    if (suffix.isEmpty())
        return false;
    const QMimeType type = QMimeDatabase().mimeTypeForFile(QStringLiteral("file.") + suffix,
                                                           QMimeDatabase::MatchExtension);
    return type.name() == QLatin1String("image/x-dcraw") ||
           type.allAncestors().contains(QLatin1String("image/x-dcraw"));
}

std::optional<QSize> rawPhotoSize(const QString& path) {
    const std::unique_ptr<LibRaw> raw = open(path);
    if (!raw)
        return std::nullopt;
    const libraw_image_sizes_t& s = raw->imgdata.sizes;
    if (s.width == 0 || s.height == 0)
        return std::nullopt;
    return shown(s.width, s.height, s.flip);
}

QImage loadRawPhoto(const QString& path, std::int64_t longest) {
    const std::unique_ptr<LibRaw> raw = open(path);
    if (!raw)
        return {};
    const libraw_image_sizes_t& s = raw->imgdata.sizes;
    const std::int64_t half = std::max(s.width, s.height) / 2;
    QImage image = preview(*raw, std::min(longest, half), longest);
    return image.isNull() ? halfSize(*raw) : image;
}

} // namespace vimbo
