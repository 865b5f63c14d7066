#include "app/ExportRun.h"

#include "app/CommandLine.h"
#include "export/CopyVerdict.h"
#include "export/ExportController.h"
#include "media/MediaProbe.h"
#include "model/TimeText.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFileInfo>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace vimbo::app {
namespace {

constexpr int exitInterrupted = 130;
int interruptPipe[2] = {-1, -1};

void onInterrupt(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(interruptPipe[1], &byte, 1);
}

// Ctrl-C, as a queued call on the interface thread for as long as it lives.
class Interrupts {
public:
    explicit Interrupts(std::function<void()> onInterrupt_) {
        if (::pipe(interruptPipe) != 0)
            return;
        notifier_ = std::make_unique<QSocketNotifier>(interruptPipe[0], QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, [onInterrupt_] {
            char byte = 0;
            [[maybe_unused]] const auto got = ::read(interruptPipe[0], &byte, 1);
            onInterrupt_();
        });
        std::signal(SIGINT, onInterrupt);
        std::signal(SIGTERM, onInterrupt);
    }
    ~Interrupts() {
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGTERM, SIG_DFL);
    }

private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

// The progress line: a bar on a terminal, a plain line every tenth otherwise.
class ProgressView {
public:
    ProgressView()
        : terminal_(::isatty(STDERR_FILENO) != 0) {}

    void show(double progress, std::optional<double> remaining) {
        if (progress <= 0)
            return; // the export has not got going, and may yet fail at once
        shown_ = true;
        const int percent = static_cast<int>(progress * 100);
        const QString left =
            remaining ? QStringLiteral("  %1 left").arg(TimeText::short_(*remaining)) : QString();
        if (terminal_) {
            constexpr int width = 30;
            const int filled = static_cast<int>(progress * width);
            const QString bar =
                QString(filled, QLatin1Char('#')) + QString(width - filled, QLatin1Char('-'));
            std::fprintf(stderr, "\r[%s] %3d%%%-16s", qPrintable(bar), percent, qPrintable(left));
        } else if (percent / 10 != lastTenth_) {
            lastTenth_ = percent / 10;
            std::fprintf(stderr, "%d%%%s\n", percent, qPrintable(left));
        }
        std::fflush(stderr);
    }
    void end() {
        if (terminal_ && shown_)
            std::fputc('\n', stderr);
    }

private:
    bool terminal_;
    bool shown_ = false;
    int lastTenth_ = -1;
};

} // namespace

MediaAccess commandLineMedia() {
    return {MediaProbe::isMedia, MediaProbe::probe,
            [](const QUrl&, MediaKind, int) { return std::optional<QImage>(); }};
}

void waitForProbes(Project& project) {
    if (!project.isReading())
        return;
    QEventLoop loop;
    QObject::connect(&project, &Project::allRead, &loop, &QEventLoop::quit);
    loop.exec();
}

int exportProject(const Project& project, const ExportOptions& options) {
    std::vector<Segment> segments;
    for (const auto& [id, segment] : project.usable())
        segments.push_back(segment);
    const QString path = QFileInfo(options.output).absoluteFilePath();
    const ExportFormat format = options.format.value_or(
        exportFormatFromRaw(QFileInfo(path).suffix().toLower()).value_or(ExportFormat::mp4));

    const ExportQuality quality = options.quality.value_or(ExportQuality::original);
    // Say which way an export at Original goes, or why it re-encodes, as the window does.
    if (quality == ExportQuality::original)
        if (const QString line = decideCopy(segments, project.layout(), CancelFlag()).line();
            !line.isEmpty())
            std::fprintf(stderr, "%s\n", qPrintable(line));

    ExportController controller;
    ProgressView view;
    QEventLoop loop;
    bool interrupted = false;
    QObject::connect(&controller, &ExportController::stateChanged, &loop, [&] {
        const ExportController::State& s = controller.state();
        if (s.kind == ExportController::State::Kind::running)
            view.show(s.progress, s.remaining);
        else
            loop.quit();
    });
    Interrupts interrupts([&] {
        interrupted = true;
        controller.cancel();
    });
    controller.start(segments, project.layout(), format, quality, QUrl::fromLocalFile(path));
    loop.exec();
    view.end();
    const ExportController::State state = controller.state();
    if (state.kind == ExportController::State::Kind::done) {
        std::fprintf(stderr, "Wrote %s\n", qPrintable(path));
        return exitOk;
    }
    if (state.kind == ExportController::State::Kind::failed) {
        std::fprintf(stderr, "%s\n", qPrintable(state.message));
        return exitFailed;
    }
    // Cancelled: the controller's end waits for the export to remove its partial file.
    return interrupted ? exitInterrupted : exitFailed;
}

} // namespace vimbo::app
