#pragma once

// Camera RAW test photos: DNG files as a camera writes them (16-bit sensor data under an RGGB
// colour filter, a colour matrix, an EXIF orientation, perhaps a JPEG preview), written by the
// test itself because no command-line tool on the machine makes one.

#include <QByteArray>
#include <QString>

namespace vimbo::test {

struct DngPhoto {
    int width = 400; // sensor pixels, even
    int height = 200;
    // The picture the sensor saw: four quadrants named by colour ('R', 'G', 'B', 'W'), top
    // left, top right, bottom left, bottom right.
    const char* quadrants = "RGBW";
    int orientation = 1;  // EXIF/TIFF orientation, 1…8
    QString dateTime;     // IFD0 DateTime ("yyyy:MM:dd HH:mm:ss"), none when empty
    QByteArray preview;   // a JPEG stored as the file's second image, none when empty
    int previewWidth = 0; // its size
    int previewHeight = 0;
};

// Writes the photo to `path` (overwriting it) and returns the path.
QString writeDng(const QString& path, const DngPhoto& photo);

} // namespace vimbo::test
