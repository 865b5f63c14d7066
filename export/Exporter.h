#pragma once

// One export job: writes the usable clips of a project, under its layout, into one movie file
// at a format and quality. It copies the clips' packets when that shows exactly what a
// re-encode would (original quality, clips that join, trims on frame boundaries), and
// otherwise encodes the composed timeline. Progress is reported every 0.2 s.
//
// Threads: export_() runs on a background thread and blocks until the movie is written;
// progress is called on another background thread (and once, with 1.0, on export_'s own after
// success). cancel() may be called from any thread, at any moment, any number of times.
// The movie is written beside the destination and takes its place only once complete
// (export/Destination.h), so whatever was there stays as it was until then.
// Outcomes: export_ returns on success; throws Cancelled when cancelled; throws VimboError on
// failure, including the timeline build's own errors and a destination that is one of the
// clips (refused before anything is written). Neither leaves a partial file.

#include "export/EncoderSettings.h"
#include "export/ExportChoices.h"
#include "media/ff/Cancel.h"
#include "model/Layout.h"
#include "model/Segment.h"

#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace vimbo {

class Timeline;
struct CopyVerdict;

class Exporter {
public:
    using Progress = std::function<void(double)>;
    // At Original, the copy decision once made: empty when the export copies, otherwise the
    // line that says why not. Called on export_'s thread before any progress.
    using Decided = std::function<void(const QString& line)>;

    // Keeps only the usable segments (videos and photos), in order. `verdict`, when given, is
    // decideCopy's answer for these very segments and layout (the export sheet's): an export at
    // Original follows it instead of reading every clip's packet table again.
    Exporter(const std::vector<Segment>& segments, const Layout& layout, ExportFormat format,
             ExportQuality quality, std::shared_ptr<const CopyVerdict> verdict = nullptr);
    ~Exporter();

    // Original quality over clips whose probed facts allow joining without re-encoding. The
    // copy may still turn out inexact once the packets are read (decideCopy), and then the
    // export re-encodes.
    bool isPassthrough() const;
    // Seconds the movie will last: the sum of the segments' played lengths.
    double duration() const;
    // The preset a re-encode uses.
    Preset preset() const { return reencodingPreset(quality_, segments_); }
    // The longest edge a movie of this quality may have (High and Smaller File are capped at
    // 1920); none at Original. The export sheet shows the size this gives.
    static std::optional<double> longEdgeCap(ExportQuality quality);

    void export_(const QString& destination, const Progress& progress, const Decided& decided = {});
    void cancel();

private:
    struct Plan;
    Plan prepare(const Decided& decided);
    void run(const Plan& plan, const QString& destination, const Progress& progress);

    std::vector<Segment> segments_;
    Layout layout_;
    ExportFormat format_;
    ExportQuality quality_;
    std::shared_ptr<const CopyVerdict> verdict_;

    std::mutex lock_;
    bool cancelled_ = false; // guarded by lock_
    const std::shared_ptr<CancelFlag> cancel_ = std::make_shared<CancelFlag>();
    std::atomic<double> fraction_{0};
};

} // namespace vimbo
