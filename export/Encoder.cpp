#include "export/Encoder.h"

#include "export/ExportFailure.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

#include <QByteArray>

namespace vimbo {
namespace {

ff::CodecPtr allocate(const char* name) {
    const AVCodec* codec = avcodec_find_encoder_by_name(name);
    ff::CodecPtr context(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!context)
        throw ExportFailure::cannotExport();
    return context;
}

void open(AVCodecContext* context, ff::Dictionary& options) {
    // MP4 and QuickTime keep the parameter sets in the sample description, not in the stream.
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (avcodec_open2(context, context->codec, options.out()) < 0)
        throw ExportFailure::cannotExport();
}

} // namespace

Encoder::Encoder(ff::CodecPtr context)
    : context_(std::move(context)) {}

Encoder Encoder::video(const VideoEncoderSettings& settings, Size size,
                       const MediaTime& frameDuration) {
    ff::CodecPtr c = allocate(settings.encoder);
    c->width = static_cast<int>(size.width);
    c->height = static_cast<int>(size.height);
    c->pix_fmt = AV_PIX_FMT_YUV420P;
    c->time_base = {static_cast<int>(frameDuration.value), frameDuration.timescale};
    c->framerate = av_inv_q(c->time_base);
    c->sample_aspect_ratio = {1, 1};
    c->color_primaries = AVCOL_PRI_BT709;
    c->color_trc = AVCOL_TRC_BT709;
    c->colorspace = AVCOL_SPC_BT709;
    c->color_range = AVCOL_RANGE_MPEG;
    if (settings.maxRate) {
        c->rc_max_rate = *settings.maxRate;
        c->rc_buffer_size = 2 * *settings.maxRate;
    }
    if (settings.codecTag)
        c->codec_tag = MKTAG(settings.codecTag[0], settings.codecTag[1], settings.codecTag[2],
                             settings.codecTag[3]);
    ff::Dictionary options;
    options.set("preset", settings.speedPreset);
    options.set("crf", QByteArray::number(settings.crf).constData());
    for (const auto& [key, value] : settings.options)
        options.set(key, value);
    open(c.get(), options);
    return Encoder(std::move(c));
}

Encoder Encoder::audio(const AudioEncoderSettings& settings) {
    ff::CodecPtr c = allocate(settings.encoder);
    c->sample_rate = settings.sampleRate;
    c->sample_fmt = AV_SAMPLE_FMT_FLTP;
    c->bit_rate = settings.bitRate;
    c->time_base = {1, settings.sampleRate};
    av_channel_layout_default(&c->ch_layout, settings.channels);
    ff::Dictionary options;
    open(c.get(), options);
    return Encoder(std::move(c));
}

bool encodeFrame(AVCodecContext* encoder, const AVFrame* frame, AVPacket* packet,
                 const PacketSink& sink) {
    const int sent = avcodec_send_frame(encoder, frame);
    if (sent < 0 && sent != AVERROR_EOF)
        return false;
    for (;;) {
        const int got = avcodec_receive_packet(encoder, packet);
        if (got == AVERROR(EAGAIN) || got == AVERROR_EOF)
            return true;
        if (got < 0)
            return false;
        sink(packet);
        av_packet_unref(packet);
    }
}

void Encoder::encode(const AVFrame* frame, const Sink& sink) {
    if (!encodeFrame(context_.get(), frame, packet_.get(), sink))
        throw ExportFailure::failed();
}

} // namespace vimbo
