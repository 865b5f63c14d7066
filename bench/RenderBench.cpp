// The renderer side by side with the ffmpeg command line doing the same job: a mixed timeline
// (a 1080p landscape clip at half speed, a portrait phone clip at double speed, a 4K clip, a
// 12-megapixel photo) decoded, turned upright, scaled, padded and joined into raw frames at
// full size and at the preview's 1280, thrown away. Prints wall times, the ratio, and how many
// times faster than real time each run is. The sources are made once with the ffmpeg CLI.
//
//   vimbo_bench_render [--seconds N] [--preview-only] [--ours-only]
//   (N seconds per video clip, 10 by default)

#include "timeline/AudioRenderer.h"
#include "timeline/Placement.h"
#include "timeline/VideoRenderer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace vimbo {
namespace {

QString folder() {
    return QStringLiteral(VIMBO_BENCH_MEDIA);
}

bool ffmpeg(const QStringList& arguments) {
    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    p.start("ffmpeg", QStringList{"-v", "error", "-nostdin", "-y"} + arguments);
    return p.waitForFinished(-1) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

// Makes `name` with ffmpeg unless it is already there.
QString source(const QString& name, const QStringList& arguments) {
    const QString path = folder() + "/" + name;
    if (!QFileInfo::exists(path)) {
        std::printf("making %s…\n", qPrintable(name));
        std::fflush(stdout);
        const QString partial = folder() + "/partial-" + name;
        if (!ffmpeg(arguments + QStringList{partial}) || !QFile::rename(partial, path)) {
            std::fprintf(stderr, "could not make %s\n", qPrintable(name));
            std::exit(1);
        }
    }
    return path;
}

QStringList movie(const QString& size, int seconds) {
    const QString length = QString::number(seconds);
    return {
        "-f",   "lavfi",   "-i",       "testsrc2=size=" + size + ":rate=30:duration=" + length,
        "-f",   "lavfi",   "-i",       "sine=frequency=440:sample_rate=48000:duration=" + length,
        "-c:v", "libx264", "-preset",  "fast",
        "-crf", "20",      "-pix_fmt", "yuv420p",
        "-c:a", "aac",     "-b:a",     "128k"};
}

Segment segment(const QString& path, Size size, double duration, double speed) {
    MediaInfo info(size.width > 0 && duration == 0 ? MediaKind::photo : MediaKind::video);
    info.size = size;
    info.naturalSize = size;
    info.duration = duration;
    info.frameRate = 30;
    info.hasAudio = duration > 0;
    ClipEdits edits;
    edits.speed = speed;
    return {QUrl::fromLocalFile(path), info, edits};
}

const char* flags(Size picture, Size render) {
    switch (place(picture, render, FillMode::fit).resampling) {
    case Resampling::lanczos:
        return "lanczos";
    case Resampling::linear:
        return "bilinear";
    case Resampling::none:
        break;
    }
    return "neighbor";
}

struct Clip {
    Segment segment;
    Size upright;
};

// The same job on the ffmpeg command line: every clip upright (ffmpeg turns phone video by
// itself), scaled to fit with the same resampling, padded, retimed, at 30 fps, concatenated.
QStringList ffmpegJob(const std::vector<Clip>& clips, Size render) {
    QStringList args{"-v", "error", "-nostdin"};
    QString graph;
    const QString w = QString::number(render.width), h = QString::number(render.height);
    for (std::size_t i = 0; i < clips.size(); ++i) {
        const Segment& s = clips[i].segment;
        const bool photo = s.info.kind == MediaKind::photo;
        if (photo)
            args << "-loop"
                 << "1"
                 << "-framerate"
                 << "1"
                 << "-t" << QString::number(s.edits.photoDuration);
        args << "-i" << s.url.toLocalFile();
        graph += QString("[%1:v]scale=%2:%3:force_original_aspect_ratio=decrease:flags=%4,"
                         "pad=%2:%3:(ow-iw)/2:(oh-ih)/2,setsar=1,format=yuv420p,"
                         "setpts=%5*(PTS-STARTPTS),fps=30[v%1];")
                     .arg(i)
                     .arg(w, h, flags(clips[i].upright, render))
                     .arg(photo ? 1.0 : 1.0 / s.edits.speed);
    }
    for (std::size_t i = 0; i < clips.size(); ++i)
        graph += QString("[v%1]").arg(i);
    graph += QString("concat=n=%1:v=1:a=0[out]").arg(clips.size());
    return args << "-filter_complex" << graph << "-map"
                << "[out]"
                << "-f"
                << "null"
                << "-";
}

// Processor seconds (user and system, every thread) used so far by us or by our children.
double cpuSeconds(int who) {
    rusage usage{};
    getrusage(who, &usage);
    auto seconds = [](const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

struct Timing {
    double wall = 0;
    double cpu = 0;
};

Timing ourVideo(const std::shared_ptr<const Timeline>& timeline, std::int64_t* frames) {
    QElapsedTimer clock;
    clock.start();
    const double cpu = cpuSeconds(RUSAGE_SELF);
    VideoRenderer renderer(timeline);
    for (std::int64_t n = 0; n < renderer.frameCount(); ++n)
        if (!renderer.render(n))
            std::abort();
    *frames = renderer.frameCount();
    return {clock.elapsed() / 1000.0, cpuSeconds(RUSAGE_SELF) - cpu};
}

double ourAudio(const std::shared_ptr<const Timeline>& timeline) {
    QElapsedTimer clock;
    clock.start();
    AudioRenderer renderer(timeline);
    while (renderer.read(1024)) {
    }
    return clock.elapsed() / 1000.0;
}

Timing theirs(const QStringList& job) {
    QElapsedTimer clock;
    clock.start();
    const double cpu = cpuSeconds(RUSAGE_CHILDREN);
    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedChannels);
    p.start("ffmpeg", job);
    if (!p.waitForFinished(-1) || p.exitCode() != 0)
        std::fprintf(stderr, "ffmpeg failed: ffmpeg %s\n", qPrintable(job.join(' ')));
    return {clock.elapsed() / 1000.0, cpuSeconds(RUSAGE_CHILDREN) - cpu};
}

struct Options {
    int seconds = 10;
    bool previewOnly = false;
    bool oursOnly = false;
};

int run(const Options& options) {
    const int seconds = options.seconds;
    QDir().mkpath(folder());
    const QString n = QString::number(seconds);
    const QString wide = source("wide-1080p-" + n + "s.mp4", movie("1920x1080", seconds));
    const QString plain = source("portrait-plain-" + n + "s.mp4", movie("1920x1080", seconds));
    // A phone's display matrix: stored landscape, shown a quarter turn clockwise.
    const QString phone = source("portrait-" + n + "s.mp4",
                                 {"-i", plain, "-c", "copy", "-metadata:s:v:0", "rotate=270"});
    const QString uhd = source("uhd-" + n + "s.mp4", movie("3840x2160", seconds));
    const QString photo =
        source("photo-4000x3000.jpg",
               {"-f", "lavfi", "-i", "testsrc2=size=4000x3000", "-frames:v", "1", "-q:v", "3"});
    const double d = seconds;
    Segment still = segment(photo, {4000, 3000}, 0, 1);
    still.edits.photoDuration = 3;
    const std::vector<Clip> clips{
        {segment(wide, {1920, 1080}, d, 0.5), {1920, 1080}},
        {segment(phone, {1080, 1920}, d, 2), {1080, 1920}},
        {segment(uhd, {3840, 2160}, d, 1), {3840, 2160}},
        {still, {4000, 3000}},
    };
    std::vector<Segment> segments;
    for (const Clip& c : clips)
        segments.push_back(c.segment);

    std::printf("\nwall and processor seconds (all threads); ratio = ffmpeg / ours; x rt = "
                "timeline length / our wall time\n");
    std::printf("%-10s %6s %6s %8s %8s %8s %8s %6s %6s %6s %8s %7s\n", "size", "build", "frames",
                "ours", "ours cpu", "ffmpeg", "ff cpu", "ratio", "cpu r", "x rt", "audio", "aud x");
    std::vector<std::optional<double>> edges{std::nullopt, 1280};
    if (options.previewOnly)
        edges.erase(edges.begin());
    for (std::optional<double> edge : edges) {
        QElapsedTimer building;
        building.start();
        const auto timeline = std::make_shared<const Timeline>(
            Timeline::build(segments, {FrameShape::auto_, FillMode::fit}, edge, false));
        const double built = building.elapsed() / 1000.0;
        const Size size = timeline->renderSize();
        std::int64_t frames = 0;
        const Timing ours = ourVideo(timeline, &frames);
        const Timing ff = options.oursOnly ? Timing{} : theirs(ffmpegJob(clips, size));
        const double audio = ourAudio(timeline);
        const double length = timeline->duration().seconds();
        std::printf(
            "%4.0fx%-5.0f %6.3f %6lld %8.2f %8.2f %8.2f %8.2f %6.2f %6.2f %6.2f %8.2f %7.0f\n",
            size.width, size.height, built, static_cast<long long>(frames), ours.wall, ours.cpu,
            ff.wall, ff.cpu, ff.wall / ours.wall, ff.cpu / ours.cpu, length / ours.wall, audio,
            length / audio);
        std::fflush(stdout);
    }
    std::printf("\ntimeline: %s s of 1080p at 0.5×, %s s of portrait 1080p at 2×, %s s of 4K, "
                "a 4000×3000 photo for 3 s\n",
                qPrintable(n), qPrintable(n), qPrintable(n));
    return 0;
}

} // namespace
} // namespace vimbo

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    vimbo::Options options;
    for (int i = 1; i < argc; ++i) {
        const QString arg(argv[i]);
        if (arg == "--seconds" && i + 1 < argc)
            options.seconds = std::atoi(argv[++i]);
        options.previewOnly |= arg == "--preview-only";
        options.oursOnly |= arg == "--ours-only";
    }
    return vimbo::run(options);
}
