#include "media/ff/Demuxer.h"
#include "model/VimboError.h"
#include "tests/support/Media.h"
#include "tests/timeline/Fixtures.h"
#include "timeline/Carrier.h"
#include "timeline/Timeline.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <gtest/gtest.h>
#include <memory>

namespace vimbo {
namespace {

using test::numberedVideo;
using test::photoSegment;
using test::toneVideo;
using test::videoSegment;

const Layout fit{FrameShape::auto_, FillMode::fit};

MediaTime seconds(double s) {
    return MediaTime::fromSeconds(s);
}

void expectFailure(const std::vector<Segment>& segments, bool passthrough,
                   const VimboError& expected, const char* what) {
    try {
        Timeline::build(segments, fit, std::nullopt, passthrough);
        ADD_FAILURE() << what << ": built";
    } catch (const VimboError& e) {
        EXPECT_EQ(e, expected) << what << ": " << e.what();
    }
}

TEST(TimelineBuild, Failures) {
    const QString sound =
        test::generated("sound-only.m4a", {"-f", "lavfi", "-i", "sine=duration=1", "-c:a", "aac"});
    Segment missing = videoSegment("/nowhere/gone.mov", 2, {320, 240});
    Segment noVideo = videoSegment(sound, 1, {320, 240});
    missing.info.kind = MediaKind::missing;
    const Segment photo = photoSegment("/p.jpg", {100, 100});

    expectFailure({}, false, VimboError::nothingToMerge(), "no segment");
    expectFailure({missing}, false, VimboError::nothingToMerge(), "only missing");
    expectFailure({videoSegment(numberedVideo(), 2, {320, 240}), photo}, true,
                  VimboError::nothingToMerge(), "a photo in a passthrough build");
    expectFailure({noVideo}, false, VimboError::unreadable(noVideo.url), "no video track");
    Segment gone = videoSegment("/nowhere/gone.mov", 2, {320, 240});
    expectFailure({gone}, true, VimboError::unreadable(gone.url), "a file that went away");
}

// Every edit starts where the one before ends, from zero to `end`.
void expectContiguous(const CompositionTrack& track, const MediaTime& end, const char* what) {
    MediaTime at = MediaTime::zero();
    for (const Edit& e : track.edits()) {
        EXPECT_EQ(e.target.start, at) << what << " at " << at.seconds();
        at = e.target.end();
    }
    EXPECT_EQ(at, end) << what;
}

TEST(TimelineBuild, LaysClipsEndToEnd) {
    const QString av = numberedVideo(true);
    Segment trimmedPastEnd = videoSegment(av, 2, {320, 240});
    trimmedPastEnd.edits.trimStart = 5;
    Segment fast = videoSegment(av, 2, {320, 240});
    fast.edits.speed = 2;
    Segment muted = videoSegment(av, 2, {320, 240});
    muted.edits.muted = true;
    const std::vector<Segment> segments{
        photoSegment("/p.jpg", {4000, 3000}, 0),
        photoSegment("/p.jpg", {4000, 3000}, 0.05),
        photoSegment("/p.jpg", {4000, 3000}, 3),
        trimmedPastEnd,
        fast,
        muted,
        videoSegment(numberedVideo(false), 2, {320, 240}, 30, false),
        videoSegment(toneVideo(1000, 0.5, 1.0), 2, {160, 120}),
    };
    const Timeline t = Timeline::build(segments, fit, 1280, false);

    const std::vector<double> starts{0, 0.1, 0.2, 3.2, 3.3, 4.3, 6.3, 8.3};
    ASSERT_EQ(t.starts().size(), starts.size());
    for (std::size_t i = 0; i < starts.size(); ++i)
        EXPECT_NEAR(t.starts()[i], starts[i], 1e-9) << "start " << i;
    EXPECT_EQ(t.duration(), seconds(10.3));
    EXPECT_FALSE(t.isPassthrough());
    EXPECT_EQ(t.renderSize(), (Size{1280, 960})) << "from the 4000 × 3000 photo, capped";

    const VideoComposition& vc = *t.videoComposition();
    ASSERT_EQ(vc.instructions.size(), 8u);
    for (std::size_t i = 0; i < starts.size(); ++i)
        EXPECT_EQ(vc.instructions[i].timeRange().start, seconds(starts[i])) << "instruction " << i;
    EXPECT_FALSE(vc.instructions[0].trackID()) << "a photo draws no track";
    EXPECT_EQ(vc.instructions[4].trackID(), t.composition().track(MediaType::video)->trackID());
    EXPECT_EQ(vc.instructions.back().timeRange().end(), t.composition().duration());
    EXPECT_EQ(vc.frameDuration, (MediaTime{1, 30}));

    const CompositionTrack& video = *t.composition().track(MediaType::video);
    const CompositionTrack& audio = *t.composition().track(MediaType::audio);
    expectContiguous(video, t.duration(), "video");
    expectContiguous(audio, t.duration(), "audio");
    ASSERT_EQ(video.edits().size(), 8u);
    EXPECT_TRUE(video.edits()[2].source.carrier);
    EXPECT_EQ(video.edits()[3].sourceRange, (TimeRange{seconds(1.9), seconds(0.1)}))
        << "never past the track's end";
    EXPECT_EQ(video.edits()[4].sourceRange.duration, seconds(2));
    EXPECT_EQ(video.edits()[4].target.duration, seconds(1));

    // Audio: photos, the muted clip and the clip without sound are carrier silence; the fast
    // clip's sound is stretched like its picture; the partly covered clip gets silence around
    // its sound.
    std::vector<std::pair<bool, double>> kinds; // (carrier, target seconds)
    for (const Edit& e : audio.edits())
        kinds.emplace_back(e.source.carrier, e.target.duration.seconds());
    const std::vector<std::pair<bool, double>> expected{
        {true, 0.1}, {true, 0.1}, {true, 3},   {false, 0.1}, {false, 1},
        {true, 2},   {true, 2},   {true, 0.5}, {false, 1},   {true, 0.5}};
    ASSERT_EQ(kinds.size(), expected.size());
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        EXPECT_EQ(kinds[i].first, expected[i].first) << "audio edit " << i;
        // The partly covered clip's sound starts with the encoder's priming, a little early.
        EXPECT_NEAR(kinds[i].second, expected[i].second, 0.025) << "audio edit " << i;
    }
    EXPECT_EQ(audio.edits()[4].sourceRange.duration, seconds(2));
}

TEST(TimelineBuild, AudioTrackOnlyForRealSound) {
    Segment muted = videoSegment(numberedVideo(true), 2, {320, 240});
    muted.edits.muted = true;
    const Timeline silent =
        Timeline::build({photoSegment("/p.jpg", {100, 100}), muted,
                         videoSegment(numberedVideo(false), 2, {320, 240}, 30, false)},
                        fit, std::nullopt, false);
    EXPECT_EQ(silent.composition().track(MediaType::audio), nullptr);
    EXPECT_NE(silent.composition().track(MediaType::video), nullptr);

    const Segment av = videoSegment(numberedVideo(true), 2, {320, 240});
    const Timeline copy = Timeline::build({av, av}, fit, std::nullopt, true);
    EXPECT_TRUE(copy.isPassthrough());
    EXPECT_EQ(copy.duration(), seconds(4));
    ASSERT_NE(copy.composition().track(MediaType::audio), nullptr);
    for (const Edit& e : copy.composition().track(MediaType::audio)->edits())
        EXPECT_FALSE(e.source.carrier) << "passthrough never touches the carrier";
}

// Starts this test program again with only Carrier.InAFreshRun selected, `mode` in
// VIMBO_CARRIER_CHILD and the temporary folder at `temp`.
std::unique_ptr<QProcess> startChild(const char* mode, const QString& temp) {
    auto p = std::make_unique<QProcess>();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("VIMBO_CARRIER_CHILD", mode);
    env.insert("TMPDIR", temp);
    p->setProcessEnvironment(env);
    p->start(QCoreApplication::applicationFilePath(), {"--gtest_filter=Carrier.InAFreshRun"});
    return p;
}

// Waits for a child to end; returns the carrier file it used.
QString carrierOf(QProcess& p) {
    p.waitForFinished(120000);
    EXPECT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();
    const QString out = QString::fromUtf8(p.readAllStandardOutput());
    const qsizetype at = out.indexOf("carrier=");
    return at < 0 ? QString() : out.mid(at + 8).section('\n', 0, 0);
}

// Run by the test below in a process of its own, where the carrier is not prepared yet.
TEST(Carrier, InAFreshRun) {
    const QByteArray mode = qgetenv("VIMBO_CARRIER_CHILD");
    if (mode.isEmpty())
        GTEST_SKIP() << "run as a child of the carrier tests";
    if (mode == "write") {
        std::printf("carrier=%s\n", qPrintable(Carrier::tracks().video.url.toLocalFile()));
        return;
    }
    // The temporary "folder" is a file: the first use fails, and so does every later one with
    // the same error.
    std::optional<VimboError> first;
    try {
        Carrier::tracks();
    } catch (const VimboError& e) {
        first = e;
    }
    ASSERT_TRUE(first);
    try {
        Carrier::tracks();
        ADD_FAILURE() << "the second use succeeded";
    } catch (const VimboError& e) {
        EXPECT_EQ(e, *first);
    }
    EXPECT_FALSE(QFileInfo::exists(Carrier::path()));
}

// Runs of the program share one carrier file: two starting at once, a later one reusing it,
// one after it was damaged replacing it; an earlier version's file per run is cleared away.
TEST(Carrier, OneFileForEveryRun) {
    if (!qgetenv("VIMBO_CARRIER_CHILD").isEmpty())
        GTEST_SKIP();
    const QString temp = test::scratchFolder();
    QFile old(temp + "/Vimbo-carrier-4242.mov"), recent(temp + "/Vimbo-carrier-4343.mov");
    for (QFile* f : {&old, &recent})
        ASSERT_TRUE(f->open(QIODevice::WriteOnly));
    old.setFileTime(QDateTime::currentDateTime().addDays(-1), QFileDevice::FileModificationTime);
    const auto a = startChild("write", temp), b = startChild("write", temp);
    const QString carrier = carrierOf(*a);
    EXPECT_EQ(carrierOf(*b), carrier);
    EXPECT_TRUE(carrier.startsWith(temp + "/Vimbo-carrier-")) << carrier.toStdString();
    const QStringList one{QFileInfo(carrier).fileName()};
    EXPECT_EQ(QDir(temp).entryList(QDir::Files), one + QStringList{"Vimbo-carrier-4343.mov"})
        << "a day-old leftover goes, one of the last hour may still be in use";
    recent.remove();

    const QDateTime written = QFileInfo(carrier).lastModified();
    EXPECT_EQ(carrierOf(*startChild("write", temp)), carrier);
    EXPECT_EQ(QFileInfo(carrier).lastModified(), written) << "reused, not written again";

    QFile damaged(carrier);
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly | QIODevice::Truncate));
    damaged.write("not a movie");
    damaged.close();
    EXPECT_EQ(carrierOf(*startChild("write", temp)), carrier);
    EXPECT_EQ(QDir(temp).entryList(QDir::Files), one);
    EXPECT_GE(ff::Demuxer(QUrl::fromLocalFile(carrier)).firstVideoStream(), 0) << "replaced";

    QFile notAFolder(temp + "/not-a-folder");
    ASSERT_TRUE(notAFolder.open(QIODevice::WriteOnly));
    EXPECT_TRUE(carrierOf(*startChild("fail", notAFolder.fileName())).isEmpty());
}

} // namespace
} // namespace vimbo
