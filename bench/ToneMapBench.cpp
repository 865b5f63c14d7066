// Tone mapping HDR video to SDR, per frame, three ways side by side: ours (tables, after
// scaling), libavfilter's reference chain in this process (zscale + tonemap, the alternative
// we measured before choosing), and the same chain on the ffmpeg command line. Also the
// matrix-only swscale conversion the compositor did before, as the floor. Each at the source's
// full size (an "Original" export) and at the preview's 1280 × 720, for PQ and HLG, 1080p and
// 4K. Milliseconds of processor time per frame, one thread each in process; the ratio is the
// reference chain's cost over ours.
//
// Then the preview as a person gets it: real HDR phone clips from the sample corpus rendered
// by the video renderer at 1280, decoding included, against real time.
//
//   vimbo_bench_tonemap [--frames N]   (N decoded frames per clip, reused; 8 by default)

#include "media/MediaProbe.h"
#include "media/ToneMap.h"
#include "media/ff/Decoder.h"
#include "media/ff/Error.h"
#include "media/ff/Log.h"
#include "timeline/VideoRenderer.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace vimbo {
namespace {

const char* referenceChain = "zscale=t=linear:npl=100,format=gbrpf32le,zscale=p=bt709,"
                             "tonemap=hable:desat=0,zscale=t=bt709:m=bt709:r=tv,format=yuv420p";

QString folder() {
    return QStringLiteral(VIMBO_BENCH_MEDIA);
}

bool ffmpeg(const QStringList& arguments) {
    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    p.start("ffmpeg", QStringList{"-v", "error", "-nostdin", "-y"} + arguments);
    return p.waitForFinished(-1) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

// An HEVC Main 10 clip as phones write them, made once with the ffmpeg CLI.
QString clip(const QString& transfer, const QString& size) {
    const QString name = "hdr-" + transfer + "-" + size + ".mp4";
    const QString path = folder() + "/" + name;
    if (QFileInfo::exists(path))
        return path;
    std::printf("making %s…\n", qPrintable(name));
    std::fflush(stdout);
    const QString partial = folder() + "/partial-" + name;
    if (!ffmpeg({"-f",
                 "lavfi",
                 "-i",
                 "testsrc2=rate=30:size=" + size,
                 "-frames:v",
                 "30",
                 "-vf",
                 "zscale=tin=bt709:min=bt709:pin=bt709:rin=tv:t=" + transfer +
                     ":p=bt2020:m=bt2020nc:r=tv:npl=1000,format=yuv420p10le",
                 "-c:v",
                 "libx265",
                 "-preset",
                 "ultrafast",
                 "-x265-params",
                 "log-level=error",
                 "-color_primaries",
                 "bt2020",
                 "-color_trc",
                 transfer,
                 "-colorspace",
                 "bt2020nc",
                 partial}) ||
        !QFile::rename(partial, path)) {
        std::fprintf(stderr, "could not make %s\n", qPrintable(name));
        std::exit(1);
    }
    return path;
}

std::vector<ff::FramePtr> decode(const QString& path, int count) {
    ff::Demuxer input(QUrl::fromLocalFile(path));
    const int stream = input.firstVideoStream();
    input.select({stream});
    ff::Decoder decoder(input, stream);
    std::vector<ff::FramePtr> frames;
    ff::FramePtr frame = ff::makeFrame();
    while (static_cast<int>(frames.size()) < count && decoder.receive(frame.get()))
        frames.push_back(std::exchange(frame, ff::makeFrame()));
    return frames;
}

double cpuSeconds(int who) {
    rusage usage{};
    getrusage(who, &usage);
    auto seconds = [](const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Processor milliseconds per call of `work` over the frames, repeated for at least a second.
double perFrame(const std::vector<ff::FramePtr>& frames,
                const std::function<void(const AVFrame&)>& work) {
    work(*frames.front()); // tables, scalers and graphs are made before the clock starts
    const double start = cpuSeconds(RUSAGE_SELF);
    std::int64_t calls = 0;
    QElapsedTimer clock;
    clock.start();
    do {
        for (const ff::FramePtr& f : frames)
            work(*f);
        calls += static_cast<std::int64_t>(frames.size());
    } while (clock.elapsed() < 1000);
    return (cpuSeconds(RUSAGE_SELF) - start) * 1000 / static_cast<double>(calls);
}

// libavfilter's chain on one thread: buffer → zscale … tonemap … → buffersink.
class ReferenceGraph {
public:
    ReferenceGraph(const AVFrame& like, int width, int height) {
        graph_.reset(avfilter_graph_alloc());
        graph_->nb_threads = 1;
        const std::string size = std::to_string(like.width) + "x" + std::to_string(like.height);
        source_ =
            create("buffer", "video_size=" + size + ":pix_fmt=" + std::to_string(like.format) +
                                 ":time_base=1/30:pixel_aspect=1/1");
        std::string chain = referenceChain;
        if (width != like.width || height != like.height)
            chain = "zscale=w=" + std::to_string(width) + ":h=" + std::to_string(height) +
                    ":filter=bilinear:" + chain.substr(std::string("zscale=").size());
        AVFilterContext* last = source_;
        std::size_t at = 0;
        while (at < chain.size()) {
            const std::size_t end = std::min(chain.find(',', at), chain.size());
            const std::string step = chain.substr(at, end - at);
            const std::size_t eq = step.find('=');
            AVFilterContext* next = create(step.substr(0, eq).c_str(), step.substr(eq + 1));
            ff::check(avfilter_link(last, 0, next, 0));
            last = next;
            at = end + 1;
        }
        sink_ = create("buffersink", {});
        ff::check(avfilter_link(last, 0, sink_, 0));
        ff::check(avfilter_graph_config(graph_.get(), nullptr));
    }

    void run(const AVFrame& frame) {
        ff::check(av_buffersrc_write_frame(source_, &frame));
        ff::FramePtr out = ff::makeFrame();
        ff::check(av_buffersink_get_frame(sink_, out.get()));
    }

private:
    AVFilterContext* create(const char* filter, const std::string& args) {
        AVFilterContext* c = nullptr;
        ff::check(avfilter_graph_create_filter(&c, avfilter_get_by_name(filter), nullptr,
                                               args.c_str(), nullptr, graph_.get()));
        return c;
    }

    ff::FilterGraphPtr graph_;
    AVFilterContext* source_ = nullptr;
    AVFilterContext* sink_ = nullptr;
};

// What the compositor does with an HDR frame: swscale to 16 bits at the output size, in the
// source's own YCbCr, then the tone mapping; scaler and frames kept from frame to frame.
class Ours {
public:
    Ours(const AVFrame& like, int width, int height, int flags)
        : mapping_(*toneMappingOf(like)) {
        sws_.reset(sws_getContext(like.width, like.height, static_cast<AVPixelFormat>(like.format),
                                  width, height, AV_PIX_FMT_YUV420P16, flags, nullptr, nullptr,
                                  nullptr));
        const int* matrix = sws_getCoefficients(mapping_.swsMatrix());
        sws_setColorspaceDetails(sws_.get(), matrix, 0, matrix, 0, 0, 1 << 16, 1 << 16);
        wide_ = frame(AV_PIX_FMT_YUV420P16, width, height);
        out_ = frame(AV_PIX_FMT_YUV420P, width, height);
    }

    void run(const AVFrame& f) {
        sws_scale(sws_.get(), f.data, f.linesize, 0, f.height, wide_->data, wide_->linesize);
        toneMap(mapping_, *wide_, out_.get());
    }

private:
    static ff::FramePtr frame(AVPixelFormat format, int width, int height) {
        ff::FramePtr f = ff::makeFrame();
        f->format = format;
        f->width = width;
        f->height = height;
        ff::check(av_frame_get_buffer(f.get(), 0));
        return f;
    }

    ToneMapping mapping_;
    ff::SwsPtr sws_;
    ff::FramePtr wide_, out_;
};

// The matrix-only conversion the compositor made of HDR before: one swscale pass to yuv420p.
void matrixOnly(const AVFrame& frame, int width, int height, ff::SwsPtr& sws, ff::FramePtr& out) {
    if (!sws) {
        sws.reset(sws_getContext(frame.width, frame.height,
                                 static_cast<AVPixelFormat>(frame.format), width, height,
                                 AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr, nullptr));
        out = ff::makeFrame();
        out->format = AV_PIX_FMT_YUV420P;
        out->width = width;
        out->height = height;
        ff::check(av_frame_get_buffer(out.get(), 0));
    }
    sws_scale(sws.get(), frame.data, frame.linesize, 0, frame.height, out->data, out->linesize);
}

// The chain on the command line (its own threads), less decoding alone: milliseconds of
// processor time per frame.
double commandLine(const QString& path, int frames) {
    auto cpu = [&](const QStringList& filter) {
        const double start = cpuSeconds(RUSAGE_CHILDREN);
        ffmpeg(QStringList{"-i", path} + filter + QStringList{"-f", "null", "-"});
        return cpuSeconds(RUSAGE_CHILDREN) - start;
    };
    const double decoding = cpu({});
    return (cpu({"-vf", referenceChain}) - decoding) * 1000 / frames;
}

// Every frame of each real HDR sample through the renderer at the preview's size.
void preview() {
    const QString samples = qEnvironmentVariable("VIMBO_SAMPLE_MEDIA", VIMBO_SAMPLE_MEDIA);
    std::printf("\npreview at 1280 (decoding, scaling, tone mapping), wall and processor seconds "
                "per second of video\n");
    for (const char* name :
         {"hlg10-color-test.mp4", "dolbyVision-hdr.MOV", "hdr10-video-with-sdr-container.mp4"}) {
        const QUrl url = QUrl::fromLocalFile(samples + "/" + name);
        const MediaInfo info = MediaProbe::probe(url);
        if (!info.isUsable()) {
            std::printf("%-36s not found\n", name);
            continue;
        }
        const auto timeline = std::make_shared<const Timeline>(
            Timeline::build({{url, info, {}}}, {FrameShape::auto_, FillMode::fit}, 1280, false));
        VideoRenderer renderer(timeline);
        QElapsedTimer clock;
        clock.start();
        const double cpu = cpuSeconds(RUSAGE_SELF);
        for (std::int64_t n = 0; n < renderer.frameCount(); ++n)
            if (!renderer.render(n))
                std::abort();
        const double length = timeline->duration().seconds();
        std::printf("%-36s %4.0fx%-4.0f %6.2f wall %6.2f cpu\n", name, info.size.width,
                    info.size.height, clock.elapsed() / 1000.0 / length,
                    (cpuSeconds(RUSAGE_SELF) - cpu) / length);
    }
}

int run(int count) {
    QDir().mkpath(folder());
    std::printf("\nprocessor ms per frame; ratio = zscale+tonemap / ours\n");
    std::printf("%-6s %-10s %-10s %9s %9s %7s %9s %9s\n", "", "source", "output", "ours", "lavfi",
                "ratio", "ff CLI", "matrix");
    for (const QString size : {"1920x1080", "3840x2160"}) {
        for (const QString transfer : {"smpte2084", "arib-std-b67"}) {
            const QString path = clip(transfer, size);
            const std::vector<ff::FramePtr> frames = decode(path, count);
            if (frames.empty())
                return 1;
            const AVFrame& first = *frames.front();
            for (const bool preview : {false, true}) {
                const int w = preview ? 1280 : first.width, h = preview ? 720 : first.height;
                const int flags = preview ? SWS_BILINEAR : SWS_POINT;
                Ours ours(first, w, h, flags);
                const double oursMs = perFrame(frames, [&](const AVFrame& f) { ours.run(f); });
                ReferenceGraph graph(first, w, h);
                const double lavfi = perFrame(frames, [&](const AVFrame& f) { graph.run(f); });
                ff::SwsPtr sws;
                ff::FramePtr out;
                const double matrix =
                    perFrame(frames, [&](const AVFrame& f) { matrixOnly(f, w, h, sws, out); });
                const double cli = preview ? 0 : commandLine(path, 30);
                std::printf("%-6s %-10s %4dx%-5d %9.1f %9.1f %7.2f %9s %9.1f\n",
                            transfer == "smpte2084" ? "PQ" : "HLG", qPrintable(size), w, h, oursMs,
                            lavfi, lavfi / oursMs,
                            preview ? "" : qPrintable(QString::number(cli, 'f', 1)), matrix);
                std::fflush(stdout);
            }
        }
    }
    std::printf("\nours: swscale to 16 bits at the output size, then the tables; lavfi: "
                "%s (zscale scaling first for 1280×720); matrix: swscale straight to yuv420p "
                "BT.709 (no tone mapping)\n",
                referenceChain);
    preview();
    return 0;
}

} // namespace
} // namespace vimbo

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    vimbo::ff::quietLibraryLog();
    int frames = 8;
    for (int i = 1; i + 1 < argc; ++i)
        if (QString(argv[i]) == "--frames")
            frames = std::max(1, std::atoi(argv[i + 1]));
    return vimbo::run(frames);
}
