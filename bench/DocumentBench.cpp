// How long saving and restoring the session take, by clip count. Of a save, the interface
// thread only takes a copy of the project (its lists share their data), which must stay far
// below one 60 Hz frame (16.7 ms); encoding and the atomic write run on the session writer's
// thread and must end well within the 0.5 s autosave pause, so that saves never pile up.

#include "media/MediaProbe.h"
#include "media/Thumbnail.h"
#include "model/Bookmark.h"
#include "model/Project.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

using namespace vimbo;

// A session of n clips whose files exist (so bookmarks resolve as they would for a user).
Saved session(const QString& folder, int n) {
    Saved saved;
    QDir().mkpath(folder + QStringLiteral("/photos"));
    for (int i = 0; i < n; ++i) {
        const QString path =
            folder + QStringLiteral("/photos/IMG_%1.JPG").arg(i, 4, 10, QChar('0'));
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        Clip clip;
        clip.id = QUuid::createUuid();
        clip.url = QUrl::fromLocalFile(path);
        clip.bookmark = Bookmark::make(clip.url);
        clip.edits.trimStart = i % 7 * 0.5;
        clip.added = i;
        saved.clips.push_back(clip);
    }
    saved.nextAdded = n;
    return saved;
}

void Save(benchmark::State& state) {
    QTemporaryDir dir;
    const SessionStore store(dir.path() + QStringLiteral("/Vimbo"));
    const Saved saved = session(dir.path(), static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(store.save(saved));
    state.counters["clips"] = static_cast<double>(state.range(0));
}
BENCHMARK(Save)->Arg(100)->Arg(300)->Arg(1000)->Unit(benchmark::kMillisecond);

// What the interface thread does for a save: hand the writer a copy of the project.
void Handover(benchmark::State& state) {
    QTemporaryDir dir;
    const Saved live = session(dir.path(), static_cast<int>(state.range(0)));
    for (auto _ : state) {
        Saved copy{live.clips, live.layout, live.nextAdded};
        benchmark::DoNotOptimize(copy);
    }
    state.counters["clips"] = static_cast<double>(state.range(0));
}
BENCHMARK(Handover)->Arg(100)->Arg(300)->Arg(1000)->Unit(benchmark::kMicrosecond);

// Turning the project into the file's bytes, on the writer's thread.
void Encode(benchmark::State& state) {
    QTemporaryDir dir;
    const Saved saved = session(dir.path(), static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(encodeSaved(saved));
    state.counters["clips"] = static_cast<double>(state.range(0));
}
BENCHMARK(Encode)->Arg(100)->Arg(300)->Arg(1000)->Unit(benchmark::kMillisecond);

// Creating the project, on the interface thread: reading and decoding the file, cleaning the
// import store. Following the bookmarks and probing happen on workers (Locate below).
void Restore(benchmark::State& state) {
    QTemporaryDir dir;
    const SessionStore store(dir.path() + QStringLiteral("/Vimbo"));
    store.save(session(dir.path(), static_cast<int>(state.range(0))));
    const MediaAccess media{
        &MediaProbe::isMedia, [](const QUrl&) { return MediaInfo(); },
        [](const QUrl&, MediaKind, int) -> std::optional<QImage> { return std::nullopt; }};
    for (auto _ : state) {
        Project project(media, store);
        benchmark::DoNotOptimize(project.clips().size());
        state.PauseTiming();
        QCoreApplication::processEvents(); // let the background reads land between rounds
        state.ResumeTiming();
    }
    state.counters["clips"] = static_cast<double>(state.range(0));
}
BENCHMARK(Restore)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);

// Following the bookmarks of a restored session on a worker, with one file in ten moved to a
// sibling folder: every moved file is found in one search.
void Locate(benchmark::State& state) {
    QTemporaryDir dir;
    const Saved saved = session(dir.path(), static_cast<int>(state.range(0)));
    QDir().mkpath(dir.path() + QStringLiteral("/moved"));
    for (std::size_t i = 0; i < saved.clips.size(); i += 10)
        QFile::rename(saved.clips[i].url.toLocalFile(),
                      dir.path() + QStringLiteral("/moved/") + saved.clips[i].url.fileName());
    for (auto _ : state)
        benchmark::DoNotOptimize(SessionStore::located(saved.clips));
    state.counters["clips"] = static_cast<double>(state.range(0));
}
BENCHMARK(Locate)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
