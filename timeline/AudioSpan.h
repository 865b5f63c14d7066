#pragma once

// The output samples of one audio edit, from any position inside it: the edit's source range
// decoded (cut at exact source samples), stretched to the edit's length with its pitch kept,
// resampled to 48 kHz stereo float. It always yields exactly the edit's number of samples,
// padding with silence when the source gives fewer and dropping what it gives beyond, so every
// clip starts and ends at the sample its edit says. Short fades at both ends keep joins free of
// clicks. One thread at a time; owned by the audio renderer.

#include "media/ff/AudioGraph.h"
#include "media/ff/Cancel.h"
#include "media/ff/Decoder.h"
#include "media/ff/Demuxer.h"
#include "timeline/Composition.h"

#include <array>
#include <optional>
#include <vector>

namespace vimbo {

class AudioSpan {
public:
    static constexpr int rate = 48000;
    static constexpr int fadeLength = 96; // samples: 2 ms

    // The edit occupies output samples [start, end); reading begins at `from`.
    // Throws VimboError::unreadable when its file cannot be opened.
    AudioSpan(const Edit& edit, std::int64_t start, std::int64_t from, std::int64_t end,
              const CancelFlag* cancel);

    std::int64_t position() const { return position_; }

    // Writes the next `count` samples (no more than are left in the edit) of each channel.
    // Throws Cancelled when the cancel flag is raised.
    void read(float* left, float* right, int count);

private:
    bool refill();
    void take(AVFrame* decoded);
    void drain();
    void fade(float* left, float* right, int count) const;

    Edit edit_;
    const CancelFlag* cancel_;
    ff::Demuxer demuxer_;
    ff::Decoder decoder_;
    std::optional<ff::AudioGraph> graph_;
    double tempo_;
    double firstSecond_ = 0;       // where reading starts in the source
    std::int64_t sourceFirst_ = 0; // source samples [sourceFirst_, sourceEnd_) are heard
    std::int64_t sourceEnd_ = 0;
    std::int64_t sourceNext_ = -1; // index of the next decoded source sample; -1 before any
    bool sourceDone_ = false;
    bool flushed_ = false;
    std::array<std::vector<float>, 2> fifo_;
    std::size_t fifoStart_ = 0;
    std::int64_t from_;
    std::int64_t position_;
    std::int64_t end_;
};

} // namespace vimbo
