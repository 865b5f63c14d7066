#pragma once

// HEIF and AVIF stills, as phones and cameras write them (.heic, .heif, .hif, .avif), read with
// libheif. Safe to call from any thread at once.

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace vimbo {

// True when the file starts like a HEIF/AVIF container, whatever its name.
bool isHeifFile(const QString& path);

struct HeifPhoto {
    // The primary image as displayed: libheif has applied the file's rotation and mirroring.
    int width = 0;
    int height = 0;
    // The primary image's EXIF block from its TIFF header on; empty when there is none.
    std::vector<std::uint8_t> exif;
};

// Absent when libheif cannot read the file or it has no primary image. Reads the container's
// boxes only; nothing is decoded.
std::optional<HeifPhoto> readHeif(const QString& path);

} // namespace vimbo
