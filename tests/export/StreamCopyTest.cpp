// Joining by copying packets: chosen exactly when every trim and join can be honoured, then
// bit-exact, exactly as long as the project, in sync, and upright.
#include "export/CopyVerdict.h"
#include "export/Exporter.h"
#include "export/StreamCopier.h"
#include "tests/export/ExportFixtures.h"
#include "tests/support/Media.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

constexpr double frame = 1.0 / 30;

ClipEdits trimmed(double start, double end, bool muted = false) {
    ClipEdits e;
    e.trimStart = start;
    e.trimEnd = end;
    e.muted = muted;
    return e;
}

double total(const std::vector<Segment>& segments) {
    double sum = 0;
    for (const Segment& s : segments)
        sum += s.duration();
    return sum;
}

// Every join test runs on ffmpeg's default files and on files stored the way phones store them.
class StreamCopyFrom : public ::testing::TestWithParam<bool> {
protected:
    QString clip(ClipSpec spec = {}) {
        spec.phone = GetParam();
        return flashClip(spec);
    }
};

INSTANTIATE_TEST_SUITE_P(Sources, StreamCopyFrom, ::testing::Values(false, true),
                         [](const auto& source) { return source.param ? "Phone" : "Ffmpeg"; });

TEST_P(StreamCopyFrom, JoinsBitExactlyWithTrimsSilenceAndSync) {
    const QString withSound = clip();
    const QString silent = clip({.withSound = false});
    const std::vector<Segment> segments{
        probed(withSound),
        probed(withSound, trimmed(0.5, 0.5)), // key frames at 0.5 and 1.5: exact
        probed(withSound, trimmed(0, 0, true)),
        probed(silent),
        probed(withSound, trimmed(1.0, 0)),
    };
    for (const ExportFormat format : allExportFormats) {
        SCOPED_TRACE(rawValue(format).toStdString());
        Exporter exporter(segments, {}, format, ExportQuality::original);
        ASSERT_TRUE(exporter.isPassthrough());
        const QString out = scratchFolder() + "/joined." + fileExtension(format);
        const Outcome outcome = runExport(exporter, out);
        ASSERT_EQ(outcome.kind, Outcome::Kind::done) << outcome.message.toStdString();
        EXPECT_EQ(decodeErrors(out), QString());
        EXPECT_NEAR(movieDuration(out), total(segments), frame);

        EXPECT_TRUE(copiedPackets(out, segments)) << "packets differ from the sources'";
        EXPECT_TRUE(indexFirst(out)) << "the index comes before the media";

        // Flashes where the clips put them; a beep with each heard flash, within one frame.
        const Marks m = marks(out);
        const std::vector<double> flashes{1.2, 2.0 + 0.7, 3.0 + 1.2, 5.0 + 1.2, 7.0 + 0.2};
        ASSERT_EQ(m.flashes.size(), flashes.size());
        for (std::size_t i = 0; i < flashes.size(); ++i)
            EXPECT_NEAR(m.flashes[i], flashes[i], frame / 2) << "flash " << i;
        const std::vector<double> heard{flashes[0], flashes[1], flashes[4]};
        ASSERT_EQ(m.beeps.size(), heard.size()) << "muted and silent clips stay silent";
        for (std::size_t i = 0; i < heard.size(); ++i)
            EXPECT_NEAR(m.beeps[i], heard[i], frame) << "beep " << i;
        EXPECT_NEAR(m.audioEnd, m.videoEnd, frame);
    }

    // Progress counts the movie's time whatever time base the muxer writes it in.
    const CancelFlag cancel;
    const auto job = prepareCopy(copyClips(segments), sourcePaths(segments), cancel);
    ASSERT_TRUE(job);
    std::vector<double> reports;
    copyStreams(*job, scratchFolder() + "/progress.mp4", ExportFormat::mp4, cancel,
                [&](double f) { reports.push_back(f); });
    ASSERT_FALSE(reports.empty());
    EXPECT_LE(*std::max_element(reports.begin(), reports.end()), 1.0);
    EXPECT_GT(reports.back(), 0.9);
}

// A clip copied up to a trim of its end stops at the last frame shown before it, counted from
// the clip's first frame, also when that frame is not at zero (as in a phone's clip); the next
// clip's flash shows where the end fell.
TEST_P(StreamCopyFrom, ATrimmedEndStopsAtItsLastFrame) {
    const QString source = clip();
    const std::vector<Segment> segments{probed(source, trimmed(0, 0.5)),
                                        probed(source, trimmed(1.0, 0))};
    Exporter exporter(segments, {}, ExportFormat::mp4, ExportQuality::original);
    ASSERT_TRUE(exporter.isPassthrough());
    const QString out = scratchFolder() + "/ends.mp4";
    ASSERT_EQ(runExport(exporter, out).kind, Outcome::Kind::done);
    EXPECT_TRUE(copiedPackets(out, segments));
    EXPECT_NEAR(movieDuration(out), 1.5 + 1.0, frame / 2);
    const Marks m = marks(out);
    ASSERT_EQ(m.flashes.size(), 2u);
    EXPECT_NEAR(m.flashes[1], 1.5 + 0.2, frame / 2);
    EXPECT_NEAR(m.videoEnd, 2.5, frame / 2);
    EXPECT_NEAR(m.audioEnd, m.videoEnd, frame);
}

// Past a join, the decoder has been primed by the clip's own packet before its first kept one,
// so the clip sounds exactly as it does on its own (shifted by less than half an AAC frame):
// no garbled first frame, whatever came before.
TEST(StreamCopy, EachClipsSoundDecodesAsItselfAfterAJoin) {
    const QString tone = generated(
        "chirp-2s.mp4",
        {"-f", "lavfi", "-i", "color=black:s=320x240:r=30:d=2", "-f", "lavfi", "-i",
         QStringLiteral("aevalsrc=0.5*sin(2*PI*(440+200*t)*t)|0.5*sin(2*PI*(440+200*t)*t):"
                        "s=48000:d=2"),
         // The picture coded as flashClip codes it, so that the two join.
         "-c:v", "libx264", "-g", "15", "-bf", "2", "-preset", "ultrafast", "-x264opts",
         "bframes=2:b-adapt=0", "-c:a", "aac"});
    const std::vector<float> alone = sound(tone);
    ASSERT_GT(alone.size(), 48000u);
    ClipEdits late = trimmed(0.5, 0);
    const std::vector<Segment> segments{probed(flashClip({.withSound = false})), probed(tone),
                                        probed(tone, late)};
    Exporter exporter(segments, {}, ExportFormat::mp4, ExportQuality::original);
    const QString out = scratchFolder() + "/joins.mp4";
    ASSERT_EQ(runExport(exporter, out).kind, Outcome::Kind::done);
    ASSERT_TRUE(copiedPackets(out, segments));
    const std::vector<float> joined = sound(out);
    struct Join {
        double at;     // where the clip starts in the movie
        double source; // where its sound starts in the file
    };
    for (const Join j : {Join{2.0, 0.0}, Join{4.0, 0.5}}) {
        const auto start = static_cast<std::ptrdiff_t>(j.at * 48000);
        const auto from = static_cast<std::ptrdiff_t>(j.source * 48000);
        float best = 1;
        for (std::ptrdiff_t shift = -512; shift <= 512; ++shift) {
            float worst = 0;
            for (std::ptrdiff_t n = 0; n < 4096 && worst < best; ++n)
                worst =
                    std::max(worst, std::fabs(joined[static_cast<std::size_t>(start + shift + n)] -
                                              alone[static_cast<std::size_t>(from + n)]));
            best = std::min(best, worst);
        }
        EXPECT_LT(best, 1e-4) << "the clip starting at " << j.at << " s";
    }
}

double meanDifference(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
    if (a.size() != b.size() || a.empty())
        return 255;
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += std::abs(a[i] - b[i]);
    return sum / static_cast<double>(a.size());
}

// Trims off key frames, in H.264 and HEVC stored as a phone stores its clips (1/600 time base,
// first frame not at zero): every whole group of pictures is copied bit for bit (HEVC's first
// copied frame after re-encoded ones behind the source's parameter sets), only the frames
// between a trim and a key frame are encoded again, and the movie shows exactly the frames the
// trims keep, each where it belongs, with the sound in step.
class SmartCut : public ::testing::TestWithParam<bool> {};

INSTANTIATE_TEST_SUITE_P(Codecs, SmartCut, ::testing::Values(false, true),
                         [](const auto& codec) { return codec.param ? "Hevc" : "H264"; });

TEST_P(SmartCut, TrimmedPhoneClipsJoinFrameExactAndMostlyCopied) {
    const bool hevc = GetParam();
    const QString source = flashClip({.seconds = 3, .phone = true, .h264 = !hevc, .moving = true});
    // Key frames every 0.5 s: both ends of both clips fall between them.
    const std::vector<Segment> segments{probed(source, trimmed(0.3, 0.4)),
                                        probed(source, trimmed(0.7, 0.9))};
    const CopyVerdict verdict = decideCopy(segments, {}, CancelFlag());
    ASSERT_TRUE(verdict.cut) << verdict.whyNot.toStdString();
    const int encoded = 6 + 3 + 9 + 3; // to the next key frame, and from the last one
    EXPECT_EQ(
        verdict.line(),
        QStringLiteral("Fast export, re-encoding only %1 frames around the trims").arg(encoded));

    const std::vector<Picture> original = pictures(source);
    std::vector<std::size_t> expected; // the source frames the movie shows, in order
    for (const Segment& s : segments)
        for (std::size_t i = 0; i < original.size(); ++i) {
            const double t = original[i].time - original.front().time;
            if (t >= s.trimmedRange().lower - 1e-3 && t < s.trimmedRange().upper - 1e-3)
                expected.push_back(i);
        }
    const std::vector<QByteArray> sourcePackets = videoPacketData(source);
    for (const ExportFormat format : allExportFormats) {
        SCOPED_TRACE(rawValue(format).toStdString());
        Exporter exporter(segments, {}, format, ExportQuality::original);
        const QString out = scratchFolder() + "/cut." + fileExtension(format);
        const Outcome outcome = runExport(exporter, out);
        ASSERT_EQ(outcome.kind, Outcome::Kind::done) << outcome.message.toStdString();
        EXPECT_EQ(decodeErrors(out), QString());
        EXPECT_NEAR(movieDuration(out), total(segments), frame / 2);

        const std::vector<Picture> shown = pictures(out);
        ASSERT_EQ(shown.size(), expected.size());
        for (std::size_t i = 0; i < shown.size(); ++i) {
            EXPECT_NEAR(shown[i].time, static_cast<double>(i) * frame, frame / 4) << "frame " << i;
            // The frame matches its source frame closely, and its neighbours less.
            const std::size_t k = expected[i];
            const double own = meanDifference(shown[i].luma, original[k].luma);
            EXPECT_LT(own, 2.0) << "frame " << i;
            for (const std::size_t other : {k - 1, k + 1}) {
                if (other < original.size()) {
                    EXPECT_LT(own, meanDifference(shown[i].luma, original[other].luma));
                }
            }
        }

        int copied = 0;
        int led = 0; // a source key frame behind parameter sets
        for (const QByteArray& packet : videoPacketData(out))
            for (const QByteArray& own : sourcePackets)
                if (packet == own || (own.size() > 100 && packet.endsWith(own))) {
                    ++(packet == own ? copied : led);
                    break;
                }
        EXPECT_EQ(copied + led, static_cast<int>(expected.size()) - encoded);
        EXPECT_EQ(led, hevc ? 2 : 0);

        const Marks m = marks(out);
        const std::vector<double> flashes{1.2 - 0.3, 2.3 + 1.2 - 0.7};
        ASSERT_EQ(m.flashes.size(), flashes.size());
        ASSERT_EQ(m.beeps.size(), flashes.size());
        for (std::size_t i = 0; i < flashes.size(); ++i) {
            EXPECT_NEAR(m.flashes[i], flashes[i], frame / 2);
            EXPECT_NEAR(m.beeps[i], flashes[i], frame);
        }
    }
}

TEST(StreamCopy, PortraitClipsPlayUpright) {
    VIMBO_REQUIRE_SAMPLES();
    const QString portrait = sample("rotate-buck-bunny.mp4");
    const std::vector<Segment> segments{probed(portrait), probed(portrait)};
    ASSERT_GT(segments[0].info.size.height, segments[0].info.size.width);
    Exporter exporter(segments, {}, ExportFormat::mov, ExportQuality::original);
    const QString out = scratchFolder() + "/portrait.mov";
    ASSERT_EQ(runExport(exporter, out).kind, Outcome::Kind::done);
    const QByteArray matrix = displayMatrix(out);
    EXPECT_FALSE(matrix.isEmpty());
    EXPECT_EQ(matrix, displayMatrix(portrait));

    // A re-encode (of its first frames) draws them upright instead: a portrait picture, no
    // matrix.
    Exporter encoder({probed(portrait, trimmed(0, segments[0].info.duration - 0.125))}, {},
                     ExportFormat::mp4, ExportQuality::high);
    ASSERT_EQ(runExport(encoder, out).kind, Outcome::Kind::done);
    EXPECT_TRUE(displayMatrix(out).isEmpty());
    EXPECT_EQ(videoSize(out), "1080,1920");
}

// Joins a copy cannot make exactly are never copied as they stand: trims off key frames are
// re-encoded around the cut, the rest re-encoded whole.
TEST(StreamCopy, InexactJoinsAreNeverCopiedAsTheyStand) {
    const QString clip = flashClip();
    const QString other = flashClip({.rate = 44100});
    struct Case {
        const char* what;
        std::vector<Segment> segments;
    };
    const Case cases[] = {
        {"trim start on a P frame", {probed(clip), probed(clip, trimmed(0.6, 0))}},
        {"trim start between frames", {probed(clip, trimmed(0.51, 0))}},
        {"trim end dropping a referenced frame", {probed(clip, trimmed(0, 0.9))}},
        {"sound formats differ", {probed(clip), probed(other)}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Exporter exporter(c.segments, {}, ExportFormat::mp4, ExportQuality::original);
        const QString out = scratchFolder() + "/inexact.mp4";
        const Outcome outcome = runExport(exporter, out);
        ASSERT_EQ(outcome.kind, Outcome::Kind::done) << outcome.message.toStdString();
        EXPECT_FALSE(copiedPackets(out, c.segments));
        EXPECT_EQ(decodeErrors(out), QString());
        EXPECT_NEAR(movieDuration(out), total(c.segments), frame);
    }
}

} // namespace
} // namespace vimbo::test
