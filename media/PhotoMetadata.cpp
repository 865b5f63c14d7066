#include "media/PhotoMetadata.h"

#include <QFile>

#include <exiv2/error.hpp>
#include <exiv2/exif.hpp>
#include <exiv2/image.hpp>
#include <exiv2/xmp_exiv2.hpp>

#include <algorithm>
#include <array>
#include <exception>
#include <mutex>

namespace vimbo {
namespace {

// Reading a JPEG also parses its XMP packet, and Adobe's XMP toolkit under Exiv2 is not
// thread-safe: Exiv2 takes this lock around it once it is handed over at initialisation.
std::recursive_mutex xmpLock;

void lockXmp(void* lock, bool acquire) {
    auto* mutex = static_cast<std::recursive_mutex*>(lock);
    if (acquire)
        mutex->lock();
    else
        mutex->unlock();
}

void prepareExiv2() {
    static std::once_flag once;
    std::call_once(once, [] {
        // Damaged metadata is expected here and costs nothing but a fallback; no warnings.
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        Exiv2::XmpParser::initialize(&lockXmp, &xmpLock);
    });
}

std::optional<QString> text(const Exiv2::ExifData& exif, const char* key) {
    const auto found = exif.findKey(Exiv2::ExifKey(key));
    if (found == exif.end() || found->typeId() != Exiv2::asciiString)
        return std::nullopt;
    return QString::fromStdString(found->toString());
}

int orientation(const Exiv2::ExifData& exif) {
    const auto found = exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
    if (found == exif.end() || found->count() == 0)
        return 1;
    const long value = found->toLong();
    return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
}

PhotoMetadata fromExif(const Exiv2::ExifData& exif) {
    return {
        .orientation = orientation(exif),
        .dateTimeOriginal = text(exif, "Exif.Photo.DateTimeOriginal"),
        .offsetTimeOriginal = text(exif, "Exif.Photo.OffsetTimeOriginal"),
        .dateTime = text(exif, "Exif.Image.DateTime"),
    };
}

} // namespace

PhotoMetadata readPhotoMetadata(const QString& path) {
    prepareExiv2();
    try {
        const auto image = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
        image->readMetadata();
        return fromExif(image->exifData());
    } catch (const std::exception&) {
        // Exiv2 throws for formats it does not know and for metadata it cannot parse; either
        // way the photo simply has no EXIF to go by.
        return {};
    }
}

PhotoMetadata decodeExif(std::span<const std::uint8_t> tiff) {
    if (tiff.empty())
        return {};
    prepareExiv2();
    try {
        Exiv2::ExifData exif;
        Exiv2::ExifParser::decode(exif, tiff.data(), static_cast<std::uint32_t>(tiff.size()));
        return fromExif(exif);
    } catch (const std::exception&) {
        return {};
    }
}

// The box starts with the offset of the TIFF header behind a 4-byte field; some writers still
// put the "Exif\0\0" marker of JPEG's APP1 segment in front of the header.
std::span<const std::uint8_t> exifInBox(std::span<const std::uint8_t> box) {
    if (box.size() < 4)
        return {};
    const std::uint64_t offset = std::uint64_t(box[0]) << 24 | std::uint64_t(box[1]) << 16 |
                                 std::uint64_t(box[2]) << 8 | box[3];
    if (offset > box.size() - 4)
        return {};
    std::span<const std::uint8_t> tiff = box.subspan(static_cast<std::size_t>(4 + offset));
    static constexpr std::array<std::uint8_t, 6> marker{'E', 'x', 'i', 'f', 0, 0};
    if (tiff.size() >= marker.size() && std::equal(marker.begin(), marker.end(), tiff.begin()))
        tiff = tiff.subspan(marker.size());
    return tiff;
}

} // namespace vimbo
