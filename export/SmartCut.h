#pragma once

// Writes a SmartCutPlan: the clips' whole groups of pictures copied packet for packet, the
// frames around each trim decoded and encoded again as the copied stream is coded (H.264 with
// the same profile, level, size, chroma format, bit depth, colour tags and frame rate), and
// the sound copied as a plain copy copies it. One video track holds both: the encoder's
// sequence and picture parameter sets take an id the source's do not use, and the sample
// description lists both pairs, so every sample refers to its own.
//
// Blocking; runs on the export's thread and gives up when the export is cancelled.

#include "export/SmartCutPlan.h"
#include "export/StreamCopier.h"

#include <QByteArray>

namespace vimbo {

struct SmartCutJob {
    CopyJob copy; // copy.plan is the plan's copy part; copy.video carries the joint extradata
    std::vector<SmartClip> clips;
    std::int64_t encodedDelay = 0;
    std::int64_t encodedFrames = 0;
    int parameterSetId = 0; // the encoder's SPS and PPS id
    AVRational frameRate{0, 1};
    QByteArray encoderSets; // the encoder's SPS and PPS, as its extradata gives them
};

struct SmartCutResult {
    std::optional<SmartCutJob> job;
    SmartRefusal refusal = SmartRefusal::none;
    CopyRefusal copyRefusal = CopyRefusal::none;
    int clip = -1; // the clip refused, where one is
};

// Plans the join from packet tables already read (one scan per clip, in order, as
// prepareCopy leaves them), and checks that the encoder matches the stream. Throws Cancelled.
SmartCutResult prepareSmartCut(const std::vector<CopyClip>& trims, std::vector<SourceScan> scans,
                               const std::vector<QString>& paths, const CancelFlag& cancel);

// Writes the movie. Throws Cancelled or the failure's VimboError.
void smartCutStreams(const SmartCutJob& job, const QString& destination, ExportFormat format,
                     const CancelFlag& cancel, const std::function<void(double)>& progressed);

} // namespace vimbo
