#include "media/VideoTrack.h"
#include "media/ff/Demuxer.h"
#include "model/VimboError.h"
#include "timeline/Timeline.h"

namespace vimbo {
namespace {

MediaTime ticks(std::int64_t value, AVRational base) {
    return {value * base.num, base.den};
}

// A stream's time range in its own timing: from its first timestamp for its duration (the
// file's, less the stream's start, when the stream does not say).
TimeRange streamRange(const ff::Demuxer& input, int index) {
    const AVStream* s = input.stream(index);
    const std::int64_t start = s->start_time != AV_NOPTS_VALUE ? s->start_time : 0;
    if (s->duration != AV_NOPTS_VALUE && s->duration > 0)
        return {ticks(start, s->time_base), ticks(s->duration, s->time_base)};
    const AVFormatContext* f = input.context();
    if (f->duration == AV_NOPTS_VALUE)
        return {ticks(start, s->time_base), MediaTime::zero()};
    const MediaTime fileEnd =
        ticks(f->duration + (f->start_time != AV_NOPTS_VALUE ? f->start_time : 0), AV_TIME_BASE_Q);
    const MediaTime begin = ticks(start, s->time_base);
    return {begin, std::max(fileEnd - begin, MediaTime::zero())};
}

bool decodable(const ff::Demuxer& input, int stream) {
    return stream >= 0 && avcodec_find_decoder(input.stream(stream)->codecpar->codec_id);
}

// The state of one build: the tracks being filled and the cursor after the last segment.
class Assembly {
public:
    Assembly(bool composed, const Layout& layout)
        : composed_(composed)
        , layout_(layout) {}

    void add(const Segment& s) {
        starts_.push_back(cursor_.seconds());
        if (s.info.kind == MediaKind::photo)
            addPhoto(s);
        else
            addVideo(s);
    }

    Timeline finish(Size renderSize, bool passthrough, MediaTime frameDuration) && {
        if (!sourceAudioInserted_)
            composition_.removeTrack(MediaType::audio);
        if (passthrough)
            return Timeline(std::move(composition_), std::nullopt, renderSize, cursor_,
                            std::move(starts_));
        instructions_.back() =
            instructions_.back().with(std::max(cursor_, composition_.duration()));
        VideoComposition video{std::move(instructions_), renderSize, frameDuration};
        return Timeline(std::move(composition_), std::move(video), renderSize, cursor_,
                        std::move(starts_));
    }

private:
    CompositionTrack& video() { return *composition_.track(MediaType::video); }
    CompositionTrack& audio() { return *composition_.track(MediaType::audio); }

    void addPhoto(const Segment& s) {
        if (!composed_)
            throw VimboError::nothingToMerge();
        const double shown = s.edits.photoDuration <= ClipEdits::shortestClip
                                 ? ClipEdits::shortestClip
                                 : s.edits.photoDuration;
        const MediaTime p = MediaTime::fromSeconds(shown);
        // Both tracks run without gaps, so every output time finds an edit.
        video().insertBlank({cursor_, p});
        audio().insertBlank({cursor_, p});
        instructions_.emplace_back(TimeRange{cursor_, p}, std::nullopt,
                                   CompositorInstruction::Photo{s.url, s.info.size},
                                   s.edits.quarterTurns, layout_.fill);
        cursor_ += p;
    }

    void addVideo(const Segment& s) {
        const ff::Demuxer input(s.url);
        const int videoStream = input.firstVideoStream();
        if (!decodable(input, videoStream))
            throw VimboError::unreadable(s.url);
        const TimeRange track = streamRange(input, videoStream);
        const Segment::Range trimmed = s.trimmedRange();
        const MediaTime start = track.start + MediaTime::fromSeconds(trimmed.lower);
        const MediaTime end =
            std::min(track.start + MediaTime::fromSeconds(trimmed.upper), track.end());
        const TimeRange source{start, std::max(end - start, MediaTime::zero())};
        const MediaTime length = source.duration;
        video().insert({s.url, videoStream}, source, cursor_);
        addAudio(s, input, source);
        MediaTime shown = length;
        if (s.edits.speed != 1.0) {
            shown = length.multipliedBy(1.0 / s.edits.speed);
            video().scale({cursor_, length}, shown);
            audio().scale({cursor_, length}, shown);
        }
        instructions_.emplace_back(
            TimeRange{cursor_, shown}, video().trackID(),
            CompositorInstruction::Video{orientation(displayTransform(*input.stream(videoStream)))},
            s.edits.quarterTurns, layout_.fill);
        cursor_ += shown;
    }

    void addAudio(const Segment& s, const ff::Demuxer& input, const TimeRange& source) {
        const TimeRange clip{cursor_, source.duration};
        // Sound that no decoder here can play is left out like a missing track.
        const int audioStream = s.edits.muted ? -1 : input.firstAudioStream();
        if (!decodable(input, audioStream)) {
            silence(clip);
            return;
        }
        const TimeRange heard = streamRange(input, audioStream).intersection(source);
        if (heard.isEmpty()) {
            silence(clip);
            return;
        }
        const MediaTime offset = heard.start - source.start;
        silence({cursor_, offset});
        audio().insert({s.url, audioStream}, heard, cursor_ + offset);
        sourceAudioInserted_ = true;
        const MediaTime after = cursor_ + offset + heard.duration;
        silence({after, clip.end() - after});
    }

    void silence(const TimeRange& range) {
        if (composed_)
            audio().insertBlank(range);
    }

    bool composed_; // false in passthrough, which takes no photos and leaves out silence
    Layout layout_;
    Composition composition_;
    MediaTime cursor_ = MediaTime::zero();
    std::vector<double> starts_;
    std::vector<CompositorInstruction> instructions_;
    bool sourceAudioInserted_ = false;
};

} // namespace

Timeline Timeline::build(const std::vector<Segment>& segments, const Layout& layout,
                         std::optional<double> maxLongEdge, bool passthrough) {
    std::vector<Segment> usable;
    for (const Segment& s : segments)
        if (s.info.isUsable())
            usable.push_back(s);
    if (usable.empty())
        throw VimboError::nothingToMerge();
    const Size size = renderSize(usable, layout, maxLongEdge);
    Assembly assembly(!passthrough, layout);
    for (const Segment& s : usable)
        assembly.add(s);
    return std::move(assembly).finish(size, passthrough, frameDuration(usable));
}

} // namespace vimbo
