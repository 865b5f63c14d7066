// The real sample files against the facts measured on them with ffprobe, exiftool and libheif
// (MANIFEST.tsv beside them; its README explains the columns).

#include "media/MediaProbe.h"
#include "tests/support/Media.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <gtest/gtest.h>

namespace vimbo {
namespace {

using Row = QHash<QString, QString>;

QList<Row> manifest() {
    QFile file(test::sample(QStringLiteral("MANIFEST.tsv")));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    const QStringList header =
        QString::fromUtf8(file.readLine()).trimmed().split(QLatin1Char('\t'));
    QList<Row> rows;
    while (!file.atEnd()) {
        const QStringList fields =
            QString::fromUtf8(file.readLine()).chopped(1).split(QLatin1Char('\t'));
        Row row;
        for (qsizetype i = 0; i < header.size() && i < fields.size(); ++i)
            row.insert(header[i], fields[i]);
        rows.append(row);
    }
    return rows;
}

QDateTime fileDate(const QString& path) {
    const QFileInfo info(path);
    return info.birthTime().isValid() ? info.birthTime() : info.lastModified();
}

// "+hh:mm" as seconds; "2023:05:09 12:41:46" (+ offset) as a date.
int offsetSeconds(const QString& offset) {
    const int seconds =
        QTime::fromString(offset.mid(1), QStringLiteral("hh:mm")).msecsSinceStartOfDay() / 1000;
    return offset.startsWith(QLatin1Char('-')) ? -seconds : seconds;
}
QDateTime exiftoolDate(const QString& text, const QString& offset) {
    QDateTime date = QDateTime::fromString(text, QStringLiteral("yyyy:MM:dd HH:mm:ss"));
    if (!offset.isEmpty())
        date.setOffsetFromUtc(offsetSeconds(offset));
    return date;
}

QDateTime expectedPhotoDate(const Row& row, const QString& path) {
    // This phone wrote its HEIF EXIF item with a zero header offset and JPEG's "Exif\0\0"
    // marker in front of the TIFF header. exiftool gives up on that; we skip the marker and
    // find the capture date, the same as that of the phone's other photo, sample_still_photo.
    if (row[QStringLiteral("file")] == QLatin1String("sample_MP.heic"))
        return exiftoolDate(QStringLiteral("2020:10:21 12:26:18"), {});
    const QString text = !row[QStringLiteral("date_time_original")].isEmpty()
                             ? row[QStringLiteral("date_time_original")]
                             : row[QStringLiteral("tiff_datetime")];
    return text.isEmpty() ? fileDate(path)
                          : exiftoolDate(text, row[QStringLiteral("offset_time_original")]);
}

QDateTime expectedMovieDate(const Row& row, const QString& path) {
    const QString apple = row[QStringLiteral("apple_creationdate")];
    if (!apple.isEmpty())
        return exiftoolDate(apple.left(19), apple.mid(19));
    const QDateTime header =
        QDateTime::fromString(row[QStringLiteral("creation_time")], Qt::ISODateWithMs);
    const bool plausible = header.isValid() && header.date().year() > 1970 &&
                           header <= QDateTime::currentDateTimeUtc();
    return plausible ? header : fileDate(path);
}

double rational(const QString& text) {
    const QStringList parts = text.split(QLatin1Char('/'));
    return parts.size() == 2 && parts[1].toDouble() != 0 ? parts[0].toDouble() / parts[1].toDouble()
                                                         : 0;
}

// ffprobe's names, "aac (mp4a)", "pcm_s16le (sowt)", as the Core Audio format the platform names.
QString audioFormat(const Row& row) {
    const QString codec = row[QStringLiteral("audio_codec")];
    if (codec.isEmpty())
        return {};
    const QString name = codec.section(QLatin1Char(' '), 0, 0);
    const QString tag = codec.section(QLatin1Char('('), 1).chopped(1);
    const bool pcm = name.startsWith(QLatin1String("pcm_")) || tag == QLatin1String("fpcm");
    const QHash<QString, QString> formats{
        {"aac", "aac"}, {"ac3", "ac-3"}, {"mp3", ".mp3"}, {"alac", "alac"}};
    return QStringLiteral("%1 %2 %3")
        .arg(pcm ? QStringLiteral("lpcm") : formats.value(name, name),
             row[QStringLiteral("audio_sample_rate")], row[QStringLiteral("audio_channels")]);
}

AffineTransform matrix(const QString& text) {
    const QStringList m = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (m.size() != 9)
        return {};
    const auto at = [&](int i) { return m[i].toDouble() / 65536; };
    const AffineTransform t{at(0), at(1), at(3), at(4), at(6), at(7)};
    return t.a * t.d - t.b * t.c == 0 ? AffineTransform{} : t;
}

// ffprobe's stream duration, unless the header declared an absurd one (fragmented files say
// 0xFFFFFFFF ticks): then the frames counted, at the average rate.
double expectedDuration(const Row& row) {
    const double declared = row[QStringLiteral("video_duration_s")].toDouble();
    if (declared < 24 * 3600)
        return declared;
    const int frames = row[QStringLiteral("frame_timing")].section(QLatin1Char(' '), 0, 0).toInt();
    return frames / rational(row[QStringLiteral("avg_frame_rate")]);
}

void expectVideo(const Row& row, const MediaInfo& info, const QString& path) {
    const auto number = [&](const char* column) { return row[QLatin1String(column)].toDouble(); };
    EXPECT_EQ(info.kind, MediaKind::video);
    EXPECT_EQ(info.size, (Size{number("display_width"), number("display_height")}));
    EXPECT_EQ(info.naturalSize, (Size{number("width"), number("height")}));
    EXPECT_EQ(info.transform, matrix(row[QStringLiteral("display_matrix")]));
    EXPECT_NEAR(info.duration, expectedDuration(row), 0.0015);
    const double rate = rational(row[QStringLiteral("avg_frame_rate")]);
    EXPECT_NEAR(info.frameRate, rate, rate * 1e-4);
    EXPECT_EQ(info.codec,
              row[QStringLiteral("video_codec")].section(QLatin1Char('('), 1).chopped(1));
    EXPECT_EQ(info.hasAudio, !row[QStringLiteral("audio_codec")].isEmpty());
    EXPECT_EQ(info.audioFormat, audioFormat(row));
    const QString transfer = row[QStringLiteral("color_transfer")];
    EXPECT_EQ(info.isHDR,
              transfer == QLatin1String("smpte2084") || transfer == QLatin1String("arib-std-b67"));
    EXPECT_EQ(info.dateTaken, expectedMovieDate(row, path));
}

// What must come out unsupported: refused containers and extensions, files with no video,
// codecs FFmpeg 5.1 has no decoder for (VVC), and HEIF that libheif refuses (truncated).
bool unusable(const Row& row) {
    const QString kind = row[QStringLiteral("kind")];
    return kind == QLatin1String("refused-container") || kind == QLatin1String("no-tracks") ||
           kind == QLatin1String("audio-only") ||
           MediaProbe::knownUnsupported().contains(
               QFileInfo(row[QStringLiteral("file")]).suffix().toLower()) ||
           row[QStringLiteral("video_codec")].startsWith(QLatin1String("unknown")) ||
           row[QStringLiteral("decode_check")].contains(QLatin1String("FAILED"));
}

TEST(SampleCorpus, ProbeAgreesWithTheManifest) {
    VIMBO_REQUIRE_SAMPLES();
    const QList<Row> rows = manifest();
    ASSERT_GT(rows.size(), 70);
    for (const Row& row : rows) {
        const QString path = test::sample(row[QStringLiteral("file")]);
        SCOPED_TRACE(row[QStringLiteral("file")].toStdString());
        const QUrl url = QUrl::fromLocalFile(path);
        EXPECT_TRUE(MediaProbe::isMedia(url));
        const MediaInfo info = MediaProbe::probe(url);
        if (unusable(row)) {
            EXPECT_EQ(info, MediaInfo(MediaKind::unsupported));
        } else if (row[QStringLiteral("kind")] == QLatin1String("photo")) {
            EXPECT_EQ(info.kind, MediaKind::photo);
            EXPECT_EQ(info.size, (Size{row[QStringLiteral("display_width")].toDouble(),
                                       row[QStringLiteral("display_height")].toDouble()}));
            EXPECT_EQ(info.dateTaken, expectedPhotoDate(row, path));
        } else {
            expectVideo(row, info, path);
        }
    }
}

} // namespace
} // namespace vimbo
