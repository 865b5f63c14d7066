// The real sample files against the facts measured on them with ffprobe, exiftool and libheif
// (MANIFEST.tsv beside them; its README explains the columns).

#include "media/MediaProbe.h"
#include "media/Photo.h"
#include "media/Thumbnail.h"
#include "tests/support/Media.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <gtest/gtest.h>

namespace vimbo {
namespace {

struct Row : QHash<QString, QString> {
    QString operator[](const char* column) const { return value(QLatin1String(column)); }
    double number(const char* column) const { return (*this)[column].toDouble(); }
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row["file"].toStdString();
}

QList<Row> manifest() {
    if (test::sampleFolder().isEmpty())
        return {};
    QFile file(test::sample(QStringLiteral("MANIFEST.tsv")));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    const QStringList header = QString::fromUtf8(file.readLine()).chopped(1).split(u'\t');
    QList<Row> rows;
    while (!file.atEnd()) {
        const QStringList fields = QString::fromUtf8(file.readLine()).chopped(1).split(u'\t');
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

// exiftool's "2023:05:09 12:41:46" followed by an offset "+01:00" or nothing (local time).
QDateTime exiftoolDate(const QString& text, const QString& offset) {
    QDateTime date = QDateTime::fromString(text, QStringLiteral("yyyy:MM:dd HH:mm:ss"));
    if (!offset.isEmpty()) {
        const QTime hours = QTime::fromString(offset.mid(1), QStringLiteral("hh:mm"));
        date.setOffsetFromUtc((offset[0] == u'-' ? -1 : 1) * hours.msecsSinceStartOfDay() / 1000);
    }
    return date;
}

QDateTime expectedDate(const Row& row, const QString& path) {
    // This phone wrote its HEIF EXIF item with a zero header offset and JPEG's "Exif\0\0"
    // marker in front of the TIFF header. exiftool gives up on that; we skip the marker and
    // find the capture date, the same as that of the phone's other photo, sample_still_photo.
    if (row["file"] == QLatin1String("sample_MP.heic"))
        return exiftoolDate(QStringLiteral("2020:10:21 12:26:18"), {});
    const QString taken = row["date_time_original"], apple = row["apple_creationdate"];
    if (!taken.isEmpty() || !row["tiff_datetime"].isEmpty())
        return exiftoolDate(taken.isEmpty() ? row["tiff_datetime"] : taken,
                            row["offset_time_original"]);
    if (!apple.isEmpty())
        return exiftoolDate(apple.left(19), apple.mid(19));
    const QDateTime header = QDateTime::fromString(row["creation_time"], Qt::ISODateWithMs);
    const bool real = header.date().year() > 1970 && header <= QDateTime::currentDateTimeUtc();
    return real ? header : fileDate(path);
}

double rational(const QString& text) {
    return text.section(u'/', 0, 0).toDouble() / text.section(u'/', 1, 1).toDouble();
}

QString tag(const QString& ffprobeCodec) { // "pcm_s16le (sowt)" gives sowt
    return ffprobeCodec.section(u'(', 1).chopped(1);
}

// ffprobe's audio codec as the Core Audio format the platform names it, with rate and channels.
QString audioFormat(const Row& row) {
    const QString name = row["audio_codec"].section(u' ', 0, 0);
    if (name.isEmpty())
        return {};
    const bool pcm = name.startsWith(QLatin1String("pcm_")) || tag(row["audio_codec"]) == "fpcm";
    return QStringLiteral("%1 %2 %3")
        .arg(pcm ? QStringLiteral("lpcm") : name, row["audio_sample_rate"], row["audio_channels"]);
}

AffineTransform transform(const Row& row) {
    const QStringList m = row["display_matrix"].split(u' ', Qt::SkipEmptyParts);
    if (m.size() != 9)
        return {};
    const auto at = [&](int i) { return m[i].toDouble() / 65536; };
    const AffineTransform t{at(0), at(1), at(3), at(4), at(6), at(7)};
    return t.a * t.d == t.b * t.c ? AffineTransform{} : t; // a squashing matrix is ignored
}

// ffprobe's stream duration, unless the header declared an absurd one (fragmented files say
// 0xFFFFFFFF ticks): then the frames counted, at the average rate.
double expectedDuration(const Row& row) {
    if (row.number("video_duration_s") < 24 * 3600)
        return row.number("video_duration_s");
    return row["frame_timing"].section(u' ', 0, 0).toDouble() / rational(row["avg_frame_rate"]);
}

// Refused containers and extensions, files with no video, codecs FFmpeg 5.1 cannot decode
// (VVC), and a HEIF that libheif refuses (truncated).
bool unusable(const Row& row) {
    const QString kind = row["kind"];
    return kind == QLatin1String("refused-container") || kind == QLatin1String("no-tracks") ||
           kind == QLatin1String("audio-only") ||
           row["video_codec"].startsWith(QLatin1String("unknown")) ||
           MediaProbe::knownUnsupported().contains(QFileInfo(row["file"]).suffix().toLower()) ||
           row["decode_check"].contains(QLatin1String("FAILED"));
}

// One test per row of the manifest, named after its file.
class SampleCorpus : public ::testing::TestWithParam<Row> {};

TEST_P(SampleCorpus, ProbeAgreesWithTheManifest) {
    const Row& row = GetParam();
    const QString path = test::sample(row["file"]);
    const QUrl url = QUrl::fromLocalFile(path);
    EXPECT_TRUE(MediaProbe::isMedia(url));
    const MediaInfo info = MediaProbe::probe(url);
    const bool photo = row["kind"] == QLatin1String("photo");
    if (unusable(row)) {
        EXPECT_EQ(info, MediaInfo(MediaKind::unsupported));
        if (photo) {
            EXPECT_TRUE(Photo::load(url, 64).isNull());
        }
        return;
    }
    EXPECT_EQ(info.kind, photo ? MediaKind::photo : MediaKind::video);
    EXPECT_EQ(info.size, (Size{row.number("display_width"), row.number("display_height")}));
    EXPECT_EQ(info.dateTaken, expectedDate(row, path));
    // The decoded picture (a video's tile picture) stands upright like the probe's size, bounded
    // on its long side.
    const auto picture =
        photo ? std::optional(Photo::load(url, 256)) : Thumbnail::make(url, MediaKind::video, 256);
    ASSERT_TRUE(picture);
    const double scale = std::min(1.0, 256 / std::max(info.size.width, info.size.height));
    EXPECT_NEAR(picture->width(), info.size.width * scale, 1);
    EXPECT_NEAR(picture->height(), info.size.height * scale, 1);
    if (photo)
        return;
    EXPECT_EQ(info.naturalSize, (Size{row.number("width"), row.number("height")}));
    EXPECT_EQ(info.transform, transform(row));
    EXPECT_NEAR(info.duration, expectedDuration(row), 0.0015);
    EXPECT_NEAR(info.frameRate, rational(row["avg_frame_rate"]), 1e-4 * info.frameRate);
    EXPECT_EQ(info.codec, tag(row["video_codec"]));
    EXPECT_EQ(info.hasAudio, !row["audio_codec"].isEmpty());
    EXPECT_EQ(info.audioFormat, audioFormat(row));
    // The identity the copy rules compare is FFmpeg's own: ffprobe names the same codecs.
    const auto codecName = [](int id) {
        return id ? QString::fromLatin1(avcodec_get_name(static_cast<AVCodecID>(id))) : "unknown";
    };
    EXPECT_EQ(codecName(info.videoCoding.codec), row["video_codec"].section(u' ', 0, 0));
    if (info.hasAudio) {
        EXPECT_EQ(codecName(info.audioCoding.codec), row["audio_codec"].section(u' ', 0, 0));
    }
    const QString transfer = row["color_transfer"];
    EXPECT_EQ(info.isHDR,
              transfer == QLatin1String("smpte2084") || transfer == QLatin1String("arib-std-b67"));
}

// Without the corpus on this machine there are no cases.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SampleCorpus);
INSTANTIATE_TEST_SUITE_P(Manifest, SampleCorpus, ::testing::ValuesIn(manifest()),
                         [](const ::testing::TestParamInfo<Row>& row) {
                             QString name = row.param["file"];
                             for (QChar& c : name)
                                 if (!c.isLetterOrNumber())
                                     c = u'_';
                             return name.toStdString();
                         });

} // namespace
} // namespace vimbo
