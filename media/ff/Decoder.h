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

private:
    Demuxer& input_;
    int stream_;
    CodecPtr context_;
    PacketPtr packet_ = makePacket();
    bool draining_ = false;
};

} // namespace vimbo::ff
