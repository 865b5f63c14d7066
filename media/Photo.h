#pragma once

// Photos decoded at a bounded size, upright. Safe to call from any thread at once.

#include <QImage>
#include <QUrl>

#include <cstdint>

namespace vimbo::Photo {

// The photo upright (its orientation applied), its longer side at most max(maxPixels, 1) and
// never larger than the image itself. JPEG, PNG, TIFF, WebP and the other formats Qt reads are
// decoded through QImageReader (JPEG straight at the reduced size); HEIC, HEIF, HIF and AVIF
// through libheif, which applies their rotation and mirroring itself. A null image when the
// file cannot be read or decoded.
QImage load(const QUrl& url, std::int64_t maxPixels);

} // namespace vimbo::Photo
