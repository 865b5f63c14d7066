// Exporting trimmed clips at "Original" by copying whole groups of pictures and re-encoding
// only the frames around each trim, beside the ffmpeg command line and beside the full
// re-encode the same project took before. Three sets of six 1080p clips, each trimmed at both
// ends off key frames (2 s groups): H.264 as ffmpeg stores it, H.264 as phones store it (1/600
// time base, first frame not at zero, no edit list) and HEVC as phones store it.
//
// For each set it prints the path the export takes, then:
//   - exactness: frames in the movie against frames the trims ask for, copied packets that are
//     bit-identical to their source packets, the lowest SSIM of a re-encoded frame against its
//     source frame (ffmpeg's ssim filter), and what `ffmpeg -v error` says while decoding;
//   - speed: the export (in process, best of --runs) against a plain copy join
//     (`ffmpeg -f concat -c copy` of the untrimmed clips) plus ffmpeg encoding as many 1080p
//     frames with the same x264 settings, and against the full re-encode (our own, once).
//
//   vimbo_bench_smartcut [--seconds N] [--runs R]

#include "bench/Tools.h"
#include "export/CopyVerdict.h"
#include "export/EncoderSettings.h"
#include "export/Exporter.h"
#include "export/Reencoder.h"
#include "media/MediaProbe.h"
#include "media/ff/Log.h"
#include "media/ff/Ptr.h"
#include "timeline/Timeline.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>
#include <QThread>

#include <cstdio>
#include <cstdlib>

namespace vimbo {
namespace {

QString folder() {
    return QStringLiteral(VIMBO_BENCH_MEDIA);
}

QString run(const QString& program, const QStringList& arguments, double* seconds = nullptr) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QElapsedTimer timer;
    timer.start();
    process.start(program, arguments);
    process.waitForFinished(-1);
    if (seconds)
        *seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        std::fprintf(stderr, "failed: %s %s\n%s\n", qPrintable(program),
                     qPrintable(arguments.join(' ')), process.readAll().constData());
        std::exit(1);
    }
    return QString::fromUtf8(process.readAll());
}

enum class Kind { h264, phoneH264, phoneHevc };

QString clip(Kind kind, int seconds, int variant) {
    static const char* names[] = {"h264", "phone-h264", "phone-hevc"};
    const QString name = QStringLiteral("smartcut-%1-%2s-%3.%4")
                             .arg(names[static_cast<int>(kind)])
                             .arg(seconds)
                             .arg(variant)
                             .arg(kind == Kind::h264 ? "mp4" : "mov");
    const QString path = folder() + "/" + name;
    if (QFileInfo::exists(path))
        return path;
    std::printf("making %s…\n", qPrintable(name));
    std::fflush(stdout);
    const QStringList quiet{"-v", "error", "-nostdin", "-y"};
    const QStringList picture{
        "-f", "lavfi", "-i",
        QStringLiteral("testsrc2=size=1920x1080:rate=30:duration=%1").arg(seconds)};
    const QStringList sound{"-f", "lavfi", "-i",
                            QStringLiteral("sine=frequency=%1:sample_rate=48000:duration=%2")
                                .arg(300 + 100 * variant)
                                .arg(seconds)};
    QStringList video{"-pix_fmt", "yuv420p", "-g", "60", "-bf", "2"};
    if (kind == Kind::phoneHevc)
        video << "-c:v"
              << "libx265"
              << "-preset"
              << "veryfast"
              << "-x265-params"
              << "log-level=none:keyint=60:min-keyint=60:open-gop=0"
              << "-tag:v"
              << "hvc1";
    else
        video << "-c:v"
              << "libx264"
              << "-preset"
              << "veryfast"
              << "-crf"
              << "20";
    const QStringList aac{"-c:a", "aac", "-ac", "2"};
    const QString partial = folder() + "/partial-" + name;
    if (kind == Kind::h264) {
        run("ffmpeg", quiet + picture + sound + video + aac + QStringList{partial});
    } else {
        // As a phone stores it: the picture's first frame (behind two B-frames) not at zero, the
        // sound from zero, no edit list. Made apart and joined with their own timestamps, since
        // the muxer would otherwise move the sound's start to the first frame's.
        const QStringList mov{"-video_track_timescale", "600", "-use_editlist", "0"};
        const QString picturePart = folder() + "/partial-video-" + name;
        const QString soundPart = folder() + "/partial-sound-" + name + ".aac";
        run("ffmpeg", quiet + picture + video + mov + QStringList{picturePart});
        run("ffmpeg", quiet + sound + aac + QStringList{"-f", "adts", soundPart});
        QStringList join =
            quiet + QStringList{"-copyts", "-i",   picturePart, "-i", soundPart, "-map",
                                "0:v",     "-map", "1:a",       "-c", "copy"};
        if (kind == Kind::phoneH264) // x264's frames lose their length on the way through MP4
            join << "-bsf:v"
                 << "setts=pts=PTS:dts=DTS:duration=20";
        run("ffmpeg", join + mov + QStringList{partial});
        QFile::remove(picturePart);
        QFile::remove(soundPart);
    }
    QFile::rename(partial, path);
    return path;
}

std::vector<Segment> trimmedSegments(const QStringList& files, double trimStart, double trimEnd) {
    std::vector<Segment> segments;
    for (const QString& f : files) {
        const QUrl url = QUrl::fromLocalFile(f);
        ClipEdits edits;
        edits.trimStart = trimStart;
        edits.trimEnd = trimEnd;
        segments.push_back({url, MediaProbe::probe(url), edits});
    }
    return segments;
}

double exportOnce(const std::vector<Segment>& segments, const QString& out) {
    Exporter exporter(segments, {}, ExportFormat::mp4, ExportQuality::original);
    QElapsedTimer timer;
    timer.start();
    exporter.export_(out, [](double) {});
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

// The full re-encode an export at "Original" makes when it cannot copy.
double fullReencode(const std::vector<Segment>& segments, const QString& out) {
    QElapsedTimer timer;
    timer.start();
    auto timeline =
        std::make_shared<const Timeline>(Timeline::build(segments, {}, std::nullopt, false));
    reencode(timeline, reencodingPreset(ExportQuality::original, segments), ExportFormat::mp4, out,
             std::make_shared<CancelFlag>(), [](double) {});
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

std::vector<QByteArray> videoPackets(const QString& path) {
    std::vector<QByteArray> packets;
    AVFormatContext* raw = nullptr;
    if (avformat_open_input(&raw, path.toUtf8().constData(), nullptr, nullptr) < 0)
        return packets;
    ff::InputPtr input(raw);
    avformat_find_stream_info(raw, nullptr);
    const int video = av_find_best_stream(raw, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    ff::PacketPtr p = ff::makePacket();
    while (av_read_frame(raw, p.get()) >= 0) {
        if (p->stream_index == video)
            packets.emplace_back(reinterpret_cast<const char*>(p->data), p->size);
        av_packet_unref(p.get());
    }
    return packets;
}

// The lowest per-frame SSIM of the movie's frames [from, to) (frame numbers) against the
// source's frames from `sourceFrom` on. Frame numbers, since a phone's first frame is not at 0.
double lowestSsim(const QString& movie, long from, long to, const QString& source,
                  long sourceFrom) {
    const QString stats = folder() + "/ssim.log";
    const QString graph =
        QStringLiteral("[0:v]trim=start_frame=%1:end_frame=%2,setpts=PTS-STARTPTS[a];"
                       "[1:v]trim=start_frame=%3,setpts=PTS-STARTPTS[b];"
                       "[a][b]ssim=shortest=1:stats_file=%4")
            .arg(from)
            .arg(to)
            .arg(sourceFrom)
            .arg(stats);
    run("ffmpeg", {"-v", "error", "-nostdin", "-i", movie, "-i", source, "-lavfi", graph,
                   "-shortest", "-f", "null", "-"});
    QFile file(stats);
    file.open(QIODevice::ReadOnly);
    double lowest = 1;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const auto at = line.indexOf("All:");
        if (at >= 0)
            lowest = std::min(lowest, line.mid(at + 4).split(' ').front().toDouble());
    }
    return lowest;
}

// Plays the movie in headless Chromium from a page served on localhost, in real time at 8×
// (frames the browser cannot show at that pace are dropped, never left undecoded at a seam):
// "reached the end (X s)" when the <video> element fired "ended", else the error it reported.
// The page tells the result by asking the server for /result?…, which the server's log shows.
QString browserPlays(const QString& movie) {
    if (QStandardPaths::findExecutable("chromium").isEmpty())
        return QStringLiteral("(no chromium)");
    const QString page = folder() + "/play.html";
    QFile html(page);
    html.open(QIODevice::WriteOnly);
    html.write(
        QStringLiteral("<body><video id=v muted playsinline src='%1'></video><script>"
                       "const v = document.getElementById('v');"
                       "const say = t => fetch('/result?' + encodeURIComponent(t));"
                       "v.onended = () => say('reached the end (' + v.duration.toFixed(2) + ' s)');"
                       "v.onerror = () => say('error ' + v.error.code + ' ' + v.error.message);"
                       "v.onloadedmetadata = () => { v.playbackRate = 8;"
                       " v.play().catch(e => say('error ' + e)); };"
                       "</script></body>")
            .arg(QFileInfo(movie).fileName())
            .toUtf8());
    html.close();
    QProcess server;
    server.setProcessChannelMode(QProcess::MergedChannels);
    server.start("python3",
                 {"-m", "http.server", "8765", "--bind", "127.0.0.1", "--directory", folder()});
    server.waitForStarted();
    QThread::msleep(500);
    const QString profile = folder() + "/chromium-profile";
    QDir(profile).removeRecursively();
    QProcess browser;
    browser.start("chromium", {"--headless", "--no-sandbox", "--disable-gpu", "--no-first-run",
                               "--disable-background-networking", "--disable-component-update",
                               "--disable-sync", "--user-data-dir=" + profile,
                               "--autoplay-policy=no-user-gesture-required",
                               "http://127.0.0.1:8765/play.html"});
    const double seconds = MediaProbe::probe(QUrl::fromLocalFile(movie)).duration;
    QElapsedTimer clock;
    clock.start();
    QString result = QStringLiteral("no result");
    QByteArray log;
    while (clock.elapsed() < 60'000 + static_cast<qint64>(seconds * 1000)) {
        server.waitForReadyRead(500);
        log += server.readAll();
        const auto at = log.indexOf("GET /result?");
        if (at >= 0) {
            const auto from = at + 12;
            result = QUrl::fromPercentEncoding(log.mid(from, log.indexOf(' ', from) - from));
            break;
        }
    }
    browser.kill();
    browser.waitForFinished();
    server.kill();
    server.waitForFinished();
    return result;
}

void measure(const char* title, Kind kind, int seconds, int runs) {
    QStringList files;
    for (int i = 0; i < 6; ++i)
        files << clip(kind, seconds, i % 3);
    // Both ends off key frames (every 2 s): 0.7 s re-encoded after the start, 0.4 s before the
    // end.
    const double trimStart = 1.3;
    const double trimEnd = 1.6;
    const std::vector<Segment> segments = trimmedSegments(files, trimStart, trimEnd);
    const CopyVerdict verdict = decideCopy(segments, {}, CancelFlag());
    std::printf("\n%s: six %d s 1080p clips, trimmed %.1f s and %.1f s\n  %s\n", title, seconds,
                trimStart, trimEnd, qPrintable(verdict.line()));
    const QString out = folder() + "/out-smartcut.mp4";
    double ours = 0;
    for (int i = 0; i < runs; ++i) {
        const double t = exportOnce(segments, out);
        ours = i == 0 ? t : std::min(ours, t);
    }
    double full = 0;
    if (verdict.cut) {
        // Exactness.
        QSet<QByteArray> sourcePackets;
        for (const QString& f : files)
            for (const QByteArray& p : videoPackets(f))
                sourcePackets.insert(p);
        const std::vector<QByteArray> written = videoPackets(out);
        int copied = 0;
        for (const QByteArray& p : written)
            copied += sourcePackets.contains(p) ? 1 : 0;
        const double frame = 1.0 / 30;
        const auto wanted =
            static_cast<long>(std::lround(6 * (seconds - trimStart - trimEnd) / frame));
        // The re-encoded frames: 0.7 s after each clip's start, 0.4 s before its end.
        double ssim = 1;
        long at = 0;
        const long length = wanted / 6;
        const long first = std::lround(trimStart * 30);
        QStringList each; // head/tail of each clip
        for (const Segment& s : segments) {
            const QString from = s.url.toLocalFile();
            const double head = lowestSsim(out, at, at + 21, from, first);
            const double tail =
                lowestSsim(out, at + length - 12, at + length, from, first + length - 12);
            each << QStringLiteral("%1/%2").arg(head, 0, 'f', 4).arg(tail, 0, 'f', 4);
            ssim = std::min({ssim, head, tail});
            at += length;
        }
        std::printf("  lowest SSIM, head/tail of each clip: %s\n", qPrintable(each.join(' ')));
        const QString errors =
            run("ffmpeg", {"-v", "error", "-nostdin", "-i", out, "-f", "null", "-"}).trimmed();
        std::printf("  frames %zu of %ld asked for; %d packets copied bit-identical, %lld "
                    "re-encoded; lowest SSIM at a cut %.4f; decode errors: %s\n",
                    written.size(), wanted, copied,
                    static_cast<long long>(verdict.cut->encodedFrames), ssim,
                    errors.isEmpty() ? "none" : qPrintable(errors));
        const QString mov = folder() + "/out-smartcut.mov";
        Exporter(segments, {}, ExportFormat::mov, ExportQuality::original).export_(mov, [](double) {
        });
        std::printf("  Chromium: MP4 %s; MOV %s\n", qPrintable(browserPlays(out)),
                    qPrintable(browserPlays(mov)));

        // Speed against the command line: a plain copy join and the encode of as many frames.
        const QString list = bench::concatList(files, folder() + "/smartcut-concat.txt");
        double copyJoin = 0;
        run("ffmpeg",
            {"-v", "error", "-nostdin", "-y", "-f", "concat", "-safe", "0", "-i", list, "-c",
             "copy", "-movflags", "+faststart", folder() + "/out-concat.mp4"},
            &copyJoin);
        const VideoEncoderSettings cut = cutEncoderSettings(kind == Kind::phoneHevc);
        double encode = 0;
        run("ffmpeg",
            {"-v",
             "error",
             "-nostdin",
             "-y",
             "-i",
             files.front(),
             "-frames:v",
             QString::number(verdict.cut->encodedFrames),
             "-an",
             "-c:v",
             cut.encoder,
             "-preset",
             cut.speedPreset,
             "-crf",
             QString::number(cut.crf),
             "-bf",
             "0",
             "-pix_fmt",
             "yuv420p",
             folder() + "/out-frames.mp4"},
            &encode);
        std::printf("  export %.2f s; copy join %.2f s + encoding those frames %.2f s = %.2f s; "
                    "ratio %.2f (at most 1.5)\n",
                    ours, copyJoin, encode, copyJoin + encode, ours / (copyJoin + encode));
    } else {
        std::printf("  export (full re-encode) %.2f s\n", ours);
    }
    full = fullReencode(segments, folder() + "/out-full.mp4");
    std::printf("  full re-encode %.2f s; %.1f times faster\n", full, full / ours);
    std::fflush(stdout);
}

} // namespace
} // namespace vimbo

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    vimbo::ff::quietLibraryLog();
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    int seconds = 20;
    int runs = 3;
    const QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == "--seconds" && i + 1 < args.size())
            seconds = args[++i].toInt();
        else if (args[i] == "--runs" && i + 1 < args.size())
            runs = args[++i].toInt();
    }
    QDir().mkpath(vimbo::folder());
    // --only h264|phone-h264|phone-hevc measures that set alone.
    const QString only = args.contains("--only") ? args.value(args.indexOf("--only") + 1) : "";
    if (only.isEmpty() || only == "h264")
        vimbo::measure("H.264", vimbo::Kind::h264, seconds, runs);
    if (only.isEmpty() || only == "phone-h264")
        vimbo::measure("H.264 stored as phones store it", vimbo::Kind::phoneH264, seconds, runs);
    if (only.isEmpty() || only == "phone-hevc")
        vimbo::measure("HEVC stored as phones store it", vimbo::Kind::phoneHevc, seconds, runs);
    return 0;
}
