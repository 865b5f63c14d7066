#include "export/SourceScan.h"

#include "export/ExportFailure.h"
#include "media/ff/Movie.h"

extern "C" {
#include <libavutil/display.h>
}

namespace vimbo {
namespace {

QByteArray bytes(const std::uint8_t* data, int size) {
    return data && size > 0 ? QByteArray(reinterpret_cast<const char*>(data), size) : QByteArray();
}

StreamFormat formatOf(const AVStream* s) {
    StreamFormat f;
    f.parameters = ff::copyParameters(s->codecpar);
    if (!f.parameters)
        throw ExportFailure::failed();
    std::size_t size = 0;
    const std::uint8_t* matrix = av_stream_get_side_data(s, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (matrix && size >= 9 * sizeof(std::int32_t))
        f.displayMatrix = bytes(matrix, 9 * static_cast<int>(sizeof(std::int32_t)));
    return f;
}

PacketStamp stampOf(const AVPacket* p) {
    return {p->pts, p->dts, p->duration, (p->flags & AV_PKT_FLAG_KEY) != 0,
            (p->flags & AV_PKT_FLAG_DISCARD) != 0};
}

} // namespace

SourceFile openSource(const QString& path, const CancelFlag& cancel) {
    int opened = 0;
    ff::InputPtr context = ff::openMovie(path, ff::interruptCallback(&cancel), &opened);
    cancel.throwIfCancelled();
    if (!context)
        throw ExportFailure::reading(opened, path);
    AVFormatContext* raw = context.get();
    SourceFile source{std::move(context)};
    source.video = ff::firstStream(raw, AVMEDIA_TYPE_VIDEO);
    source.audio = ff::firstStream(raw, AVMEDIA_TYPE_AUDIO);
    if (source.video < 0)
        throw VimboError::unreadable(QUrl::fromLocalFile(path));
    for (unsigned i = 0; i < raw->nb_streams; ++i)
        if (static_cast<int>(i) != source.video && static_cast<int>(i) != source.audio)
            raw->streams[i]->discard = AVDISCARD_ALL;
    return source;
}

SourceScan scanSource(const QString& path, bool withAudio, const CancelFlag& cancel) {
    SourceFile source = openSource(path, cancel);
    AVFormatContext* c = source.context.get();
    if (!withAudio && source.audio >= 0) {
        c->streams[source.audio]->discard = AVDISCARD_ALL;
        source.audio = -1;
    }
    SourceScan scan;
    const AVStream* vs = c->streams[source.video];
    scan.video = formatOf(vs);
    VideoFacts& video = scan.clip.video;
    video.codecId = vs->codecpar->codec_id;
    video.width = vs->codecpar->width;
    video.height = vs->codecpar->height;
    video.extradata = bytes(vs->codecpar->extradata, vs->codecpar->extradata_size);
    video.timeBase = vs->time_base;
    const std::int64_t declaredLength =
        vs->duration > 0 && vs->duration != AV_NOPTS_VALUE ? vs->duration : 0;
    AudioFacts audio;
    if (source.audio >= 0) {
        const AVStream* as = c->streams[source.audio];
        scan.audio = formatOf(as);
        audio.codecId = as->codecpar->codec_id;
        audio.extradata = bytes(as->codecpar->extradata, as->codecpar->extradata_size);
        audio.sampleRate = as->codecpar->sample_rate;
        audio.channels = as->codecpar->ch_layout.nb_channels;
        audio.timeBase = as->time_base;
    }
    ff::PacketPtr packet = ff::makePacket();
    for (;;) {
        cancel.throwIfCancelled();
        const int read = av_read_frame(c, packet.get());
        if (read == AVERROR_EOF)
            break;
        cancel.throwIfCancelled();
        if (read < 0)
            throw ExportFailure::reading(read, path);
        if (packet->stream_index == source.video)
            video.packets.push_back(stampOf(packet.get()));
        else if (packet->stream_index == source.audio)
            audio.packets.push_back(stampOf(packet.get()));
        av_packet_unref(packet.get());
    }
    // The track's length counts from its first shown frame.
    std::int64_t first = INT64_MAX;
    for (const PacketStamp& p : video.packets)
        if (!p.discard)
            first = std::min(first, p.pts);
    if (declaredLength > 0 && first != INT64_MAX)
        video.declaredEnd = first + declaredLength;
    if (source.audio >= 0 && !audio.packets.empty())
        scan.clip.audio = std::move(audio);
    return scan;
}

} // namespace vimbo
