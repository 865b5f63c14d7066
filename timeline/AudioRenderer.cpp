#include "timeline/AudioRenderer.h"

#include "model/VimboError.h"

#include <algorithm>

namespace vimbo {

AudioRenderer::AudioRenderer(std::shared_ptr<const Timeline> timeline,
                             std::shared_ptr<const CancelFlag> cancel)
    : timeline_(std::move(timeline))
    , cancel_(std::move(cancel))
    , length_(sampleAt(timeline_->duration())) {
    if (const CompositionTrack* track = timeline_->composition().track(MediaType::audio)) {
        for (const Edit& e : track->edits()) {
            const Piece p{sampleAt(e.target.start), sampleAt(e.target.end()), &e};
            if (!e.source.isBlank() && p.end > p.start)
                pieces_.push_back(p);
        }
    }
}

AudioRenderer::~AudioRenderer() = default;

bool AudioRenderer::hasAudio() const {
    return timeline_->composition().track(MediaType::audio) != nullptr;
}

std::int64_t AudioRenderer::sampleAt(const MediaTime& t) {
    return scaled(t.value, sampleRate, t.timescale, Rounding::nearest);
}

void AudioRenderer::seek(const MediaTime& t) {
    position_ = std::clamp<std::int64_t>(sampleAt(t), 0, length_);
    span_.reset();
}

const AudioRenderer::Piece* AudioRenderer::pieceAt(std::int64_t sample) const {
    auto it = std::upper_bound(pieces_.begin(), pieces_.end(), sample,
                               [](std::int64_t s, const Piece& p) { return s < p.start; });
    if (it == pieces_.begin())
        return nullptr;
    --it;
    return sample < it->end ? &*it : nullptr;
}

std::int64_t AudioRenderer::nextPieceStart(std::int64_t sample) const {
    auto it = std::upper_bound(pieces_.begin(), pieces_.end(), sample,
                               [](std::int64_t s, const Piece& p) { return s < p.start; });
    return it == pieces_.end() ? length_ : std::min(it->start, length_);
}

// Writes up to `count` samples from position_ that come from one piece or one silent stretch.
int AudioRenderer::fill(float* left, float* right, int count) {
    const Piece* piece = pieceAt(position_);
    if (!piece) {
        const auto n =
            static_cast<int>(std::min<std::int64_t>(count, nextPieceStart(position_) - position_));
        std::fill(left, left + n, 0.0f);
        std::fill(right, right + n, 0.0f);
        return n;
    }
    if (!span_ || spanEdit_ != piece->edit || span_->position() != position_) {
        span_.reset();
        span_ = std::make_unique<AudioSpan>(*piece->edit, piece->start, position_, piece->end,
                                            cancel_.get());
        spanEdit_ = piece->edit;
    }
    const auto n = static_cast<int>(std::min<std::int64_t>(count, piece->end - position_));
    span_->read(left, right, n);
    return n;
}

ff::FramePtr AudioRenderer::read(int maxSamples) {
    if (cancel_)
        cancel_->throwIfCancelled();
    const auto count = static_cast<int>(std::min<std::int64_t>(maxSamples, length_ - position_));
    if (count <= 0)
        return nullptr;
    ff::FramePtr frame = ff::makeFrame();
    frame->format = AV_SAMPLE_FMT_FLTP;
    frame->sample_rate = sampleRate;
    frame->nb_samples = count;
    av_channel_layout_default(&frame->ch_layout, channelCount);
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        throw VimboError::exportFailed(QStringLiteral("Out of memory."));
    frame->pts = position_;
    auto* left = reinterpret_cast<float*>(frame->extended_data[0]);
    auto* right = reinterpret_cast<float*>(frame->extended_data[1]);
    for (int done = 0; done < count;) {
        const int n = fill(left + done, right + done, count - done);
        done += n;
        position_ += n;
    }
    return frame;
}

} // namespace vimbo
