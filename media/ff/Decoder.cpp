#include "media/ff/Decoder.h"

#include "model/VimboError.h"

namespace vimbo::ff {

Decoder::Decoder(Demuxer& input, int stream, Threads threads)
    : input_(input)
    , stream_(stream) {
    const AVCodecParameters* parameters = input.stream(stream)->codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
    if (!codec)
        throw VimboError::unreadable(input.url());
    context_.reset(avcodec_alloc_context3(codec));
    if (!context_ || avcodec_parameters_to_context(context_.get(), parameters) < 0)
        throw VimboError::exportFailed(QStringLiteral("Out of memory."));
    context_->pkt_timebase = input.stream(stream)->time_base;
    if (parameters->codec_type == AVMEDIA_TYPE_VIDEO && threads == Threads::all) {
        context_->thread_count = 0; // one per core, and one more
        context_->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
    }
    if (avcodec_open2(context_.get(), codec, nullptr) < 0)
        throw VimboError::unreadable(input.url());
}

bool Decoder::receive(AVFrame* frame) {
    for (;;) {
        const int received = avcodec_receive_frame(context_.get(), frame);
        if (received == 0)
            return true;
        if (received != AVERROR(EAGAIN))
            return false; // the end, or a decoder that cannot go on
        if (!input_.read(packet_.get())) {
            if (draining_)
                return false;
            draining_ = true;
            avcodec_send_packet(context_.get(), nullptr);
            continue;
        }
        if (packet_->stream_index == stream_) {
            chooseSkipping(*packet_);
            avcodec_send_packet(context_.get(), packet_.get()); // bad data: skip the packet
        }
        av_packet_unref(packet_.get());
    }
}

void Decoder::flush() {
    avcodec_flush_buffers(context_.get());
    draining_ = false;
    skipTarget_ = latestBeforeTarget_ = AV_NOPTS_VALUE;
    context_->skip_frame = AVDISCARD_DEFAULT;
}

void Decoder::skipUnneededBefore(std::int64_t target) {
    skipTarget_ = target;
    latestBeforeTarget_ = AV_NOPTS_VALUE;
}

// A packet that shows before another one already read, which itself shows at or before the
// target, cannot be the target's frame: if nothing refers to it, it need not be decoded.
void Decoder::chooseSkipping(const AVPacket& packet) {
    if (skipTarget_ == AV_NOPTS_VALUE)
        return;
    bool skippable = false;
    if (packet.pts != AV_NOPTS_VALUE) {
        skippable = latestBeforeTarget_ != AV_NOPTS_VALUE && packet.pts < latestBeforeTarget_;
        if (packet.pts <= skipTarget_ &&
            (latestBeforeTarget_ == AV_NOPTS_VALUE || packet.pts > latestBeforeTarget_))
            latestBeforeTarget_ = packet.pts;
    }
    context_->skip_frame = skippable ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
}

} // namespace vimbo::ff
