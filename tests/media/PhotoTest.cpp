#include "media/Photo.h"

#include "tests/support/Media.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace vimbo {
namespace {

// A copy of a generated image with its EXIF orientation set, private to this test.
QString oriented(const QString& image, int orientation) {
    const QString copy = test::scratchFolder() + "/" + QString::number(orientation) + "." +
                         QFileInfo(image).suffix();
    EXPECT_TRUE(QFile::copy(image, copy));
    test::run("exiftool", {"-q", "-overwrite_original",
                           "-Orientation=" + QString::number(orientation), "-n", copy});
    return copy;
}

// Copies of a generated image with EXIF orientations 1 to 8, made by one exiftool run.
QStringList orientedCopies(const QString& image) {
    const QString folder = test::scratchFolder();
    QStringList copies, arguments;
    for (int orientation = 1; orientation <= 8; ++orientation) {
        copies << folder + "/" + QString::number(orientation) + "." + QFileInfo(image).suffix();
        EXPECT_TRUE(QFile::copy(image, copies.back()));
        arguments << "-Orientation#=" + QString::number(orientation) << copies.back() << "-execute";
    }
    test::run("exiftool", arguments << "-common_args"
                                    << "-q"
                                    << "-overwrite_original");
    return copies;
}

QUrl file(const QString& path) {
    return QUrl::fromLocalFile(path);
}

TEST(PhotoLoad, BoundedSizeWithOrientation) {
    const QString big = test::generated(
        "plain-4032x3024.jpg", {"-f", "lavfi", "-i", "testsrc2=size=4032x3024", "-frames:v", "1"});
    const QString turned = oriented(big, 6);
    struct Case {
        const char* what;
        QString path;
        std::int64_t maxPixels;
        QSize expected;
    };
    const Case cases[] = {
        {"a phone photo turned upright", turned, 320, {240, 320}},
        {"zero asks for one pixel", turned, 0, {1, 1}},
        {"negative too", turned, -5, {1, 1}},
        {"never larger than the image", turned, 10000, {3024, 4032}},
        {"exactly the image", big, 4032, {4032, 3024}},
        {"unturned", big, 1000, {1000, 750}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Photo::load(file(c.path), c.maxPixels).size(), c.expected) << c.what;
    EXPECT_TRUE(Photo::load(file("/nowhere/gone.jpg"), 100).isNull());
}

// Every orientation in every format that carries EXIF its own way: Qt turns JPEG itself, PNG
// (eXIf chunk) and WebP (EXIF chunk) are turned by what Exiv2 reads.
TEST(PhotoLoad, OrientationTurnsThePixels) {
    const QStringList lossless{
        "-f",        "lavfi", "-i", "color=black:size=400x200", "-vf", test::quadrantsFilter,
        "-frames:v", "1"};
    const QString formats[] = {
        test::quadrantsPhoto(),
        test::generated("quadrants-400x200.png", lossless),
        test::generated("quadrants-400x200.webp",
                        lossless + QStringList{"-c:v", "libwebp", "-lossless", "1"}),
    };
    auto corners = [](const QImage& image) {
        QString s;
        for (auto [fx, fy] : {std::pair{0.25, 0.25}, {0.75, 0.25}, {0.25, 0.75}, {0.75, 0.75}}) {
            const QColor c = image.pixelColor(int(image.width() * fx), int(image.height() * fy));
            s += c.red() > 128 && c.green() > 128 ? 'W'
                 : c.red() > 128                  ? 'R'
                 : c.green() > 128                ? 'G'
                                                  : 'B';
        }
        return s;
    };
    // Red, green / blue, white as stored; where each quadrant shows once upright.
    const char* colours[] = {"RGBW", "GRWB", "WBGR", "BWRG", "RBGW", "BRWG", "WGBR", "GWRB"};
    for (const QString& stored : formats) {
        const QStringList copies = orientedCopies(stored);
        for (int orientation = 1; orientation <= 8; ++orientation) {
            const QImage image = Photo::load(file(copies[orientation - 1]), 200);
            const QString what =
                QFileInfo(stored).suffix() + " orientation " + QString::number(orientation);
            EXPECT_EQ(image.size(), orientation >= 5 ? QSize(100, 200) : QSize(200, 100))
                << qPrintable(what);
            EXPECT_EQ(corners(image).toStdString(), colours[orientation - 1]) << qPrintable(what);
        }
    }
}

TEST(PhotoLoad, RealFormats) {
    VIMBO_REQUIRE_SAMPLES();
    struct Case {
        const char* name;
        std::int64_t maxPixels;
        QSize expected;
    };
    const Case cases[] = {
        {"arrow.heic", 400, {300, 400}},            // irot turns it upright
        {"HMD_Nokia_8.3_5G.heif", 800, {600, 800}}, // irot 270
        {"IMG_2682.heic", 1008, {1008, 756}},
        {"cat.hif", 424, {424, 283}}, // 10-bit camera HEIF
        {"Landscape_6.jpg", 300, {300, 200}},
        {"Portrait_6.jpg", 300, {200, 300}},
        {"Landscape_5.jpg", 300, {300, 200}},
        {"g4_orientation_6.tif", 295, {295, 44}},
        {"hopper_orientation_6.webp", 64, {64, 64}},
        {"black_large.webp", 320, {320, 180}},
        {"example.avif", 400, {400, 267}},
        {"density_plot.png", 1000, {800, 800}},
        {"exif_imagemagick_orientation.png", 256, {256, 256}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Photo::load(file(test::sample(c.name)), c.maxPixels).size(), c.expected)
            << c.name;
    EXPECT_TRUE(Photo::load(file(test::sample("truncated.heic")), 100).isNull());
}

} // namespace
} // namespace vimbo
