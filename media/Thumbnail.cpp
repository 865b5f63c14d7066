#include "media/Thumbnail.h"

#include "media/Orientation.h"
#include "media/Photo.h"
#include "media/ToneMap.h"
#include "media/VideoTrack.h"
#include "media/ff/Decoder.h"
#include "model/TurnedImage.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>

namespace vimbo::Thumbnail {
namespace {

// The frame shown at 0.1 s, or a later one up to a second on when decoding stops early.
constexpr double frameTime = 0.1;

// Decodes forward from the key frame before frameTime to the first frame that reaches it;
// a clip shorter than that gives its last frame.
ff::FramePtr frameNearStart(ff::Demuxer& input, int stream) {
    const AVStream* st = input.stream(stream);
    const std::int64_t start = st->start_time == AV_NOPTS_VALUE ? 0 : st->start_time;
    const std::int64_t target =
        start + av_rescale_q(std::llround(frameTime * AV_TIME_BASE), AV_TIME_BASE_Q, st->time_base);
    input.select({stream});
    input.seek(stream, target);
    ff::Decoder decoder(input, stream, ff::Decoder::Threads::one);
    ff::FramePtr frame = ff::makeFrame();
    ff::FramePtr last;
    while (decoder.receive(frame.get())) {
        const std::int64_t pts = frame->best_effort_timestamp;
        last = std::exchange(frame, ff::makeFrame());
        const std::int64_t duration = std::max<std::int64_t>(last->pkt_duration, 1);
        if (pts != AV_NOPTS_VALUE && pts + duration > target)
            break;
    }
    return last;
}

// The frame scaled to fit a square of maxPixels, as 32-bit RGB: SDR in the frame's own colours,
// HDR tone-mapped to BT.709 first, at the small size.
QImage toImage(const AVFrame& source, std::int64_t maxPixels) {
    const double scale = std::min(1.0, static_cast<double>(std::max<std::int64_t>(maxPixels, 1)) /
                                           std::max(source.width, source.height));
    const int w = std::max(1, static_cast<int>(std::lround(source.width * scale)));
    const int h = std::max(1, static_cast<int>(std::lround(source.height * scale)));
    const ff::FramePtr sdr = toneMapped(source, w, h, SWS_AREA);
    const AVFrame& frame = sdr ? *sdr : source;
    ff::SwsPtr sws(sws_getContext(frame.width, frame.height,
                                  static_cast<AVPixelFormat>(frame.format), w, h, AV_PIX_FMT_RGB32,
                                  SWS_AREA, nullptr, nullptr, nullptr));
    if (!sws)
        return {};
    const int colourspace = frame.colorspace == AVCOL_SPC_UNSPECIFIED
                                ? (frame.height >= 720 ? SWS_CS_ITU709 : SWS_CS_DEFAULT)
                                : frame.colorspace;
    sws_setColorspaceDetails(sws.get(), sws_getCoefficients(colourspace),
                             frame.color_range == AVCOL_RANGE_JPEG,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    QImage image(w, h, QImage::Format_RGB32);
    if (image.isNull())
        return {};
    uint8_t* planes[4] = {image.bits(), nullptr, nullptr, nullptr};
    int strides[4] = {static_cast<int>(image.bytesPerLine()), 0, 0, 0};
    sws_scale(sws.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    return image;
}

std::optional<QImage> videoThumbnail(const QUrl& url, std::int64_t maxPixels) {
    try {
        ff::Demuxer input(url);
        const int stream = input.firstVideoStream();
        if (stream < 0)
            return std::nullopt;
        const ff::FramePtr frame = frameNearStart(input, stream);
        if (!frame)
            return std::nullopt;
        QImage image = toImage(*frame, maxPixels);
        if (image.isNull())
            return std::nullopt;
        return upright(image, orientation(displayTransform(*input.stream(stream))));
    } catch (const std::exception&) {
        return std::nullopt; // unreadable or undecodable: the filmstrip shows its placeholder
    }
}

} // namespace

std::optional<QImage> make(const QUrl& url, MediaKind kind, std::int64_t maxPixels) {
    switch (kind) {
    case MediaKind::photo: {
        QImage image = Photo::load(url, maxPixels);
        return image.isNull() ? std::nullopt : std::optional<QImage>(std::move(image));
    }
    case MediaKind::video:
        return videoThumbnail(url, maxPixels);
    case MediaKind::unsupported:
    case MediaKind::missing:
        break;
    }
    return std::nullopt;
}

QImage rotate(const QImage& image, std::int64_t quarterTurns) {
    return turned(image, quarterTurns);
}

} // namespace vimbo::Thumbnail
