// Thumbnails, per clip: Vimbo in process and through `vimbo thumbnail` (one process per file,
// start-up included), side by side with `ffmpeg -ss 0.1 -i FILE -frames:v 1 -vf scale=…` making
// the same 320-pixel picture. Sources: generated 1080p and 4K H.264 and HEVC clips and photos,
// plus the real samples when the shared corpus is on this machine.

#include "bench/Tools.h"
#include "media/MediaProbe.h"
#include "media/Thumbnail.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

namespace {

using namespace vimbo;

using bench::succeeded;

QStringList generatedSources(const QString& folder) {
    QDir().mkpath(folder);
    const std::pair<const char*, QStringList> sources[] = {
        {"h264-1080p.mp4",
         {"-f", "lavfi", "-i", "testsrc2=size=1920x1080:rate=30:duration=3", "-c:v", "libx264",
          "-preset", "fast", "-g", "60"}},
        {"h264-4k.mp4",
         {"-f", "lavfi", "-i", "testsrc2=size=3840x2160:rate=30:duration=2", "-c:v", "libx264",
          "-preset", "ultrafast", "-g", "60"}},
        {"hevc-1080p.mp4",
         {"-f", "lavfi", "-i", "testsrc2=size=1920x1080:rate=30:duration=2", "-c:v", "libx265",
          "-tag:v", "hvc1", "-x265-params", "log-level=error"}},
        {"photo-12mp.jpg", {"-f", "lavfi", "-i", "testsrc2=size=4000x3000", "-frames:v", "1"}},
        {"photo-2mp.jpg", {"-f", "lavfi", "-i", "testsrc2=size=1920x1080", "-frames:v", "1"}},
    };
    QStringList paths;
    for (const auto& [name, args] : sources) {
        const QString path = folder + QLatin1Char('/') + QLatin1String(name);
        if (!QFileInfo::exists(path) &&
            !succeeded(QStringLiteral("ffmpeg"), QStringList{"-v", "error", "-y"} + args << path))
            continue;
        paths << path;
    }
    return paths;
}

QStringList sampleSources() {
    const QString folder = qEnvironmentVariable("VIMBO_SAMPLE_MEDIA", VIMBO_SAMPLE_MEDIA);
    QStringList paths;
    for (const char* name : {"sample.mp4", "rotate-buck-bunny.mp4", "portrait_4k60.mp4",
                             "dolbyVision-hdr.MOV", "video-h265.mp4", "cursed-vfr.mp4",
                             "Landscape_6.jpg", "london.jpg", "arrow.heic", "denali.webp"}) {
        const QString path = folder + QLatin1Char('/') + QLatin1String(name);
        if (QFileInfo::exists(path))
            paths << path;
    }
    return paths;
}

// Milliseconds per file of `job`, best of three passes over all files (the first warms the
// disk cache for everyone).
template <typename Job>
double perFile(const QStringList& files, Job job) {
    double best = 1e300;
    for (int pass = 0; pass < 3; ++pass) {
        QElapsedTimer timer;
        timer.start();
        for (const QString& file : files)
            job(file);
        best = std::min(best, static_cast<double>(timer.nsecsElapsed()) / 1e6 / files.size());
    }
    return best;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QTemporaryDir out;
    const QString png = out.path() + QStringLiteral("/t.png");
    auto ffmpegThumbnail = [&](const QString& f) {
        return succeeded(QStringLiteral("ffmpeg"),
                         {"-v", "error", "-y", "-ss", "0.1", "-i", f, "-frames:v", "1", "-vf",
                          "scale=320:320:force_original_aspect_ratio=decrease", png});
    };
    // Only files both sides can make a picture of are compared (ffmpeg 5.1 reads no HEIC).
    QStringList files;
    for (const QString& f :
         generatedSources(QStringLiteral(VIMBO_BENCH_MEDIA) + QStringLiteral("/thumbnails")) +
             sampleSources()) {
        if (ffmpegThumbnail(f))
            files << f;
        else
            std::printf("  (left out, ffmpeg cannot read it: %s)\n", qPrintable(f));
    }
    if (files.isEmpty()) {
        std::fprintf(stderr, "no media to make thumbnails of\n");
        return 1;
    }
    std::vector<MediaKind> kinds;
    for (const QString& f : files)
        kinds.push_back(MediaProbe::probe(QUrl::fromLocalFile(f)).kind);

    int index = 0;
    const double inProcess = perFile(files, [&](const QString& f) {
        Thumbnail::make(QUrl::fromLocalFile(f), kinds[static_cast<size_t>(index++ % files.size())],
                        320);
    });
    const double command = perFile(files, [&](const QString& f) {
        succeeded(QStringLiteral(VIMBO_BINARY), {"thumbnail", f, "-o", png});
    });
    const double ffmpeg = perFile(files, ffmpegThumbnail);

    std::printf("thumbnails at 320 pixels, %lld files (movies and photos), ms per file:\n",
                static_cast<long long>(files.size()));
    std::printf("  Thumbnail::make in process  %8.2f\n", inProcess);
    std::printf("  vimbo thumbnail (a process) %8.2f\n", command);
    std::printf("  ffmpeg -ss 0.1 … scale      %8.2f\n", ffmpeg);
    std::printf("  ratio ffmpeg / in process   %8.1f×\n", ffmpeg / inProcess);
    std::printf("  ratio ffmpeg / vimbo thumbnail %5.1f×\n", ffmpeg / command);
    return 0;
}
