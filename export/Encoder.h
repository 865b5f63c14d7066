#pragma once

// One libavcodec encoder of an export, opened from the preset's settings: frames in, packets
// out (the send/receive loop of FFmpeg's transcode.c). One thread at a time.

#include "export/EncoderSettings.h"
#include "media/ff/Ptr.h"
#include "model/Geometry.h"
#include "timeline/MediaTime.h"

#include <functional>

namespace vimbo {

using PacketSink = std::function<void(AVPacket*)>;

// Sends one frame (null flushes) to an open encoder and hands every packet that comes out to
// `sink`, through `packet`; false on an encoder error.
bool encodeFrame(AVCodecContext* encoder, const AVFrame* frame, AVPacket* packet,
                 const PacketSink& sink);

class Encoder {
public:
    using Sink = PacketSink;

    // Throws the "can't be exported" failure when the encoder is missing or refuses the
    // settings.
    static Encoder video(const VideoEncoderSettings& settings, Size size,
                         const MediaTime& frameDuration);
    static Encoder audio(const AudioEncoderSettings& settings);

    AVCodecContext* context() const { return context_.get(); }

    // Encodes one frame (null flushes) and hands every packet that comes out to `sink`, in the
    // encoder's time base. Throws the export failure on an encoder error.
    void encode(const AVFrame* frame, const Sink& sink);

private:
    explicit Encoder(ff::CodecPtr context);

    ff::CodecPtr context_;
    ff::PacketPtr packet_ = ff::makePacket();
};

} // namespace vimbo
