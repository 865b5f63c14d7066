// Re-encoding: the presets' real encoders and tags, the project's exact length, sound in sync
// at every join, photos and clips together.
#include "export/Exporter.h"
#include "tests/export/ExportFixtures.h"
#include "tests/support/Media.h"

extern "C" {
#include <libavcodec/codec_id.h>
}

#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

constexpr double frame = 1.0 / 30;

QString streamFacts(const QString& path) {
    QString output;
    run("ffprobe",
        {"-v", "error", "-show_entries",
         QStringLiteral("stream=codec_name,codec_tag_string,color_primaries,color_transfer,"
                        "color_space,width,height,sample_rate,channels"),
         "-of", "compact=p=0", path},
        &output);
    return output.trimmed();
}

TEST(Reencode, EveryPresetWritesItsCodecInSyncAndExactlyAsLong) {
    const QString clip = flashClip();
    const QString picture = generated(
        "blue-320x240.jpg", {"-f", "lavfi", "-i", "color=blue:s=320x240", "-frames:v", "1"});
    ClipEdits muted;
    muted.muted = true;
    ClipEdits shortPhoto;
    shortPhoto.photoDuration = 0.5;
    const std::vector<Segment> segments{probed(clip), probed(picture, shortPhoto),
                                        probed(clip, muted), probed(clip)};
    struct Case {
        ExportQuality quality;
        Preset preset;
        const char* streams;
    };
    const Case cases[] = {
        {ExportQuality::high, Preset::highestQuality,
         "codec_name=h264|codec_tag_string=avc1|width=320|height=240|color_space=bt709|"
         "color_transfer=bt709|color_primaries=bt709\n"
         "codec_name=aac|codec_tag_string=mp4a|sample_rate=48000|channels=2"},
        {ExportQuality::smaller, Preset::hevc1920x1080,
         "codec_name=hevc|codec_tag_string=hvc1|width=320|height=240|color_space=bt709|"
         "color_transfer=bt709|color_primaries=bt709\n"
         "codec_name=aac|codec_tag_string=mp4a|sample_rate=48000|channels=2"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(rawValue(c.quality).toStdString());
        Exporter exporter(segments, {}, ExportFormat::mp4, c.quality);
        EXPECT_FALSE(exporter.isPassthrough());
        EXPECT_EQ(exporter.preset(), c.preset);
        const QString out = scratchFolder() + "/reencoded.mp4";
        const Outcome outcome = runExport(exporter, out);
        ASSERT_EQ(outcome.kind, Outcome::Kind::done) << outcome.message.toStdString();
        EXPECT_EQ(outcome.progress.back(), 1.0);
        EXPECT_EQ(decodeErrors(out), QString());
        EXPECT_TRUE(indexFirst(out)) << "the index comes before the media";
        EXPECT_EQ(streamFacts(out).toStdString(), c.streams);
        EXPECT_NEAR(movieDuration(out), exporter.duration(), frame);

        const Marks m = marks(out);
        const std::vector<double> flashes{1.2, 2.5 + 1.2, 4.5 + 1.2};
        ASSERT_EQ(m.flashes.size(), flashes.size());
        for (std::size_t i = 0; i < flashes.size(); ++i)
            EXPECT_NEAR(m.flashes[i], flashes[i], frame / 2) << "flash " << i;
        ASSERT_EQ(m.beeps.size(), 2u) << "the muted clip stays silent";
        EXPECT_NEAR(m.beeps[0], flashes[0], frame);
        EXPECT_NEAR(m.beeps[1], flashes[2], frame);
        EXPECT_NEAR(m.audioEnd, m.videoEnd, frame);
    }
}

TEST(Reencode, PresetsFollowQualityAndSources) {
    const auto video = [](AVCodecID codec, bool hdr = false) {
        Segment s;
        s.info = MediaInfo(MediaKind::video);
        s.info.videoCoding.codec = codec;
        s.info.isHDR = hdr;
        return s;
    };
    const AVCodecID avc = AV_CODEC_ID_H264, hevc = AV_CODEC_ID_HEVC;
    Segment photo;
    photo.info = MediaInfo(MediaKind::photo);
    using Q = ExportQuality;
    using P = Preset;
    EXPECT_EQ(reencodingPreset(Q::original, {video(avc), video(hevc)}), P::hevcHighestQuality);
    EXPECT_EQ(reencodingPreset(Q::original, {video(avc, true)}), P::hevcHighestQuality);
    EXPECT_EQ(reencodingPreset(Q::original, {video(avc), photo}), P::highestQuality);
    EXPECT_EQ(reencodingPreset(Q::original, {}), P::highestQuality);
    EXPECT_EQ(reencodingPreset(Q::high, {video(hevc, true)}), P::highestQuality);
    EXPECT_EQ(reencodingPreset(Q::smaller, {video(avc)}), P::hevc1920x1080);
}

TEST(Reencode, UnusableClipsAreDroppedAndShortPhotosLastATenth) {
    Segment missing;
    missing.info = MediaInfo(MediaKind::missing);
    Segment photo;
    photo.info = MediaInfo(MediaKind::photo);
    photo.edits.photoDuration = 0;
    const Exporter exporter({missing, photo, missing}, {}, ExportFormat::mp4,
                            ExportQuality::original);
    EXPECT_DOUBLE_EQ(exporter.duration(), 0.1);
    EXPECT_FALSE(exporter.isPassthrough());
}

} // namespace
} // namespace vimbo::test
