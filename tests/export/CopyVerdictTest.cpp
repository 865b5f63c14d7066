// Whether an export at Original copies, and the one line that says why not: the same answer
// in the exporter, the export sheet and `vimbo merge`.
#include "export/CopyVerdict.h"

#include "tests/export/ExportFixtures.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"

#include <QFileInfo>
#include <QLocale>

#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

Segment video(const char* file, float rate = 30) {
    MediaInfo info(MediaKind::video);
    info.frameRate = rate;
    info.size = info.naturalSize = {1920, 1080};
    info.codec = QStringLiteral("avc1");
    info.hasAudio = true;
    info.audioFormat = QStringLiteral("aac 48000 2");
    return {QUrl::fromLocalFile(QStringLiteral("/clips/") + QLatin1String(file)), info, {}};
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
    const Segment photo{QUrl::fromLocalFile(QStringLiteral("/clips/IMG_1.jpg")), still, {}};
    const Segment missing{
        QUrl::fromLocalFile(QStringLiteral("/clips/gone.mov")), MediaInfo(MediaKind::missing), {}};
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
        {{video("a.mov"), photo}, {}, "No fast export: “IMG_1.jpg” is a photo"},
        {{video("a.mov"), with(video("b.mov"), [](Segment& s) { s.info.codec = "hvc1"; })},
         {},
         "No fast export: “b.mov” uses a different codec from “a.mov” (HEVC, not H.264)"},
        {{video("a.mov"), with(video("b.mov"), [](Segment& s) { s.edits.muted = true; }),
          with(video("c.mov"), [](Segment& s) { s.info.audioFormat = "aac 44100 1"; })},
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

TEST(CopyVerdict, TheExporterCopiesExactlyWhenTheVerdictSaysSo) {
    const QString clip = flashClip(); // key frames every 0.5 s
    ClipEdits onKey;
    onKey.trimStart = 0.5;
    ClipEdits offKey;
    offKey.trimStart = 0.6;
    const std::vector<Segment> copied{probed(clip), probed(clip, onKey)};
    const std::vector<Segment> encoded{probed(clip), probed(clip, offKey)};

    const CopyVerdict yes = decideCopy(copied, {}, CancelFlag());
    EXPECT_TRUE(yes.copies());
    EXPECT_EQ(yes.whyNot, QString());
    const CopyVerdict no = decideCopy(encoded, {}, CancelFlag());
    EXPECT_FALSE(no.copies());
    EXPECT_EQ(no.whyNot.toStdString(), "No fast export: “" +
                                           QFileInfo(clip).fileName().toStdString() +
                                           "” is trimmed off a key frame");

    for (const auto* segments : {&copied, &encoded}) {
        Exporter exporter(*segments, {}, ExportFormat::mp4, ExportQuality::original);
        EXPECT_TRUE(exporter.isPassthrough()) << "the probed facts alone allow a copy";
        const QString out = scratchFolder() + QStringLiteral("/v.mp4");
        const Outcome outcome = runExport(exporter, out);
        ASSERT_EQ(outcome.kind, Outcome::Kind::done) << outcome.message.toStdString();
        EXPECT_EQ(copiedPackets(out, *segments), segments == &copied);
    }
}

TEST(CopyVerdict, MergeSaysWhyItReencodesAtOriginal) {
    const QString photo = generated(QStringLiteral("verdict-photo.jpg"),
                                    {QStringLiteral("-f"), QStringLiteral("lavfi"),
                                     QStringLiteral("-i"), QStringLiteral("color=red:s=320x240"),
                                     QStringLiteral("-frames:v"), QStringLiteral("1")});
    const QString out = scratchFolder() + QStringLiteral("/m.mp4");
    const ProgramRun r = vimbo({QStringLiteral("merge"), flashClip(), photo, QStringLiteral("-o"),
                                out, QStringLiteral("--photo-duration"), QStringLiteral("0.5")});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_TRUE(
        r.err.startsWith(QStringLiteral("No fast export: “verdict-photo.jpg” is a photo\n")))
        << r.err.toStdString();

    const ProgramRun copy =
        vimbo({QStringLiteral("merge"), flashClip(), flashClip(), QStringLiteral("-o"), out});
    EXPECT_EQ(copy.exitCode, 0);
    EXPECT_FALSE(copy.err.contains(QStringLiteral("No fast export"))) << copy.err.toStdString();
}

} // namespace
} // namespace vimbo::test
