#pragma once

// Renders the sound of a timeline as one stream: 48 kHz, stereo, float planar (what the AAC
// encoder takes, and what the preview plays). Every edit of the composition's audio track lands
// at the output sample its rational start time gives, independently of how many samples came
// before, so nothing drifts over a long timeline and clips abut without gap or overlap; silence
// fills everything else. A timeline without an audio track renders silence of its length.
//
// Threads: one thread at a time calls seek() and read() (export's audio thread, or the
// preview's audio feeder); it runs independently of the video renderer. The timeline is shared
// and read-only; the cancel flag, when given, is shared with the job that owns it.
//
// Export reads frames of the encoder's frame size until read() returns null, and writes no
// audio track when hasAudio() is false. The preview reads ahead of its audio output, which is
// its clock, and calls seek(t) to jump.

#include "media/ff/Cancel.h"
#include "media/ff/Ptr.h"
#include "timeline/AudioSpan.h"
#include "timeline/Timeline.h"

#include <memory>
#include <vector>

namespace vimbo {

class AudioRenderer {
public:
    static constexpr int sampleRate = AudioSpan::rate;
    static constexpr int channelCount = 2;

    explicit AudioRenderer(std::shared_ptr<const Timeline> timeline,
                           std::shared_ptr<const CancelFlag> cancel = nullptr);
    ~AudioRenderer();

    // False when the timeline has no audio track (no clip contributes real sound).
    bool hasAudio() const;
    // The output sample at time t (rounded to the nearest sample).
    static std::int64_t sampleAt(const MediaTime& t);
    // Samples in the whole timeline.
    std::int64_t length() const { return length_; }
    std::int64_t position() const { return position_; }

    // Reading continues from time t (clamped to the timeline).
    void seek(const MediaTime& t);
    // The next samples from position(), at most maxSamples, as a fltp stereo frame with pts =
    // its first sample's index (time base 1/48000). Null at the end. Throws Cancelled when the
    // cancel flag is raised, VimboError when a source cannot be opened.
    ff::FramePtr read(int maxSamples);

private:
    // Output samples [start, end) that one source edit covers.
    struct Piece {
        std::int64_t start;
        std::int64_t end;
        const Edit* edit;
    };

    const Piece* pieceAt(std::int64_t sample) const;
    std::int64_t nextPieceStart(std::int64_t sample) const;
    int fill(float* left, float* right, int count);

    std::shared_ptr<const Timeline> timeline_;
    std::shared_ptr<const CancelFlag> cancel_;
    std::vector<Piece> pieces_;
    std::unique_ptr<AudioSpan> span_;
    const Edit* spanEdit_ = nullptr; // the edit span_ reads
    std::int64_t length_;
    std::int64_t position_ = 0;
};

} // namespace vimbo
