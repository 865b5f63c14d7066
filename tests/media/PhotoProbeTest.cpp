#include "media/MediaProbe.h"
#include "tests/support/Dng.h"
#include "tests/support/Media.h"

#include <QFile>
#include <QFileInfo>

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

namespace vimbo {
namespace {

// Runs the enclosed code in another local time zone, so that a result that depends on the
// zone shows it, and one that must not cannot pass by luck.
class LocalZone {
public:
    explicit LocalZone(const char* zone)
        : saved_(qgetenv("TZ")) {
        qputenv("TZ", zone);
        tzset();
    }
    ~LocalZone() {
        saved_.isNull() ? qunsetenv("TZ") : qputenv("TZ", saved_);
        tzset();
    }

private:
    QByteArray saved_;
};

QDateTime utc(int y, int mo, int d, int h, int mi, int s) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s), Qt::UTC);
}

QDateTime fileDate(const QString& path) {
    const QFileInfo info(path);
    return info.birthTime().isValid() ? info.birthTime() : info.lastModified();
}

TEST(ExifDate, OffsetWhenWellFormedElseLocalTimeElseNothing) {
    const QString text = QStringLiteral("2023:07:14 18:02:33");
    struct Zone {
        const char* name;
        QDateTime local; // 18:02:33 on the wall clock there
    };
    for (const Zone& zone : {Zone{"Asia/Tokyo", utc(2023, 7, 14, 9, 2, 33)},
                             Zone{"America/New_York", utc(2023, 7, 14, 22, 2, 33)}}) {
        const LocalZone inZone(zone.name);
        const auto at = [&](std::optional<QString> offset) {
            return MediaProbe::exifDate(text, offset).value_or(QDateTime());
        };
        EXPECT_EQ(at(QStringLiteral("+02:00")), utc(2023, 7, 14, 16, 2, 33)) << zone.name;
        EXPECT_EQ(at(QStringLiteral("-05:30")), utc(2023, 7, 14, 23, 32, 33)) << zone.name;
        for (const char* odd : {"+2:00", "+0200", "Z", "+02:60", " +02:00", ""})
            EXPECT_EQ(at(QLatin1String(odd)), zone.local) << zone.name << " offset " << odd;
        EXPECT_EQ(at(std::nullopt), zone.local) << zone.name;
    }
    for (const char* bad :
         {"0000:00:00 00:00:00", "    :  :     :  :  ", "2023-07-14 18:02:33", "2023:07:14 18:02",
          "2023:02:30 10:00:00", "2023:07:14 18:02:33 ", "2023:7:14 18:02:33", ""})
        EXPECT_FALSE(MediaProbe::exifDate(QLatin1String(bad), QStringLiteral("+02:00"))) << bad;
}

// A 640 × 480 picture of the given format with EXIF tags written by exiftool.
QString photoWith(const QString& format, const QString& name, const QStringList& tags) {
    const QString base =
        test::generated(QStringLiteral("photo-640x480.") + format,
                        {"-f", "lavfi", "-i", "testsrc=size=640x480", "-frames:v", "1"});
    const QString path = test::scratchFolder() + QLatin1Char('/') + name;
    EXPECT_TRUE(QFile::copy(base, path));
    if (!tags.isEmpty())
        test::run(QStringLiteral("exiftool"),
                  QStringList{QStringLiteral("-q"), QStringLiteral("-overwrite_original")} + tags +
                      QStringList{path});
    return path;
}

TEST(PhotoProbe, SizeTurnsWithOrientationAndDateComesFromExif) {
    const LocalZone inZone("America/New_York");
    struct Case {
        const char* format;
        QStringList tags;
        Size size;
        QDateTime date; // invalid: the file's own date
    };
    const QString dto = QStringLiteral("-DateTimeOriginal=2023:07:14 18:02:33");
    const QString modified = QStringLiteral("-ModifyDate=2012:08:18 15:32:58");
    const Case cases[] = {
        {"jpg", {}, {640, 480}, {}},
        // JPEG orientations are in the real samples; PNG keeps its in an eXIf chunk
        {"png", {"-Orientation#=5"}, {480, 640}, {}},
        {"webp", {"-Orientation#=7"}, {480, 640}, {}},
        {"jpg", {dto, "-OffsetTimeOriginal=+02:00"}, {640, 480}, utc(2023, 7, 14, 16, 2, 33)},
        {"jpg", {dto}, {640, 480}, utc(2023, 7, 14, 22, 2, 33)}, // local time, EDT
        {"jpg", {dto, modified}, {640, 480}, utc(2023, 7, 14, 22, 2, 33)},
        // IFD0's date is the fallback, at the original date's offset
        {"jpg", {modified, "-OffsetTimeOriginal=-03:00"}, {640, 480}, utc(2012, 8, 18, 18, 32, 58)},
        // a blank original date does not fall back to IFD0's but to the file's
        {"jpg", {"-DateTimeOriginal#=    :  :     :  :  ", modified}, {640, 480}, {}},
        {"png", {dto, "-OffsetTimeOriginal=+02:00"}, {640, 480}, utc(2023, 7, 14, 16, 2, 33)},
        // JPEG XL's EXIF box (exiftool wraps the codestream for it); only the codestream's own
        // orientation counts
        {"jxl", {"-m", dto, "-Orientation#=6"}, {640, 480}, utc(2023, 7, 14, 22, 2, 33)},
    };
    int n = 0;
    for (const Case& c : cases) {
        const QString name = QStringLiteral("photo%1.%2").arg(++n).arg(QLatin1String(c.format));
        const QString path = photoWith(QLatin1String(c.format), name, c.tags);
        const auto info = MediaProbe::probePhoto(QUrl::fromLocalFile(path));
        ASSERT_TRUE(info) << name.toStdString();
        EXPECT_EQ(info->kind, MediaKind::photo) << name.toStdString();
        EXPECT_EQ(info->size, c.size)
            << name.toStdString() << " " << c.tags.join(' ').toStdString();
        EXPECT_EQ(info->dateTaken, c.date.isValid() ? c.date : fileDate(path))
            << name.toStdString();
        EXPECT_EQ(info->duration, 0) << name.toStdString();
        EXPECT_TRUE(info->transform.isIdentity() && info->codec.isEmpty()) << name.toStdString();
    }
    // A camera RAW: its sensor's size turned by the orientation, its date from IFD0.
    test::DngPhoto raw;
    raw.orientation = 6;
    raw.dateTime = "2012:08:18 15:32:58";
    const auto info = MediaProbe::probePhoto(
        QUrl::fromLocalFile(test::writeDng(test::scratchFolder() + "/raw.dng", raw)));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->size, (Size{200, 400}));
    EXPECT_EQ(info->dateTaken, utc(2012, 8, 18, 19, 32, 58));
}

} // namespace
} // namespace vimbo
