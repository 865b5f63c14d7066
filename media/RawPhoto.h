#pragma once

// Camera RAW photos (DNG, CR2, CR3, NEF, ARW, RAF, ORF, RW2 and the like) read with LibRaw.
// Each call opens its own decoder: safe from any number of threads at once.

#include <QImage>
#include <QSize>
#include <QString>

#include <cstdint>
#include <optional>

namespace vimbo {

// True when a file of this name is a camera RAW: its extension names a type that the shared
// MIME database derives from image/x-dcraw, or one of the few raw types it does not know.
bool isCameraRaw(const QString& path);

// The size of the photo as it is shown (a quarter turn by its orientation swaps the sides),
// from the file's header alone. Absent when LibRaw cannot read the file.
std::optional<QSize> rawPhotoSize(const QString& path);

// The photo upright, its longer side at least min(longest, a half-size decode's) where the
// file allows: the camera's embedded preview when it is that large (no raw decoding at all),
// else the raw data decoded at half size (each 2 × 2 block of sensor pixels one pixel, four
// times quicker than a full decode). The caller scales it down to `longest`. A null image
// when the file cannot be decoded.
QImage loadRawPhoto(const QString& path, std::int64_t longest);

} // namespace vimbo
