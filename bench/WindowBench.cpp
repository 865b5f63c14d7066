// The window's start with a saved project of 300 clips (half photos, half videos): the time
// from starting to a painted window (goal: under a second), and the interface thread's longest
// stall while the clips are probed and their thumbnails made behind it (goal: under 50 ms).
// The window is built in this process, as `vimbo` builds it; loading the program itself is
// measured separately by `vimbo --version`, which loads the same libraries.
#include "bench/Tools.h"
#include "media/MediaProbe.h"
#include "media/Thumbnail.h"
#include "ui/AppShell.h"
#include "ui/MainWindow.h"
#include "ui/Translations.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace vimbo::bench {
namespace {

constexpr int clipCount = 300;

// CPU time the calling thread has used, in nanoseconds: the interface thread's own work,
// which the machine's other load does not stretch.
qint64 threadCpuNs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<qint64>(t.tv_sec) * 1'000'000'000 + t.tv_nsec;
}

QString media(const QString& name, const QStringList& args) {
    const QString folder = QStringLiteral(VIMBO_BENCH_MEDIA);
    QDir().mkpath(folder);
    const QString path = folder + QLatin1Char('/') + name;
    if (!QFile::exists(path) &&
        !succeeded(QStringLiteral("ffmpeg"), QStringList{"-y"} + args + QStringList{path}))
        std::fprintf(stderr, "could not make %s\n", qPrintable(path));
    return path;
}

// 300 files of their own (copies, so each is opened and probed on its own) in a saved project.
void prepare(const QString& root) {
    const QString photo = media("window-photo.jpg",
                                {"-f", "lavfi", "-i", "testsrc2=size=4032x3024", "-frames:v", "1"});
    const QString video = media("window-video.mp4",
                                {"-f", "lavfi", "-i", "testsrc2=size=1920x1080:rate=30:d=4", "-c:v",
                                 "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p"});
    QDir().mkpath(root + "/files");
    Saved saved;
    for (int i = 0; i < clipCount; ++i) {
        const bool isPhoto = i % 2 == 0;
        const QString path =
            root + QStringLiteral("/files/clip-%1.%2").arg(i).arg(isPhoto ? "jpg" : "mp4");
        QFile::copy(isPhoto ? photo : video, path);
        Clip clip;
        clip.id = QUuid::createUuid();
        clip.url = QUrl::fromLocalFile(path);
        clip.added = i;
        saved.clips.push_back(clip);
    }
    saved.nextAdded = clipCount;
    SessionStore(root + "/Vimbo").save(saved);
}

double programLoadMs() {
    QElapsedTimer timer;
    timer.start();
    succeeded(QStringLiteral(VIMBO_BINARY), {"--version"});
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

// Notes the first paint of the window.
class FirstPaint : public QObject {
public:
    qint64 at = -1;
    const QElapsedTimer& clock;
    explicit FirstPaint(const QElapsedTimer& c)
        : clock(c) {}
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint && at < 0)
            at = clock.nsecsElapsed();
        return false;
    }
};

} // namespace
} // namespace vimbo::bench

int main(int argc, char** argv) {
    using namespace vimbo;
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir root;
    bench::prepare(root.path());
    const double loadMs = bench::programLoadMs();

    QElapsedTimer clock;
    clock.start();
    ui::installTranslations();
    ui::AppShell shell({MediaProbe::isMedia, MediaProbe::probe,
                        [](const QUrl& url, MediaKind kind, int pixels) {
                            return Thumbnail::make(url, kind, pixels);
                        }},
                       SessionStore(root.path() + "/Vimbo"));
    bench::FirstPaint paint(clock);
    app.installEventFilter(&paint);
    shell.show();

    // The interface thread's stalls: gaps between the ticks of a 1 ms timer, until every clip
    // has been read.
    qint64 last = clock.nsecsElapsed();
    qint64 lastCpu = bench::threadCpuNs();
    qint64 longest = 0;
    qint64 longestBusy = 0;
    std::vector<qint64> gaps;
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    QObject::connect(&tick, &QTimer::timeout, [&] {
        const qint64 now = clock.nsecsElapsed();
        gaps.push_back(now - last);
        longest = std::max(longest, now - last);
        last = now;
        const qint64 cpu = bench::threadCpuNs();
        longestBusy = std::max(longestBusy, cpu - lastCpu);
        lastCpu = cpu;
        const Project& project = shell.project();
        if (project.info().size() == bench::clipCount &&
            project.thumbnails().size() == bench::clipCount)
            app.quit();
    });
    tick.start(1);
    app.exec();
    const double readSeconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;

    std::sort(gaps.begin(), gaps.end());
    const auto ms = [](qint64 ns) { return static_cast<double>(ns) / 1e6; };
    std::printf("window start with %d saved clips (%s platform)\n", bench::clipCount,
                qPrintable(QGuiApplication::platformName()));
    std::printf("  painted after          %7.1f ms  (+ %.1f ms to load the program; goal: under "
                "1000 ms in all)\n",
                ms(paint.at), loadMs);
    std::printf("  all clips read after   %7.1f s\n", readSeconds);
    std::printf("  longest stall          %7.1f ms  (goal: under 50 ms; 99th percentile gap "
                "%.1f ms)\n",
                ms(longest), ms(gaps.empty() ? 0 : gaps[gaps.size() * 99 / 100]));
    std::printf("  longest busy turn      %7.1f ms  (the interface thread's own work between two "
                "ticks; the stall above adds the machine's other load)\n",
                ms(longestBusy));
    return 0;
}
