#pragma once

// JPEG XL photos read with libjxl (Qt has no reader for them). Each call has its own decoder:
// safe from any number of threads at once.

#include <QImage>
#include <QSize>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace vimbo {

// True when the file starts like a JPEG XL codestream or container, whatever its name.
bool isJxlFile(const QString& path);

struct JxlFacts {
    QSize size; // as shown: the codestream's orientation applied
    // The EXIF block from its TIFF header on (the container's Exif box); empty when there is
    // none. Its orientation does not count: the codestream's does.
    std::vector<std::uint8_t> exif;
};

// From the headers and boxes; no pixel is decoded. Absent when libjxl cannot read the file.
std::optional<JxlFacts> readJxl(const QString& path);

// The whole picture decoded, upright (libjxl applies the orientation), RGBA. A null image
// when it cannot be decoded.
QImage loadJxl(const QString& path);

} // namespace vimbo
