#include "export/SmartCut.h"

#include "export/AacSilence.h"
#include "export/AvcParameterSets.h"
#include "export/EncoderSettings.h"
#include "export/ExportFailure.h"
#include "export/MovieWriter.h"
#include "media/ff/Decoder.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <algorithm>
#include <climits>
#include <cstring>
#include <map>

namespace vimbo {
namespace {

constexpr std::int64_t indexBytesPerPacket = 48;
constexpr std::int64_t indexBytesFixed = 64 * 1024;

// x264's name for the stream's profile, when x264 makes that profile at the stream's chroma
// format and bit depth; null otherwise.
const char* x264Profile(const AVCodecParameters& p) {
    const auto format = static_cast<AVPixelFormat>(p.format);
    const bool eightBit420 = format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_YUVJ420P;
    if (p.field_order != AV_FIELD_UNKNOWN && p.field_order != AV_FIELD_PROGRESSIVE)
        return nullptr;
    switch (p.profile) {
    case FF_PROFILE_H264_BASELINE:
    case FF_PROFILE_H264_CONSTRAINED_BASELINE:
        return eightBit420 ? "baseline" : nullptr;
    case FF_PROFILE_H264_MAIN:
        return eightBit420 ? "main" : nullptr;
    case FF_PROFILE_H264_HIGH:
        return eightBit420 ? "high" : nullptr;
    case FF_PROFILE_H264_HIGH_10:
        return format == AV_PIX_FMT_YUV420P10LE ? "high10" : nullptr;
    default:
        return nullptr;
    }
}

// x265's name for the stream's profile, when x265 makes it at the stream's chroma format and
// bit depth; null otherwise.
const char* x265Profile(const AVCodecParameters& p) {
    const auto format = static_cast<AVPixelFormat>(p.format);
    if (p.field_order != AV_FIELD_UNKNOWN && p.field_order != AV_FIELD_PROGRESSIVE)
        return nullptr;
    if (p.profile == FF_PROFILE_HEVC_MAIN && format == AV_PIX_FMT_YUV420P)
        return "main";
    if (p.profile == FF_PROFILE_HEVC_MAIN_10 && format == AV_PIX_FMT_YUV420P10LE)
        return "main10";
    return nullptr;
}

// The frame rate the pictures follow: the most common step between presentation times.
AVRational frameRateOf(const VideoFacts& video) {
    std::vector<std::int64_t> times;
    for (const PacketStamp& p : video.packets)
        times.push_back(p.pts);
    std::sort(times.begin(), times.end());
    std::map<std::int64_t, int> counts;
    for (std::size_t i = 1; i < times.size(); ++i)
        if (times[i] > times[i - 1])
            ++counts[times[i] - times[i - 1]];
    std::int64_t common = 0;
    int most = 0;
    for (const auto& [step, count] : counts)
        if (count > most) {
            common = step;
            most = count;
        }
    AVRational rate{0, 1};
    if (common > 0)
        av_reduce(&rate.num, &rate.den, video.timeBase.den, common * video.timeBase.num, INT_MAX);
    return rate;
}

// An encoder for the re-encoded frames; null when it cannot be opened with these settings.
// x264 writes its parameter sets, under `setId`, into the extradata; x265, which cannot choose
// their ids, writes them in front of each stretch's first frame instead.
ff::CodecPtr openEncoder(const AVCodecParameters& source, AVRational frameRate, AVRational timeBase,
                         int setId) {
    const bool hevc = source.codec_id == AV_CODEC_ID_HEVC;
    const VideoEncoderSettings settings = cutEncoderSettings(hevc);
    const AVCodec* codec = avcodec_find_encoder_by_name(settings.encoder);
    const char* profile = hevc ? x265Profile(source) : x264Profile(source);
    ff::CodecPtr c(codec && profile ? avcodec_alloc_context3(codec) : nullptr);
    if (!c)
        return c;
    c->width = source.width;
    c->height = source.height;
    c->pix_fmt = static_cast<AVPixelFormat>(source.format);
    c->time_base = timeBase;
    c->framerate = frameRate;
    c->sample_aspect_ratio = source.sample_aspect_ratio;
    c->color_primaries = source.color_primaries;
    c->color_trc = source.color_trc;
    c->colorspace = source.color_space;
    c->color_range = source.color_range;
    c->chroma_sample_location = source.chroma_location;
    // No reordering: decoding times then follow presentation times (see SmartCutPlan.h).
    c->max_b_frames = 0;
    c->gop_size = 100000; // one group per stretch; the stretch is shorter than the source's
    ff::Dictionary options;
    options.set("preset", settings.speedPreset);
    options.set("crf", QByteArray::number(settings.crf).constData());
    options.set("profile", profile);
    if (hevc) {
        // general_level_idc is 30 times the level; x265 takes ten times it.
        const QByteArray params = "log-level=error:bframes=0:open-gop=0:repeat-headers=1:"
                                  "level-idc=" +
                                  QByteArray::number(source.level / 3);
        options.set("x265-params", params.constData());
    } else {
        c->level = source.level;
        c->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        options.set("x264-params", QByteArray("sps-id=" + QByteArray::number(setId)).constData());
    }
    if (avcodec_open2(c.get(), codec, options.out()) < 0)
        c.reset();
    return c;
}

QByteArray extradataOf(const AVCodecContext& c) {
    return QByteArray(reinterpret_cast<const char*>(c.extradata), c.extradata_size);
}

// The first id that none of the source's SPS and PPS use.
int freeSetId(const avc::Configuration& source) {
    std::vector<bool> used(32, false);
    for (const QByteArray& sps : source.sequenceSets)
        if (const int id = avc::sequenceSetId(sps); id >= 0 && id < 32)
            used[static_cast<std::size_t>(id)] = true;
    for (const QByteArray& pps : source.pictureSets)
        if (const int id = avc::pictureSetId(pps); id >= 0 && id < 32)
            used[static_cast<std::size_t>(id)] = true;
    for (int id = 0; id < 32; ++id)
        if (!used[static_cast<std::size_t>(id)])
            return id;
    return -1;
}

// The source's sample description with the encoder's SPS and PPS added, when the encoder
// makes the source's profile and level; empty otherwise.
QByteArray jointRecord(const avc::Configuration& source, const QByteArray& encoderSets) {
    avc::Configuration joint = source;
    for (const QByteArray& unit : avc::annexBUnits(encoderSets)) {
        if (avc::unitType(unit) == 7) {
            const QByteArray& own = source.sequenceSets.front();
            // profile_idc and level_idc
            if (unit.size() < 4 || unit[1] != own[1] || unit[3] != own[3])
                return {};
            joint.sequenceSets.push_back(unit);
        } else if (avc::unitType(unit) == 8) {
            joint.pictureSets.push_back(unit);
        }
    }
    if (joint.sequenceSets.size() != source.sequenceSets.size() + 1 ||
        joint.pictureSets.size() != source.pictureSets.size() + 1)
        return {};
    return avc::record(joint);
}

// Whether every copied stretch that follows re-encoded frames starts at an IDR picture, the
// only place where a decoder may switch to other parameter sets.
bool copiesStartAtIdr(const QString& path, const VideoCut& cut, bool hevc,
                      const CancelFlag& cancel) {
    SourceFile source = openSource(path, cancel);
    AVFormatContext* c = source.context.get();
    if (source.audio >= 0)
        c->streams[source.audio]->discard = AVDISCARD_ALL;
    ff::PacketPtr packet = ff::makePacket();
    for (std::int64_t index = 0; av_read_frame(c, packet.get()) >= 0; ++index) {
        cancel.throwIfCancelled();
        if (index == cut.firstPacket) {
            const QByteArray sample(reinterpret_cast<const char*>(packet->data), packet->size);
            return hevc ? avc::holdsHevcIdr(sample) : avc::holdsIdr(sample);
        }
        av_packet_unref(packet.get());
    }
    return false;
}

std::int64_t packetCount(const SmartCutJob& job) {
    std::int64_t n = job.encodedFrames;
    for (const VideoCut& cut : job.copy.plan.video)
        n += cut.endPacket - cut.firstPacket;
    if (job.copy.plan.audio)
        n += job.copy.plan.audio->clips.back().slotEnd;
    return n;
}

// Decodes one stretch of a clip from the key frame before it and encodes its frames.
class StretchEncoder {
public:
    StretchEncoder(const SmartCutJob& job, std::size_t clip, MovieWriter& writer, AVStream* video,
                   const CancelFlag& cancel)
        : job_(job)
        , cut_(job.copy.plan.video[clip])
        , path_(job.copy.paths[clip])
        , writer_(writer)
        , video_(video)
        , cancel_(cancel) {}

    void run(const EncodedStretch& stretch, const std::function<void(double)>& progressed);

private:
    std::int64_t toOutput(std::int64_t t) const {
        return (t - cut_.sourceStart) *
                   (job_.copy.plan.videoTimeBase.den / cut_.sourceTimeBase.den) +
               cut_.outputStart;
    }
    void encode(AVCodecContext* encoder, const AVFrame* frame, const EncodedStretch& stretch);
    void write(const AVPacket& encoded, const EncodedStretch& stretch);

    const SmartCutJob& job_;
    const VideoCut& cut_;
    const QString& path_;
    MovieWriter& writer_;
    AVStream* video_;
    const CancelFlag& cancel_;
    std::size_t written_ = 0;
    ff::PacketPtr packet_ = ff::makePacket();
};

void StretchEncoder::run(const EncodedStretch& stretch,
                         const std::function<void(double)>& progressed) {
    ff::Demuxer input(QUrl::fromLocalFile(path_), &cancel_);
    const int stream = input.firstVideoStream();
    if (stream < 0)
        throw ExportFailure::sourceGone(path_);
    input.select({stream});
    ff::Decoder decoder(input, stream);
    ff::CodecPtr encoder = openEncoder(*input.stream(stream)->codecpar, job_.frameRate,
                                       job_.copy.plan.videoTimeBase, job_.parameterSetId);
    // Every run must make the very parameter sets the sample description lists.
    if (!encoder || extradataOf(*encoder) != job_.encoderSets)
        throw ExportFailure::failed();
    const std::int64_t from = stretch.frames.front();
    if (!input.seek(stream, from))
        throw ExportFailure::sourceGone(path_);
    decoder.skipUnneededBefore(from);
    ff::FramePtr frame = ff::makeFrame();
    std::size_t next = 0;
    while (next < stretch.frames.size() && decoder.receive(frame.get())) {
        cancel_.throwIfCancelled();
        const std::int64_t pts = frame->best_effort_timestamp;
        if (pts < stretch.frames[next]) {
            av_frame_unref(frame.get());
            continue;
        }
        if (pts != stretch.frames[next] || frame->format != encoder->pix_fmt)
            throw ExportFailure::sourceGone(path_); // not the file the plan was made from
        frame->pts = toOutput(pts);
        frame->pict_type = AV_PICTURE_TYPE_NONE;
        encode(encoder.get(), frame.get(), stretch);
        av_frame_unref(frame.get());
        ++next;
        progressed(static_cast<double>(toOutput(pts)) /
                   std::max<std::int64_t>(1, job_.copy.plan.duration));
    }
    if (next < stretch.frames.size())
        throw ExportFailure::sourceGone(path_);
    encode(encoder.get(), nullptr, stretch);
    if (written_ != stretch.frames.size())
        throw ExportFailure::failed();
}

void StretchEncoder::encode(AVCodecContext* encoder, const AVFrame* frame,
                            const EncodedStretch& stretch) {
    const int sent = avcodec_send_frame(encoder, frame);
    if (sent < 0 && sent != AVERROR_EOF)
        throw ExportFailure::failed();
    ff::PacketPtr encoded = ff::makePacket();
    for (;;) {
        const int got = avcodec_receive_packet(encoder, encoded.get());
        if (got == AVERROR(EAGAIN) || got == AVERROR_EOF)
            return;
        if (got < 0)
            throw ExportFailure::failed();
        write(*encoded, stretch);
        av_packet_unref(encoded.get());
    }
}

// Without reordering the encoder's packets come in presentation order, one per frame.
void StretchEncoder::write(const AVPacket& encoded, const EncodedStretch& stretch) {
    if (written_ >= stretch.frames.size())
        throw ExportFailure::failed();
    const QByteArray sample =
        avc::lengthPrefixed(QByteArray(reinterpret_cast<const char*>(encoded.data), encoded.size));
    if (av_new_packet(packet_.get(), static_cast<int>(sample.size())) < 0)
        throw ExportFailure::failed();
    std::memcpy(packet_->data, sample.constData(), static_cast<std::size_t>(sample.size()));
    const std::size_t k = written_++;
    const std::int64_t pts = toOutput(stretch.frames[k]);
    const std::int64_t end =
        toOutput(k + 1 < stretch.frames.size() ? stretch.frames[k + 1] : stretch.end);
    packet_->flags = encoded.flags & AV_PKT_FLAG_KEY;
    packet_->pts = pts;
    packet_->dts = pts - job_.encodedDelay;
    packet_->duration = end - pts;
    packet_->stream_index = video_->index;
    av_packet_rescale_ts(packet_.get(), job_.copy.plan.videoTimeBase, video_->time_base);
    writer_.write(packet_.get());
}

} // namespace

SmartCutResult prepareSmartCut(const std::vector<CopyClip>& trims, std::vector<SourceScan> scans,
                               const std::vector<QString>& paths, const CancelFlag& cancel) {
    std::vector<CopyClip> clips;
    for (std::size_t i = 0; i < scans.size(); ++i) {
        CopyClip clip = scans[i].clip;
        clip.lower = trims[i].lower;
        clip.upper = trims[i].upper;
        clips.push_back(std::move(clip));
    }
    if (clips.empty())
        return {std::nullopt, SmartRefusal::none, CopyRefusal::noClips, -1};
    const int codecId = clips.front().video.codecId;
    if (codecId != AV_CODEC_ID_H264 && codecId != AV_CODEC_ID_HEVC)
        return {std::nullopt, SmartRefusal::codec, CopyRefusal::none, 0};
    const bool hevc = codecId == AV_CODEC_ID_HEVC;
    SmartPlanResult planned = planSmartCut(clips);
    if (!planned.plan)
        return {std::nullopt, planned.refusal, planned.copyRefusal, planned.clip};
    SmartCutPlan& plan = *planned.plan;

    SmartCutJob job;
    // The stream as its decoder sees it (profile, pixel format, scan), which the table lacks.
    const ff::Demuxer first(QUrl::fromLocalFile(paths.front()), &cancel);
    const int stream = first.firstVideoStream();
    if (stream < 0)
        throw ExportFailure::sourceGone(paths.front());
    const AVCodecParameters& source = *first.stream(stream)->codecpar;
    const QByteArray& extradata = clips.front().video.extradata;
    job.frameRate = frameRateOf(clips.front().video);
    QByteArray joint;
    std::optional<QByteArray> leadIn;
    if (hevc) {
        // The source's parameter sets go in front of every copied stretch that follows
        // re-encoded frames, so the sample description keeps the source's own.
        leadIn = avc::hevcParameterSets(extradata);
        if (leadIn && job.frameRate.num > 0 &&
            openEncoder(source, job.frameRate, plan.copy.videoTimeBase, 0))
            joint = extradata;
    } else {
        const auto configuration = avc::parseRecord(extradata);
        job.parameterSetId = configuration ? freeSetId(*configuration) : -1;
        ff::CodecPtr encoder;
        if (configuration && configuration->lengthSize == 4 && job.parameterSetId >= 0 &&
            !configuration->sequenceSets.empty() && job.frameRate.num > 0)
            encoder =
                openEncoder(source, job.frameRate, plan.copy.videoTimeBase, job.parameterSetId);
        if (encoder) {
            job.encoderSets = extradataOf(*encoder);
            joint = jointRecord(*configuration, job.encoderSets);
        }
    }
    if (joint.isEmpty())
        return {std::nullopt, SmartRefusal::unmatched, CopyRefusal::none, 0};

    for (std::size_t i = 0; i < clips.size(); ++i) {
        const VideoCut& cut = plan.copy.video[i];
        const bool afterEncoded =
            plan.clips[i].head || (i > 0 && plan.clips[i - 1].tail) ||
            (i > 0 && plan.copy.video[i - 1].endPacket == plan.copy.video[i - 1].firstPacket);
        if (cut.endPacket <= cut.firstPacket || !afterEncoded)
            continue;
        if (!copiesStartAtIdr(paths[i], cut, hevc, cancel))
            return {std::nullopt, SmartRefusal::keyNotIdr, CopyRefusal::none, static_cast<int>(i)};
        if (leadIn) {
            job.copy.leadIn.resize(clips.size());
            job.copy.leadIn[i] = *leadIn;
        }
    }

    job.copy.paths = paths;
    job.copy.video = std::move(scans.front().video);
    if (!ff::setExtradata(job.copy.video.parameters.get(), joint.constData(),
                          static_cast<int>(joint.size())))
        throw ExportFailure::failed();
    // Parameter sets inside the samples: the sample entry that allows them.
    if (hevc)
        job.copy.video.parameters->codec_tag = MKTAG('h', 'e', 'v', '1');
    job.encodedFrames = plan.encodedFrames();
    job.copy.plan = std::move(plan.copy);
    job.clips = std::move(plan.clips);
    job.encodedDelay = plan.encodedDelay;
    if (job.copy.plan.audio) {
        job.copy.audio = std::move(scans[job.copy.plan.audio->formatClip].audio);
        if (job.copy.plan.audio->needsSilence &&
            !(job.copy.silence = aacSilence(*job.copy.audio.parameters)))
            return {std::nullopt, SmartRefusal::none, CopyRefusal::silenceUnavailable, -1};
    }
    job.copy.samples = packetCount(job);
    return {std::move(job), SmartRefusal::none, CopyRefusal::none, -1};
}

void smartCutStreams(const SmartCutJob& job, const QString& destination, ExportFormat format,
                     const CancelFlag& cancel, const std::function<void(double)>& progressed) {
    MovieWriter writer(destination, format, cancel);
    const CopyPlan& plan = job.copy.plan;
    AVStream* video = writer.addStream(*job.copy.video.parameters, plan.videoTimeBase,
                                       job.copy.video.displayMatrix);
    AVStream* audio = nullptr;
    if (plan.audio)
        audio = writer.addStream(*job.copy.audio.parameters, {1, plan.audio->sampleRate});
    writer.open(indexBytesFixed + indexBytesPerPacket * job.copy.samples);
    for (std::size_t i = 0; i < job.copy.paths.size(); ++i) {
        const SmartClip& clip = job.clips[i];
        if (clip.head)
            StretchEncoder(job, i, writer, video, cancel).run(*clip.head, progressed);
        copyClip(job.copy, i, writer, video, audio, cancel, progressed);
        if (clip.tail)
            StretchEncoder(job, i, writer, video, cancel).run(*clip.tail, progressed);
    }
    writer.finish();
}

} // namespace vimbo
