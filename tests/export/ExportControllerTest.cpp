// The export controller on a real event loop: state changes only on the interface thread, the
// remaining-time estimate, cancel and close going idle at once, and exports that are no longer
// current never touching the state again.
#include "export/ExportController.h"

#include "tests/export/ExportFixtures.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

using State = ExportController::State;
using Kind = State::Kind;

void spin(int ms) {
    waitUntil([] { return false; }, ms);
}

// Every state the controller passes through, as its views would see them.
struct Recorder {
    explicit Recorder(ExportController& c) {
        QObject::connect(&c, &ExportController::stateChanged, [this, &c] {
            EXPECT_EQ(QThread::currentThread(), QCoreApplication::instance()->thread());
            states.push_back(c.state());
        });
    }
    std::vector<State> states;
};

QUrl destination(const QString& name) {
    return QUrl::fromLocalFile(scratchFolder() + QLatin1Char('/') + name);
}

std::vector<Segment> clips(int count) {
    return std::vector<Segment>(static_cast<std::size_t>(count), probed(flashClip()));
}

TEST(ExportController, RemainingTimeEstimate) {
    struct Case {
        double elapsed;
        double progress;
        std::optional<double> remaining;
    };
    const Case cases[] = {
        {1.5, 0.5, std::nullopt}, // too early
        {4, 0.5, 4.0},
        {10, 0.04, std::nullopt}, // too little progress
        {10, 0.2, 40.0},
        {2.0, 0.5, std::nullopt}, // exactly 2 s is still too early
        {10, 0.05, std::nullopt}, // exactly 5 % is still too little
        {3, 1.0, 0.0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ExportController::remainingTime(c.progress, c.elapsed), c.remaining)
            << c.elapsed << " s at " << c.progress;
}

TEST(ExportController, RunsToDoneThroughProgress) {
    ExportController controller;
    Recorder recorder(controller);
    EXPECT_EQ(controller.state(), State::idle());
    const QUrl to = destination(QStringLiteral("done.mp4"));
    controller.start(clips(2), {}, ExportFormat::mp4, ExportQuality::high, to);
    EXPECT_EQ(controller.state(), State::running(0, std::nullopt)) << "running at once";
    ASSERT_TRUE(waitUntil([&] { return controller.state().kind != Kind::running; }));
    EXPECT_EQ(controller.state(), State::done(to));
    EXPECT_TRUE(QFileInfo::exists(to.toLocalFile()));
    ASSERT_GE(recorder.states.size(), 3u);
    double last = 0;
    for (std::size_t i = 0; i + 1 < recorder.states.size(); ++i) {
        EXPECT_EQ(recorder.states[i].kind, Kind::running);
        EXPECT_GE(recorder.states[i].progress, last);
        last = recorder.states[i].progress;
    }
    EXPECT_EQ(last, 1.0) << "the last report of a completed export is 1.0";

    controller.close();
    EXPECT_EQ(controller.state(), State::idle());
    controller.start(clips(1), {}, ExportFormat::mov, ExportQuality::original, to);
    ASSERT_TRUE(waitUntil([&] { return controller.state().kind != Kind::running; }));
    EXPECT_EQ(controller.state(), State::done(to)) << "a later start works as from the beginning";
}

TEST(ExportController, CancelGoesIdleAtOnceAndStaysIdle) {
    ExportController controller;
    Recorder recorder(controller);
    const QUrl to = destination(QStringLiteral("cancelled.mp4"));
    controller.start(clips(6), {}, ExportFormat::mp4, ExportQuality::high, to);
    ASSERT_TRUE(waitUntil([&] { return controller.state().progress > 0; }));
    controller.cancel();
    EXPECT_EQ(controller.state(), State::idle());
    const std::size_t changes = recorder.states.size();
    // The export winds down in the background: its file goes, its late reports are ignored.
    EXPECT_TRUE(waitUntil([&] { return !QFileInfo::exists(to.toLocalFile()); }));
    spin(500);
    EXPECT_EQ(controller.state(), State::idle());
    EXPECT_EQ(recorder.states.size(), changes);
}

TEST(ExportController, FailuresBecomeTheirSentence) {
    ExportController controller;
    Segment missing;
    controller.start({missing}, {}, ExportFormat::mp4, ExportQuality::original,
                     destination(QStringLiteral("nothing.mp4")));
    ASSERT_TRUE(waitUntil([&] { return controller.state().kind != Kind::running; }));
    EXPECT_EQ(controller.state(), State::failed(QStringLiteral("There is nothing to merge.")));
    controller.close();
    EXPECT_EQ(controller.state(), State::idle());
}

TEST(ExportController, ReplacedExportsNeverChangeTheState) {
    ExportController controller;
    Recorder recorder(controller);
    const QUrl failing = QUrl::fromLocalFile(QStringLiteral("/proc/vimbo-no-folder/a.mp4"));
    const QUrl slow = destination(QStringLiteral("slow.mp4"));
    const QUrl quick = destination(QStringLiteral("quick.mp4"));
    // Two exports replaced within one turn of the event loop: one that fails at once and one
    // that keeps encoding long after the current one is done.
    controller.start(clips(1), {}, ExportFormat::mp4, ExportQuality::original, failing);
    controller.start(clips(4), {}, ExportFormat::mp4, ExportQuality::high, slow);
    controller.start(clips(1), {}, ExportFormat::mp4, ExportQuality::original, quick);
    ASSERT_TRUE(waitUntil([&] { return controller.state().kind != Kind::running; }));
    EXPECT_EQ(controller.state(), State::done(quick));
    // The replaced encode is not cancelled: it finishes its file, and says nothing.
    const double length = 4 * 2.0;
    // Its index moves to the front only when its last packet is written.
    EXPECT_TRUE(waitUntil([&] {
        QFile file(slow.toLocalFile());
        const QByteArray head = file.open(QIODevice::ReadOnly) ? file.read(64 * 1024) : "";
        return head.contains("moov");
    }));
    EXPECT_NEAR(movieDuration(slow.toLocalFile()), length, 0.1);
    spin(300);
    EXPECT_EQ(controller.state(), State::done(quick));
    for (const State& s : recorder.states)
        EXPECT_NE(s.kind, Kind::failed);
}

// A new export to the file an older one is still writing: the older one is cancelled and gone
// before the new one writes, so nothing it does later (here: being cancelled at quit, which
// removes its file) can touch the new movie.
TEST(ExportController, AReplacedExportToTheSameFileStopsFirst) {
    const QUrl to = destination(QStringLiteral("same.mp4"));
    {
        ExportController controller;
        controller.start(clips(6), {}, ExportFormat::mp4, ExportQuality::high, to);
        ASSERT_TRUE(waitUntil([&] { return controller.state().progress > 0; }));
        controller.start(clips(1), {}, ExportFormat::mp4, ExportQuality::original, to);
        ASSERT_TRUE(waitUntil([&] { return controller.state().kind != Kind::running; }));
        EXPECT_EQ(controller.state(), State::done(to));
    } // the program quits: whatever still runs is cancelled
    EXPECT_EQ(decodeErrors(to.toLocalFile()), QString());
    EXPECT_NEAR(movieDuration(to.toLocalFile()), 2.0, 0.1);
}

} // namespace
} // namespace vimbo::test
