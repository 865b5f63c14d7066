#include "media/MediaProbe.h"
#include "tests/support/Media.h"

#include <QFile>
#include <QtEndian>

#include <array>
#include <gtest/gtest.h>

namespace vimbo {
namespace {

QStringList testPicture(const char* size, int rate, double seconds) {
    return {"-f", "lavfi", "-i",
            QStringLiteral("testsrc=size=%1:rate=%2:duration=%3")
                .arg(QLatin1String(size))
                .arg(rate)
                .arg(seconds)};
}

QStringList testTone(int rate, const char* layout) {
    return {"-f", "lavfi", "-i",
            QStringLiteral("sine=sample_rate=%1:duration=1,aformat=channel_layouts=%2")
                .arg(rate)
                .arg(QLatin1String(layout))};
}

TEST(VideoProbe, FactsOfGeneratedMovies) {
    struct Case {
        const char* name;
        QStringList args;
        Size size;
        double duration;
        float frameRate;
        const char* codec;
        const char* audio;
        bool hdr;
    };
    const QStringList x264{"-c:v", "libx264"};
    const QStringList x265{"-c:v", "libx265", "-x265-params", "log-level=error"};
    const QStringList hlg{"-pix_fmt",    "yuv420p10le", "-color_primaries", "bt2020",
                          "-colorspace", "bt2020nc",    "-color_trc",       "arib-std-b67"};
    const Case cases[] = {
        {"aac.mp4",
         testPicture("320x240", 30, 1) + testTone(48000, "stereo") + x264 +
             QStringList{"-c:a", "aac"},
         {320, 240},
         1,
         30,
         "avc1",
         "aac 48000 2",
         false},
        {"pcm.mov",
         testPicture("320x240", 25, 2) + testTone(44100, "mono") + x264 +
             QStringList{"-c:a", "pcm_s16le"},
         {320, 240},
         2,
         25,
         "avc1",
         "lpcm 44100 1",
         false},
        {"pcm-be.mov",
         testPicture("320x240", 25, 1) + testTone(22050, "stereo") + x264 +
             QStringList{"-c:a", "pcm_s24be"},
         {320, 240},
         1,
         25,
         "avc1",
         "lpcm 22050 2",
         false},
        {"ac3.mp4",
         testPicture("640x360", 24, 1) + testTone(48000, "stereo") + x264 +
             QStringList{"-c:a", "ac3"},
         {640, 360},
         1,
         24,
         "avc1",
         "ac-3 48000 2",
         false},
        {"mp3.mov",
         testPicture("160x120", 10, 1) + testTone(44100, "stereo") +
             QStringList{"-c:v", "mpeg4", "-c:a", "libmp3lame"},
         {160, 120},
         1,
         10,
         "mp4v",
         ".mp3 44100 2",
         false},
        {"hevc.mp4",
         testPicture("320x240", 30, 1) + x265 + QStringList{"-tag:v", "hvc1"},
         {320, 240},
         1,
         30,
         "hvc1",
         "",
         false},
        {"hlg.mov",
         testPicture("320x240", 30, 1) + x265 + hlg,
         {320, 240},
         1,
         30,
         "hev1",
         "",
         true},
        // The header of a fragmented movie lists no samples; they are in the fragments.
        {"fragmented.mp4",
         testPicture("320x240", 30, 1) + testTone(44100, "mono") + x264 +
             QStringList{"-c:a", "aac", "-movflags", "frag_keyframe+empty_moov"},
         {320, 240},
         1,
         30,
         "avc1",
         "aac 44100 1",
         false},
    };
    for (const Case& c : cases) {
        const QString path =
            test::generated(QStringLiteral("video-") + QLatin1String(c.name), c.args);
        const auto info = MediaProbe::probeVideo(QUrl::fromLocalFile(path));
        ASSERT_TRUE(info) << c.name;
        EXPECT_EQ(info->kind, MediaKind::video) << c.name;
        EXPECT_EQ(info->size, c.size) << c.name;
        EXPECT_EQ(info->naturalSize, c.size) << c.name;
        EXPECT_NEAR(info->duration, c.duration, 0.01) << c.name;
        EXPECT_FLOAT_EQ(info->frameRate, c.frameRate) << c.name;
        EXPECT_EQ(info->codec, QLatin1String(c.codec)) << c.name;
        EXPECT_EQ(info->hasAudio, *c.audio != 0) << c.name;
        EXPECT_EQ(info->audioFormat, QLatin1String(c.audio)) << c.name;
        EXPECT_EQ(info->isHDR, c.hdr) << c.name;
        EXPECT_TRUE(info->dateTaken) << c.name; // the file's date when the movie has none
    }
}

// A copy of `source` whose video track header carries `matrix` (a, b, c, d, tx, ty), written
// into the movie file itself as a phone or editor writes it.
QString withMatrix(const QString& source, const QString& name, const std::array<double, 6>& m) {
    QFile in(source);
    EXPECT_TRUE(in.open(QIODevice::ReadOnly));
    QByteArray bytes = in.readAll();
    const qsizetype box = bytes.indexOf("tkhd");
    EXPECT_GT(box, 0);
    // After the version: three 32-bit times and ids (64-bit in version 1), then 16 bytes.
    const qsizetype matrix = box + 8 + (bytes[box + 4] == 1 ? 32 : 20) + 16;
    const std::array<qint32, 9> values{qint32(m[0] * 65536), qint32(m[1] * 65536), 0,
                                       qint32(m[2] * 65536), qint32(m[3] * 65536), 0,
                                       qint32(m[4] * 65536), qint32(m[5] * 65536), 1 << 30};
    for (std::size_t i = 0; i < values.size(); ++i)
        qToBigEndian(values[i], bytes.data() + matrix + 4 * i);
    const QString path = test::scratchFolder() + QLatin1Char('/') + name;
    QFile out(path);
    EXPECT_TRUE(out.open(QIODevice::WriteOnly));
    out.write(bytes);
    return path;
}

TEST(VideoProbe, TransformAndUprightSizeFromTheTrackMatrix) {
    const QString upright =
        test::generated(QStringLiteral("video-1920x1080.mp4"),
                        testPicture("1920x1080", 30, 0.2) + QStringList{"-c:v", "libx264"});
    struct Case {
        const char* name;
        std::array<double, 6> matrix;
        Size size;
        AffineTransform transform;
    };
    const Case cases[] = {
        // A phone held upright records 1920 × 1080 and turns it a quarter clockwise to show.
        {"portrait", {0, 1, -1, 0, 1080, 0}, {1080, 1920}, {0, 1, -1, 0, 1080, 0}},
        {"upside-down", {-1, 0, 0, -1, 1920, 1080}, {1920, 1080}, {-1, 0, 0, -1, 1920, 1080}},
        {"counter-clockwise", {0, -1, 1, 0, 0, 1920}, {1080, 1920}, {0, -1, 1, 0, 0, 1920}},
        {"turned-and-mirrored", {0, 1, 1, 0, 0, 0}, {1080, 1920}, {0, 1, 1, 0, 0, 0}},
        {"half-size", {0.5, 0, 0, 0.5, 0, 0}, {960, 540}, {0.5, 0, 0, 0.5, 0, 0}},
        {"all-zero", {0, 0, 0, 0, 0, 0}, {1920, 1080}, {}}, // as broken muxers write it
    };
    for (const Case& c : cases) {
        const QString path =
            withMatrix(upright, QLatin1String(c.name) + QStringLiteral(".mp4"), c.matrix);
        const auto info = MediaProbe::probeVideo(QUrl::fromLocalFile(path));
        ASSERT_TRUE(info) << c.name;
        EXPECT_EQ(info->naturalSize, (Size{1920, 1080})) << c.name;
        EXPECT_EQ(info->size, c.size) << c.name;
        EXPECT_EQ(info->transform, c.transform) << c.name;
    }
}

TEST(VideoProbe, CoverArtIsNoVideoTrack) {
    const QString cover =
        test::generated(QStringLiteral("cover.jpg"),
                        {"-f", "lavfi", "-i", "testsrc=size=300x300", "-frames:v", "1"});
    const QString song =
        test::generated(QStringLiteral("song-with-cover.mp4"),
                        testTone(44100, "stereo") + QStringList{"-i", cover, "-map", "0", "-map",
                                                                "1", "-c:a", "aac", "-c:v", "copy",
                                                                "-disposition:v", "attached_pic"});
    EXPECT_EQ(MediaProbe::probe(QUrl::fromLocalFile(song)).kind, MediaKind::unsupported);

    const QString movie = test::generated(
        QStringLiteral("movie-with-cover.mp4"),
        testPicture("320x240", 30, 1) + testTone(44100, "stereo") +
            QStringList{"-i", cover, "-map", "0", "-map", "1", "-map", "2", "-c:v:0", "libx264",
                        "-c:a", "aac", "-c:v:1", "copy", "-disposition:v:1", "attached_pic"});
    const MediaInfo info = MediaProbe::probe(QUrl::fromLocalFile(movie));
    EXPECT_EQ(info.kind, MediaKind::video);
    EXPECT_EQ(info.size, (Size{320, 240}));
    EXPECT_EQ(info.audioFormat, QStringLiteral("aac 44100 2"));
}

} // namespace
} // namespace vimbo
