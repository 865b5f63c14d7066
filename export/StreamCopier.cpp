#include "export/StreamCopier.h"

#include "export/AacSilence.h"
#include "export/ExportFailure.h"
#include "export/MovieWriter.h"

#include <cstring>

namespace vimbo {
namespace {

// An upper bound of the index bytes one packet costs (sizes, times, offsets, sync flags).
constexpr std::int64_t indexBytesPerPacket = 48;
constexpr std::int64_t indexBytesFixed = 64 * 1024;

// Copies one clip's kept packets and writes its share of the output's audio frames.
class ClipCopy {
public:
    ClipCopy(const CopyJob& job, std::size_t clip, MovieWriter& writer, AVStream* video,
             AVStream* audio, const CancelFlag& cancel)
        : job_(job)
        , cut_(job.plan.video[clip])
        , audioCut_(job.plan.audio ? &job.plan.audio->clips[clip] : nullptr)
        , leadIn_(clip < job.leadIn.size() ? job.leadIn[clip] : QByteArray())
        , path_(job.paths[clip])
        , writer_(writer)
        , video_(video)
        , audio_(audio)
        , cancel_(cancel) {
        if (audioCut_)
            nextSlot_ = audioCut_->slotBegin;
    }

    void run(const std::function<void(double)>& progressed);

private:
    bool done() const {
        return videoIndex_ >= cut_.endPacket &&
               (!audioCut_ || nextSlot_ >= audioCut_->slotEnd || audioIndex_ >= audioCut_->usedEnd);
    }
    void copyVideo(AVPacket* packet);
    void copyAudio(AVPacket* packet);
    // Writes silence for the slots before `slot` that carry no packet.
    void silenceUntil(std::int64_t slot);
    std::int64_t toOutput(std::int64_t t) const {
        return (t - cut_.sourceStart) * (job_.plan.videoTimeBase.den / cut_.sourceTimeBase.den) +
               cut_.outputStart;
    }

    const CopyJob& job_;
    const VideoCut& cut_;
    const AudioCut* audioCut_;
    const QByteArray leadIn_;
    const QString& path_;
    MovieWriter& writer_;
    AVStream* video_;
    AVStream* audio_;
    const CancelFlag& cancel_;
    std::int64_t videoIndex_ = 0;
    std::int64_t audioIndex_ = 0;
    std::int64_t nextSlot_ = 0;
    std::int64_t lastVideoTime_ = 0; // the plan's video time base
};

void ClipCopy::run(const std::function<void(double)>& progressed) {
    SourceFile source = openSource(path_, cancel_);
    ff::PacketPtr packet = ff::makePacket();
    while (!done()) {
        const int read = av_read_frame(source.context.get(), packet.get());
        cancel_.throwIfCancelled();
        if (read == AVERROR_EOF)
            break;
        if (read < 0)
            throw ExportFailure::reading(read, path_);
        if (packet->stream_index == source.video)
            copyVideo(packet.get());
        else if (packet->stream_index == source.audio && audioCut_)
            copyAudio(packet.get());
        av_packet_unref(packet.get());
        progressed(static_cast<double>(lastVideoTime_) /
                   std::max<std::int64_t>(1, job_.plan.duration));
    }
    // The plan came from this very file; a shorter one has changed since.
    if (videoIndex_ < cut_.endPacket)
        throw ExportFailure::sourceGone(path_);
    if (audioCut_)
        silenceUntil(audioCut_->slotEnd);
}

void ClipCopy::copyVideo(AVPacket* packet) {
    const std::int64_t index = videoIndex_++;
    if (index < cut_.firstPacket || index >= cut_.endPacket)
        return;
    ff::PacketPtr led;
    if (index == cut_.firstPacket && !leadIn_.isEmpty()) {
        led = ff::makePacket();
        if (av_new_packet(led.get(), static_cast<int>(leadIn_.size()) + packet->size) < 0 ||
            av_packet_copy_props(led.get(), packet) < 0)
            throw ExportFailure::failed();
        std::memcpy(led->data, leadIn_.constData(), static_cast<std::size_t>(leadIn_.size()));
        std::memcpy(led->data + leadIn_.size(), packet->data,
                    static_cast<std::size_t>(packet->size));
        packet = led.get();
    }
    const std::int64_t scale = job_.plan.videoTimeBase.den / cut_.sourceTimeBase.den;
    packet->pts = toOutput(packet->pts);
    packet->dts = toOutput(packet->dts);
    packet->duration *= scale;
    packet->stream_index = video_->index;
    packet->time_base = job_.plan.videoTimeBase;
    packet->pos = -1;
    // Taken before the muxer's time base replaces the plan's: a 1/600 source is written at
    // 1/19200, and progress and interleaving count in the plan's units.
    lastVideoTime_ = std::max(lastVideoTime_, packet->dts < 0 ? 0 : packet->dts);
    av_packet_rescale_ts(packet, job_.plan.videoTimeBase, video_->time_base);
    writer_.write(packet);
    // Keep the sound no further behind the picture than the muxer's interleaving needs.
    if (audioCut_) {
        const AudioPlan& plan = *job_.plan.audio;
        std::int64_t slot = nextSlot_;
        while (slot < audioCut_->slotEnd && !audioCut_->carriesPacket(slot) &&
               av_compare_ts(plan.slotPts(slot), {1, plan.sampleRate}, lastVideoTime_,
                             job_.plan.videoTimeBase) <= 0)
            ++slot;
        silenceUntil(slot);
    }
}

void ClipCopy::copyAudio(AVPacket* packet) {
    const std::int64_t index = audioIndex_++;
    const std::int64_t slot = index + audioCut_->packetOffset;
    if (!audioCut_->carriesPacket(slot) || slot < nextSlot_ || slot >= audioCut_->slotEnd)
        return;
    silenceUntil(slot);
    const AudioPlan& plan = *job_.plan.audio;
    av_packet_free_side_data(packet);
    packet->pts = packet->dts = plan.slotPts(slot);
    packet->duration = AudioPlan::frameSamples;
    packet->stream_index = audio_->index;
    packet->pos = -1;
    av_packet_rescale_ts(packet, {1, plan.sampleRate}, audio_->time_base);
    writer_.write(packet);
    nextSlot_ = slot + 1;
}

void ClipCopy::silenceUntil(std::int64_t slot) {
    const AudioPlan& plan = *job_.plan.audio;
    ff::PacketPtr packet;
    for (; nextSlot_ < slot; ++nextSlot_) {
        if (audioCut_->carriesPacket(nextSlot_))
            throw ExportFailure::sourceGone(path_); // a packet the plan saw is missing now
        if (!packet)
            packet = ff::makePacket();
        if (av_new_packet(packet.get(), static_cast<int>(job_.silence->size())) < 0)
            throw ExportFailure::failed();
        std::memcpy(packet->data, job_.silence->constData(),
                    static_cast<std::size_t>(job_.silence->size()));
        packet->flags = AV_PKT_FLAG_KEY;
        packet->pts = packet->dts = plan.slotPts(nextSlot_);
        packet->duration = AudioPlan::frameSamples;
        packet->stream_index = audio_->index;
        av_packet_rescale_ts(packet.get(), {1, plan.sampleRate}, audio_->time_base);
        writer_.write(packet.get());
    }
}

std::int64_t packetCount(const CopyPlan& plan) {
    std::int64_t n = 0;
    for (const VideoCut& cut : plan.video)
        n += cut.endPacket - cut.firstPacket;
    if (plan.audio)
        n += plan.audio->clips.back().slotEnd;
    return n;
}

} // namespace

std::vector<CopyClip> copyClips(const std::vector<Segment>& segments) {
    std::vector<CopyClip> clips;
    for (const Segment& s : segments) {
        CopyClip clip;
        const Segment::Range range = s.trimmedRange();
        clip.lower = range.lower;
        clip.upper = range.upper;
        if (s.info.hasAudio && !s.edits.muted)
            clip.audio = AudioFacts{};
        clips.push_back(std::move(clip));
    }
    return clips;
}

std::vector<QString> sourcePaths(const std::vector<Segment>& segments) {
    std::vector<QString> result;
    for (const Segment& s : segments)
        result.push_back(s.url.toLocalFile());
    return result;
}

std::optional<CopyJob> prepareCopy(const std::vector<CopyClip>& trims,
                                   const std::vector<QString>& paths, const CancelFlag& cancel,
                                   PlanResult* result, std::vector<SourceScan>* scanned) {
    std::vector<CopyClip> clips;
    std::vector<SourceScan> scans;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        scans.push_back(scanSource(paths[i], trims[i].audio.has_value(), cancel));
        CopyClip clip = scans.back().clip;
        clip.lower = trims[i].lower;
        clip.upper = trims[i].upper;
        clips.push_back(std::move(clip));
    }
    PlanResult planned = planCopy(clips);
    if (result)
        *result = planned;
    if (!planned.plan) {
        if (scanned)
            *scanned = std::move(scans);
        return std::nullopt;
    }
    CopyJob job{paths, std::move(*planned.plan), std::move(scans.front().video), {}, {}, 0, {}};
    if (job.plan.audio) {
        job.audio = std::move(scans[job.plan.audio->formatClip].audio);
        if (job.plan.audio->needsSilence && !(job.silence = aacSilence(*job.audio.parameters))) {
            if (result)
                *result = {std::nullopt, CopyRefusal::silenceUnavailable, -1};
            return std::nullopt;
        }
    }
    job.samples = packetCount(job.plan);
    return job;
}

void copyClip(const CopyJob& job, std::size_t clip, MovieWriter& writer, AVStream* video,
              AVStream* audio, const CancelFlag& cancel,
              const std::function<void(double)>& progressed) {
    ClipCopy(job, clip, writer, video, audio, cancel).run(progressed);
}

void copyStreams(const CopyJob& job, const QString& destination, ExportFormat format,
                 const CancelFlag& cancel, const std::function<void(double)>& progressed) {
    MovieWriter writer(destination, format, cancel);
    AVStream* video =
        writer.addStream(*job.video.parameters, job.plan.videoTimeBase, job.video.displayMatrix);
    AVStream* audio = nullptr;
    if (job.plan.audio)
        audio = writer.addStream(*job.audio.parameters, {1, job.plan.audio->sampleRate});
    writer.open(indexBytesFixed + indexBytesPerPacket * job.samples);
    for (std::size_t i = 0; i < job.paths.size(); ++i)
        copyClip(job, i, writer, video, audio, cancel, progressed);
    writer.finish();
}

} // namespace vimbo
