#pragma once

// What a photo's EXIF says about how to show it and when it was taken, read with Exiv2.
// Safe to call from any thread at once.

#include <QString>

#include <cstdint>
#include <optional>
#include <span>

namespace vimbo {

struct PhotoMetadata {
    int orientation = 1; // EXIF orientation 1...8; 1 (upright) when absent or out of range
    std::optional<QString> dateTimeOriginal;   // Exif.Photo.DateTimeOriginal
    std::optional<QString> offsetTimeOriginal; // Exif.Photo.OffsetTimeOriginal
    std::optional<QString> dateTime;           // IFD0 DateTime
};

// From an image file of any format Exiv2 reads (JPEG, PNG eXIf and ImageMagick raw profiles,
// WebP, TIFF, ...). Empty when the file has no EXIF or cannot be read.
PhotoMetadata readPhotoMetadata(const QString& path);

// From a bare EXIF block that starts with its TIFF header, as HEIF files carry it.
PhotoMetadata decodeExif(std::span<const std::uint8_t> tiff);

// The EXIF block (from its TIFF header on) inside an ISO BMFF 'Exif' item or box, as HEIF and
// JPEG XL store it; empty when the box is malformed.
std::span<const std::uint8_t> exifInBox(std::span<const std::uint8_t> box);

} // namespace vimbo
