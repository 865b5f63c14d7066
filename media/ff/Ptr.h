#pragma once

// Owners for FFmpeg objects: each type is freed by its own function exactly once, on the line
// that allocated it. Nothing else in the code base calls an av*_free function.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <memory>

namespace vimbo::ff {

struct InputDeleter {
    void operator()(AVFormatContext* c) const { avformat_close_input(&c); }
};
struct OutputDeleter {
    void operator()(AVFormatContext* c) const {
        if (c && c->pb && !(c->oformat->flags & AVFMT_NOFILE))
            avio_closep(&c->pb);
        avformat_free_context(c);
    }
};
struct CodecDeleter {
    void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameDeleter {
    void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketDeleter {
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
struct SwsDeleter {
    void operator()(SwsContext* c) const { sws_freeContext(c); }
};
struct SwrDeleter {
    void operator()(SwrContext* c) const { swr_free(&c); }
};
struct BufferPoolDeleter {
    // Outstanding buffers keep the pool alive until they come back.
    void operator()(AVBufferPool* p) const { av_buffer_pool_uninit(&p); }
};
struct FilterGraphDeleter {
    void operator()(AVFilterGraph* g) const { avfilter_graph_free(&g); }
};

using InputPtr = std::unique_ptr<AVFormatContext, InputDeleter>;
using OutputPtr = std::unique_ptr<AVFormatContext, OutputDeleter>;
using CodecPtr = std::unique_ptr<AVCodecContext, CodecDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;
using SwsPtr = std::unique_ptr<SwsContext, SwsDeleter>;
using SwrPtr = std::unique_ptr<SwrContext, SwrDeleter>;
using FilterGraphPtr = std::unique_ptr<AVFilterGraph, FilterGraphDeleter>;
using BufferPoolPtr = std::unique_ptr<AVBufferPool, BufferPoolDeleter>;

// Owns an AVDictionary of options; FFmpeg calls that fill or replace one take `out()`.
class Dictionary {
public:
    Dictionary() = default;
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;
    ~Dictionary() { av_dict_free(&dict_); }

    void set(const char* key, const char* value) { av_dict_set(&dict_, key, value, 0); }
    AVDictionary** out() { return &dict_; }

private:
    AVDictionary* dict_ = nullptr;
};

inline FramePtr makeFrame() {
    return FramePtr(av_frame_alloc());
}
inline PacketPtr makePacket() {
    return PacketPtr(av_packet_alloc());
}

} // namespace vimbo::ff
