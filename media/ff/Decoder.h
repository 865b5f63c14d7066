#pragma once

// A decoder for one stream of a Demuxer: packets in, frames out in presentation order.
// One thread at a time (FFmpeg's own decoding threads work underneath).

#include "media/ff/Demuxer.h"

namespace vimbo::ff {

class Decoder {
public:
    // How a video decoder spreads its work: over every core for a stream played through, or on
    // the calling thread for a few frames (a thumbnail), where frame threads only add delay
    // and a copy of the decoder's state per thread.
    enum class Threads { all, one };

    // Opens the stream's decoder. Throws VimboError::unreadable(input.url()) when there is no
    // decoder for the stream.
    Decoder(Demuxer& input, int stream, Threads threads = Threads::all);

    AVCodecContext* context() const { return context_.get(); }
    int stream() const { return stream_; }

    // The next decoded frame; false at the end of the stream. Undecodable packets are skipped.
    bool receive(AVFrame* frame);
    // After the input was moved by a seek: drops frames still inside the decoder.
    void flush();
    // After a seek towards `target` (a timestamp of the stream): until the next flush, frames
    // that no other frame refers to are not decoded when they show before a frame already read
    // that shows at or before the target; none of them can be the frame showing at the target,
    // and skipping them makes an exact seek decode up to half the frames less.
    void skipUnneededBefore(std::int64_t target);

private:
    void chooseSkipping(const AVPacket& packet);

    Demuxer& input_;
    int stream_;
    CodecPtr context_;
    PacketPtr packet_ = makePacket();
    bool draining_ = false;
    std::int64_t skipTarget_ = AV_NOPTS_VALUE;
    std::int64_t latestBeforeTarget_ = AV_NOPTS_VALUE; // the latest start at or before it, so far
};

} // namespace vimbo::ff
