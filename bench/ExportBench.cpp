// Export side by side with the ffmpeg command line doing the same job, in one run:
//   1. joining six 1080p H.264 clips by copying, against `ffmpeg -f concat -c copy` (plain, and
//      with +faststart, which every export of ours does) and against `cat` of the same bytes;
//   2. "Original" re-encoding of a project that cannot be copied (a portrait clip among
//      landscape ones), against ffmpeg with the same x264 settings and the equivalent filter
//      graph (scale, pad, 30 fps, 48 kHz stereo, concat);
//   3. "Smaller File" the same way with the same x265 settings;
//   4. peak memory (max RSS) of `vimbo merge` as the project grows from 1 to 60 minutes.
// Every job is a separate process, timed on the wall clock (best of --runs, warm page cache).
// The media are made once with the ffmpeg CLI into the build folder.
//
//   vimbo_bench_export [--seconds N] [--runs R] [--skip-memory]

#include "bench/Tools.h"
#include "export/EncoderSettings.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

extern char** environ;

namespace vimbo {
namespace {

QString folder() {
    return QStringLiteral(VIMBO_BENCH_MEDIA);
}

// Runs a program to its end; wall seconds, or a negative number when it failed. The child's
// own peak resident memory (KiB) goes to *peakKiB.
double runTimed(const QString& program, const QStringList& arguments, long* peakKiB = nullptr) {
    std::vector<QByteArray> storage{program.toUtf8()};
    for (const QString& a : arguments)
        storage.push_back(a.toUtf8());
    std::vector<char*> argv;
    for (QByteArray& s : storage)
        argv.push_back(s.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    QElapsedTimer timer;
    timer.start();
    pid_t pid = 0;
    const int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        return -1;
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    if (peakKiB)
        *peakKiB = usage.ru_maxrss;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? seconds : -1;
}

double best(int runs, const QString& program, const QStringList& arguments) {
    double fastest = -1;
    for (int i = 0; i < runs; ++i) {
        const double t = runTimed(program, arguments);
        if (t < 0) {
            std::fprintf(stderr, "failed: %s %s\n", qPrintable(program),
                         qPrintable(arguments.join(' ')));
            std::exit(1);
        }
        fastest = fastest < 0 ? t : std::min(fastest, t);
    }
    return fastest;
}

QString source(const QString& name, const QStringList& arguments) {
    const QString path = folder() + "/" + name;
    if (QFileInfo::exists(path))
        return path;
    std::printf("making %s…\n", qPrintable(name));
    std::fflush(stdout);
    const QString partial = folder() + "/partial-" + name;
    if (runTimed("ffmpeg", QStringList{"-v", "error", "-nostdin", "-y"} + arguments +
                               QStringList{partial}) < 0 ||
        !QFile::rename(partial, path)) {
        std::fprintf(stderr, "could not make %s\n", qPrintable(name));
        std::exit(1);
    }
    return path;
}

// A phone-like clip: H.264 High with B-frames, key frames every 2 s, AAC 48 kHz stereo.
QString clip(const QString& size, int seconds, int variant) {
    const QString length = QString::number(seconds);
    return source(QStringLiteral("export-%1-%2s-%3.mp4").arg(size).arg(seconds).arg(variant),
                  {"-f",
                   "lavfi",
                   "-i",
                   QStringLiteral("testsrc2=size=%1:rate=30:duration=%2").arg(size, length),
                   "-f",
                   "lavfi",
                   "-i",
                   QStringLiteral("sine=frequency=%1:sample_rate=48000:duration=%2")
                       .arg(300 + 100 * variant)
                       .arg(length),
                   "-c:v",
                   "libx264",
                   "-preset",
                   "veryfast",
                   "-crf",
                   "20",
                   "-g",
                   "60",
                   "-pix_fmt",
                   "yuv420p",
                   "-c:a",
                   "aac",
                   "-ac",
                   "2",
                   "-b:a",
                   "128k"});
}

void row(const char* what, double ours, double theirs, const char* them) {
    std::printf("%-34s vimbo %7.2f s   %-22s %7.2f s   ratio %.2f\n", what, ours, them, theirs,
                ours / theirs);
    std::fflush(stdout);
}

void streamCopy(const QString& vimbo, int seconds, int runs) {
    QStringList clips;
    for (int i = 0; i < 6; ++i)
        clips << clip("1920x1080", seconds, i % 3);
    const QString list = bench::concatList(clips, folder() + "/concat.txt");
    const QString out = folder() + "/out-copy.mp4";
    const double ours = best(runs, vimbo, QStringList{"merge"} + clips + QStringList{"-o", out});
    const QStringList concat{"-v",    "error", "-nostdin", "-y", "-f", "concat",
                             "-safe", "0",     "-i",       list, "-c", "copy"};
    const double plain = best(runs, "ffmpeg", concat + QStringList{out});
    const double fast = best(runs, "ffmpeg", concat + QStringList{"-movflags", "+faststart", out});
    const double cat = best(runs, "sh", QStringList{"-c", "cat \"$@\" > " + out, "sh"} + clips);
    std::printf("\nstream copy, six %d s 1080p clips (%.0f MB)\n", seconds,
                static_cast<double>(QFileInfo(out).size()) / 1e6);
    row("join by copying", ours, plain, "ffmpeg concat copy");
    row("join by copying", ours, fast, "... with +faststart");
    row("join by copying", ours, cat, "cat (the limit)");
}

// The filter graph that does what our compositor does for these clips: fit in 1920 × 1080,
// centred on black, 30 fps, 48 kHz stereo, joined.
QStringList ffmpegReencode(const QStringList& clips, Preset preset, const QString& out) {
    QStringList args{"-v", "error", "-nostdin", "-y"};
    QString graph;
    for (int i = 0; i < clips.size(); ++i) {
        args << "-i" << clips[i];
        graph += QStringLiteral("[%1:v]scale=1920:1080:force_original_aspect_ratio=decrease,"
                                "pad=1920:1080:(ow-iw)/2:(oh-ih)/2,setsar=1,fps=30,"
                                "format=yuv420p[v%1];[%1:a]aresample=48000,"
                                "aformat=channel_layouts=stereo[a%1];")
                     .arg(i);
    }
    for (int i = 0; i < clips.size(); ++i)
        graph += QStringLiteral("[v%1][a%1]").arg(i);
    graph += QStringLiteral("concat=n=%1:v=1:a=1[v][a]").arg(clips.size());
    const VideoEncoderSettings v = videoSettings(preset);
    const AudioEncoderSettings a = audioSettings(preset);
    args << "-filter_complex" << graph << "-map"
         << "[v]"
         << "-map"
         << "[a]"
         << "-c:v" << v.encoder << "-preset" << v.speedPreset << "-crf" << QString::number(v.crf);
    if (v.maxRate)
        args << "-maxrate" << QString::number(*v.maxRate) << "-bufsize"
             << QString::number(2 * *v.maxRate);
    if (v.codecTag)
        args << "-tag:v" << v.codecTag;
    for (const auto& [key, value] : v.options)
        args << QStringLiteral("-") + key << value;
    args << "-color_primaries"
         << "bt709"
         << "-color_trc"
         << "bt709"
         << "-colorspace"
         << "bt709"
         << "-c:a" << a.encoder << "-b:a" << QString::number(a.bitRate) << "-movflags"
         << "+faststart" << out;
    return args;
}

void reencode(const QString& vimbo, int seconds, int runs) {
    const QStringList clips{clip("1920x1080", seconds, 0), clip("1080x1920", seconds, 1),
                            clip("1920x1080", seconds, 2)};
    const QString out = folder() + "/out-encode.mp4";
    struct Job {
        const char* what;
        const char* quality;
        Preset preset;
    };
    std::printf("\nre-encode, three %d s clips (one portrait) into 1920 x 1080\n", seconds);
    for (const Job& job : {Job{"\"Original\" (x264)", "original", Preset::highestQuality},
                           Job{"\"Smaller File\" (x265)", "smaller", Preset::hevc1920x1080}}) {
        const double ours =
            best(runs, vimbo,
                 QStringList{"merge", "--quality", job.quality} + clips + QStringList{"-o", out});
        const double theirs = best(runs, "ffmpeg", ffmpegReencode(clips, job.preset, out));
        row(job.what, ours, theirs, "ffmpeg, same settings");
    }
}

void memory(const QString& vimbo) {
    std::printf("\npeak memory of vimbo merge as the project grows (1-minute clips)\n");
    const QString one = clip("640x360", 60, 0);
    const QString out = folder() + "/out-memory.mp4";
    for (const char* quality : {"original", "high"})
        for (int minutes : {1, 10, 60}) {
            if (QByteArray(quality) == "high" && minutes > 10)
                continue; // an hour of encoding adds nothing the first ten minutes don't show
            QStringList args{"merge", "--quality", quality};
            for (int i = 0; i < minutes; ++i)
                args << one;
            long peak = 0;
            const double t = runTimed(vimbo, args + QStringList{"-o", out}, &peak);
            std::printf("%-9s %3d min   %7.1f MB max RSS   %6.1f s\n", quality, minutes,
                        static_cast<double>(peak) / 1024, t);
            std::fflush(stdout);
        }
}

} // namespace
} // namespace vimbo

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    int seconds = 10;
    int runs = 3;
    bool withMemory = true;
    const QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == "--seconds" && i + 1 < args.size())
            seconds = args[++i].toInt();
        else if (args[i] == "--runs" && i + 1 < args.size())
            runs = args[++i].toInt();
        else if (args[i] == "--skip-memory")
            withMemory = false;
    }
    QDir().mkpath(vimbo::folder());
    const QString vimbo = QStringLiteral(VIMBO_BINARY);
    vimbo::streamCopy(vimbo, seconds, runs);
    vimbo::reencode(vimbo, seconds, std::max(1, runs - 2));
    if (withMemory)
        vimbo::memory(vimbo);
    return 0;
}
