#include "app/ExportRun.h"

#include "app/CommandLine.h"
#include "app/QuitSignals.h"
#include "export/Destination.h"
#include "export/ExportController.h"
#include "export/ExportFailure.h"
#include "media/MediaProbe.h"
#include "model/TimeText.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFileInfo>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace vimbo::app {
namespace {

constexpr int exitInterrupted = 130;

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
    const ExportFormat format = options.format;
    // Not over any file the person named, usable or not, however it is reached.
    std::vector<QString> clips;
    for (const Clip& clip : project.clips())
        clips.push_back(clip.url.toLocalFile());
    if (const std::optional<QString> clip = sameFileAs(path, clips)) {
        std::fprintf(stderr, "%s\n", qPrintable(ExportFailure::overClip(*clip).errorDescription()));
        return exitFailed;
    }

    const ExportQuality quality = options.quality.value_or(ExportQuality::original);
    ExportController controller;
    ProgressView view;
    QEventLoop loop;
    bool interrupted = false;
    // Say why the copy the person may expect at Original is not happening, as the window does;
    // the export decides it once, under the same Ctrl-C as the rest of its work.
    QObject::connect(&controller, &ExportController::copyDecided, &loop, [](const QString& why) {
        if (!why.isEmpty())
            std::fprintf(stderr, "%s\n", qPrintable(why));
    });
    QObject::connect(&controller, &ExportController::stateChanged, &loop, [&] {
        const ExportController::State& s = controller.state();
        if (s.kind == ExportController::State::Kind::running)
            view.show(s.progress, s.remaining);
        else
            loop.quit();
    });
    const QuitSignals interrupts({SIGINT, SIGTERM}, [&] {
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
