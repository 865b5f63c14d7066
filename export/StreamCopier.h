#pragma once

// Joins clips by copying their packets into one movie, as a CopyPlan says: no decoding, each
// packet's data written unchanged with shifted timestamps, AAC silence where a clip has no
// sound. The output's video carries the clips' common display matrix, so joined portrait phone
// clips still play upright. Runs on the calling thread; reports progress as a fraction of the
// movie's length written.

#include "export/CopyPlan.h"
#include "export/ExportChoices.h"
#include "export/SourceScan.h"
#include "media/ff/Cancel.h"
#include "model/Segment.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>
#include <vector>

namespace vimbo {

struct CopyJob {
    std::vector<QString> paths; // one per clip, in order
    CopyPlan plan;
    StreamFormat video;                // the output's video stream copies this
    StreamFormat audio;                // and its sound this (parameters null: no sound)
    std::optional<QByteArray> silence; // an AAC frame of silence, where the plan needs one
    std::int64_t samples = 0;          // packets the movie will hold, to size its index
    // Per clip, when not empty: NAL units put in front of its first copied packet (the
    // parameter sets a decoder must return to after frames coded with others).
    std::vector<QByteArray> leadIn;
};

// What the copy must keep of each segment (its trimmed range, its sound unless muted); the
// packet facts are filled in by prepareCopy.
std::vector<CopyClip> copyClips(const std::vector<Segment>& segments);
std::vector<QString> sourcePaths(const std::vector<Segment>& segments);

// Reads the clips' packet tables and plans the copy. Absent (with the reason in `result`)
// when the clips cannot be joined exactly by copying; then `scanned` gets the tables read.
std::optional<CopyJob> prepareCopy(const std::vector<CopyClip>& trims,
                                   const std::vector<QString>& paths, const CancelFlag& cancel,
                                   PlanResult* result = nullptr,
                                   std::vector<SourceScan>* scanned = nullptr);

class MovieWriter;
// Writes one clip's share of a copy into a movie already open: its packets in
// [firstPacket, endPacket) and its audio slots.
void copyClip(const CopyJob& job, std::size_t clip, MovieWriter& writer, AVStream* video,
              AVStream* audio, const CancelFlag& cancel,
              const std::function<void(double)>& progressed);

// Writes the movie. Throws Cancelled or the failure's VimboError.
void copyStreams(const CopyJob& job, const QString& destination, ExportFormat format,
                 const CancelFlag& cancel, const std::function<void(double)>& progressed);

} // namespace vimbo
