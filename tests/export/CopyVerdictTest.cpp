// Whether an export at Original copies, and the one line that says why not: the same answer
// in the exporter, the export sheet and `vimbo merge`.
#include "export/CopyVerdict.h"

#include "tests/export/ExportFixtures.h"
#include "tests/support/Media.h"

#include <QFileInfo>
#include <QLocale>

#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

Segment video(const char* file, float rate = 30) {
    MediaInfo info(MediaKind::video);
    info.frameRate = rate;
    info.size = info.naturalSize = {1920, 1080};
    info.codec = "avc1";
    info.videoCoding.codec = AV_CODEC_ID_H264;
    info.hasAudio = true;
    info.audioFormat = "aac 48000 2";
    info.audioCoding = {AV_CODEC_ID_AAC, 0, FF_PROFILE_AAC_LOW, 48000, 2};
    return {QUrl::fromLocalFile("/clips/" + QLatin1String(file)), info, {}};
}

template <typename F>
Segment with(Segment s, F change) {
    change(s);
    return s;
}

TEST(CopyVerdict, NamesTheFirstClipThatStopsACopy) {
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    MediaInfo still(MediaKind::photo);
    still.size = {4000, 3000};
    const Segment photo{QUrl::fromLocalFile("/clips/IMG_1.jpg"), still, {}};
    const Segment missing{
        QUrl::fromLocalFile("/clips/gone.mov"), MediaInfo(MediaKind::missing), {}};
    struct Case {
        std::vector<Segment> segments;
        Layout layout;
        const char* line;
    };
    const Case cases[] = {
        {{video("a.mov"), video("beach.mov", 25)},
         {},
         "No fast export: “beach.mov” has a different frame rate from “a.mov” (25 fps, not 30 "
         "fps)"},
        {{missing, video("a.mov"), with(video("b.mov"), [](Segment& s) { s.edits.speed = 2; }),
          photo},
         {},
         "No fast export: “b.mov” plays at 2×"},
        {{video("a.mov"), with(video("b.mov"),
                               [](Segment& s) {
                                   s.info.codec = "hvc1";
                                   s.info.videoCoding.codec = AV_CODEC_ID_HEVC;
                               })},
         {},
         "No fast export: “b.mov” uses a different codec from “a.mov” (HEVC, not H.264)"},
        {{video("a.mov"), with(video("b.mov"), [](Segment& s) { s.edits.muted = true; }),
          with(video("c.mov"),
               [](Segment& s) {
                   s.info.audioFormat = "aac 44100 1";
                   s.info.audioCoding.sampleRate = 44100;
                   s.info.audioCoding.channels = 1;
               })},
         {},
         "No fast export: “c.mov” has its sound in a different format from “a.mov” (AAC 44.1 kHz "
         "mono, not AAC 48 kHz stereo)"},
        {{video("a.mov")},
         {FrameShape::tall, FillMode::fit},
         "No fast export: the movie’s frame, 1080 × 1920, differs from the clips’ own, 1920 × "
         "1080"},
        {{missing}, {}, ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(decideCopy(c.segments, c.layout, CancelFlag()).whyNot.toStdString(), c.line);
    QLocale::setDefault(QLocale::system());
}

// On real files the packet tables decide: a trim on a key frame copies, one past it copies all
// but the frames up to the next key frame; a clip whose frames cannot be encoded to match is
// named, and the whole movie is re-encoded.
TEST(CopyVerdict, ReadsThePacketTables) {
    const QString clip = flashClip(); // key frames every 0.5 s
    ClipEdits onKey;
    onKey.trimStart = 0.5;
    ClipEdits offKey;
    offKey.trimStart = 0.6;
    const CopyVerdict yes = decideCopy({probed(clip), probed(clip, onKey)}, {}, CancelFlag());
    EXPECT_TRUE(yes.copies());
    EXPECT_EQ(yes.line(), QStringLiteral("Fast export, no re-encoding"));
    const CopyVerdict around = decideCopy({probed(clip), probed(clip, offKey)}, {}, CancelFlag());
    EXPECT_FALSE(around.copies());
    ASSERT_TRUE(around.cut) << around.whyNot.toStdString();
    EXPECT_EQ(around.line(),
              QStringLiteral("Fast export, re-encoding only 12 frames around the trims"));

    const QString mpeg4 = generated(
        "mpeg4.mp4", {"-f", "lavfi", "-i", "testsrc2=s=320x240:d=1", "-c:v", "mpeg4", "-g", "15"});
    const QString wide =
        generated("h264-422.mp4", {"-f", "lavfi", "-i", "testsrc2=s=320x240:d=1", "-c:v", "libx264",
                                   "-pix_fmt", "yuv422p", "-g", "15", "-preset", "ultrafast"});
    ClipEdits early; // between the first two key frames of both
    early.trimStart = 0.2;
    const auto line = [&](const QString& file) {
        const CopyVerdict v = decideCopy({probed(file, early)}, {}, CancelFlag());
        EXPECT_FALSE(v.copies() || v.cut);
        return v.line().toStdString();
    };
    const auto quoted = [](const QString& file) {
        return "No fast export: “" + QFileInfo(file).fileName().toStdString() + "” ";
    };
    EXPECT_EQ(line(mpeg4), quoted(mpeg4) + "is trimmed off a key frame, and its MPEG-4 video "
                                           "can’t be re-encoded around the cut");
    EXPECT_EQ(line(wide),
              quoted(wide) + "is trimmed off a key frame, and the encoder can’t match its video");
}

} // namespace
} // namespace vimbo::test
