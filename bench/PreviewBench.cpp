// The preview played for real, under the Qt offscreen platform with its view on screen:
//   1. playback of a 30 s mixed timeline (1080p H.264 at 0.5×, a turned portrait phone clip at
//      2×, 4K HEVC, two photos) at 30 fps output, and again at 60 fps (its 1080p clip at 60 fps):
//      frames shown, frames dropped, sound underruns;
//   2. exact seeks to random times over 1080p H.264 (2 s key-frame interval) and 4K HEVC: the
//      time from seek() to that frame in the player, median and 95th percentile, side by side
//      with `ffmpeg -ss T -i FILE -frames:v 1` (an exact seek too, process start included);
//   3. from an edit of a 20-clip project to the new item's first frame on screen, through the
//      rebuild trigger (0.2 s debounce) and the build.
// Without a sound device the sound is still rendered and taken at the clock's pace, so an
// underrun means the sound thread fell behind. The media are made once with the ffmpeg CLI.
//
//   vimbo_bench_preview [--seeks N] [--edits N] [--skip-playback]

#include "bench/Tools.h"
#include "media/MediaProbe.h"
#include "preview/Preview.h"
#include "preview/RebuildTrigger.h"
#include "preview/view/PictureView.h"
#include "preview/view/PlayerView.h"
#include "timeline/VideoRenderer.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace vimbo {
namespace {

QString folder() {
    return QStringLiteral(VIMBO_BENCH_MEDIA);
}

// Makes `name` with ffmpeg unless it is already there.
QString source(const QString& name, const QStringList& arguments) {
    const QString path = folder() + "/" + name;
    if (!QFileInfo::exists(path)) {
        std::printf("making %s…\n", qPrintable(name));
        std::fflush(stdout);
        const QString partial = folder() + "/partial-" + name;
        if (!bench::succeeded("ffmpeg", QStringList{"-v", "error", "-nostdin", "-y"} + arguments +
                                            QStringList{partial}) ||
            !QFile::rename(partial, path)) {
            std::fprintf(stderr, "could not make %s\n", qPrintable(name));
            std::exit(1);
        }
    }
    return path;
}

// testsrc2 with a tone; H.264 with a key frame every 2 s, or HEVC.
QString movie(const QString& name, const QString& size, int rate, int seconds, bool hevc) {
    const QString length = QString::number(seconds);
    QStringList args{
        "-f",       "lavfi",
        "-i",       QString("testsrc2=size=%1:rate=%2:duration=%3").arg(size).arg(rate).arg(length),
        "-f",       "lavfi",
        "-i",       "sine=frequency=440:sample_rate=48000:duration=" + length,
        "-pix_fmt", "yuv420p",
        "-g",       QString::number(2 * rate),
        "-c:a",     "aac"};
    if (hevc)
        args << "-c:v"
             << "libx265"
             << "-preset"
             << "ultrafast"
             << "-tag:v"
             << "hvc1"
             << "-x265-params"
             << "log-level=error";
    else
        args << "-c:v"
             << "libx264"
             << "-preset"
             << "fast"
             << "-crf"
             << "20";
    return source(name, args);
}

Segment probed(const QString& path, double speed = 1, double photoSeconds = 3) {
    const QUrl url = QUrl::fromLocalFile(path);
    Segment s{url, MediaProbe::probe(url), {}};
    s.edits.speed = speed;
    s.edits.photoDuration = photoSeconds;
    return s;
}

void pump(int ms) {
    QDeadlineTimer deadline(ms);
    while (!deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

template <typename F>
bool waitFor(F done, int ms = 60000) {
    QDeadlineTimer deadline(ms);
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    return done();
}

double percentile(std::vector<double> values, double p) {
    std::sort(values.begin(), values.end());
    if (values.empty())
        return 0;
    const auto i = static_cast<std::size_t>(p * static_cast<double>(values.size() - 1) + 0.5);
    return values[std::min(i, values.size() - 1)];
}

struct Media {
    QString wide30, wide60, phone, uhd, photo, landscape;
};

Media makeMedia() {
    QDir().mkpath(folder());
    Media m;
    m.wide30 = movie("preview-1080p30-h264.mp4", "1920x1080", 30, 10, false);
    m.wide60 = movie("preview-1080p60-h264.mp4", "1920x1080", 60, 10, false);
    const QString plain = movie("preview-portrait-plain.mp4", "1920x1080", 30, 10, false);
    // A phone's display matrix: stored landscape, shown a quarter turn clockwise.
    m.phone = source("preview-portrait.mp4",
                     {"-i", plain, "-c", "copy", "-metadata:s:v:0", "rotate=270"});
    m.uhd = movie("preview-2160p30-hevc.mp4", "3840x2160", 30, 10, true);
    m.photo = source("photo-4000x3000.jpg", {"-f", "lavfi", "-i", "testsrc2=size=4000x3000",
                                             "-frames:v", "1", "-q:v", "3"});
    m.landscape = source("photo-3000x2000.jpg", {"-f", "lavfi", "-i", "smptehdbars=size=3000x2000",
                                                 "-frames:v", "1", "-q:v", "3"});
    return m;
}

// 5 s at 0.5× (10 s), 10 s at 2× (5 s), 8 s of 4K, photos of 3 and 4 s: 30 s.
std::vector<Segment> mixed(const Media& m, const QString& wide) {
    Segment uhd = probed(m.uhd);
    uhd.edits.trimEnd = 2;
    Segment slow = probed(wide, 0.5);
    slow.edits.trimEnd = 5;
    return {slow, probed(m.phone, 2), uhd, probed(m.photo, 1, 3), probed(m.landscape, 1, 4)};
}

void playback(const Media& m) {
    std::printf("\nplayback of a 30 s mixed timeline, view 960×540 (offscreen), real time\n");
    std::printf("%-6s %7s %7s %7s %8s %9s %6s %s\n", "output", "frames", "shown", "dropped",
                "dropped%", "underruns", "wall s", "sound");
    for (const QString& wide : {m.wide30, m.wide60}) {
        Player player;
        PlayerView view(player);
        view.resize(960, 540 + 40);
        view.show();
        auto timeline = std::make_shared<const Timeline>(
            Timeline::build(mixed(m, wide), {FrameShape::auto_, FillMode::fit}, 1280, false));
        const MediaTime frame = timeline->videoComposition()->frameDuration;
        const auto frames = static_cast<std::int64_t>(
            std::ceil(timeline->duration().seconds() / frame.seconds() - 1e-9));
        player.replaceCurrentItem(timeline);
        waitFor([&] { return !player.isSeeking(); });
        std::vector<bool> seen(static_cast<std::size_t>(frames), false);
        QObject::connect(&player, &Player::pictureChanged, [&] {
            if (player.pictureIndex() >= 0 && player.pictureIndex() < frames)
                seen[static_cast<std::size_t>(player.pictureIndex())] = true;
        });
        const Player::Statistics before = player.statistics();
        QElapsedTimer wall;
        wall.start();
        player.play();
        waitFor([&] { return player.rate() == 0; }, 120000);
        const Player::Statistics after = player.statistics();
        // The first frame was on screen before play.
        const std::int64_t shown = after.shown - before.shown + 1;
        const std::int64_t dropped = frames - shown;
        std::printf("%3.0f fps %7lld %7lld %7lld %7.2f%% %9lld %6.1f %s\n", 1 / frame.seconds(),
                    static_cast<long long>(frames), static_cast<long long>(shown),
                    static_cast<long long>(dropped), 100.0 * double(dropped) / double(frames),
                    static_cast<long long>(after.underruns - before.underruns),
                    wall.elapsed() / 1000.0,
                    player.hasSoundDevice() ? "device" : "no device (taken at the clock's pace)");
        // Where the drops fell: frames dropped / frames, clip by clip.
        std::vector<double> starts = timeline->starts();
        starts.push_back(timeline->duration().seconds());
        const char* names[] = {"1080p 0.5x", "phone 2x", "4K HEVC", "photo", "photo"};
        std::printf("        by clip:");
        for (std::size_t c = 0; c + 1 < starts.size(); ++c) {
            std::int64_t missing = 0, all = 0;
            for (std::int64_t n = 0; n < frames; ++n) {
                const double t = double(n) * frame.seconds();
                if (t >= starts[c] - 1e-9 && t < starts[c + 1] - 1e-9) {
                    ++all;
                    missing += !seen[static_cast<std::size_t>(n)];
                }
            }
            std::printf(" %s %lld/%lld", names[std::min<std::size_t>(c, 4)],
                        static_cast<long long>(missing), static_cast<long long>(all));
        }
        std::printf("\n");
        std::fflush(stdout);
    }
}

// Wall milliseconds of `ffmpeg -ss t -i file -frames:v 1 -f null -`.
double ffmpegSeek(const QString& file, double t) {
    QElapsedTimer clock;
    clock.start();
    bench::succeeded("ffmpeg", {"-v", "error", "-nostdin", "-ss", QString::number(t, 'f', 3), "-i",
                                file, "-frames:v", "1", "-an", "-f", "null", "-"});
    return clock.nsecsElapsed() / 1e6;
}

void seeks(const Media& m, int count) {
    std::printf("\nexact seeks to random times, ms from seek() to its frame (ffmpeg: -ss before "
                "-i, process start included)\n");
    std::printf("%-22s %6s %8s %8s %8s %9s %9s %7s %9s\n", "source", "seeks", "median", "p95",
                "max", "ff median", "ff p95", "ratio", "renderer");
    std::mt19937 random(42);
    const std::pair<const char*, QString> sources[] = {{"1080p H.264, 2 s GOP", m.wide30},
                                                       {"4K HEVC", m.uhd}};
    for (const auto& [name, file] : sources) {
        Player player;
        PlayerView view(player);
        view.resize(960, 580);
        view.show();
        auto timeline = std::make_shared<const Timeline>(
            Timeline::build({probed(file)}, {FrameShape::auto_, FillMode::fit}, 1280, false));
        player.replaceCurrentItem(timeline);
        waitFor([&] { return !player.isSeeking(); });
        std::uniform_real_distribution<double> at(0, timeline->duration().seconds() - 0.1);
        std::vector<double> ours, theirs;
        for (int i = 0; i < count; ++i) {
            const double t = at(random);
            QElapsedTimer clock;
            clock.start();
            player.seek(MediaTime::fromSeconds(t));
            waitFor([&] { return !player.isSeeking(); });
            ours.push_back(clock.nsecsElapsed() / 1e6);
            pump(20);
            if (i < 12)
                theirs.push_back(ffmpegSeek(file, t));
        }
        // The preview's renderer alone, seeks to random times too: what the player adds is
        // the difference.
        std::vector<double> bare;
        VideoRenderer renderer(timeline, nullptr, FramePainter::Scaling::fast);
        renderer.render(0);
        std::mt19937 again(7);
        for (int i = 0; i < count; ++i) {
            QElapsedTimer clock;
            clock.start();
            renderer.render(renderer.frameAt(MediaTime::fromSeconds(at(again))));
            bare.push_back(clock.nsecsElapsed() / 1e6);
        }
        const double median = percentile(ours, 0.5), ffMedian = percentile(theirs, 0.5);
        std::printf("%-22s %6d %8.1f %8.1f %8.1f %9.1f %9.1f %7.2f %9.1f\n", name, count, median,
                    percentile(ours, 0.95), percentile(ours, 1), ffMedian, percentile(theirs, 0.95),
                    ffMedian / median, percentile(bare, 0.5));
        std::fflush(stdout);
    }
}

void edits(const Media& m, int count) {
    std::printf("\nfrom an edit of a 20-clip project to the new item's first frame on screen "
                "(paused mid-movie, view 960×540)\n");
    Preview::Key key;
    for (int i = 0; i < 20; ++i) {
        key.ids.push_back(QUuid::createUuid());
        Segment s = i % 2 ? probed(m.photo, 1, 2) : probed(m.wide30);
        if (i % 2 == 0)
            s.edits.trimEnd = 7; // 3 s of each video
        key.segments.push_back(s);
    }
    Preview preview;
    PlayerView view(preview.player());
    view.resize(960, 580);
    view.show();
    RebuildTrigger trigger(preview, [&] { return key; });
    bool replaced = false;
    QObject::connect(&preview, &Preview::itemReplaced, [&] { replaced = true; });
    trigger.keyMayHaveChanged();
    waitFor([&] { return replaced && !preview.player().isSeeking(); });
    preview.player().seek(MediaTime::fromSeconds(31));
    waitFor([&] { return !preview.player().isSeeking(); });

    std::vector<double> total, built, landed, later, earlier;
    for (int i = 0; i < 5; ++i) {
        QElapsedTimer clock;
        clock.start();
        Timeline::build(key.segments, key.layout, Preview::maxLongEdge, false);
        built.push_back(clock.nsecsElapsed() / 1e6);
    }
    for (int i = 0; i < count; ++i) {
        // A trim of a later clip (as when the person trims ahead) or of an earlier one, which
        // moves the picture at the position by half a second.
        key.segments[i % 2 ? 16 : 10].edits.trimStart = (i / 2) % 2 ? 0 : 0.5;
        replaced = false;
        bool onScreen = false;
        const QMetaObject::Connection drawn =
            QObject::connect(&view.picture(), &PictureView::imageChanged,
                             [&] { onScreen = replaced && !preview.player().isSeeking(); });
        QElapsedTimer clock;
        clock.start();
        trigger.keyMayHaveChanged();
        waitFor([&] { return replaced; });
        landed.push_back(clock.nsecsElapsed() / 1e6);
        waitFor([&] { return onScreen; });
        total.push_back(clock.nsecsElapsed() / 1e6);
        (i % 2 ? later : earlier).push_back(total.back());
        QObject::disconnect(drawn);
        pump(100);
    }
    const double debounce = RebuildTrigger::debounceMilliseconds;
    std::printf("%6s %10s %10s %10s   (debounce %.0f ms included; beyond it: median %.1f ms, "
                "max %.1f ms)\n",
                "edits", "median ms", "p95 ms", "max ms", debounce,
                percentile(total, 0.5) - debounce, percentile(total, 1) - debounce);
    std::printf("%6d %10.1f %10.1f %10.1f\n", count, percentile(total, 0.5),
                percentile(total, 0.95), percentile(total, 1));
    std::printf("of which: the build alone %.1f ms (median of 5), item swapped in at %.1f ms "
                "(median), its frame on screen %.1f ms later (median)\n",
                percentile(built, 0.5), percentile(landed, 0.5),
                percentile(total, 0.5) - percentile(landed, 0.5));
    std::printf("median by edit: a later clip %.1f ms, an earlier clip %.1f ms\n",
                percentile(later, 0.5), percentile(earlier, 0.5));
    std::fflush(stdout);
}

} // namespace
} // namespace vimbo

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    int seeks = 40, edits = 10;
    bool skipPlayback = false;
    for (int i = 1; i < argc; ++i) {
        const QString arg(argv[i]);
        if (arg == "--seeks" && i + 1 < argc)
            seeks = std::atoi(argv[++i]);
        if (arg == "--edits" && i + 1 < argc)
            edits = std::atoi(argv[++i]);
        skipPlayback |= arg == "--skip-playback";
    }
    const vimbo::Media media = vimbo::makeMedia();
    if (!skipPlayback)
        vimbo::playback(media);
    vimbo::seeks(media, seeks);
    vimbo::edits(media, edits);
    return 0;
}
