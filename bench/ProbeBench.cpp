// How fast files are probed: in-process, through `vimbo probe`, and side by side with ffprobe
// doing the same job (one `ffprobe -v error -show_streams -show_format FILE` per file), over a
// folder of 300 small movies and photos. Then adding a folder of 1,000 photos: expanding it
// (recursive listing, isMedia, natural order) and probing every photo.
//
// The media are made once per build folder with the ffmpeg and exiftool command lines; the
// copies are hard links, so the folders cost no disk space and every file reads the same.

#include "bench/Tools.h"
#include "media/MediaProbe.h"
#include "model/Project.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentMap>

#include <benchmark/benchmark.h>
#include <cstdio>
#include <filesystem>
#include <map>

namespace {

using namespace vimbo;

using bench::succeeded;

struct Source {
    const char* name;
    QStringList ffmpeg;
    QStringList exiftool;
};

// Movies as phones and cameras make them (H.264 or HEVC with AAC or PCM), and photos from
// 0.3 to 12 megapixels, one with EXIF orientation and dates.
QStringList makeSources(const QString& folder) {
    const auto movie = [](const char* picture, const char* tone, QStringList codecs) {
        return QStringList{"-f",      "lavfi",    "-i", QLatin1String(picture),
                           "-f",      "lavfi",    "-i", QLatin1String(tone),
                           "-preset", "ultrafast"} +
               codecs;
    };
    const auto photo = [](const char* size) {
        return QStringList{"-f",        "lavfi",
                           "-i",        QStringLiteral("testsrc2=size=") + QLatin1String(size),
                           "-frames:v", "1"};
    };
    const Source sources[] = {
        {"a.mp4",
         movie("testsrc2=size=1280x720:rate=30:duration=2", "sine=r=48000:d=2", {"-c:a", "aac"}),
         {}},
        {"b.mp4",
         movie("testsrc2=size=640x360:rate=25:duration=1", "sine=r=44100:d=1", {"-c:a", "aac"}),
         {}},
        {"c.mp4",
         movie("testsrc2=size=640x360:rate=30:duration=1", "sine=r=48000:d=1",
               {"-c:v", "libx265", "-tag:v", "hvc1", "-x265-params", "log-level=error"}),
         {}},
        {"d.mov",
         movie("testsrc2=size=1920x1080:rate=30:duration=0.5", "sine=r=48000:d=0.5",
               {"-c:a", "pcm_s16le"}),
         {}},
        {"e.mov",
         movie("testsrc2=size=320x240:rate=30:duration=3", "sine=r=44100:d=3", {"-c:a", "aac"}),
         {}},
        {"f.jpg", photo("4000x3000"), {}},
        {"g.jpg", photo("1920x1080"), {}},
        {"h.jpg",
         photo("640x480"),
         {"-Orientation#=6", "-DateTimeOriginal=2023:07:14 18:02:33",
          "-OffsetTimeOriginal=+02:00"}},
    };
    QStringList paths;
    for (const Source& source : sources) {
        const QString path = folder + QLatin1Char('/') + QLatin1String(source.name);
        if (!QFileInfo::exists(path)) {
            succeeded(QStringLiteral("ffmpeg"),
                      QStringList{"-v", "error", "-y"} + source.ffmpeg + QStringList{path});
            if (!source.exiftool.isEmpty())
                succeeded(QStringLiteral("exiftool"), QStringList{"-q", "-overwrite_original"} +
                                                          source.exiftool + QStringList{path});
        }
        paths << path;
    }
    return paths;
}

void link(const QString& from, const QString& to) {
    std::error_code error;
    std::filesystem::create_hard_link(from.toStdString(), to.toStdString(), error);
    if (error)
        QFile::copy(from, to);
}

// 100 MP4, 100 MOV and 100 JPEG files, cycling through the sources of each kind.
QStringList probeFolder(const QString& root, const QStringList& sources) {
    const QString folder = root + QStringLiteral("/files");
    QDir().mkpath(folder);
    QStringList files;
    for (const QString& suffix :
         {QStringLiteral("mp4"), QStringLiteral("mov"), QStringLiteral("jpg")}) {
        const QStringList kind = sources.filter(QLatin1Char('.') + suffix);
        for (int i = 0; i < 100; ++i) {
            const QString path = QStringLiteral("%1/clip%2.%3")
                                     .arg(folder)
                                     .arg(i, 3, 10, QLatin1Char('0'))
                                     .arg(suffix);
            if (!QFileInfo::exists(path))
                link(kind[i % kind.size()], path);
            files << path;
        }
    }
    return files;
}

// A camera card: ten day folders of 100 photos each, with XMP sidecars and notes beside them.
QString photoFolder(const QString& root, const QStringList& sources) {
    const QString folder = root + QStringLiteral("/photos");
    const QStringList photos = sources.filter(QStringLiteral(".jpg"));
    for (int i = 0; i < 1000; ++i) {
        const QString day = QStringLiteral("%1/day%2").arg(folder).arg(i / 100 + 1);
        const QString name = QStringLiteral("%1/IMG_%2").arg(day).arg(i + 1);
        if (QFileInfo::exists(name + QStringLiteral(".JPG")))
            continue;
        QDir().mkpath(day);
        link(photos[i % photos.size()], name + QStringLiteral(".JPG"));
        if (i % 10 == 0) {
            QFile sidecar(name + (i % 20 ? QStringLiteral(".xmp") : QStringLiteral(".txt")));
            sidecar.open(QIODevice::WriteOnly);
        }
    }
    return folder;
}

void probeAll(benchmark::State& state, const QStringList& files, int threads) {
    QThreadPool pool;
    pool.setMaxThreadCount(threads);
    for (auto _ : state) {
        QtConcurrent::blockingMap(&pool, files, [](const QString& file) {
            benchmark::DoNotOptimize(MediaProbe::probe(QUrl::fromLocalFile(file)));
        });
    }
    state.SetItemsProcessed(state.iterations() * files.size());
}

void vimboProbe(benchmark::State& state, const QStringList& files) {
    for (auto _ : state)
        if (!succeeded(QStringLiteral(VIMBO_BINARY), QStringList{"probe"} + files))
            state.SkipWithError("vimbo probe failed");
    state.SetItemsProcessed(state.iterations() * files.size());
}

void ffprobeEach(benchmark::State& state, const QStringList& files, int atOnce) {
    QThreadPool pool;
    pool.setMaxThreadCount(atOnce);
    for (auto _ : state) {
        QtConcurrent::blockingMap(&pool, files, [](const QString& file) {
            succeeded(QStringLiteral("ffprobe"),
                      {"-v", "error", "-show_streams", "-show_format", file});
        });
    }
    state.SetItemsProcessed(state.iterations() * files.size());
}

// A process that starts, prints its version and quits: what each ffprobe run pays before probing.
void startOnly(benchmark::State& state, const QString& program, const QString& argument) {
    for (auto _ : state)
        if (!succeeded(program, {argument}))
            state.SkipWithError("the program did not start");
}

void addPhotos(benchmark::State& state, const QString& folder, int probeThreads) {
    QThreadPool pool;
    pool.setMaxThreadCount(std::max(probeThreads, 1));
    qsizetype count = 0;
    for (auto _ : state) {
        const QList<QUrl> urls =
            Project::expand({QUrl::fromLocalFile(folder)}, MediaProbe::isMedia);
        count = urls.size();
        if (probeThreads > 0)
            QtConcurrent::blockingMap(&pool, urls, [](const QUrl& url) {
                benchmark::DoNotOptimize(MediaProbe::probe(url));
            });
    }
    state.counters["photos"] = static_cast<double>(count);
}

// Remembers each benchmark's real time per iteration, for the side-by-side summary.
class Reporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (!run.error_occurred && run.run_type == Run::RT_Iteration)
                seconds_[run.run_name.function_name] =
                    run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        ConsoleReporter::ReportRuns(runs);
    }
    double seconds(const std::string& name) const {
        const auto found = seconds_.find(name);
        return found == seconds_.end() ? 0 : found->second;
    }

private:
    std::map<std::string, double> seconds_;
};

void summarise(const Reporter& r, qsizetype files) {
    const auto perFile = [&](const char* name) { return r.seconds(name) * 1000 / double(files); };
    std::printf("\nProbing %lld files (100 MP4, 100 MOV, 100 JPEG), per file:\n",
                static_cast<long long>(files));
    const std::pair<const char*, const char*> rows[] = {
        {"in process, one thread", "probe/in-process/1-thread"},
        {"in process, two threads", "probe/in-process/2-threads"},
        {"vimbo probe, one process", "probe/vimbo-probe"},
        {"ffprobe, one per file", "probe/ffprobe-per-file"},
        {"ffprobe, two at a time", "probe/ffprobe-2-at-a-time"},
    };
    for (const auto& [label, name] : rows)
        std::printf("  %-26s %8.3f ms\n", label, perFile(name));
    std::printf(
        "  start-up alone: ffprobe -version %.1f ms, vimbo --version %.1f ms (once per run)\n",
        r.seconds("start/ffprobe") * 1000, r.seconds("start/vimbo") * 1000);
    if (perFile("probe/vimbo-probe") > 0 && perFile("probe/in-process/1-thread") > 0)
        std::printf("  ffprobe per file ÷ vimbo probe: %.1f×; ÷ in-process on one thread: %.1f×\n",
                    perFile("probe/ffprobe-per-file") / perFile("probe/vimbo-probe"),
                    perFile("probe/ffprobe-per-file") / perFile("probe/in-process/1-thread"));
    std::printf(
        "\nAdding a folder of 1,000 photos: expand %.1f ms; expand and probe %.0f ms on one "
        "thread, %.0f ms on two\n",
        r.seconds("photos/expand") * 1000, r.seconds("photos/expand+probe/1-thread") * 1000,
        r.seconds("photos/expand+probe/2-threads") * 1000);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    const QString root = QStringLiteral(VIMBO_BENCH_MEDIA "/probe");
    QDir().mkpath(root);
    const QStringList sources = makeSources(root);
    const QStringList files = probeFolder(root, sources);
    const QString photos = photoFolder(root, sources);

    using benchmark::RegisterBenchmark;
    const auto ms = benchmark::kMillisecond;
    RegisterBenchmark("probe/in-process/1-thread", probeAll, files, 1)->Unit(ms)->UseRealTime();
    RegisterBenchmark("probe/in-process/2-threads", probeAll, files, 2)->Unit(ms)->UseRealTime();
    RegisterBenchmark("probe/vimbo-probe", vimboProbe, files)
        ->Unit(ms)
        ->UseRealTime()
        ->Iterations(3);
    RegisterBenchmark("probe/ffprobe-per-file", ffprobeEach, files, 1)
        ->Unit(ms)
        ->UseRealTime()
        ->Iterations(1);
    RegisterBenchmark("probe/ffprobe-2-at-a-time", ffprobeEach, files, 2)
        ->Unit(ms)
        ->UseRealTime()
        ->Iterations(1);
    RegisterBenchmark("start/ffprobe", startOnly, QStringLiteral("ffprobe"),
                      QStringLiteral("-version"))
        ->Unit(ms)
        ->UseRealTime()
        ->Iterations(10);
    RegisterBenchmark("start/vimbo", startOnly, QStringLiteral(VIMBO_BINARY),
                      QStringLiteral("--version"))
        ->Unit(ms)
        ->UseRealTime()
        ->Iterations(10);
    RegisterBenchmark("photos/expand", addPhotos, photos, 0)->Unit(ms)->UseRealTime();
    RegisterBenchmark("photos/expand+probe/1-thread", addPhotos, photos, 1)
        ->Unit(ms)
        ->UseRealTime();
    RegisterBenchmark("photos/expand+probe/2-threads", addPhotos, photos, 2)
        ->Unit(ms)
        ->UseRealTime();

    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    summarise(reporter, files.size());
    benchmark::Shutdown();
    return 0;
}
