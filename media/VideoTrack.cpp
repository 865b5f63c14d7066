#include "media/VideoTrack.h"

extern "C" {
#include <libavutil/dovi_meta.h>
}

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace vimbo {
namespace {

// What a 32-bit mdhd duration of all ones stands for: the writer did not know the length.
constexpr std::int64_t unknownDuration = 0xFFFFFFFF;

double seconds(double ticks, AVRational timeBase) {
    return timeBase.num > 0 && timeBase.den > 0 ? ticks * av_q2d(timeBase) : 0;
}

// The span of the track's samples: from the first to the last decode time, plus one more
// sample of average length for the last one to be shown.
double indexedDuration(AVStream& stream) {
    const int count = avformat_index_get_entries_count(&stream);
    if (count < 2)
        return 0;
    const double first = static_cast<double>(avformat_index_get_entry(&stream, 0)->timestamp);
    const double last =
        static_cast<double>(avformat_index_get_entry(&stream, count - 1)->timestamp);
    return seconds((last - first) * count / (count - 1), stream.time_base);
}

} // namespace

AffineTransform displayTransform(const AVStream& stream) {
    std::size_t size = 0;
    const std::uint8_t* data = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    std::int32_t m[9];
    if (!data || size < sizeof m)
        return {};
    std::memcpy(m, data, sizeof m);
    // The nine values are in file order (a b u c d v x y w); all but u, v, w are 16.16.
    const auto fixed = [](std::int32_t value) { return value / 65536.0; };
    const AffineTransform t{fixed(m[0]), fixed(m[1]), fixed(m[3]),
                            fixed(m[4]), fixed(m[6]), fixed(m[7])};
    if (t.a * t.d - t.b * t.c == 0)
        return {};
    return t;
}

Size transformedSize(Size natural, const AffineTransform& t) {
    // Translation moves the box without resizing it, so the corners are mapped without it.
    const double w = natural.width, h = natural.height;
    const double xs[] = {0, t.a * w, t.c * h, t.a * w + t.c * h};
    const double ys[] = {0, t.b * w, t.d * h, t.b * w + t.d * h};
    const auto [left, right] = std::minmax_element(std::begin(xs), std::end(xs));
    const auto [top, bottom] = std::minmax_element(std::begin(ys), std::end(ys));
    return {std::round(std::abs(*right - *left)), std::round(std::abs(*bottom - *top))};
}

double trackDuration(AVStream& stream) {
    const std::int64_t declared = stream.duration;
    if (declared == AV_NOPTS_VALUE || declared <= 0 || declared == unknownDuration)
        return indexedDuration(stream);
    return seconds(static_cast<double>(declared), stream.time_base);
}

float nominalFrameRate(const AVStream& stream, double duration) {
    if (stream.avg_frame_rate.num > 0 && stream.avg_frame_rate.den > 0)
        return static_cast<float>(av_q2d(stream.avg_frame_rate));
    const int frames = avformat_index_get_entries_count(&stream);
    return frames > 0 && duration > 0 ? static_cast<float>(frames / duration) : 0;
}

bool isHdr(const AVStream& stream, AVColorTransferCharacteristic decoded) {
    AVColorTransferCharacteristic transfer = stream.codecpar->color_trc;
    if (transfer == AVCOL_TRC_UNSPECIFIED)
        transfer = decoded;
    if (transfer == AVCOL_TRC_SMPTE2084 || transfer == AVCOL_TRC_ARIB_STD_B67)
        return true;
    std::size_t size = 0;
    const auto* dolby = reinterpret_cast<const AVDOVIDecoderConfigurationRecord*>(
        av_stream_get_side_data(&stream, AV_PKT_DATA_DOVI_CONF, &size));
    return dolby && size >= sizeof *dolby && dolby->dv_bl_signal_compatibility_id == 0;
}

} // namespace vimbo
