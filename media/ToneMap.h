#pragma once

// HDR video and photos (PQ or HLG) turned into the SDR BT.709 pictures that everything after
// decoding works with: the compositor, the filmstrip, every encoder. Without it an HDR phone clip
// or photo shows grey and flat, because its transfer and wide gamut would be read as if they were
// SDR's.
//
// The steps are those of FFmpeg's reference chain
//   zscale=t=linear:npl=100, zscale=p=bt709, tonemap=hable:desat=0, zscale=t=bt709:m=bt709:r=tv
// light relative to SDR white (100 cd/m²), HLG as a 1000 cd/m² display shows it; the gamut
// converted to BT.709 in linear light; highlights rolled off by Hable's curve, scaled so
// that the signal's peak reaches white and driven by the brightest channel so hues keep; then
// encoded for a BT.1886 (gamma 2.4) display. Transfer curves and gains come from tables made
// once per process, so a pixel costs a few multiplications and look-ups instead of powers and
// logarithms (bench/ToneMapBench.cpp measures it against libavfilter's zscale and tonemap).
//
// Work on the smallest picture that will be shown: callers scale the source down first (in its
// own YCbCr, without any colour conversion) and map the result.
//
// Everything here is stateless or immutable: safe from any number of threads at once.

#include "media/ff/Ptr.h"

#include <optional>

namespace vimbo {

// How the pixels of one HDR source become SDR: what toneMap() needs to know of the source.
struct ToneMapping {
    enum class Transfer { pq, hlg };
    Transfer transfer = Transfer::pq;
    // The source's primaries, all with a D65 white: BT.2020 for everything but BT.709 and the
    // Display P3 (SMPTE EG 432-1) of phone photos.
    enum class Primaries { bt2020, p3, bt709 };
    Primaries primaries = Primaries::bt2020;
    enum class Matrix { bt2020, bt709, bt601 };
    Matrix matrix = Matrix::bt2020; // of the source's YCbCr
    bool fullRange = false;         // YCbCr codes span 0…max instead of 16…235 (scaled)
    double peak = 10;               // the brightest light, in units of SDR white (100 cd/m²)

    // The matrix as swscale names it (SWS_CS_…).
    int swsMatrix() const;
};

// Absent when the frame is SDR (any transfer other than PQ and HLG). The peak comes from the
// frame's content light level, else its mastering display, else 1000 cd/m², and is never
// below SDR white.
std::optional<ToneMapping> toneMappingOf(const AVFrame& frame);

// Maps `source` (yuv420p16, in the YCbCr of the HDR source as `mapping` describes it) into
// `target` of the same size: yuv420p, limited range BT.709 (every pixel of both planes of luma
// and chroma is written, nothing outside them), or rgb24 with BT.709 primaries and BT.1886
// encoding (the full chroma of each pixel, as a photo keeps it).
void toneMap(const ToneMapping& mapping, const AVFrame& source, AVFrame* target);

// The whole `frame` scaled to width × height (swscale with `swsFlags`) and tone-mapped: a new
// frame in `format` (yuv420p or rgb24) as toneMap() writes it. Null when the frame is not HDR or
// memory runs out.
ff::FramePtr toneMapped(const AVFrame& frame, int width, int height, int swsFlags,
                        AVPixelFormat format = AV_PIX_FMT_YUV420P);

} // namespace vimbo
