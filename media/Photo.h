#pragma once

// Photos decoded at a bounded size, upright. Safe to call from any thread at once.

#include <QImage>
#include <QUrl>

#include <cstdint>

namespace vimbo::Photo {

// Which library reads a photo file.
enum class Decoder {
    heif, // HEIC, HEIF, HIF, AVIF (by content): libheif
    raw,  // camera RAW (by name): LibRaw
    jxl,  // JPEG XL (by content): libjxl
    qt,   // JPEG, PNG, TIFF, WebP and the rest: QImageReader
};
Decoder decoderOf(const QString& path);

// The photo upright (its orientation applied), its longer side at most max(maxPixels, 1) and
// never larger than the image itself. Qt decodes JPEG straight at the reduced size and turns
// JPEG and TIFF itself; PNG and WebP are turned by the orientation Exiv2 reads; libheif
// applies HEIF's rotation and mirroring, libjxl JPEG XL's orientation; a camera RAW comes from
// its embedded preview when that is large enough, else from a half-size decode. A null image
// when the file cannot be read or decoded.
QImage load(const QUrl& url, std::int64_t maxPixels);

} // namespace vimbo::Photo
