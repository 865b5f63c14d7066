#include "media/CodecCodes.h"
#include "media/MediaProbe.h"
#include "media/MovieDate.h"
#include "media/VideoTrack.h"
#include "media/ff/Movie.h"
#include "media/ff/TimedInput.h"

#include <chrono>

namespace vimbo::MediaProbe {
namespace {

// Far longer than any healthy header takes to read, even from a slow disk.
constexpr std::chrono::seconds probeTimeout{10};

AVStream* firstStream(AVFormatContext* context, AVMediaType type) {
    const int index = ff::firstStream(context, type);
    return index < 0 ? nullptr : context->streams[index];
}

// Opens a decoder on the stream's parameters, as playing it would. Absent when there is no
// decoder or it refuses them; otherwise the transfer characteristic the decoder read from the
// codec's own parameter sets (HEVC exports it on opening), or unspecified.
std::optional<AVColorTransferCharacteristic> openDecoder(const AVCodecParameters& parameters) {
    const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
    if (!codec)
        return std::nullopt;
    ff::CodecPtr context(avcodec_alloc_context3(codec));
    if (!context || avcodec_parameters_to_context(context.get(), &parameters) < 0)
        return std::nullopt;
    // One thread: a pool of frame threads would be started and torn down for nothing.
    context->thread_count = 1;
    // This decoder never decodes; its greetings and complaints would only be noise.
    context->log_level_offset = AV_LOG_TRACE;
    if (avcodec_open2(context.get(), codec, nullptr) < 0)
        return std::nullopt;
    return context->color_trc;
}

// "<format> <rate> <channels>", e.g. "aac 48000 2"; empty when the format is unknown.
QString audioFormat(const MediaInfo::Coding& audio) {
    const std::uint32_t format = audioFormatCode(audio);
    if (!format || audio.sampleRate <= 0 || audio.channels <= 0)
        return {};
    return QStringLiteral("%1 %2 %3").arg(fourCC(format)).arg(audio.sampleRate).arg(audio.channels);
}

} // namespace

std::optional<MediaInfo> probeVideo(const QUrl& url) {
    auto input = ff::TimedInput::open(url.toLocalFile(), probeTimeout);
    if (!input)
        return std::nullopt;
    AVStream* video = firstStream(input->get(), AVMEDIA_TYPE_VIDEO);
    if (!video)
        return std::nullopt;
    const AVStream* audio = firstStream(input->get(), AVMEDIA_TYPE_AUDIO);
    // Best effort: whatever is still missing afterwards fails the checks below.
    ff::completeParameters(input->get());

    const AVCodecParameters& parameters = *video->codecpar;
    const auto decodedTransfer = openDecoder(parameters);
    const double duration = trackDuration(*video);
    if (!decodedTransfer || parameters.width <= 0 || parameters.height <= 0 || !(duration > 0))
        return std::nullopt;

    MediaInfo info(MediaKind::video);
    info.naturalSize = {static_cast<double>(parameters.width),
                        static_cast<double>(parameters.height)};
    info.transform = displayTransform(*video);
    info.size = transformedSize(info.naturalSize, info.transform);
    info.duration = duration;
    info.frameRate = nominalFrameRate(*video, duration);
    info.isHDR = isHdr(*video, *decodedTransfer);
    info.videoCoding = codingOf(parameters);
    if (const std::uint32_t codec = videoCodecCode(info.videoCoding))
        info.codec = fourCC(codec);
    if (audio) {
        info.hasAudio = true;
        info.audioCoding = codingOf(*audio->codecpar);
        info.audioFormat = audioFormat(info.audioCoding);
    }
    info.dateTaken = movieCreationDate(input->get()->metadata, QDateTime::currentDateTimeUtc());
    if (!info.dateTaken)
        info.dateTaken = fileDate(url);
    return info;
}

} // namespace vimbo::MediaProbe
