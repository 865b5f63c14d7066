// Exports that go wrong: cancelled at random moments, a clip's file removed midway, a folder
// that cannot be written, nothing to merge, one of the clips as the destination. Each ends
// cancelled or failed with its sentence, leaves the file it was to replace as it was and no
// partial file, and crashes nothing.
#include "export/ExportFailure.h"
#include "export/Exporter.h"
#include "export/Reencoder.h"
#include "export/StreamCopier.h"
#include "tests/export/ExportFixtures.h"
#include "tests/support/Media.h"

#include <QFile>
#include <QFileInfo>

#include <chrono>
#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <unistd.h>

namespace vimbo::test {
namespace {

std::vector<Segment> copies(int count, const QString& folder) {
    std::vector<Segment> segments;
    for (int i = 0; i < count; ++i) {
        const QString path = folder + QStringLiteral("/clip%1.mp4").arg(i);
        QFile::copy(flashClip(), path);
        segments.push_back(probed(path));
    }
    return segments;
}

TEST(Fault, CancelAtRandomMomentsLeavesNothingBehind) {
    const std::vector<Segment> clips = copies(3, scratchFolder());
    std::mt19937 random(20261123);
    int cancelled = 0;
    std::vector<Segment> cutClips = clips; // trimmed off a key frame: re-encoded around the cut
    cutClips[1].edits.trimStart = 0.6;
    for (int round = 0; round < 9; ++round) {
        // Rounds copy (fast), re-encode around a cut, or re-encode (slower) in turn: each gets
        // delays that land anywhere from before the start to after the end.
        const int way = round % 3;
        std::uniform_int_distribution<int> delay(0, way == 0 ? 60 : way == 1 ? 400 : 1500);
        Exporter exporter(way == 1 ? cutClips : clips, {}, ExportFormat::mp4,
                          way == 2 ? ExportQuality::high : ExportQuality::original);
        const QString folder = scratchFolder();
        const QString out = keptFile(folder + "/cancelled.mp4");
        const int ms = delay(random);
        std::thread canceller([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(ms));
            exporter.cancel();
            exporter.cancel(); // any number of times
        });
        const Outcome outcome = runExport(exporter, out);
        canceller.join();
        SCOPED_TRACE(
            QStringLiteral("round %1, cancel after %2 ms").arg(round).arg(ms).toStdString());
        ASSERT_NE(outcome.kind, Outcome::Kind::failed) << outcome.message.toStdString();
        EXPECT_EQ(leftovers(folder), QStringList());
        if (outcome.kind == Outcome::Kind::cancelled) {
            ++cancelled;
            EXPECT_EQ(contents(out), "an older movie");
        } else {
            EXPECT_EQ(decodeErrors(out), QString());
        }
    }
    EXPECT_GT(cancelled, 0) << "no round was cancelled mid-way: the delays are too long";
}

TEST(Fault, CancelBeforeTheStartWritesNothing) {
    const QString out = keptFile(scratchFolder() + "/early.mp4");
    Exporter exporter({probed(flashClip())}, {}, ExportFormat::mp4, ExportQuality::high);
    exporter.cancel();
    const Outcome outcome = runExport(exporter, out);
    EXPECT_EQ(outcome.kind, Outcome::Kind::cancelled);
    EXPECT_TRUE(outcome.progress.empty());
    EXPECT_EQ(contents(out), "an older movie");
}

// A clip's file removed while the export runs. Linux keeps a file's contents readable while it
// is open, so a removal after the renderer opened the clip does no harm and the export ends
// well; a removal before must fail with the sentence that says so and leave the old file. Which of
// the two happens depends on timing, so the export is tried until the failure has been seen.
TEST(Fault, ClipFileRemovedDuringTheExport) {
    bool failed = false;
    for (int attempt = 0; attempt < 6 && !failed; ++attempt) {
        const std::vector<Segment> clips = copies(3, scratchFolder());
        const QString doomed = clips.back().url.toLocalFile();
        const QString folder = scratchFolder();
        const QString out = keptFile(folder + "/gone.mp4");
        Exporter exporter(clips, {}, ExportFormat::mp4, ExportQuality::high);
        const Outcome outcome = runExport(exporter, out, [&](double) { QFile::remove(doomed); });
        if (outcome.kind == Outcome::Kind::done) {
            EXPECT_EQ(decodeErrors(out), QString());
            continue;
        }
        failed = true;
        EXPECT_EQ(outcome.kind, Outcome::Kind::failed);
        EXPECT_EQ(outcome.message, QStringLiteral("\u201Cclip2.mp4\u201D was moved or deleted "
                                                  "during the export."));
        EXPECT_EQ(contents(out), "an older movie");
        EXPECT_EQ(leftovers(folder), QStringList());
    }
    EXPECT_TRUE(failed) << "the removal never came before the clip was opened";
}

// A copy reads its clips twice, once to plan and once to copy, each within milliseconds; a
// clip that goes in between fails the same way.
TEST(Fault, ClipFileRemovedBetweenPlanAndCopy) {
    const std::vector<Segment> clips = copies(3, scratchFolder());
    const CancelFlag cancel;
    const auto job = prepareCopy(copyClips(clips), sourcePaths(clips), cancel);
    ASSERT_TRUE(job);
    QFile::remove(clips.back().url.toLocalFile());
    try {
        copyStreams(*job, scratchFolder() + "/gone.mp4", ExportFormat::mp4, cancel, [](double) {});
        ADD_FAILURE() << "the copy succeeded without its last clip";
    } catch (const VimboError& e) {
        EXPECT_EQ(e.errorDescription(),
                  "\u201Cclip2.mp4\u201D was moved or deleted during the export.");
    }
}

// A copy of `clip` whose sound cannot be decoded (its AAC configuration zeroed) while its
// picture can.
QString withUndecodableSound(const QString& clip, const QString& path) {
    QFile in(clip);
    EXPECT_TRUE(in.open(QIODevice::ReadOnly));
    QByteArray bytes = in.readAll();
    // The decoder-specific descriptor (tag 5) inside the esds box, its length in 7-bit groups.
    qsizetype at = bytes.indexOf("esds");
    at = at < 0 ? -1 : bytes.indexOf('\x05', at);
    EXPECT_GT(at, 0);
    int length = 0;
    for (++at; at < bytes.size();) {
        const auto b = std::uint8_t(bytes[at++]);
        length = length << 7 | (b & 0x7f);
        if (!(b & 0x80))
            break;
    }
    bytes.replace(at, length, QByteArray(length, '\0'));
    QFile out(path);
    EXPECT_TRUE(out.open(QIODevice::WriteOnly));
    out.write(bytes);
    return path;
}

// The sound runs ahead of the picture; when it fails on a clip whose picture is fine, the export
// stops there and then, not once the picture has been encoded to its end. The writer waits for
// the sound, so the picture gets no further than the encoder's delay past the join at 1 s of 5.
TEST(Fault, AFailingSoundStageStopsTheExportAtOnce) {
    const QString mute =
        withUndecodableSound(flashClip({.seconds = 4}), scratchFolder() + "/mute.mp4");
    const std::vector<Segment> clips{probed(flashClip({.seconds = 1})), probed(mute)};
    ASSERT_TRUE(clips[1].info.hasAudio);
    const auto timeline =
        std::make_shared<const Timeline>(Timeline::build(clips, {}, std::nullopt, false));
    double written = 0; // the fraction of the picture encoded, reported frame by frame
    try {
        reencode(timeline, Preset::highestQuality, ExportFormat::mp4, scratchFolder() + "/out.mp4",
                 std::make_shared<const CancelFlag>(), [&](double f) { written = f; });
        ADD_FAILURE() << "the export succeeded without the sound of its last clip";
    } catch (const VimboError& e) {
        EXPECT_EQ(e, VimboError::unreadable(QUrl::fromLocalFile(mute)));
    }
    EXPECT_LT(written, 0.5) << "the picture went on after the sound had failed";
}

// A folder that cannot be written fails with its sentence on both paths; a project with nothing
// to merge fails before it touches the destination; a destination that is one of the clips, or
// a folder, is refused before anything is made.
TEST(Fault, FailuresNameTheirCauseAndWriteNothing) {
    std::vector<QString> destinations{"/proc/vimbo-no-folder/out.mp4"};
    if (::geteuid() != 0) { // permissions do not stop root
        const QString locked = scratchFolder();
        QFile::setPermissions(locked, QFile::ReadOwner | QFile::ExeOwner);
        destinations.push_back(locked + "/out.mp4");
    }
    for (const ExportQuality quality : {ExportQuality::original, ExportQuality::high})
        for (const QString& out : destinations) {
            Exporter exporter({probed(flashClip())}, {}, ExportFormat::mp4, quality);
            const Outcome outcome = runExport(exporter, out);
            EXPECT_EQ(outcome.kind, Outcome::Kind::failed);
            EXPECT_EQ(outcome.message, ExportFailure::unwritable(out).errorDescription());
            EXPECT_FALSE(QFileInfo::exists(out));
        }

    Segment missing;
    missing.url = QUrl::fromLocalFile("/nowhere/clip.mp4");
    const QString out = keptFile(scratchFolder() + "/kept.mp4");
    Exporter exporter({missing}, {}, ExportFormat::mov, ExportQuality::original);
    const Outcome outcome = runExport(exporter, out);
    EXPECT_EQ(outcome.kind, Outcome::Kind::failed);
    EXPECT_EQ(outcome.message, VimboError::nothingToMerge().errorDescription());
    EXPECT_EQ(contents(out), "an older movie") << "a failed build writes nothing";

    // One of its own clips, here by a second name of the same file.
    const QString clip = copies(1, scratchFolder()).front().url.toLocalFile();
    const QString link = QFileInfo(clip).absolutePath() + "/link.mp4";
    ASSERT_EQ(::link(QFile::encodeName(clip).constData(), QFile::encodeName(link).constData()), 0);
    const QByteArray before = contents(clip);
    Exporter over({probed(flashClip()), probed(clip)}, {}, ExportFormat::mp4,
                  ExportQuality::original);
    EXPECT_EQ(runExport(over, link).message,
              QStringLiteral("The movie can\u2019t be saved as \u201Cclip0.mp4\u201D because that "
                             "is one of its clips."));
    EXPECT_EQ(contents(clip), before);
    // A folder, refused before the movie is made rather than after.
    const QString folder = QFileInfo(clip).absolutePath();
    Exporter intoFolder({probed(flashClip())}, {}, ExportFormat::mp4, ExportQuality::high);
    const Outcome refused = runExport(intoFolder, folder);
    EXPECT_EQ(refused.message, QStringLiteral("The movie can\u2019t be saved as \u201C%1\u201D "
                                              "because that isn\u2019t a file.")
                                   .arg(QFileInfo(folder).fileName()));
    EXPECT_TRUE(refused.progress.empty());
}

} // namespace
} // namespace vimbo::test
