#include "export/AacSilence.h"

#include "export/Encoder.h"
#include "media/CodecCodes.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace vimbo {
namespace {

ff::CodecPtr openEncoder(const AVCodecParameters& stream) {
    const AVCodec* codec = avcodec_find_encoder_by_name("aac");
    if (!codec)
        return nullptr;
    ff::CodecPtr encoder(avcodec_alloc_context3(codec));
    if (!encoder)
        return nullptr;
    encoder->sample_rate = stream.sample_rate;
    encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
    encoder->profile = FF_PROFILE_AAC_LOW;
    encoder->time_base = {1, stream.sample_rate};
    encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_channel_layout_default(&encoder->ch_layout, stream.ch_layout.nb_channels);
    if (avcodec_open2(encoder.get(), codec, nullptr) < 0)
        return nullptr;
    return encoder;
}

} // namespace

std::optional<QByteArray> aacSilence(const AVCodecParameters& stream) {
    const auto wanted = aacConfig(stream.extradata, stream.extradata_size);
    ff::CodecPtr encoder = openEncoder(stream);
    if (!wanted || !encoder)
        return std::nullopt;
    const auto made = aacConfig(encoder->extradata, encoder->extradata_size);
    if (made != wanted)
        return std::nullopt;
    ff::FramePtr frame = ff::makeFrame();
    ff::PacketPtr packet = ff::makePacket();
    frame->nb_samples = encoder->frame_size;
    frame->format = encoder->sample_fmt;
    frame->sample_rate = encoder->sample_rate;
    if (av_channel_layout_copy(&frame->ch_layout, &encoder->ch_layout) < 0 ||
        av_frame_get_buffer(frame.get(), 0) < 0 ||
        av_samples_set_silence(frame->extended_data, 0, frame->nb_samples,
                               frame->ch_layout.nb_channels,
                               static_cast<AVSampleFormat>(frame->format)) < 0)
        return std::nullopt;
    // A few frames in, the encoder's output no longer depends on where it started.
    std::optional<QByteArray> settled;
    for (int i = 0; i < 4; ++i) {
        frame->pts = static_cast<std::int64_t>(i) * encoder->frame_size;
        if (!encodeFrame(encoder.get(), frame.get(), packet.get(), [&](const AVPacket* p) {
                settled = QByteArray(reinterpret_cast<const char*>(p->data), p->size);
            }))
            return std::nullopt;
    }
    return settled;
}

} // namespace vimbo
