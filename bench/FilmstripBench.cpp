// The filmstrip with 500 clips, on the offscreen platform: how long adding them holds the
// interface thread, the longest the interface thread stalls while their thumbnails are made in
// the background (the strip being scrolled meanwhile), and how long each paint of the strip
// takes while it is scrolled from end to end. Goals: every paint under 8 ms, so scrolling
// keeps 60 frames a second with room to spare, and no stall over 50 ms, which a person feels.

#include "bench/Tools.h"
#include "media/MediaProbe.h"
#include "media/Thumbnail.h"
#include "media/ff/Log.h"
#include "model/Project.h"
#include "ui/Filmstrip.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QScrollBar>
#include <QTimer>

#include <algorithm>
#include <benchmark/benchmark.h>
#include <numeric>
#include <time.h>

namespace {

using namespace vimbo;

constexpr int clipCount = 500;

QString media(const QString& name, const QStringList& ffmpegArgs) {
    const QString folder = QStringLiteral(VIMBO_BENCH_MEDIA);
    QDir().mkpath(folder);
    const QString path = folder + QLatin1Char('/') + name;
    if (!QFileInfo::exists(path))
        bench::succeeded(QStringLiteral("ffmpeg"),
                         QStringList{QStringLiteral("-y")} + ffmpegArgs + QStringList{path});
    return path;
}

double threadCpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

// Times every paint of one widget: the paint event is handed on from inside the filter, so the
// clock spans exactly the widget's own drawing. Wall time is what a person sees; the thread's
// CPU time leaves out the moments another process had the core (this machine is shared).
class PaintClock : public QObject {
public:
    std::vector<double> milliseconds;
    std::vector<double> cpuMilliseconds;

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::Paint || inside_)
            return false;
        inside_ = true;
        QElapsedTimer clock;
        clock.start();
        const double cpu = threadCpuMs();
        QCoreApplication::sendEvent(watched, event);
        milliseconds.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
        cpuMilliseconds.push_back(threadCpuMs() - cpu);
        inside_ = false;
        return true;
    }
    void clear() {
        milliseconds.clear();
        cpuMilliseconds.clear();
    }

private:
    bool inside_ = false;
};

// The longest gap between ticks of a 2 ms timer beyond its interval: how long the interface
// thread was busy with something else at a stretch; in wall time and in the thread's own CPU
// time over that gap.
class StallClock {
public:
    StallClock() {
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.setInterval(2);
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            const double wall = static_cast<double>(clock_.nsecsElapsed()) / 1e6 - 2;
            const double cpu = threadCpuMs();
            longest_ = std::max(longest_, wall);
            longestCpu_ = std::max(longestCpu_, cpu - cpu_);
            clock_.restart();
            cpu_ = cpu;
        });
        clock_.start();
        cpu_ = threadCpuMs();
        timer_.start();
    }
    double longest() const { return longest_; }
    double longestCpu() const { return longestCpu_; }

private:
    QTimer timer_;
    QElapsedTimer clock_;
    double cpu_ = 0;
    double longest_ = 0;
    double longestCpu_ = 0;
};

struct Figures {
    double max = 0;
    double mean = 0;
    double p99 = 0;
};
Figures figures(std::vector<double> v) {
    if (v.empty())
        return {};
    std::sort(v.begin(), v.end());
    return {v.back(), std::accumulate(v.begin(), v.end(), 0.0) / static_cast<double>(v.size()),
            v[v.size() * 99 / 100]};
}

bool allRead(const Project& project) {
    for (const Clip& clip : project.clips())
        if (!project.thumbnails().contains(clip.id))
            return false;
    return true;
}

void FilmstripOf500(benchmark::State& state) {
    const QString video =
        media(QStringLiteral("strip-720p.mp4"),
              {QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
               QStringLiteral("testsrc2=s=1280x720:r=30:d=2"), QStringLiteral("-c:v"),
               QStringLiteral("libx264"), QStringLiteral("-preset"), QStringLiteral("ultrafast")});
    const QString photo = media(QStringLiteral("strip-12mp.jpg"),
                                {QStringLiteral("-f"), QStringLiteral("lavfi"),
                                 QStringLiteral("-i"), QStringLiteral("testsrc=s=4000x3000"),
                                 QStringLiteral("-frames:v"), QStringLiteral("1")});
    QList<QUrl> files;
    for (int i = 0; i < clipCount; ++i)
        files << QUrl::fromLocalFile(i % 2 ? photo : video);

    for (auto _ : state) {
        Project project({&MediaProbe::isMedia, &MediaProbe::probe,
                         [](const QUrl& url, MediaKind kind, int pixels) {
                             return Thumbnail::make(url, kind, pixels);
                         }},
                        std::nullopt);
        ui::Filmstrip strip(project, [](const QUuid&) {});
        strip.resize(1280, strip.height());
        strip.show();
        auto* list = strip.findChild<QAbstractItemView*>();
        QScrollBar* bar = list->horizontalScrollBar();
        PaintClock paints;
        list->viewport()->installEventFilter(&paints);
        QCoreApplication::processEvents();

        QElapsedTimer clock;
        clock.start();
        project.add(files);
        const double addMs = static_cast<double>(clock.nsecsElapsed()) / 1e6;

        // While the thumbnails arrive, the person scrolls back and forth.
        StallClock stalls;
        QElapsedTimer loading;
        loading.start();
        int direction = -1;
        while (!allRead(project)) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 16);
            if (bar->value() == bar->minimum() || bar->value() == bar->maximum())
                direction = -direction;
            bar->setValue(bar->value() + direction * 24);
        }
        const double loadSeconds = static_cast<double>(loading.elapsed()) / 1000;
        const Figures loadingPaints = figures(paints.milliseconds);
        const Figures loadingPaintsCpu = figures(paints.cpuMilliseconds);
        const double stall = stalls.longest();
        const double stallCpu = stalls.longestCpu();

        // Then end to end and back, a wheel step at a time.
        paints.clear();
        bar->setValue(0);
        for (const int step : {24, -24})
            do {
                bar->setValue(bar->value() + step);
                QCoreApplication::processEvents();
            } while (bar->value() != bar->minimum() && bar->value() != bar->maximum());
        const Figures scrolling = figures(paints.milliseconds);
        const Figures scrollingCpu = figures(paints.cpuMilliseconds);

        state.SetIterationTime(loadSeconds);
        state.counters["add_ms"] = addMs;
        state.counters["load_s"] = loadSeconds;
        state.counters["stall_max_ms"] = stall;
        state.counters["stall_cpu_max_ms"] = stallCpu;
        state.counters["paint_max_ms"] = std::max(scrolling.max, loadingPaints.max);
        state.counters["paint_mean_ms"] = scrolling.mean;
        state.counters["paint_p99_ms"] = scrolling.p99;
        state.counters["paint_cpu_max_ms"] = scrollingCpu.max;
        state.counters["paints"] = static_cast<double>(paints.milliseconds.size());
        std::printf("filmstrip, %d clips: add %.1f ms\n"
                    "  thumbnails in %.1f s; longest interface stall %.1f ms (thread CPU %.1f ms), "
                    "goal < 50\n"
                    "  paints while loading: max %.2f ms (thread CPU %.2f ms), goal < 8\n"
                    "  paints while scrolling end to end: max %.2f / mean %.2f / p99 %.2f ms "
                    "(thread CPU max %.2f ms) over %zu paints, goal < 8\n",
                    clipCount, addMs, loadSeconds, stall, stallCpu, loadingPaints.max,
                    loadingPaintsCpu.max, scrolling.max, scrolling.mean, scrolling.p99,
                    scrollingCpu.max, paints.milliseconds.size());
    }
}
BENCHMARK(FilmstripOf500)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ff::quietLibraryLog();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
