#include "media/ToneMap.h"

extern "C" {
#include <libavutil/mastering_display_metadata.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace vimbo {
namespace {

constexpr double sdrWhite = 100; // cd/m²: light 1 in every curve below

// A curve sampled over 0…top; a look-up takes the nearest sample. With 4096 samples per unit
// the error stays well under one 8-bit output code.
class Curve {
public:
    static constexpr int perUnit = 4096;

    template <typename F>
    Curve(double top, F f)
        : samples_(static_cast<std::size_t>(top * perUnit) + 1)
        , step_(static_cast<float>((samples_.size() - 1) / top))
        , top_(static_cast<float>(top)) {
        for (std::size_t i = 0; i < samples_.size(); ++i)
            samples_[i] = static_cast<float>(f(static_cast<double>(i) / step_));
    }

    // Every value replaced by the curve's; `index` is scratch of the same length. Two plain
    // loops, so that all but the look-ups themselves run as vector instructions.
    void apply(float* __restrict values, std::int32_t* __restrict index, int n) const {
        const float top = top_, step = step_;
        for (int x = 0; x < n; ++x) // the clamp also turns a NaN into 0
            index[x] =
                static_cast<std::int32_t>(std::min(std::max(values[x], 0.0f), top) * step + 0.5f);
        const float* __restrict samples = samples_.data();
        for (int x = 0; x < n; ++x)
            values[x] = samples[index[x]];
    }

private:
    std::vector<float> samples_;
    float step_, top_;
};

// Saturated colours overshoot 0…1 a little on their way from YCbCr to RGB, and light may pass
// the peak; the curves go on past 1 as the reference chain's do.
constexpr double overshoot = 1.25;

// SMPTE ST 2084: signal to display light.
double pqLight(double signal) {
    constexpr double m1 = 2610.0 / 16384, m2 = 2523.0 / 4096 * 128;
    constexpr double c1 = 3424.0 / 4096, c2 = 2413.0 / 4096 * 32, c3 = 2392.0 / 4096 * 32;
    const double p = std::pow(signal, 1 / m2);
    return std::pow(std::max(p - c1, 0.0) / (c2 - c3 * p), 1 / m1) * 10000 / sdrWhite;
}

// ARIB STD-B67 (HLG): signal to scene light, 0…1.
double hlgSceneLight(double signal) {
    constexpr double a = 0.17883277, b = 0.28466892, c = 0.55991073;
    return signal <= 0.5 ? signal * signal / 3 : (std::exp((signal - c) / a) + b) / 12;
}

// HLG shown on a 1000 cd/m² display: its system gamma 1.2 applied to each channel (as zimg
// does; the luminance-driven form of BT.2100 renders saturated colours darker).
double hlgLight(double signal) {
    return std::pow(hlgSceneLight(signal), 1.2) * 1000 / sdrWhite;
}

struct Curves {
    Curve pq{overshoot, pqLight};
    Curve hlg{overshoot, hlgLight};
    // BT.1886 encoding (light^(1/2.4)), indexed by the square root of light: in the light itself
    // the near-black steps would be several output codes apart.
    Curve display{overshoot, [](double root) { return std::pow(root, 2 / 2.4); }};
};

const Curves& curves() {
    static const Curves shared;
    return shared;
}

// Hable's filmic curve, as FFmpeg's tonemap filter has it.
constexpr float hableA = 0.15f, hableB = 0.50f, hableC = 0.10f, hableD = 0.20f, hableE = 0.02f,
                hableF = 0.30f;

float hable(float x) {
    return (x * (x * hableA + hableB * hableC) + hableD * hableE) /
               (x * (x * hableA + hableB) + hableD * hableF) -
           hableE / hableF;
}

// hable(x) / x, with one division instead of two.
float hableOverX(float x) {
    const float numerator = x * (x * hableA + hableB * hableC) + hableD * hableE;
    const float denominator = x * (x * hableA + hableB) + hableD * hableF;
    return (numerator - hableE / hableF * denominator) / (denominator * x);
}

// The matrix from linear RGB in `primaries` to linear BT.709 RGB, both with a D65 white.
const float* gamutTo709(ToneMapping::Primaries primaries) {
    static constexpr float bt2020[9] = {1.6604910f,  -0.5876411f, -0.0728499f,
                                        -0.1245505f, 1.1328999f,  -0.0083494f,
                                        -0.0181508f, -0.1005789f, 1.1187297f};
    static constexpr float p3[9] = {1.2249402f, -0.2249402f, 0,           -0.0420570f, 1.0420570f,
                                    0,          -0.0196376f, -0.0786360f, 1.0982736f};
    static constexpr float same[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    switch (primaries) {
    case ToneMapping::Primaries::p3:
        return p3;
    case ToneMapping::Primaries::bt709:
        return same;
    case ToneMapping::Primaries::bt2020:
        break;
    }
    return bt2020;
}

// The red and blue luma weights of a YCbCr matrix.
std::pair<double, double> weights(ToneMapping::Matrix m) {
    switch (m) {
    case ToneMapping::Matrix::bt709:
        return {0.2126, 0.0722};
    case ToneMapping::Matrix::bt601:
        return {0.299, 0.114};
    case ToneMapping::Matrix::bt2020:
        break;
    }
    return {0.2627, 0.0593};
}

const std::uint16_t* row16(const AVFrame& f, int plane, int y) {
    return reinterpret_cast<const std::uint16_t*>(f.data[plane] + static_cast<std::ptrdiff_t>(y) *
                                                                      f.linesize[plane]);
}

std::uint8_t* row8(AVFrame* f, int plane, int y) {
    return f->data[plane] + static_cast<std::ptrdiff_t>(y) * f->linesize[plane];
}

std::uint8_t code(float v) {
    return static_cast<std::uint8_t>(std::min(std::max(v, 0.0f), 255.0f));
}

float luma709(float r, float g, float b) {
    return 0.2126f * r + 0.7152f * g + 0.0722f * b;
}

// One row of pixels as three planes of floats.
struct RgbRow {
    std::vector<float> r, g, b;
    explicit RgbRow(int width)
        : r(static_cast<std::size_t>(width))
        , g(r.size())
        , b(r.size()) {}
};

// Maps rows of one source, pass by pass over the whole row: each pass a plain loop over floats
// that the compiler turns into vector instructions (all but the table look-ups), far quicker
// than taking every pixel through every step in turn.
class RowMapper {
public:
    RowMapper(const ToneMapping& m, int width)
        : width_(width)
        , display_(curves().display)
        , eotf_(m.transfer == ToneMapping::Transfer::pq ? curves().pq : curves().hlg)
        , lumaBlack_(m.fullRange ? 0.0f : 16 * 256.0f)
        , lumaStep_(m.fullRange ? 1 / 65535.0f : 1 / (219 * 256.0f))
        , chromaStep_(m.fullRange ? 1 / 65535.0f : 1 / (224 * 256.0f))
        , peakCurve_(1 / hable(float(std::max(m.peak, 1.0))))
        , index_(static_cast<std::size_t>(width))
        , scratch_(static_cast<std::size_t>(width)) {
        const auto [kr, kb] = weights(m.matrix);
        const double kg = 1 - kr - kb;
        crToR_ = float(2 * (1 - kr));
        cbToG_ = float(-2 * kb * (1 - kb) / kg);
        crToG_ = float(-2 * kr * (1 - kr) / kg);
        cbToB_ = float(2 * (1 - kb));
        std::copy_n(gamutTo709(m.primaries), 9, gamut_);
    }

    // A chroma code as a signed difference (−0.5…0.5).
    float chroma(float code) const { return (code - 32768.0f) * chromaStep_; }

    // One luma row and its upsampled chroma as BT.1886-encoded BT.709 RGB: 0…1, or a little
    // below 0 for colours the smaller gamut does not hold (their YCbCr still comes out right).
    void map(const std::uint16_t* __restrict luma, const float* __restrict u,
             const float* __restrict v, RgbRow& out) {
        float* __restrict r = out.r.data();
        float* __restrict g = out.g.data();
        float* __restrict b = out.b.data();
        const int n = width_;
        for (int x = 0; x < n; ++x) {
            const float y = (luma[x] - lumaBlack_) * lumaStep_;
            r[x] = y + crToR_ * v[x];
            g[x] = y + cbToG_ * u[x] + crToG_ * v[x];
            b[x] = y + cbToB_ * u[x];
        }
        for (float* plane : {r, g, b})
            eotf_.apply(plane, index_.data(), n);
        const float* m = gamut_;
        float* __restrict signal = scratch_.data();
        for (int x = 0; x < n; ++x) {
            const float lr = m[0] * r[x] + m[1] * g[x] + m[2] * b[x];
            const float lg = m[3] * r[x] + m[4] * g[x] + m[5] * b[x];
            const float lb = m[6] * r[x] + m[7] * g[x] + m[8] * b[x];
            r[x] = lr;
            g[x] = lg;
            b[x] = lb;
            signal[x] = std::max(std::max(std::max(lr, lg), lb), 1e-6f);
        }
        // Apart from the loop above: a branch beside the division keeps either from vectorising.
        const float peakCurve = peakCurve_;
        for (int x = 0; x < n; ++x) {
            const float scale = hableOverX(signal[x]) * peakCurve;
            r[x] *= scale;
            g[x] *= scale;
            b[x] *= scale;
        }
        for (float* plane : {r, g, b})
            encode(plane);
    }

private:
    // Light to BT.1886 signal. Negative light (outside the BT.709 gamut) is encoded as the
    // mirror image of positive, as zimg does: a colour just outside keeps its hue instead of
    // being pushed to another.
    void encode(float* __restrict light) {
        float* __restrict root = scratch_.data();
        const int n = width_;
        for (int x = 0; x < n; ++x)
            root[x] = std::sqrt(std::abs(light[x]));
        display_.apply(root, index_.data(), n);
        for (int x = 0; x < n; ++x)
            light[x] = std::copysign(root[x], light[x]);
    }

    int width_;
    const Curve& display_;
    const Curve& eotf_;
    float crToR_ = 0, cbToG_ = 0, crToG_ = 0, cbToB_ = 0;
    float lumaBlack_, lumaStep_, chromaStep_;
    float peakCurve_;
    float gamut_[9] = {};
    std::vector<std::int32_t> index_;
    std::vector<float> scratch_;
};

// One luma row's chroma, upsampled bilinearly from 4:2:0 as MPEG-2 and every phone site it:
// chroma samples lie on the even luma columns and halfway between two luma rows, so luma row
// 2cy + r (r = 0 or 1) takes ¾ of chroma row cy and ¼ of its neighbour above or below.
// Upsampling by repetition instead would make every edge differ from FFmpeg's reference.
void upsampleChroma(const RowMapper& k, const AVFrame& source, int plane, int cy, int r, int width,
                    float* __restrict mixed, float* __restrict out) {
    const int chromaWidth = (width + 1) / 2, chromaHeight = (source.height + 1) / 2;
    const std::uint16_t* __restrict near = row16(source, plane, cy);
    const std::uint16_t* __restrict far =
        row16(source, plane, std::clamp(r ? cy + 1 : cy - 1, 0, chromaHeight - 1));
    for (int cx = 0; cx < chromaWidth; ++cx)
        mixed[cx] = k.chroma(0.75f * near[cx] + 0.25f * far[cx]);
    for (int cx = 0; cx + 1 < chromaWidth; ++cx) {
        out[2 * cx] = mixed[cx];
        out[2 * cx + 1] = 0.5f * (mixed[cx] + mixed[cx + 1]);
    }
    const int last = chromaWidth - 1;
    out[2 * last] = mixed[last];
    if (2 * last + 1 < width)
        out[2 * last + 1] = mixed[last];
}

// Luma rows 2cy and 2cy + 1 (only the first at an odd picture's bottom) and their chroma row.
class BlockRows {
public:
    BlockRows(const ToneMapping& m, int width)
        : mapper_(m, width)
        , width_(width)
        , u_(static_cast<std::size_t>(width))
        , v_(u_.size())
        , mixed_(u_.size())
        , rows_{RgbRow(width), RgbRow(width)} {}

    void map(const AVFrame& src, AVFrame* dst, int cy, int rows) {
        const bool rgb = dst->format == AV_PIX_FMT_RGB24;
        for (int r = 0; r < rows; ++r) {
            upsampleChroma(mapper_, src, 1, cy, r, width_, mixed_.data(), u_.data());
            upsampleChroma(mapper_, src, 2, cy, r, width_, mixed_.data(), v_.data());
            RgbRow& p = rows_[static_cast<std::size_t>(r)];
            mapper_.map(row16(src, 0, 2 * cy + r), u_.data(), v_.data(), p);
            if (rgb)
                writeRgb(p, row8(dst, 0, 2 * cy + r));
            else
                writeLuma(p, row8(dst, 0, 2 * cy + r));
        }
        if (rgb)
            return;
        // Each chroma sample from the mean of its block's pixels.
        std::uint8_t *cb = row8(dst, 1, cy), *cr = row8(dst, 2, cy);
        const RgbRow& last = rows_[static_cast<std::size_t>(rows - 1)];
        for (int cx = 0; cx < (width_ + 1) / 2; ++cx) {
            const auto x0 = static_cast<std::size_t>(2 * cx);
            const auto x1 = std::min(x0 + 1, static_cast<std::size_t>(width_ - 1));
            auto mean = [&](const std::vector<float> RgbRow::*plane) {
                const std::vector<float>& top = rows_[0].*plane;
                const std::vector<float>& bottom = last.*plane;
                return 0.25f * (top[x0] + top[x1] + bottom[x0] + bottom[x1]);
            };
            const float r = mean(&RgbRow::r), g = mean(&RgbRow::g), b = mean(&RgbRow::b);
            const float y = luma709(r, g, b);
            cb[cx] = code(128.5f + 224 * (b - y) / 1.8556f);
            cr[cx] = code(128.5f + 224 * (r - y) / 1.5748f);
        }
    }

private:
    void writeRgb(const RgbRow& p, std::uint8_t* __restrict out) const {
        const float* __restrict r = p.r.data();
        const float* __restrict g = p.g.data();
        const float* __restrict b = p.b.data();
        for (int x = 0; x < width_; ++x) {
            out[3 * x] = code(0.5f + 255 * r[x]);
            out[3 * x + 1] = code(0.5f + 255 * g[x]);
            out[3 * x + 2] = code(0.5f + 255 * b[x]);
        }
    }

    void writeLuma(const RgbRow& p, std::uint8_t* __restrict y) const {
        const float* __restrict r = p.r.data();
        const float* __restrict g = p.g.data();
        const float* __restrict b = p.b.data();
        for (int x = 0; x < width_; ++x)
            y[x] = code(16.5f + 219 * luma709(r[x], g[x], b[x]));
    }

    RowMapper mapper_;
    int width_;
    std::vector<float> u_, v_, mixed_;
    std::array<RgbRow, 2> rows_;
};

bool isFullRange(const AVFrame& f) {
    const auto format = static_cast<AVPixelFormat>(f.format);
    return f.color_range == AVCOL_RANGE_JPEG || format == AV_PIX_FMT_YUVJ420P ||
           format == AV_PIX_FMT_YUVJ422P || format == AV_PIX_FMT_YUVJ444P;
}

// In units of SDR white, as FFmpeg's tonemap filter finds it.
double signalPeak(const AVFrame& f) {
    double peak = 0;
    if (const AVFrameSideData* sd = av_frame_get_side_data(&f, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL))
        peak = reinterpret_cast<const AVContentLightMetadata*>(sd->data)->MaxCLL / sdrWhite;
    const AVFrameSideData* sd =
        av_frame_get_side_data(&f, AV_FRAME_DATA_MASTERING_DISPLAY_METADATA);
    if (!(peak > 0) && sd) {
        const auto* display = reinterpret_cast<const AVMasteringDisplayMetadata*>(sd->data);
        if (display->has_luminance && display->max_luminance.den > 0)
            peak = av_q2d(display->max_luminance) / sdrWhite;
    }
    // Without metadata: the 1000 cd/m² display that HLG assumes and most PQ video is graded on.
    if (!(peak > 0))
        peak = 1000 / sdrWhite;
    return std::clamp(peak, 1.0, 10000 / sdrWhite);
}

} // namespace

int ToneMapping::swsMatrix() const {
    switch (matrix) {
    case Matrix::bt709:
        return SWS_CS_ITU709;
    case Matrix::bt601:
        return SWS_CS_ITU601;
    case Matrix::bt2020:
        break;
    }
    return SWS_CS_BT2020;
}

std::optional<ToneMapping> toneMappingOf(const AVFrame& frame) {
    ToneMapping m;
    switch (frame.color_trc) {
    case AVCOL_TRC_SMPTE2084:
        m.transfer = ToneMapping::Transfer::pq;
        break;
    case AVCOL_TRC_ARIB_STD_B67:
        m.transfer = ToneMapping::Transfer::hlg;
        break;
    default:
        return std::nullopt;
    }
    switch (frame.color_primaries) {
    case AVCOL_PRI_BT709:
        m.primaries = ToneMapping::Primaries::bt709;
        break;
    case AVCOL_PRI_SMPTE432:
        m.primaries = ToneMapping::Primaries::p3;
        break;
    default: // BT.2020, as HDR video is unless it says otherwise
        break;
    }
    switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
        m.matrix = ToneMapping::Matrix::bt709;
        break;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
        m.matrix = ToneMapping::Matrix::bt601;
        break;
    default: // BT.2020, as HDR video is unless it says otherwise
        break;
    }
    m.fullRange = isFullRange(frame);
    m.peak = signalPeak(frame);
    return m;
}

void toneMap(const ToneMapping& mapping, const AVFrame& source, AVFrame* target) {
    const int width = target->width, height = target->height;
    if (width <= 0 || height <= 0)
        return;
    BlockRows blocks(mapping, width);
    for (int cy = 0; cy < (height + 1) / 2; ++cy)
        blocks.map(source, target, cy, std::min(2, height - 2 * cy));
}

ff::FramePtr toneMapped(const AVFrame& frame, int width, int height, int swsFlags,
                        AVPixelFormat format) {
    const std::optional<ToneMapping> mapping = toneMappingOf(frame);
    if (!mapping)
        return nullptr;
    ff::FramePtr wide = ff::makeFrame(), out = ff::makeFrame();
    if (!wide || !out)
        return nullptr;
    wide->format = AV_PIX_FMT_YUV420P16;
    out->format = format;
    for (AVFrame* f : {wide.get(), out.get()}) {
        f->width = width;
        f->height = height;
        if (av_frame_get_buffer(f, 0) < 0)
            return nullptr;
    }
    ff::SwsPtr sws(sws_getContext(frame.width, frame.height,
                                  static_cast<AVPixelFormat>(frame.format), width, height,
                                  AV_PIX_FMT_YUV420P16, swsFlags, nullptr, nullptr, nullptr));
    if (!sws)
        return nullptr;
    // Scaling only: the source's own YCbCr and range go through unchanged.
    const int* coefficients = sws_getCoefficients(mapping->swsMatrix());
    sws_setColorspaceDetails(sws.get(), coefficients, mapping->fullRange, coefficients,
                             mapping->fullRange, 0, 1 << 16, 1 << 16);
    if (sws_scale(sws.get(), frame.data, frame.linesize, 0, frame.height, wide->data,
                  wide->linesize) <= 0)
        return nullptr;
    toneMap(*mapping, *wide, out.get());
    out->color_primaries = AVCOL_PRI_BT709;
    out->color_trc = AVCOL_TRC_BT709;
    out->colorspace = format == AV_PIX_FMT_RGB24 ? AVCOL_SPC_RGB : AVCOL_SPC_BT709;
    out->color_range = format == AV_PIX_FMT_RGB24 ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    return out;
}

} // namespace vimbo
