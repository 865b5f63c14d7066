#include "media/MediaProbe.h"
#include "tests/support/Media.h"


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
const char* const mono = "sine=r=44100:d=1,aformat=channel_layouts=mono";

TEST(VideoProbe, FactsOfGeneratedMovies) {
    struct Case {
        const char* name;
        QStringList args;
        Size size;
        double duration;
        float frameRate;
        const char* codec;
        const char* audio = "";
        bool hdr = false;
    };
    const QStringList x265{"-c:v", "libx265", "-x265-params", "log-level=error"};
    const QStringList hlg{"-pix_fmt",    "yuv420p10le", "-color_primaries", "bt2020",
                          "-colorspace", "bt2020nc",    "-color_trc",       "arib-std-b67"};
    const QStringList aac = movie(picture, stereo, {"-c:v", "libx264", "-c:a", "aac"});
    const QStringList pcm =
        movie("testsrc=size=320x240:rate=25:duration=2", mono, {"-c:a", "pcm_s16le"});
    const QStringList ac3 =
        movie("testsrc=size=640x360:rate=24:duration=1", stereo, {"-c:a", "ac3"});
    // H.263's sample entry leaves the picture size to the bitstream.
    const QStringList h263 =
        movie("testsrc=size=176x144:rate=15:duration=1", "", {"-c:v", "h263", "-f", "3gp"});
    // The header of a fragmented movie lists no samples; they are in the fragments.
    const QStringList fragmented = movie(picture, mono, {"-movflags", "frag_keyframe+empty_moov"});
    const Case cases[] = {
        {"aac.mp4", aac, {320, 240}, 1, 30, "avc1", "aac 48000 2"},
        {"pcm.mov", pcm, {320, 240}, 2, 25, "avc1", "lpcm 44100 1"},
        {"ac3.mp4", ac3, {640, 360}, 1, 24, "avc1", "ac-3 48000 2"},
        {"hevc.mp4",
         movie(picture, "", x265 + QStringList{"-tag:v", "hvc1"}),
         {320, 240},
         1,
         30,
         "hvc1"},
        {"hlg.mov", movie(picture, "", x265 + hlg), {320, 240}, 1, 30, "hev1", "", true},
        {"h263.mp4", h263, {176, 144}, 1, 15, "s263"},
        {"fragmented.mp4", fragmented, {320, 240}, 1, 30, "avc1", "aac 44100 1"},
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
}

} // namespace
} // namespace vimbo
