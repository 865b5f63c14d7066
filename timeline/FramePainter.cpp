#include "timeline/FramePainter.h"

#include "media/ToneMap.h"
#include "model/VimboError.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace vimbo {
namespace {

constexpr std::uint8_t blackLuma = 16;
constexpr std::uint8_t blackChroma = 128;

VimboError outOfMemory() {
    return VimboError::exportFailed(QStringLiteral("Out of memory."));
}

AVPixelFormat withoutJpegRange(AVPixelFormat f) {
    switch (f) {
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
        return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ411P:
        return AV_PIX_FMT_YUV411P;
    default:
        return f;
    }
}

bool isFullRange(const AVFrame& f) {
    const auto format = static_cast<AVPixelFormat>(f.format);
    return f.color_range == AVCOL_RANGE_JPEG || withoutJpegRange(format) != format;
}

// The YCbCr matrix of a source, as swscale names it. Untagged video is taken as BT.709 when
// it is high definition and BT.601 otherwise, as players do.
int matrixOf(const AVFrame& f) {
    switch (f.colorspace) {
    case AVCOL_SPC_BT709:
        return SWS_CS_ITU709;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
        return SWS_CS_ITU601;
    case AVCOL_SPC_SMPTE240M:
        return SWS_CS_SMPTE240M;
    case AVCOL_SPC_FCC:
        return SWS_CS_FCC;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return SWS_CS_BT2020;
    default:
        return f.height >= 720 || f.width >= 1280 ? SWS_CS_ITU709 : SWS_CS_ITU601;
    }
}

bool isOutputFormat(const AVFrame& f) {
    return f.format == AV_PIX_FMT_YUV420P && !isFullRange(f) && matrixOf(f) == SWS_CS_ITU709 &&
           !toneMappingOf(f);
}

void tag(AVFrame* f) {
    f->color_primaries = AVCOL_PRI_BT709;
    f->color_trc = AVCOL_TRC_BT709;
    f->colorspace = AVCOL_SPC_BT709;
    f->color_range = AVCOL_RANGE_MPEG;
}

// Pointers to the pixel at (x0, y0) of every plane; x0 and y0 lie on whole chroma samples.
bool cropView(const AVFrame& f, int x0, int y0, std::uint8_t* data[4]) {
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(f.format));
    if (!desc ||
        (desc->flags & (AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_PAL)))
        return false;
    int steps[4] = {};
    av_image_fill_max_pixsteps(steps, nullptr, desc);
    const bool rgb = desc->flags & AV_PIX_FMT_FLAG_RGB;
    for (int p = 0; p < 4; ++p) {
        const bool chroma = !rgb && (p == 1 || p == 2);
        const int sx = chroma ? desc->log2_chroma_w : 0;
        const int sy = chroma ? desc->log2_chroma_h : 0;
        data[p] = f.data[p] ? f.data[p] + static_cast<std::ptrdiff_t>(y0 >> sy) * f.linesize[p] +
                                  (x0 >> sx) * steps[p]
                            : nullptr;
    }
    return true;
}

// Copies a w × h block of one plane so that the destination shows `map` of the source; for a
// swapped map the source block is h × w. Works in tiles so that turned copies stay in cache.
void remap(const std::uint8_t* src, int srcStride, std::uint8_t* dst, int dstStride, int w, int h,
           const PlaneMap& map) {
    const int srcW = map.swap ? h : w;
    const int srcH = map.swap ? w : h;
    const std::ptrdiff_t du = map.flipX ? -1 : 1;
    const std::ptrdiff_t dv = map.flipY ? -static_cast<std::ptrdiff_t>(srcStride) : srcStride;
    const std::uint8_t* base = src + (map.flipX ? srcW - 1 : 0) +
                               (map.flipY ? static_cast<std::ptrdiff_t>(srcH - 1) * srcStride : 0);
    const std::ptrdiff_t stepX = map.swap ? dv : du;
    const std::ptrdiff_t stepY = map.swap ? du : dv;
    if (stepX == 1) {
        for (int y = 0; y < h; ++y)
            std::memcpy(dst + static_cast<std::ptrdiff_t>(y) * dstStride, base + y * stepY,
                        static_cast<std::size_t>(w));
        return;
    }
    constexpr int tile = 32;
    for (int ty = 0; ty < h; ty += tile)
        for (int tx = 0; tx < w; tx += tile)
            for (int y = ty; y < std::min(h, ty + tile); ++y) {
                std::uint8_t* d = dst + static_cast<std::ptrdiff_t>(y) * dstStride;
                const std::uint8_t* s = base + y * stepY;
                for (int x = tx; x < std::min(w, tx + tile); ++x)
                    d[x] = s[x * stepX];
            }
}

void fillRect(AVFrame* f, int plane, int x0, int y0, int x1, int y1, std::uint8_t value) {
    for (int y = y0; y < y1; ++y)
        std::memset(f->data[plane] + static_cast<std::ptrdiff_t>(y) * f->linesize[plane] + x0,
                    value, static_cast<std::size_t>(x1 - x0));
}

// Paints black everywhere outside the luma rectangle (x0, y0)–(x1, y1).
void fillOutside(AVFrame* f, int x0, int y0, int x1, int y1) {
    for (int p = 0; p < 3; ++p) {
        const int s = p == 0 ? 0 : 1;
        const int w = (f->width + s) >> s, h = (f->height + s) >> s;
        const int l = x0 >> s, t = y0 >> s, r = (x1 + s) >> s, b = (y1 + s) >> s;
        const std::uint8_t v = p == 0 ? blackLuma : blackChroma;
        if (r <= l || b <= t) {
            fillRect(f, p, 0, 0, w, h, v);
            continue;
        }
        fillRect(f, p, 0, 0, w, t, v);
        fillRect(f, p, 0, b, w, h, v);
        fillRect(f, p, 0, t, l, b, v);
        fillRect(f, p, r, t, w, b, v);
    }
}

ff::FramePtr allocate(int width, int height, AVPixelFormat format = AV_PIX_FMT_YUV420P) {
    ff::FramePtr f = ff::makeFrame();
    if (!f)
        throw outOfMemory();
    f->format = format;
    f->width = width;
    f->height = height;
    if (av_frame_get_buffer(f.get(), 0) < 0)
        throw outOfMemory();
    tag(f.get());
    return f;
}

int roundedScale(int value, int to, int from) {
    return static_cast<int>(std::lround(static_cast<double>(value) * to / from));
}

} // namespace

ff::FramePtr FramePainter::blackFrame(int width, int height) {
    ff::FramePtr f = allocate(width, height);
    fillOutside(f.get(), 0, 0, 0, 0);
    return f;
}

ff::FramePtr FramePainter::outputFrame(int width, int height) {
    constexpr int align = 64;
    const int size = av_image_get_buffer_size(AV_PIX_FMT_YUV420P, width, height, align);
    if (!pool_ || poolWidth_ != width || poolHeight_ != height) {
        pool_.reset(av_buffer_pool_init(
            static_cast<std::size_t>(size) + AV_INPUT_BUFFER_PADDING_SIZE, nullptr));
        poolWidth_ = width;
        poolHeight_ = height;
    }
    ff::FramePtr f = ff::makeFrame();
    if (!f || !pool_)
        throw outOfMemory();
    f->buf[0] = av_buffer_pool_get(pool_.get());
    if (!f->buf[0])
        throw outOfMemory();
    f->format = AV_PIX_FMT_YUV420P;
    f->width = width;
    f->height = height;
    av_image_fill_arrays(f->data, f->linesize, f->buf[0]->data, AV_PIX_FMT_YUV420P, width, height,
                         align);
    tag(f.get());
    return f;
}

AVFrame* FramePainter::scratch(ff::FramePtr& frame, AVPixelFormat format, int width, int height) {
    if (!frame || frame->width != width || frame->height != height ||
        !av_frame_is_writable(frame.get()))
        frame = allocate(width, height, format);
    return frame.get();
}

SwsContext* FramePainter::scaler(const ScalerShape& shape) {
    if (scaler_ && shape == shape_)
        return scaler_.get();
    shape_ = {};
    colours_ = {};
    scaler_.reset(sws_alloc_context());
    SwsContext* c = scaler_.get();
    if (!c)
        return nullptr;
    av_opt_set_int(c, "srcw", shape.srcWidth, 0);
    av_opt_set_int(c, "srch", shape.srcHeight, 0);
    av_opt_set_int(c, "src_format", shape.format, 0);
    av_opt_set_int(c, "dstw", shape.width, 0);
    av_opt_set_int(c, "dsth", shape.height, 0);
    av_opt_set_int(c, "dst_format", shape.target, 0);
    av_opt_set_int(c, "sws_flags", shape.flags, 0);
    // Slices on every core: decoding often leaves one idle while a large frame is scaled.
    av_opt_set_int(c, "threads", 0, 0);
    if (sws_init_context(c, nullptr, nullptr) < 0) {
        scaler_.reset();
        return nullptr;
    }
    shape_ = shape;
    return c;
}

bool FramePainter::scale(const AVFrame& source, const Rect& crop, Resampling resampling,
                         AVFrame* target) {
    ff::FramePtr view = ff::makeFrame();
    if (!view || !cropView(source, crop.x0, crop.y0, view->data))
        return false;
    const auto format = withoutJpegRange(static_cast<AVPixelFormat>(source.format));
    const int flags = resampling == Resampling::none      ? SWS_POINT
                      : scaling_ == Scaling::fast         ? SWS_FAST_BILINEAR
                      : resampling == Resampling::lanczos ? SWS_LANCZOS
                                                          : SWS_BILINEAR;
    const std::optional<ToneMapping> hdr = toneMappingOf(source);
    AVFrame* into =
        hdr ? scratch(wide_, AV_PIX_FMT_YUV420P16, target->width, target->height) : target;
    SwsContext* c = scaler(
        {crop.width(), crop.height(), format, into->width, into->height, into->format, flags});
    if (!c)
        return false;
    // Straight to BT.709, or for HDR only scaled, in the source's own YCbCr.
    const ScalerColours colours =
        hdr ? ScalerColours{hdr->swsMatrix(), hdr->swsMatrix(), hdr->fullRange, hdr->fullRange}
            : ScalerColours{matrixOf(source), SWS_CS_ITU709, isFullRange(source), 0};
    if (!(colours == colours_)) {
        sws_setColorspaceDetails(c, sws_getCoefficients(colours.from), colours.fromFull,
                                 sws_getCoefficients(colours.to), colours.toFull, 0, 1 << 16,
                                 1 << 16);
        colours_ = colours;
    }
    // The view shares the source's pixels; swscale only needs it to hold a reference.
    std::copy_n(source.linesize, 4, view->linesize);
    view->format = format;
    view->width = crop.width();
    view->height = crop.height();
    view->buf[0] = source.buf[0] ? av_buffer_ref(source.buf[0])
                                 : av_buffer_create(
                                       view->data[0], 1, [](void*, std::uint8_t*) {}, nullptr,
                                       AV_BUFFER_FLAG_READONLY);
    if (!view->buf[0] || sws_scale_frame(c, into, view.get()) < 0)
        return false;
    if (hdr)
        toneMap(*hdr, *into, target);
    return true;
}

// A frame that writes into `planes` of `owner`'s buffer.
ff::FramePtr FramePainter::window(const AVFrame& owner, std::uint8_t* const planes[4], int width,
                                  int height) {
    ff::FramePtr f = ff::makeFrame();
    if (!f)
        throw outOfMemory();
    std::copy_n(planes, 4, f->data);
    std::copy_n(owner.linesize, 4, f->linesize);
    f->format = AV_PIX_FMT_YUV420P;
    f->width = width;
    f->height = height;
    f->buf[0] = av_buffer_ref(owner.buf[0]);
    if (!f->buf[0])
        throw outOfMemory();
    return f;
}

namespace {

using Rect = FramePainter::Rect;

// Which part of a placed picture shows, and where that part comes from.
struct Window {
    Rect shown;  // in the output frame
    Rect stored; // the same part of the picture scaled to qw × qh in the stored orientation
    Rect crop;   // the source pixels under it, widened to whole chroma samples
    Rect scaled; // where `crop` lands in the qw × qh picture
    int qw = 0, qh = 0;
};

Window windowOf(const AVFrame& source, const PlaneMap& map, const Placement& placement, int width,
                int height) {
    Window w;
    w.shown = {std::max(placement.x, 0), std::max(placement.y, 0),
               std::min(placement.x + placement.width, width),
               std::min(placement.y + placement.height, height)};
    const Rect& v = w.shown;
    const Rect p{v.x0 - placement.x, v.y0 - placement.y, v.x1 - placement.x, v.y1 - placement.y};
    w.qw = map.swap ? placement.height : placement.width;
    w.qh = map.swap ? placement.width : placement.height;
    Rect r = map.swap ? Rect{p.y0, p.x0, p.y1, p.x1} : p;
    if (map.flipX)
        r = {w.qw - r.x1, r.y0, w.qw - r.x0, r.y1};
    if (map.flipY)
        r = {r.x0, w.qh - r.y1, r.x1, w.qh - r.y0};
    w.stored = r;

    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(source.format));
    const int ax = desc ? 1 << desc->log2_chroma_w : 1, ay = desc ? 1 << desc->log2_chroma_h : 1;
    const int sw = source.width, sh = source.height;
    auto up = [](double x, int step) {
        return (static_cast<int>(std::ceil(x)) + step - 1) / step * step;
    };
    w.crop = {r.x0 * sw / w.qw / ax * ax, r.y0 * sh / w.qh / ay * ay,
              std::min(sw, up(static_cast<double>(r.x1) * sw / w.qw, ax)),
              std::min(sh, up(static_cast<double>(r.y1) * sh / w.qh, ay))};
    w.scaled = {roundedScale(w.crop.x0, w.qw, sw), roundedScale(w.crop.y0, w.qh, sh),
                w.crop.x1 == sw ? w.qw : roundedScale(w.crop.x1, w.qw, sw),
                w.crop.y1 == sh ? w.qh : roundedScale(w.crop.y1, w.qh, sh)};
    return w;
}

// Copies `part` of the scaled picture into `shown` of the output frame, turned by `map`.
void copyTurned(const AVFrame& scaled, const Rect& part, AVFrame* out, const Rect& shown,
                const PlaneMap& map) {
    for (int plane = 0; plane < 3; ++plane) {
        const int s = plane == 0 ? 0 : 1;
        const Rect from{part.x0 >> s, part.y0 >> s, (part.x1 + s) >> s, (part.y1 + s) >> s};
        const Rect to{shown.x0 >> s, shown.y0 >> s, (shown.x1 + s) >> s, (shown.y1 + s) >> s};
        const int w = std::min(to.width(), map.swap ? from.height() : from.width());
        const int h = std::min(to.height(), map.swap ? from.width() : from.height());
        // Flips count from the far edge of the copied block, so take the block from there.
        const int fw = map.swap ? h : w, fh = map.swap ? w : h;
        const int fx = map.flipX ? from.x1 - fw : from.x0;
        const int fy = map.flipY ? from.y1 - fh : from.y0;
        remap(scaled.data[plane] + static_cast<std::ptrdiff_t>(fy) * scaled.linesize[plane] + fx,
              scaled.linesize[plane],
              out->data[plane] + static_cast<std::ptrdiff_t>(to.y0) * out->linesize[plane] + to.x0,
              out->linesize[plane], w, h, map);
    }
}

} // namespace

ff::FramePtr FramePainter::paint(const AVFrame& source, const PlaneMap& map,
                                 const Placement& placement, int width, int height) {
    if (map.isIdentity() && placement == Placement{1, Resampling::none, 0, 0, width, height} &&
        source.width == width && source.height == height && isOutputFormat(source)) {
        ff::FramePtr shared(av_frame_clone(&source));
        if (!shared)
            throw outOfMemory();
        tag(shared.get());
        return shared;
    }
    ff::FramePtr out = outputFrame(width, height);
    const Window w = windowOf(source, map, placement, width, height);
    fillOutside(out.get(), w.shown.x0, w.shown.y0, w.shown.x1, w.shown.y1);
    if (w.shown.isEmpty() || source.width <= 0 || source.height <= 0 || w.scaled.isEmpty())
        return out;
    if (map.isIdentity() && w.scaled == Rect{0, 0, w.qw, w.qh} && w.stored == w.scaled) {
        // The whole picture shows upright: scale straight into place.
        std::uint8_t* planes[4] = {};
        for (int p = 0; p < 3; ++p) {
            const int s = p == 0 ? 0 : 1;
            planes[p] = out->data[p] +
                        static_cast<std::ptrdiff_t>(w.shown.y0 >> s) * out->linesize[p] +
                        (w.shown.x0 >> s);
        }
        scale(source, w.crop, placement.resampling, window(*out, planes, w.qw, w.qh).get());
        return out;
    }
    AVFrame* tmp = scratch(scratch_, AV_PIX_FMT_YUV420P, w.scaled.width(), w.scaled.height());
    if (!scale(source, w.crop, placement.resampling, tmp))
        return out;
    const Rect part{std::max(w.stored.x0 - w.scaled.x0, 0), std::max(w.stored.y0 - w.scaled.y0, 0),
                    std::min(w.stored.x1 - w.scaled.x0, tmp->width),
                    std::min(w.stored.y1 - w.scaled.y0, tmp->height)};
    copyTurned(*tmp, part, out.get(), w.shown, map);
    return out;
}

} // namespace vimbo
