// The export controller on a real event loop: state changes only on the interface thread, the
// remaining time as the views see it, cancel going idle at once, and exports that are no longer
// current never touching the state again.
#include "export/ExportController.h"

#include "export/CopyVerdict.h"
#include "tests/export/ExportFixtures.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

using State = ExportController::State;
using Kind = State::Kind;

// Every state the controller passes through, as its views would see them, with the seconds
// since the recorder was made.
struct Recorder {
    explicit Recorder(ExportController& c) {
        clock.start();
        QObject::connect(&c, &ExportController::stateChanged, [this, &c] {
            EXPECT_EQ(QThread::currentThread(), QCoreApplication::instance()->thread());
            states.push_back(c.state());
            times.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e9);
        });
    }
    QElapsedTimer clock;
    std::vector<State> states;
    std::vector<double> times;
};

QUrl destination(const QString& name) {
    return QUrl::fromLocalFile(scratchFolder() + QLatin1Char('/') + name);
}

std::vector<Segment> clips(int count) {
    return std::vector<Segment>(static_cast<std::size_t>(count), probed(flashClip()));
}

bool ended(const ExportController& c) {
    return waitUntil([&] { return c.state().kind != Kind::running; });
}

TEST(ExportController, RemainingTimeWaitsForAFairEstimate) {
    using C = ExportController;
    EXPECT_EQ(C::remainingTime(0.5, 2.0), std::nullopt) << "2 s is still too early";
    EXPECT_EQ(C::remainingTime(0.05, 10), std::nullopt) << "5 % is still too little";
    EXPECT_EQ(C::remainingTime(0.2, 10), 40.0);
    EXPECT_EQ(C::remainingTime(0.5, 0.1, 0.0), 0.1);
}

// A real re-encode as the export bar sees it: progress only forward to 1.0, a remaining time
// that fits how long the export really took, none once done.
TEST(ExportController, RunsToDoneWithProgressAndRemainingTime) {
    ExportController controller(nullptr, 0.0);
    Recorder recorder(controller);
    EXPECT_EQ(controller.state(), State::idle());
    const QUrl to = destination("done.mp4");
    controller.start(clips(6), {}, ExportFormat::mp4, ExportQuality::high, to);
    EXPECT_EQ(controller.state(), State::running(0, std::nullopt)) << "running at once";
    ASSERT_TRUE(ended(controller));
    EXPECT_EQ(controller.state(), State::done(to));
    EXPECT_EQ(controller.state().remaining, std::nullopt);
    EXPECT_TRUE(QFileInfo::exists(to.toLocalFile()));

    ASSERT_GE(recorder.states.size(), 4u);
    double last = 0;
    int estimates = 0;
    for (std::size_t i = 0; i + 1 < recorder.states.size(); ++i) {
        const State& s = recorder.states[i];
        EXPECT_EQ(s.kind, Kind::running);
        EXPECT_GE(s.progress, last);
        last = s.progress;
        if (s.progress <= 0.05) {
            EXPECT_EQ(s.remaining, std::nullopt) << "at " << s.progress;
            continue;
        }
        ASSERT_TRUE(s.remaining) << "no estimate at " << s.progress;
        ++estimates;
        // The pace so far applied to the rest: the time it stands for is time the export had
        // run when the report was made, which the recorder, started first, has seen too. (How
        // close it comes to the time really left depends on the machine's load.)
        const double elapsed = *s.remaining * s.progress / (1 - s.progress);
        EXPECT_TRUE(s.progress == 1 || (elapsed > 0 && elapsed <= recorder.times[i]))
            << *s.remaining << " s estimated at " << s.progress << " after " << recorder.times[i];
    }
    EXPECT_GE(estimates, 2);
    EXPECT_EQ(last, 1.0) << "the last report of a completed export is 1.0";
    EXPECT_EQ(recorder.states[recorder.states.size() - 2].remaining, 0.0);

    controller.close();
    EXPECT_EQ(controller.state(), State::idle());
    std::vector<QString> decided;
    QObject::connect(&controller, &ExportController::copyDecided,
                     [&](const QString& line) { decided.push_back(line); });
    controller.start(clips(1), {}, ExportFormat::mov, ExportQuality::original, to);
    ASSERT_TRUE(ended(controller));
    EXPECT_EQ(controller.state(), State::done(to)) << "a later start works as from the beginning";
    // A verdict worked out before (the export sheet's) is followed, not worked out again.
    const auto handed = std::make_shared<const CopyVerdict>(CopyVerdict{{}, {}, "as handed"});
    controller.start(clips(1), {}, ExportFormat::mov, ExportQuality::original, to, handed);
    ASSERT_TRUE(ended(controller));
    EXPECT_EQ(decided, (std::vector<QString>{"Fast export, no re-encoding", "as handed"}));
}

TEST(ExportController, CancelGoesIdleAtOnceAndFailuresBecomeTheirSentence) {
    ExportController controller;
    Recorder recorder(controller);
    const QString folder = scratchFolder();
    const QUrl to = QUrl::fromLocalFile(keptFile(folder + "/cancelled.mp4"));
    controller.start(clips(6), {}, ExportFormat::mp4, ExportQuality::high, to);
    ASSERT_TRUE(waitUntil([&] { return controller.state().progress > 0; }));
    controller.cancel();
    EXPECT_EQ(controller.state(), State::idle());
    const std::size_t changes = recorder.states.size();
    // The export winds down in the background: its temporary file goes, the old one stays, its
    // late reports are ignored.
    EXPECT_TRUE(waitUntil([&] { return leftovers(folder).isEmpty(); }));
    EXPECT_EQ(contents(to.toLocalFile()), "an older movie");
    waitUntil([] { return false; }, 500);
    EXPECT_EQ(recorder.states.size(), changes);

    controller.start({Segment()}, {}, ExportFormat::mp4, ExportQuality::original, to);
    ASSERT_TRUE(ended(controller));
    EXPECT_EQ(controller.state(), State::failed("There is nothing to merge."));
}

TEST(ExportController, ReplacedExportsNeverChangeTheState) {
    ExportController controller;
    Recorder recorder(controller);
    const QUrl failing = QUrl::fromLocalFile("/proc/vimbo-no-folder/a.mp4");
    const QUrl slow = destination("slow.mp4");
    const QUrl quick = destination("quick.mp4");
    // Two exports replaced within one turn of the event loop: one that fails at once and one
    // that keeps encoding long after the current one is done.
    controller.start(clips(1), {}, ExportFormat::mp4, ExportQuality::original, failing);
    controller.start(clips(4), {}, ExportFormat::mp4, ExportQuality::high, slow);
    controller.start(clips(1), {}, ExportFormat::mp4, ExportQuality::original, quick);
    ASSERT_TRUE(ended(controller));
    EXPECT_EQ(controller.state(), State::done(quick));
    // The replaced encode is not cancelled: it finishes its file (its index moves to the front
    // once its last packet is written), and says nothing.
    EXPECT_TRUE(waitUntil([&] {
        QFile file(slow.toLocalFile());
        return file.open(QIODevice::ReadOnly) && file.read(64 * 1024).contains("moov");
    }));
    EXPECT_NEAR(movieDuration(slow.toLocalFile()), 4 * 2.0, 0.1);
    waitUntil([] { return false; }, 300);
    EXPECT_EQ(controller.state(), State::done(quick));
    for (const State& s : recorder.states)
        EXPECT_NE(s.kind, Kind::failed);
}

// A new export to the file an older one is still writing: the older one is cancelled and gone
// before the new one writes, so nothing it does later (here: being cancelled at quit) can
// touch the new movie.
TEST(ExportController, AReplacedExportToTheSameFileStopsFirst) {
    const QUrl to = destination("same.mp4");
    {
        ExportController controller;
        controller.start(clips(6), {}, ExportFormat::mp4, ExportQuality::high, to);
        ASSERT_TRUE(waitUntil([&] { return controller.state().progress > 0; }));
        controller.start(clips(1), {}, ExportFormat::mp4, ExportQuality::original, to);
        ASSERT_TRUE(ended(controller));
        EXPECT_EQ(controller.state(), State::done(to));
    } // the program quits: whatever still runs is cancelled
    EXPECT_EQ(decodeErrors(to.toLocalFile()), QString());
    EXPECT_NEAR(movieDuration(to.toLocalFile()), 2.0, 0.1);
}

} // namespace
} // namespace vimbo::test
