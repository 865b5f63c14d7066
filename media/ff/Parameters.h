#pragma once

// An owned copy of a stream's codec parameters, kept after the stream's file is closed.

extern "C" {
#include <libavcodec/codec_par.h>
#include <libavcodec/defs.h>
#include <libavutil/mem.h>
}

#include <cstring>
#include <memory>

namespace vimbo::ff {

struct ParametersDeleter {
    void operator()(AVCodecParameters* p) const { avcodec_parameters_free(&p); }
};
using ParametersPtr = std::unique_ptr<AVCodecParameters, ParametersDeleter>;

// A copy of `from`; null when memory runs out.
inline ParametersPtr copyParameters(const AVCodecParameters* from) {
    ParametersPtr to(avcodec_parameters_alloc());
    if (to && avcodec_parameters_copy(to.get(), from) < 0)
        to.reset();
    return to;
}

// Replaces the parameters' extradata with a copy of `size` bytes at `data`; false when memory
// runs out (the old extradata is then kept).
inline bool setExtradata(AVCodecParameters* p, const void* data, int size) {
    auto* copy = static_cast<std::uint8_t*>(
        av_mallocz(static_cast<std::size_t>(size) + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!copy)
        return false;
    std::memcpy(copy, data, static_cast<std::size_t>(size));
    av_freep(&p->extradata);
    p->extradata = copy;
    p->extradata_size = size;
    return true;
}

} // namespace vimbo::ff
