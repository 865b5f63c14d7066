#include "media/ff/Demuxer.h"

#include "media/ff/Movie.h"
#include "model/VimboError.h"

namespace vimbo::ff {

namespace {

int interrupted(void* opaque) {
    const auto* flag = static_cast<const CancelFlag*>(opaque);
    return flag && flag->isCancelled() ? 1 : 0;
}

void throwIfCancelled(const CancelFlag* cancel) {
    if (cancel)
        cancel->throwIfCancelled();
}

} // namespace

AVIOInterruptCB interruptCallback(const CancelFlag* flag) {
    // FFmpeg's callback takes a non-const pointer but only hands it back to us.
    return {interrupted, const_cast<CancelFlag*>(flag)};
}

Demuxer::Demuxer(const QUrl& url, const CancelFlag* cancel)
    : url_(url) {
    context_ = openMovie(url.toLocalFile(), interruptCallback(cancel));
    throwIfCancelled(cancel);
    if (!context_)
        throw VimboError::unreadable(url);
    // Unlike a probe, a reader decodes: the few packets looked at here also index the first
    // fragments of fragmented files, which a seek right after opening needs.
    const int found = avformat_find_stream_info(context_.get(), nullptr);
    throwIfCancelled(cancel);
    if (found < 0)
        throw VimboError::unreadable(url);
    selected_.assign(context_->nb_streams, true);
}

int Demuxer::firstVideoStream() const {
    return firstStream(context_.get(), AVMEDIA_TYPE_VIDEO);
}

int Demuxer::firstAudioStream() const {
    return firstStream(context_.get(), AVMEDIA_TYPE_AUDIO);
}

void Demuxer::select(const std::vector<int>& streams) {
    selected_.assign(context_->nb_streams, false);
    for (int s : streams)
        selected_[static_cast<std::size_t>(s)] = true;
    for (unsigned i = 0; i < context_->nb_streams; ++i)
        context_->streams[i]->discard = selected_[i] ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
}

bool Demuxer::read(AVPacket* packet) {
    while (av_read_frame(context_.get(), packet) >= 0) {
        if (selected_[static_cast<std::size_t>(packet->stream_index)])
            return true;
        av_packet_unref(packet);
    }
    return false;
}

bool Demuxer::seek(int stream, std::int64_t timestamp) {
    if (av_seek_frame(context_.get(), stream, timestamp, AVSEEK_FLAG_BACKWARD) >= 0)
        return true;
    return avformat_seek_file(context_.get(), stream, INT64_MIN, timestamp, INT64_MAX, 0) >= 0;
}

} // namespace vimbo::ff
