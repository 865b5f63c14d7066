#include "tests/export/ExportFixtures.h"

#include "media/MediaProbe.h"
#include "media/ff/Cancel.h"
#include "media/ff/Log.h"
#include "media/ff/Ptr.h"
#include "model/VimboError.h"
#include "tests/support/Media.h"

#include <QDir>
#include <QFile>

#include <cmath>
#include <gtest/gtest.h>
#include <mutex>

namespace vimbo::test {

// The libraries' chatter would bury the test output; the app quiets it the same way.
[[maybe_unused]] const bool quietLog = [] {
    ff::quietLibraryLog();
    return true;
}();

namespace {

// The sound of a flash clip: silence with a 1 kHz beep of 0.1 s at `at`.
QStringList beep(const ClipSpec& s, double at) {
    const QString tone =
        QStringLiteral("if(between(t\\,%1\\,%2)\\,0.5*sin(2*PI*1000*t)\\,0)").arg(at).arg(at + 0.1);
    return {"-f", "lavfi", "-i",
            QStringLiteral("aevalsrc=%1|%1:s=%2:d=%3").arg(tone).arg(s.rate).arg(s.seconds)};
}

QStringList picture(const ClipSpec& s) {
    const int flashFrame = static_cast<int>(std::lround(s.flashAt * 30));
    const QString ground = s.moving ? QStringLiteral("testsrc2=s=%1x%2:r=30:d=%3,lutyuv=y=val/2")
                                    : QStringLiteral("color=black:s=%1x%2:r=30:d=%3");
    return {"-f", "lavfi", "-i",
            (ground + QStringLiteral(",format=yuv420p,"
                                     "drawbox=c=white:t=fill:enable='eq(n\\,%4)'"))
                .arg(s.size)
                .arg(s.size * 3 / 4)
                .arg(s.seconds)
                .arg(flashFrame)};
}

// Video and sound are made apart and joined with their own timestamps (-copyts): the muxer
// would otherwise move the sound's start to the first frame's.
QString phoneClip(const ClipSpec& s, const QString& name) {
    const QStringList mp4{"-video_track_timescale", "600", "-use_editlist", "0"};
    const QString video =
        generated("video-" + name,
                  picture(s) +
                      (s.h264 ? QStringList{"-c:v", "libx264", "-g", "15", "-bf", "2", "-preset",
                                            "ultrafast", "-x264opts", "bframes=2:b-adapt=0"}
                              : QStringList{"-c:v", "libx265", "-x265-params",
                                            "log-level=none:bframes=2:keyint=15:min-keyint=15:"
                                            "open-gop=0",
                                            "-preset", "ultrafast", "-tag:v", "hvc1"}) +
                      mp4);
    QStringList args{"-copyts", "-i", video};
    QStringList maps{"-map", "0:v"};
    if (s.withSound) {
        // The beep sounds with the flash, which the two B-frames show 1/15 s late.
        const QString sound =
            generated("sound-" + name + ".aac",
                      beep(s, s.flashAt + 2.0 / 30) + QStringList{"-c:a", "aac", "-f", "adts"});
        args += QStringList{"-i", sound};
        maps += QStringList{"-map", "1:a"};
    }
    // x264's frames lose their length on the way through MP4; the last one's sets the track's.
    if (s.h264)
        maps += QStringList{"-bsf:v", "setts=pts=PTS:dts=DTS:duration=20"};
    return generated(name, args + maps + QStringList{"-c", "copy"} + mp4);
}

} // namespace

QString flashClip(const ClipSpec& s) {
    const QString name = QStringLiteral("flash-%1-%2-%3-%4-%5%6%7%8.mp4")
                             .arg(s.seconds)
                             .arg(s.flashAt)
                             .arg(s.withSound)
                             .arg(s.rate)
                             .arg(s.size)
                             .arg(s.phone ? "-phone" : QString())
                             .arg(s.h264 ? "-h264" : QString())
                             .arg(s.moving ? "-moving" : QString());
    if (s.phone)
        return phoneClip(s, name);
    QStringList args = picture(s);
    if (s.withSound)
        args += beep(s, s.flashAt) + QStringList{"-c:a", "aac"};
    return generated(name, args + QStringList{"-c:v", "libx264", "-g", "15", "-bf", "2", "-preset",
                                              "ultrafast", "-x264opts", "bframes=2:b-adapt=0"});
}

Segment probed(const QString& path, const ClipEdits& edits) {
    const QUrl url = QUrl::fromLocalFile(path);
    return {url, MediaProbe::probe(url), edits};
}

Outcome runExport(Exporter& exporter, const QString& to,
                  const std::function<void(double)>& onProgress) {
    Outcome outcome;
    std::mutex lock;
    try {
        exporter.export_(to, [&](double p) {
            if (onProgress)
                onProgress(p);
            std::lock_guard guard(lock);
            outcome.progress.push_back(p);
        });
        outcome.kind = Outcome::Kind::done;
    } catch (const Cancelled&) {
        outcome.kind = Outcome::Kind::cancelled;
    } catch (const VimboError& e) {
        outcome.message = e.errorDescription();
    }
    return outcome;
}

QString keptFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return path;
}

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList leftovers(const QString& folder) {
    return QDir(folder).entryList({QStringLiteral(".*.vimbo-*.part")}, QDir::Files | QDir::Hidden);
}

QString decodeErrors(const QString& path) {
    QString output;
    run("ffmpeg", {"-v", "error", "-i", path, "-f", "null", "-"}, &output);
    return output.trimmed();
}

double movieDuration(const QString& path) {
    QString output;
    run("ffprobe", {"-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", path},
        &output);
    return output.trimmed().toDouble();
}

QString videoSize(const QString& path) {
    QString output;
    run("ffprobe",
        {"-v", "error", "-show_entries", "stream=width,height", "-select_streams", "v", "-of",
         "csv=p=0", path},
        &output);
    return output.trimmed();
}

namespace {

ff::InputPtr open(const QString& path) {
    AVFormatContext* raw = nullptr;
    if (avformat_open_input(&raw, path.toUtf8().constData(), nullptr, nullptr) < 0)
        return nullptr;
    ff::InputPtr input(raw);
    if (avformat_find_stream_info(raw, nullptr) < 0)
        return nullptr;
    return input;
}

// Decodes the file's best video and audio streams, handing each frame on with its stream's
// kind and time base.
void decode(const QString& path,
            const std::function<void(const AVFrame&, AVMediaType, AVRational)>& onFrame) {
    ff::InputPtr input = open(path);
    if (!input)
        return;
    std::vector<std::pair<int, ff::CodecPtr>> decoders;
    for (const AVMediaType type : {AVMEDIA_TYPE_VIDEO, AVMEDIA_TYPE_AUDIO}) {
        const int index = av_find_best_stream(input.get(), type, -1, -1, nullptr, 0);
        if (index < 0)
            continue;
        const AVStream* s = input->streams[index];
        const AVCodec* codec = avcodec_find_decoder(s->codecpar->codec_id);
        ff::CodecPtr c(avcodec_alloc_context3(codec));
        avcodec_parameters_to_context(c.get(), s->codecpar);
        c->pkt_timebase = s->time_base;
        if (avcodec_open2(c.get(), codec, nullptr) >= 0)
            decoders.emplace_back(index, std::move(c));
    }
    ff::PacketPtr p = ff::makePacket();
    ff::FramePtr f = ff::makeFrame();
    const auto send = [&](int stream, const AVPacket* packet) {
        for (auto& [index, c] : decoders) {
            if (index != stream || avcodec_send_packet(c.get(), packet) < 0)
                continue;
            const AVStream* s = input->streams[index];
            while (avcodec_receive_frame(c.get(), f.get()) == 0) {
                onFrame(*f, s->codecpar->codec_type, s->time_base);
                av_frame_unref(f.get());
            }
        }
    };
    while (av_read_frame(input.get(), p.get()) >= 0) {
        send(p->stream_index, p.get());
        av_packet_unref(p.get());
    }
    for (const auto& d : decoders)
        send(d.first, nullptr);
}

double meanLuma(const AVFrame& f) {
    double sum = 0;
    for (int y = 0; y < f.height; y += 8)
        for (int x = 0; x < f.width; x += 8)
            sum += f.data[0][y * f.linesize[0] + x];
    return sum / ((f.height + 7) / 8) / ((f.width + 7) / 8);
}

// The video packets of a file in file (decoding) order, with their presentation times.
struct StoredPacket {
    double time = 0;
    QByteArray data;
};
std::vector<StoredPacket> videoPackets(const QString& path) {
    std::vector<StoredPacket> packets;
    ff::InputPtr input = open(path);
    if (!input)
        return packets;
    const int video = av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    ff::PacketPtr p = ff::makePacket();
    while (av_read_frame(input.get(), p.get()) >= 0) {
        if (p->stream_index == video)
            packets.push_back(
                {static_cast<double>(p->pts) * av_q2d(input->streams[video]->time_base),
                 QByteArray(reinterpret_cast<const char*>(p->data), p->size)});
        av_packet_unref(p.get());
    }
    return packets;
}

} // namespace

bool indexFirst(const QString& path) {
    QFile file(path);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    const auto moov = bytes.indexOf("moov");
    return moov > 0 && moov < bytes.indexOf("mdat");
}

QByteArray displayMatrix(const QString& path) {
    ff::InputPtr input = open(path);
    if (!input)
        return {};
    const int video = av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    std::size_t size = 0;
    const std::uint8_t* m =
        av_stream_get_side_data(input->streams[video], AV_PKT_DATA_DISPLAYMATRIX, &size);
    return m ? QByteArray(reinterpret_cast<const char*>(m), static_cast<int>(size)) : QByteArray();
}

std::vector<float> sound(const QString& path) {
    std::vector<float> samples;
    decode(path, [&](const AVFrame& f, AVMediaType type, AVRational tb) {
        if (type != AVMEDIA_TYPE_AUDIO)
            return;
        const auto at = av_rescale_q(f.best_effort_timestamp, tb, {1, f.sample_rate});
        if (at >= 0 && static_cast<std::size_t>(at) > samples.size())
            samples.resize(static_cast<std::size_t>(at));
        const auto* data = reinterpret_cast<const float*>(f.extended_data[0]);
        for (int i = std::max<int>(0, static_cast<int>(-at)); i < f.nb_samples; ++i)
            samples.push_back(data[i]);
    });
    return samples;
}

Marks marks(const QString& path) {
    Marks result;
    bool lit = false;
    double lastLoud = -1;
    decode(path, [&](const AVFrame& f, AVMediaType type, AVRational tb) {
        const double time = static_cast<double>(f.best_effort_timestamp) * av_q2d(tb);
        if (type == AVMEDIA_TYPE_VIDEO) {
            const bool white = meanLuma(f) > 128;
            if (white && !lit)
                result.flashes.push_back(time);
            lit = white;
            result.videoEnd = time + static_cast<double>(f.pkt_duration) * av_q2d(tb);
            return;
        }
        // A beep starts where the sound grows loud after at least 0.2 s of quiet.
        const auto* samples = reinterpret_cast<const float*>(f.extended_data[0]);
        for (int i = 0; i < f.nb_samples; ++i) {
            const double at = time + static_cast<double>(i) / f.sample_rate;
            if (std::fabs(samples[i]) <= 0.2f)
                continue;
            if (at - lastLoud > 0.2)
                result.beeps.push_back(at);
            lastLoud = at;
        }
        result.audioEnd = time + static_cast<double>(f.nb_samples) / f.sample_rate;
    });
    return result;
}

std::vector<Picture> pictures(const QString& path) {
    std::vector<Picture> result;
    decode(path, [&](const AVFrame& f, AVMediaType type, AVRational tb) {
        if (type != AVMEDIA_TYPE_VIDEO)
            return;
        Picture p{static_cast<double>(f.best_effort_timestamp) * av_q2d(tb), {}};
        for (int y = 0; y < f.height; ++y)
            p.luma.insert(p.luma.end(), f.data[0] + y * f.linesize[0],
                          f.data[0] + y * f.linesize[0] + f.width);
        result.push_back(std::move(p));
    });
    return result;
}

std::vector<QByteArray> videoPacketData(const QString& path) {
    std::vector<QByteArray> data;
    for (StoredPacket& p : videoPackets(path))
        data.push_back(std::move(p.data));
    return data;
}

// The source packets a copy must contain: those shown within each clip's trimmed range, which
// counts from the clip's first frame.
static std::vector<QByteArray> expectedPackets(const std::vector<Segment>& segments) {
    std::vector<QByteArray> expected;
    for (const Segment& s : segments) {
        const Segment::Range r = s.trimmedRange();
        const std::vector<StoredPacket> packets = videoPackets(s.url.toLocalFile());
        double first = packets.empty() ? 0 : packets.front().time;
        for (const StoredPacket& p : packets)
            first = std::min(first, p.time);
        for (const StoredPacket& p : packets)
            if (p.time - first >= r.lower - 1e-4 && p.time - first < r.upper - 1e-4)
                expected.push_back(p.data);
    }
    return expected;
}

bool copiedPackets(const QString& movie, const std::vector<Segment>& segments) {
    std::vector<QByteArray> packets;
    for (StoredPacket& p : videoPackets(movie))
        packets.push_back(std::move(p.data));
    return packets == expectedPackets(segments);
}

} // namespace vimbo::test
