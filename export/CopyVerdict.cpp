#include "export/CopyVerdict.h"

#include "model/TimeText.h"
#include "model/VimboError.h"
#include "timeline/Timeline.h"

extern "C" {
#include <libavcodec/codec_id.h>
}

#include <QCoreApplication>
#include <QLocale>
#include <QStringList>

#include <cmath>

namespace vimbo {
namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("CopyVerdict", text);
}

QString name(const Segment& s) {
    return u'\u201C' + s.url.fileName() + u'\u201D';
}

QString sizeText(Size size) {
    return QStringLiteral("%1 \u00D7 %2")
        .arg(std::lround(size.width))
        .arg(std::lround(size.height));
}

// The codec's everyday name; its four-character code when it has none.
QString codecName(const MediaInfo& info) {
    static const std::pair<AVCodecID, const char*> names[] = {
        {AV_CODEC_ID_H264, "H.264"},        {AV_CODEC_ID_HEVC, "HEVC"},
        {AV_CODEC_ID_PRORES, "ProRes"},     {AV_CODEC_ID_MPEG4, "MPEG-4"},
        {AV_CODEC_ID_VP9, "VP9"},           {AV_CODEC_ID_AV1, "AV1"},
        {AV_CODEC_ID_MJPEG, "Motion JPEG"},
    };
    for (const auto& [id, everyday] : names)
        if (info.videoCoding.codec == id)
            return QString::fromLatin1(everyday);
    return info.codec.isEmpty() ? tr("unknown") : info.codec;
}

// "aac 48000 2" as "AAC 48 kHz stereo".
QString soundName(const QString& format) {
    const QStringList parts = format.split(u' ', Qt::SkipEmptyParts);
    if (parts.size() != 3)
        return format.isEmpty() ? tr("unknown") : format;
    const QString codec =
        parts[0] == QLatin1String("lpcm") ? QStringLiteral("PCM") : parts[0].toUpper();
    const QString rate = QLocale().toString(parts[1].toDouble() / 1000.0, 'g', 4);
    const int channels = parts[2].toInt();
    const QString layout = channels == 1   ? tr("mono")
                           : channels == 2 ? tr("stereo")
                                           : tr("%1 channels").arg(channels);
    return tr("%1 %2 kHz %3").arg(codec, rate, layout);
}

QString obstacleText(const JoinObstacle& o, const std::vector<Segment>& segments,
                     const Layout& layout) {
    using Kind = JoinObstacle::Kind;
    if (o.kind == Kind::noClips)
        return {};
    const Segment& c = segments[o.clip];
    const Segment& r = segments[o.reference];
    switch (o.kind) {
    case Kind::noClips:
        break;
    case Kind::photo:
        return tr("%1 is a photo").arg(name(c));
    case Kind::speed:
        return tr("%1 plays at %2\u00D7").arg(name(c), TimeText::seconds(c.edits.speed));
    case Kind::turned:
        return tr("%1 is rotated").arg(name(c));
    case Kind::codec:
        return tr("%1 uses a different codec from %2 (%3, not %4)")
            .arg(name(c), name(r), codecName(c.info), codecName(r.info));
    case Kind::codedSize:
        return tr("%1 has a different frame size from %2 (%3, not %4)")
            .arg(name(c), name(r), sizeText(c.info.naturalSize), sizeText(r.info.naturalSize));
    case Kind::transform:
        return tr("%1 was recorded in a different orientation from %2").arg(name(c), name(r));
    case Kind::dynamicRange:
        return (c.info.isHDR ? tr("%1 is HDR and %2 is not") : tr("%1 is not HDR and %2 is"))
            .arg(name(c), name(r));
    case Kind::frameRate:
        return tr("%1 has a different frame rate from %2 (%3 fps, not %4 fps)")
            .arg(name(c), name(r), TimeText::frameRate(c.info.frameRate),
                 TimeText::frameRate(r.info.frameRate));
    case Kind::soundFormat:
        return tr("%1 has its sound in a different format from %2 (%3, not %4)")
            .arg(name(c), name(r), soundName(c.info.audioFormat), soundName(r.info.audioFormat));
    case Kind::frame:
        return tr("the movie\u2019s frame, %1, differs from the clips\u2019 own, %2")
            .arg(sizeText(Timeline::renderSize(segments, layout)), sizeText(c.info.size));
    }
    return {};
}

// What reading the packets found. `clip` indexes `usable`; -1 when no one clip is to blame.
QString refusalText(const PlanResult& result, const std::vector<Segment>& usable) {
    const bool named = result.clip >= 0 && static_cast<std::size_t>(result.clip) < usable.size();
    const QString c = named ? name(usable[static_cast<std::size_t>(result.clip)]) : QString();
    const QString first = name(usable.front());
    switch (result.refusal) {
    case CopyRefusal::none:
    case CopyRefusal::noClips:
        return {};
    case CopyRefusal::codecDiffers:
        return tr("%1 has a different video format from %2").arg(c, first);
    case CopyRefusal::parameterSetsDiffer:
        return tr("%1 was encoded with different settings from %2").arg(c, first);
    case CopyRefusal::timeBase:
        return tr("%1 has timestamps that can\u2019t be joined exactly").arg(c);
    case CopyRefusal::trimStartNotKey:
        return tr("%1 is trimmed off a key frame").arg(c);
    case CopyRefusal::trimStartBetweenFrames:
    case CopyRefusal::trimEndBetweenFrames:
        return tr("%1 is trimmed between two frames").arg(c);
    case CopyRefusal::trimEndCutsReferences:
        return tr("%1 is trimmed where its kept frames need ones cut away").arg(c);
    case CopyRefusal::joinOrder:
        return tr("%1 can\u2019t follow the clip before it without re-encoding").arg(c);
    case CopyRefusal::audioCodec:
        return tr("%1 has sound that can only be re-encoded").arg(c);
    case CopyRefusal::audioFormatsDiffer:
        return tr("%1 has its sound in a different format").arg(c);
    case CopyRefusal::audioNotContiguous:
        return tr("%1 has gaps in its sound").arg(c);
    case CopyRefusal::silenceUnavailable:
        return tr("no silence can be made in the clips\u2019 sound format");
    }
    return {};
}

QString line(const QString& reason) {
    return reason.isEmpty() ? QString() : tr("No fast export: %1").arg(reason);
}

// Why the frames around a trim cannot be re-encoded to match the copied ones.
QString smartRefusalText(const SmartCutResult& result, const std::vector<Segment>& usable) {
    if (result.refusal == SmartRefusal::none || result.refusal == SmartRefusal::joinOrder)
        return refusalText(
            {std::nullopt,
             result.refusal == SmartRefusal::none ? result.copyRefusal : CopyRefusal::joinOrder,
             result.clip},
            usable);
    const Segment& s = usable[static_cast<std::size_t>(std::max(0, result.clip))];
    const QString c = name(s);
    switch (result.refusal) {
    case SmartRefusal::none:
    case SmartRefusal::joinOrder: // the copy's own sentence, above
        break;
    case SmartRefusal::codec:
        return tr("%1 is trimmed off a key frame, and its %2 video can\u2019t be re-encoded "
                  "around the cut")
            .arg(c, codecName(s.info));
    case SmartRefusal::unmatched:
        return tr("%1 is trimmed off a key frame, and the encoder can\u2019t match its video")
            .arg(c);
    case SmartRefusal::openGop:
        return tr("%1 is trimmed inside groups of pictures that can\u2019t be cut apart").arg(c);
    case SmartRefusal::keyNotIdr:
        return tr("%1 has key frames that a copy can\u2019t start from").arg(c);
    }
    return {};
}

// Trims off key frames are what re-encoding around the cuts can mend.
bool cutsCanMend(CopyRefusal refusal) {
    return refusal == CopyRefusal::trimStartNotKey || refusal == CopyRefusal::trimEndCutsReferences;
}

} // namespace

QString CopyVerdict::line() const {
    if (job)
        return tr("Fast export, no re-encoding");
    if (cut)
        return cut->encodedFrames == 1
                   ? tr("Fast export, re-encoding only 1 frame around the trims")
                   : tr("Fast export, re-encoding only %1 frames around the trims")
                         .arg(cut->encodedFrames);
    return whyNot;
}

CopyVerdict decideCopy(const std::vector<Segment>& segments, const Layout& layout,
                       const CancelFlag& cancel) {
    std::vector<Segment> usable;
    for (const Segment& s : segments)
        if (s.info.isUsable())
            usable.push_back(s);
    if (const auto obstacle = Timeline::joinObstacle(usable, layout))
        return {std::nullopt, std::nullopt, line(obstacleText(*obstacle, usable, layout))};
    PlanResult planned;
    try {
        std::vector<SourceScan> scans;
        const std::vector<CopyClip> trims = copyClips(usable);
        const std::vector<QString> paths = sourcePaths(usable);
        std::optional<CopyJob> job = prepareCopy(trims, paths, cancel, &planned, &scans);
        if (job)
            return {std::move(job), std::nullopt, {}};
        if (cutsCanMend(planned.refusal)) {
            SmartCutResult smart = prepareSmartCut(trims, std::move(scans), paths, cancel);
            if (smart.job)
                return {std::nullopt, std::move(smart.job), {}};
            return {std::nullopt, std::nullopt, line(smartRefusalText(smart, usable))};
        }
    } catch (const VimboError& error) {
        // A file whose packets cannot be read this way may still decode: it is re-encoded.
        QString sentence = error.errorDescription();
        if (sentence.endsWith(u'.'))
            sentence.chop(1);
        return {std::nullopt, std::nullopt, line(sentence)};
    }
    return {std::nullopt, std::nullopt, line(refusalText(planned, usable))};
}

} // namespace vimbo
