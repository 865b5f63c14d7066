#include "timeline/AudioSpan.h"

#include <algorithm>
#include <cmath>
#include <numbers>

extern "C" {
#include <libavutil/samplefmt.h>
}

namespace vimbo {
namespace {

constexpr double prerollSeconds = 0.1; // decoded and dropped so the first heard frame is whole

ff::Demuxer& onlyStream(ff::Demuxer& demuxer, int stream) {
    demuxer.select({stream});
    return demuxer;
}

std::int64_t samplesAt(const MediaTime& t, int rate) {
    return scaled(t.value, rate, t.timescale, Rounding::nearest);
}

} // namespace

AudioSpan::AudioSpan(const Edit& edit, std::int64_t start, std::int64_t from, std::int64_t end,
                     const CancelFlag* cancel)
    : edit_(edit)
    , cancel_(cancel)
    , demuxer_(edit.source.url, cancel)
    , decoder_(onlyStream(demuxer_, edit.source.stream), edit.source.stream)
    , tempo_(edit.sourceRange.duration.seconds() / edit.target.duration.seconds())
    , from_(from)
    , position_(from)
    , end_(end) {
    // Where reading starts in the source, in seconds; counted in samples once the decoder says
    // at which rate it decodes (HE-AAC decodes at twice the rate its stream states).
    firstSecond_ =
        edit.sourceRange.start.seconds() + static_cast<double>(from - start) / rate * tempo_;
    const AVStream* stream = demuxer_.stream(edit.source.stream);
    const double seekTo = firstSecond_ - prerollSeconds;
    const double streamStart =
        stream->start_time != AV_NOPTS_VALUE ? stream->start_time * av_q2d(stream->time_base) : 0;
    if (seekTo > streamStart)
        demuxer_.seek(edit.source.stream,
                      static_cast<std::int64_t>(seekTo / av_q2d(stream->time_base)));
}

void AudioSpan::take(AVFrame* decoded) {
    const int sourceRate = decoded->sample_rate;
    if (sourceNext_ < 0) {
        sourceFirst_ = std::llround(firstSecond_ * sourceRate);
        sourceEnd_ = samplesAt(edit_.sourceRange.end(), sourceRate);
        // pts, not the best-effort guess: only pts moves past the priming samples the
        // decoder drops at the start of a stream.
        const std::int64_t pts = decoded->pts != AV_NOPTS_VALUE ? decoded->pts
                                 : decoded->best_effort_timestamp != AV_NOPTS_VALUE
                                     ? decoded->best_effort_timestamp
                                     : 0;
        const AVRational base = demuxer_.stream(edit_.source.stream)->time_base;
        sourceNext_ = std::llround(static_cast<double>(pts) * av_q2d(base) * sourceRate);
    }
    const std::int64_t first = sourceNext_;
    const std::int64_t last = first + decoded->nb_samples;
    sourceNext_ = last;
    if (last >= sourceEnd_)
        sourceDone_ = true;
    const std::int64_t keepFrom = std::max(first, sourceFirst_);
    const std::int64_t keepTo = std::min(last, sourceEnd_);
    if (keepTo <= keepFrom)
        return;
    if (!graph_) {
        // The source starts late: what it lacks is heard as silence, so the rest stays in place.
        const auto missing = static_cast<std::size_t>(std::llround(
            static_cast<double>(keepFrom - sourceFirst_) / tempo_ * rate / sourceRate));
        for (auto& channel : fifo_)
            channel.assign(missing, 0.0f);
        graph_.emplace(*decoded, AVRational{1, sourceRate}, tempo_, rate);
    }
    ff::FramePtr kept = ff::makeFrame();
    kept->format = decoded->format;
    kept->sample_rate = sourceRate;
    kept->nb_samples = static_cast<int>(keepTo - keepFrom);
    av_channel_layout_copy(&kept->ch_layout, &decoded->ch_layout);
    if (av_frame_get_buffer(kept.get(), 0) < 0)
        return;
    av_samples_copy(kept->extended_data, decoded->extended_data, 0,
                    static_cast<int>(keepFrom - first), kept->nb_samples,
                    decoded->ch_layout.nb_channels, static_cast<AVSampleFormat>(decoded->format));
    kept->pts = keepFrom - sourceFirst_;
    graph_->push(kept.get());
    drain();
}

void AudioSpan::drain() {
    ff::FramePtr out = ff::makeFrame();
    while (graph_ && graph_->pull(out.get())) {
        for (int c = 0; c < 2; ++c) {
            const auto* samples = reinterpret_cast<const float*>(out->extended_data[c]);
            fifo_[static_cast<std::size_t>(c)].insert(fifo_[static_cast<std::size_t>(c)].end(),
                                                      samples, samples + out->nb_samples);
        }
        av_frame_unref(out.get());
    }
}

bool AudioSpan::refill() {
    if (flushed_)
        return false;
    ff::FramePtr decoded = ff::makeFrame();
    while (!sourceDone_) {
        if (cancel_)
            cancel_->throwIfCancelled();
        if (!decoder_.receive(decoded.get())) {
            sourceDone_ = true;
            break;
        }
        const std::size_t before = fifo_[0].size();
        take(decoded.get());
        av_frame_unref(decoded.get());
        if (fifo_[0].size() > before)
            return true;
    }
    if (graph_) {
        graph_->push(nullptr);
        drain();
    }
    flushed_ = true;
    return true;
}

void AudioSpan::read(float* left, float* right, int count) {
    const auto need = static_cast<std::size_t>(count);
    while (fifo_[0].size() - fifoStart_ < need && refill()) {
    }
    const std::size_t have = std::min(need, fifo_[0].size() - fifoStart_);
    float* out[2] = {left, right};
    for (std::size_t c = 0; c < 2; ++c) {
        std::copy_n(fifo_[c].begin() + static_cast<std::ptrdiff_t>(fifoStart_), have, out[c]);
        std::fill(out[c] + have, out[c] + need, 0.0f);
    }
    fifoStart_ += have;
    if (fifoStart_ > 65536) {
        for (auto& channel : fifo_)
            channel.erase(channel.begin(),
                          channel.begin() + static_cast<std::ptrdiff_t>(fifoStart_));
        fifoStart_ = 0;
    }
    fade(left, right, count);
    position_ += count;
}

void AudioSpan::fade(float* left, float* right, int count) const {
    auto gain = [](std::int64_t i) {
        return i >= fadeLength
                   ? 1.0f
                   : static_cast<float>(
                         0.5 - 0.5 * std::cos(std::numbers::pi * (static_cast<double>(i) + 0.5) /
                                              fadeLength));
    };
    for (int i = 0; i < count; ++i) {
        const std::int64_t at = position_ + i;
        const float g = std::min(gain(at - from_), gain(end_ - 1 - at));
        if (g < 1.0f) {
            left[i] *= g;
            right[i] *= g;
        }
    }
}

} // namespace vimbo
