#include "media/ff/Movie.h"

#include <QFile>
#include <QFileInfo>

namespace vimbo::ff {
namespace {

bool lacksParameters(const AVStream& stream) {
    const AVCodecParameters& p = *stream.codecpar;
    if (p.codec_type == AVMEDIA_TYPE_VIDEO)
        return p.width <= 0 || p.height <= 0;
    if (p.codec_type == AVMEDIA_TYPE_AUDIO)
        return p.codec_id != AV_CODEC_ID_NONE &&
               (p.sample_rate <= 0 || p.ch_layout.nb_channels <= 0);
    return false;
}

} // namespace

InputPtr openMovie(const QString& path, AVIOInterruptCB interrupt, int* error) {
    int ignored = 0;
    int& result = error ? *error : ignored;
    const QFileInfo file(path);
    if (!file.isFile()) {
        result = file.exists() ? AVERROR(EINVAL) : AVERROR(ENOENT);
        return nullptr;
    }
    InputPtr context(avformat_alloc_context());
    if (!context) {
        result = AVERROR(ENOMEM);
        return nullptr;
    }
    context->interrupt_callback = interrupt;
    // Only used when a header lacks codec parameters and a few packets must be looked at.
    context->probesize = 2'000'000;
    context->max_analyze_duration = 2 * AV_TIME_BASE;

    Dictionary options;
    options.set("protocol_whitelist", "file");
    // Chapter titles are samples of their own track: reading them costs seeks for nothing.
    options.set("ignore_chapters", "1");

    // The "file:" prefix keeps a colon in a file name from being read as a protocol.
    const QByteArray url = "file:" + QFile::encodeName(path);
    AVFormatContext* raw = context.release();
    // On failure avformat_open_input frees the context itself and leaves raw null.
    result = avformat_open_input(&raw, url.constData(), av_find_input_format("mov"), options.out());
    context.reset(raw);
    if (result < 0)
        return nullptr;
    return context;
}

bool completeParameters(AVFormatContext* context) {
    for (const AVMediaType type : {AVMEDIA_TYPE_VIDEO, AVMEDIA_TYPE_AUDIO}) {
        const int stream = firstStream(context, type);
        if (stream >= 0 && lacksParameters(*context->streams[stream]))
            return avformat_find_stream_info(context, nullptr) >= 0;
    }
    return true;
}

int firstStream(const AVFormatContext* context, AVMediaType type) {
    for (unsigned i = 0; i < context->nb_streams; ++i) {
        const AVStream* s = context->streams[i];
        if (s->codecpar->codec_type == type && !(s->disposition & AV_DISPOSITION_ATTACHED_PIC))
            return static_cast<int>(i);
    }
    return -1;
}

} // namespace vimbo::ff
