#include "media/Photo.h"

#include "tests/support/Dng.h"
#include "tests/support/Media.h"

#include <QColorSpace>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace vimbo {
namespace {

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

// Which colour each quadrant of a picture shows: top left, top right, bottom left, bottom right.
std::string corners(const QImage& image) {
    std::string s;
    for (auto [fx, fy] : {std::pair{0.25, 0.25}, {0.75, 0.25}, {0.25, 0.75}, {0.75, 0.75}}) {
        const QColor c = image.pixelColor(int(image.width() * fx), int(image.height() * fy));
        s += c.red() > 128 && c.green() > 128 ? 'W'
             : c.red() > 128                  ? 'R'
             : c.green() > 128                ? 'G'
                                              : 'B';
    }
    return s;
}

QUrl file(const QString& path) {
    return QUrl::fromLocalFile(path);
}

// Every orientation in every format that carries EXIF its own way: Qt turns JPEG itself, PNG
// (eXIf chunk) and WebP (EXIF chunk) are turned by what Exiv2 reads. The size asked for bounds
// the upright picture's long side.
TEST(PhotoLoad, OrientationTurnsThePixelsWithinTheSizeAskedFor) {
    const QStringList lossless{
        "-f",        "lavfi", "-i", "color=black:size=400x200", "-vf", test::quadrantsFilter,
        "-frames:v", "1"};
    const QString formats[] = {
        test::quadrantsPhoto(),
        test::generated("quadrants-400x200.png", lossless),
        test::generated("quadrants-400x200.webp",
                        lossless + QStringList{"-c:v", "libwebp", "-lossless", "1"}),
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
            EXPECT_EQ(corners(image), colours[orientation - 1]) << qPrintable(what);
        }
    }
    const QUrl turned = file(orientedCopies(test::quadrantsPhoto())[5]);
    EXPECT_EQ(Photo::load(turned, 64).size(), QSize(32, 64));
    EXPECT_EQ(Photo::load(turned, 0).size(), QSize(1, 1));
    EXPECT_EQ(Photo::load(turned, 10000).size(), QSize(200, 400)); // never enlarged
    EXPECT_TRUE(Photo::load(file("/nowhere/gone.jpg"), 100).isNull());
}

// The sensor data shows red and blue swapped against the camera's JPEG preview, so that each
// picture tells where it came from.
TEST(PhotoLoad, CameraRawFromItsPreviewOrAHalfSizeDecode) {
    const QString folder = test::scratchFolder();
    test::DngPhoto sensor;
    sensor.quadrants = "BGRW";
    sensor.orientation = 6;
    // The same photo with a JPEG of the quadrants as the camera's preview.
    const auto withPreview = [&](int orientation, const QString& jpeg, int width, int height) {
        test::DngPhoto photo = sensor;
        QFile file(jpeg);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        photo.orientation = orientation;
        photo.preview = file.readAll();
        photo.previewWidth = width;
        photo.previewHeight = height;
        return photo;
    };
    const QString small = test::generated("quadrants-100x50.jpg",
                                          {"-f", "lavfi", "-i", "color=black:size=100x50", "-vf",
                                           test::quadrantsFilter, "-frames:v", "1", "-q:v", "2"});
    // The camera wrote the raw's orientation into its preview too: it turns the picture once.
    const test::DngPhoto full = withPreview(6, orientedCopies(test::quadrantsPhoto())[5], 400, 200),
                         smallPreview = withPreview(8, small, 100, 50);
    struct Case {
        const char* what;
        test::DngPhoto photo;
        std::int64_t maxPixels;
        QSize size;
        const char* colours;
    };
    const Case cases[] = {
        {"the full-size preview", full, 200, {100, 200}, "BRWG"},
        {"a preview larger than a half-size decode", full, 500, {200, 400}, "BRWG"},
        {"no preview: half size", sensor, 200, {100, 200}, "RBWG"},
        {"no preview, small", sensor, 40, {20, 40}, "RBWG"},
        {"a preview too small", smallPreview, 300, {100, 200}, "GWBR"},
        {"a small preview enough", smallPreview, 64, {32, 64}, "GWRB"},
    };
    int n = 0;
    for (const Case& c : cases) {
        const QString path = test::writeDng(folder + QString("/%1.dng").arg(++n), c.photo);
        const QImage image = Photo::load(file(path), c.maxPixels);
        EXPECT_EQ(image.size(), c.size) << c.what;
        EXPECT_EQ(corners(image), c.colours) << c.what;
    }
    QFile garbage(folder + "/garbage.nef");
    ASSERT_TRUE(garbage.open(QIODevice::WriteOnly));
    garbage.write(QByteArray(100000, 'x'));
    garbage.close();
    EXPECT_TRUE(Photo::load(file(garbage.fileName()), 100).isNull());
}

// JPEG XL through libjxl: the orientation of an EXIF box does not turn it (only the
// codestream's does), and a damaged file gives nothing.
TEST(PhotoLoad, JpegXl) {
    const QString folder = test::scratchFolder();
    const QString jxl = test::generated(
        "quadrants-400x200.jxl", {"-f", "lavfi", "-i", "color=black:size=400x200", "-vf",
                                  test::quadrantsFilter, "-frames:v", "1", "-distance", "0"});
    const QString boxed = folder + "/boxed.jxl";
    ASSERT_TRUE(QFile::copy(jxl, boxed));
    test::run("exiftool", {"-q", "-m", "-overwrite_original", "-Orientation#=6", boxed});
    for (const QString& path : {jxl, boxed}) {
        const QImage image = Photo::load(file(path), 200);
        EXPECT_EQ(image.size(), QSize(200, 100)) << path.toStdString();
        EXPECT_EQ(corners(image), "RGBW") << path.toStdString();
    }
    QFile whole(jxl);
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    QFile cut(folder + "/cut.jxl");
    ASSERT_TRUE(cut.open(QIODevice::WriteOnly));
    cut.write(whole.readAll().chopped(40));
    cut.close();
    EXPECT_TRUE(Photo::load(file(cut.fileName()), 200).isNull());
}

// Display P3 photos, as phones take them, come out in sRGB whether an nclx box (AVIF), an ICC
// profile (JPEG) or the colour encoding of a JPEG XL says so: measured against FFmpeg's conversion
// of the primaries in linear light, and against the pixels read as if they were sRGB already.
TEST(PhotoLoad, WideGamutBecomesSrgb) {
    // Half saturated: the pattern's pure colours lie beyond sRGB either way.
    const QString pattern = "-f lavfi -i testsrc2=size=320x180:rate=1,hue=s=0.5 -frames:v 1 ";
    const QString avif = test::generated(
        "p3-half.avif",
        (pattern + "-pix_fmt yuv444p -c:v libaom-av1 -crf 4 -still-picture 1 "
                   "-color_primaries smpte432 -color_trc iec61966-2-1 -colorspace bt709")
            .split(' '));
    const QString jpeg = test::scratchFolder() + "/p3.jpg";
    ASSERT_TRUE(QFile::copy(
        test::generated("srgb-half.jpg", (pattern + "-pix_fmt yuvj444p -q:v 1").split(' ')), jpeg));
    QFile icc(test::scratchFolder() + "/p3.icc");
    ASSERT_TRUE(icc.open(QIODevice::WriteOnly));
    icc.write(QColorSpace(QColorSpace::DisplayP3).iccProfile());
    icc.close();
    test::run("exiftool", {"-q", "-overwrite_original", "-icc_profile<=" + icc.fileName(), jpeg});
    const auto rgb = [](const QString& name, const QString& input, const QString& chain) {
        QFile f(test::generated(name, {"-i", input, "-vf", chain + ",format=rgb24", "-f",
                                       "rawvideo", "-pix_fmt", "rgb24"}));
        EXPECT_TRUE(f.open(QIODevice::ReadOnly));
        return f.readAll();
    };
    const auto error = [](const QByteArray& a, const QByteArray& b) {
        EXPECT_EQ(a.size(), b.size());
        double sum = 0;
        for (qsizetype i = 0; i < std::min(a.size(), b.size()); ++i)
            sum += std::abs(int(std::uint8_t(a[i])) - int(std::uint8_t(b[i])));
        return sum / double(std::max<qsizetype>(1, a.size()));
    };
    const QString jxl =
        test::generated("p3-half.jxl", (pattern + "-pix_fmt rgb24 -color_primaries smpte432 "
                                                  "-color_trc iec61966-2-1 -distance 0")
                                           .split(' '));
    for (const QString& path : {avif, jpeg, jxl}) {
        const QString base = QFileInfo(path).suffix();
        // FFmpeg's own YCbCr to RGB first: zscale takes no JPEG.
        const QByteArray reference =
            rgb(base + "-p3-reference.rgb", path,
                "format=gbrp,zscale=min=gbr:m=gbr:pin=smpte432:p=smpte432:tin=iec61966-2-1:"
                "t=linear,format=gbrpf32le,zscale=p=bt709,zscale=t=iec61966-2-1,format=gbrp");
        const QByteArray naive = rgb(base + "-p3-naive.rgb", path, "format=gbrp");
        const QImage image = Photo::load(file(path), 320).convertToFormat(QImage::Format_RGB888);
        QByteArray ours;
        for (int y = 0; y < image.height(); ++y)
            ours.append(reinterpret_cast<const char*>(image.constScanLine(y)), 3 * image.width());
        const double e = error(ours, reference), naiveError = error(naive, reference);
        std::printf("%s: mean absolute error %.2f (as sRGB: %.2f)\n", qPrintable(base), e,
                    naiveError);
        EXPECT_LT(e, 1.0) << base.toStdString();
        EXPECT_LT(e * 10, naiveError) << base.toStdString();
    }
}

} // namespace
} // namespace vimbo
