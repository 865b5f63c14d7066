#pragma once

// An owned copy of a stream's codec parameters, kept after the stream's file is closed.

extern "C" {
#include <libavcodec/codec_par.h>
}

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

} // namespace vimbo::ff
