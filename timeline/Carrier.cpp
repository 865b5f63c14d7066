#include "timeline/Carrier.h"

#include "media/ff/Demuxer.h"
#include "media/ff/Error.h"
#include "media/ff/Ptr.h"
#include "model/VimboError.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cstring>
#include <filesystem>
#include <future>
#include <mutex>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace vimbo::Carrier {
namespace {

constexpr int side = 64;
constexpr int framesPerSecond = 4;
constexpr int sampleRate = 48000;

VimboError prepareFailed() {
    return VimboError::exportFailed(QStringLiteral("Couldn\u2019t prepare photos."));
}

ff::CodecPtr openEncoder(const AVCodec* codec, const AVFormatContext* output,
                         void (*configure)(AVCodecContext*)) {
    if (!codec)
        throw prepareFailed();
    ff::CodecPtr encoder(avcodec_alloc_context3(codec));
    if (!encoder)
        throw prepareFailed();
    configure(encoder.get());
    if (output->oformat->flags & AVFMT_GLOBALHEADER)
        encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    ff::check(avcodec_open2(encoder.get(), codec, nullptr));
    return encoder;
}

void configureVideo(AVCodecContext* c) {
    c->width = side;
    c->height = side;
    c->pix_fmt = AV_PIX_FMT_YUV420P;
    c->time_base = {1, framesPerSecond};
    c->framerate = {framesPerSecond, 1};
    c->color_range = AVCOL_RANGE_MPEG;
    c->max_b_frames = 0; // four frames in presentation order
    // x264 reports its settings and statistics on stderr at FFmpeg's default log level.
    av_opt_set(c->priv_data, "x264-params", "log=-1", 0);
}

void configureAudio(AVCodecContext* c) {
    c->sample_rate = sampleRate;
    c->sample_fmt = AV_SAMPLE_FMT_S16;
    c->time_base = {1, sampleRate};
    av_channel_layout_default(&c->ch_layout, 1);
}

// Sends one frame (or the end, for null) and writes every packet that comes out.
void encode(AVCodecContext* encoder, const AVFrame* frame, AVFormatContext* output,
            AVStream* stream) {
    ff::check(avcodec_send_frame(encoder, frame));
    ff::PacketPtr packet = ff::makePacket();
    for (;;) {
        const int r = avcodec_receive_packet(encoder, packet.get());
        if (r == AVERROR(EAGAIN) || r == AVERROR_EOF)
            return;
        ff::check(r);
        if (packet->duration == 0 && encoder->codec_type == AVMEDIA_TYPE_VIDEO)
            packet->duration = 1; // each frame lasts a quarter second: the track lasts one
        av_packet_rescale_ts(packet.get(), encoder->time_base, stream->time_base);
        packet->stream_index = stream->index;
        ff::check(av_interleaved_write_frame(output, packet.get()));
    }
}

ff::FramePtr blackFrame() {
    ff::FramePtr frame = ff::makeFrame();
    if (!frame)
        throw prepareFailed();
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = side;
    frame->height = side;
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        throw prepareFailed();
    std::memset(frame->data[0], 16, static_cast<std::size_t>(frame->linesize[0]) * side);
    for (int p = 1; p < 3; ++p)
        std::memset(frame->data[p], 128, static_cast<std::size_t>(frame->linesize[p]) * side / 2);
    return frame;
}

ff::FramePtr silentFrame() {
    ff::FramePtr frame = ff::makeFrame();
    if (!frame)
        throw prepareFailed();
    frame->format = AV_SAMPLE_FMT_S16;
    frame->sample_rate = sampleRate;
    frame->nb_samples = sampleRate;
    av_channel_layout_default(&frame->ch_layout, 1);
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        throw prepareFailed();
    std::memset(frame->data[0], 0, sampleRate * sizeof(std::int16_t));
    frame->pts = 0;
    return frame;
}

void writeVideo(AVCodecContext* encoder, AVFormatContext* output, AVStream* stream) {
    ff::FramePtr frame = blackFrame();
    for (int index = 0; index < framesPerSecond; ++index) {
        frame->pts = index;
        encode(encoder, frame.get(), output, stream);
    }
    encode(encoder, nullptr, output, stream);
}

void write(const QString& file) {
    AVFormatContext* raw = nullptr;
    const QByteArray name = file.toUtf8();
    ff::check(avformat_alloc_output_context2(&raw, nullptr, "mov", name.constData()));
    ff::OutputPtr output(raw);
    ff::CodecPtr video = openEncoder(avcodec_find_encoder_by_name("libx264"), raw, configureVideo);
    ff::CodecPtr audio =
        openEncoder(avcodec_find_encoder(AV_CODEC_ID_PCM_S16LE), raw, configureAudio);
    AVStream* videoStream = avformat_new_stream(raw, nullptr);
    AVStream* audioStream = avformat_new_stream(raw, nullptr);
    if (!videoStream || !audioStream)
        throw prepareFailed();
    ff::check(avcodec_parameters_from_context(videoStream->codecpar, video.get()));
    ff::check(avcodec_parameters_from_context(audioStream->codecpar, audio.get()));
    videoStream->time_base = video->time_base;
    audioStream->time_base = audio->time_base;
    ff::check(avio_open(&raw->pb, name.constData(), AVIO_FLAG_WRITE));
    ff::check(avformat_write_header(raw, nullptr));
    writeVideo(video.get(), raw, videoStream);
    ff::FramePtr silence = silentFrame();
    encode(audio.get(), silence.get(), raw, audioStream);
    encode(audio.get(), nullptr, raw, audioStream);
    ff::check(av_write_trailer(raw));
}

// The tracks of a carrier file; throws when the file is not one (unreadable, or other streams).
Tracks open(const QString& file) {
    ff::Demuxer input(QUrl::fromLocalFile(file));
    const int video = input.firstVideoStream();
    const int audio = input.firstAudioStream();
    if (video < 0 || audio < 0)
        throw prepareFailed();
    const AVCodecParameters& v = *input.stream(video)->codecpar;
    const AVCodecParameters& a = *input.stream(audio)->codecpar;
    if (v.codec_id != AV_CODEC_ID_H264 || v.width != side || v.height != side ||
        a.codec_id != AV_CODEC_ID_PCM_S16LE || a.sample_rate != sampleRate ||
        a.ch_layout.nb_channels != 1)
        throw prepareFailed();
    const QUrl url = QUrl::fromLocalFile(file);
    return {{url, video, true}, {url, audio, true}};
}

// A regular file of this user's (in a shared temporary folder anyone may have put it there).
bool isOurs(const QString& file) {
    const QFileInfo info(file);
    if (!info.isFile() || info.isSymLink())
        return false;
#ifdef Q_OS_UNIX
    return info.ownerId() == ::getuid();
#else
    return true; // the temporary folder is the user's own
#endif
}

// Earlier versions wrote a carrier per run, named by the process: what they left goes. Not
// the files of the last hour, which a run of such a version may still be using.
void removeLeftovers() {
    static const QRegularExpression perRun(QStringLiteral("^Vimbo-carrier-[0-9]+\\.mov$"));
    const QDir folder(QDir::tempPath());
    const QDateTime hourAgo = QDateTime::currentDateTime().addSecs(-3600);
    for (const QFileInfo& file :
         folder.entryInfoList({QStringLiteral("Vimbo-carrier-*.mov")}, QDir::Files))
        if (perRun.match(file.fileName()).hasMatch() && file.lastModified() < hourAgo &&
            isOurs(file.filePath()))
            QFile::remove(file.filePath());
}

// This run's own file, used only when the shared name cannot be taken; removed at exit.
struct OwnCopy {
    QString file;
    ~OwnCopy() {
        if (!file.isEmpty())
            QFile::remove(file);
    }
};

// The carrier file to use: the one earlier runs left, or a new one. A new one is written
// under a name of this process's and then renamed into place, so that whoever opens the
// shared name sees a whole file, and two runs starting together each see one of two equal
// files.
QString prepare() {
    const QString shared = path();
    if (isOurs(shared)) {
        try {
            open(shared);
            return shared;
        } catch (const std::exception&) {
            // damaged or from elsewhere: replaced below
        }
    }
    const QString partial =
        shared + QStringLiteral(".%1.partial").arg(QCoreApplication::applicationPid());
    try {
        write(partial);
    } catch (...) {
        QFile::remove(partial);
        throw;
    }
    std::error_code error;
    std::filesystem::rename(QFile::encodeName(partial).toStdString(),
                            QFile::encodeName(shared).toStdString(), error);
    if (error) {
        static OwnCopy own;
        own.file = partial;
        return partial;
    }
    removeLeftovers();
    return shared;
}

// The one preparation of this run.
struct Shared {
    std::shared_future<Tracks> task;
};

Shared& shared() {
    static Shared state;
    static std::once_flag once;
    std::call_once(once, [] {
        state.task = std::async(std::launch::async, [] { return open(prepare()); }).share();
    });
    return state;
}

} // namespace

MediaTime duration() {
    return {1, 1};
}

QString path() {
    QString name = QStringLiteral("/Vimbo-carrier-") + QStringLiteral(VIMBO_VERSION);
#ifdef Q_OS_UNIX
    name += QLatin1Char('-') + QString::number(::getuid());
#endif
    return QDir::tempPath() + name + QStringLiteral(".mov");
}

Tracks tracks() {
    return shared().task.get();
}

} // namespace vimbo::Carrier
