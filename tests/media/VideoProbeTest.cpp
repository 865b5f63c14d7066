#include "media/MediaProbe.h"
#include "tests/support/Media.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <array>
#include <gtest/gtest.h>

namespace vimbo {
namespace {

// ffmpeg arguments for a test movie: a lavfi picture, a lavfi tone unless empty, the codecs.
QStringList movie(const char* picture, const char* tone, const QStringList& codecs) {
    QStringList args{"-f", "lavfi", "-i", QLatin1String(picture)};
    if (*tone)
        args << "-f"
             << "lavfi"
             << "-i" << QLatin1String(tone);
    return args + codecs;
}

const char* const picture = "testsrc=size=320x240:rate=30:duration=1";
const char* const stereo = "sine=r=48000:d=1,aformat=channel_layouts=stereo";

// The real samples cover most codecs; AC-3 sound beside a picture is not among them.
TEST(VideoProbe, FactsOfAGeneratedMovie) {
    const QString path = test::generated(
        "video-ac3.mp4", movie("testsrc=size=640x360:rate=24:duration=1", stereo, {"-c:a", "ac3"}));
    const auto info = MediaProbe::probeVideo(QUrl::fromLocalFile(path));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->kind, MediaKind::video);
    EXPECT_EQ(info->size, (Size{640, 360}));
    EXPECT_EQ(info->naturalSize, (Size{640, 360}));
    EXPECT_NEAR(info->duration, 1, 0.01);
    EXPECT_FLOAT_EQ(info->frameRate, 24);
    EXPECT_EQ(info->codec, QStringLiteral("avc1"));
    EXPECT_TRUE(info->hasAudio);
    EXPECT_EQ(info->audioFormat, QStringLiteral("ac-3 48000 2"));
    EXPECT_EQ(info->videoCoding.codec, AV_CODEC_ID_H264);
    EXPECT_EQ(info->audioCoding, (MediaInfo::Coding{AV_CODEC_ID_AC3, MKTAG('a', 'c', '-', '3'),
                                                    FF_PROFILE_UNKNOWN, 48000, 2}));
    EXPECT_FALSE(info->isHDR);
    EXPECT_TRUE(info->dateTaken); // the file's date when the movie has none
}

TEST(VideoProbe, TransformAndUprightSizeFromTheTrackMatrix) {
    const QString upright =
        test::generated(QStringLiteral("video-1920x1080.mp4"),
                        movie("testsrc=size=1920x1080:rate=30:duration=0.2", "", {}));
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
            test::withMatrix(upright, QLatin1String(c.name) + QStringLiteral(".mp4"), c.matrix);
        const auto info = MediaProbe::probeVideo(QUrl::fromLocalFile(path));
        ASSERT_TRUE(info) << c.name;
        EXPECT_EQ(info->naturalSize, (Size{1920, 1080})) << c.name;
        EXPECT_EQ(info->size, c.size) << c.name;
        EXPECT_EQ(info->transform, c.transform) << c.name;
    }
}

TEST(VideoProbe, CoverArtIsNoVideoTrack) {
    const QString cover = test::generated(QStringLiteral("cover.jpg"),
                                          movie("testsrc=size=300x300", "", {"-frames:v", "1"}));
    const QString song =
        test::generated(QStringLiteral("song-with-cover.mp4"),
                        {"-f", "lavfi", "-i", stereo, "-i", cover, "-map", "0", "-map", "1", "-c:v",
                         "copy", "-disposition:v", "attached_pic"});
    EXPECT_EQ(MediaProbe::probe(QUrl::fromLocalFile(song)).kind, MediaKind::unsupported);

    const QString film =
        test::generated(QStringLiteral("movie-with-cover.mp4"),
                        movie(picture, stereo,
                              {"-i", cover, "-map", "0", "-map", "1", "-map", "2", "-c:v:1", "copy",
                               "-disposition:v:1", "attached_pic"}));
    const MediaInfo info = MediaProbe::probe(QUrl::fromLocalFile(film));
    EXPECT_EQ(info.kind, MediaKind::video);
    EXPECT_EQ(info.size, (Size{320, 240}));
    EXPECT_EQ(info.audioFormat, QStringLiteral("aac 48000 2"));
    EXPECT_EQ(info.audioCoding.profile, FF_PROFILE_AAC_LOW); // read from its AudioSpecificConfig
}

} // namespace
} // namespace vimbo
