#include "export/Exporter.h"

#include "export/CopyVerdict.h"
#include "export/Destination.h"
#include "export/ExportFailure.h"
#include "export/ProgressTicker.h"
#include "export/Reencoder.h"
#include "export/StreamCopier.h"
#include "timeline/Timeline.h"

#include <QFileInfo>

#include <numeric>

namespace vimbo {
struct Exporter::Plan {
    std::shared_ptr<const Timeline> timeline;
    std::shared_ptr<const CopyVerdict> copy; // present when the export copies, whole or cut
    Preset preset = Preset::highestQuality;
};

std::optional<double> Exporter::longEdgeCap(ExportQuality quality) {
    if (quality == ExportQuality::original)
        return std::nullopt;
    return 1920;
}

Exporter::Exporter(const std::vector<Segment>& segments, const Layout& layout, ExportFormat format,
                   ExportQuality quality, std::shared_ptr<const CopyVerdict> verdict)
    : layout_(layout)
    , format_(format)
    , quality_(quality)
    , verdict_(std::move(verdict)) {
    for (const Segment& s : segments)
        if (s.info.isUsable())
            segments_.push_back(s);
}

Exporter::~Exporter() = default;

bool Exporter::isPassthrough() const {
    return quality_ == ExportQuality::original &&
           Timeline::canJoinWithoutReencoding(segments_, layout_);
}

double Exporter::duration() const {
    return std::accumulate(segments_.begin(), segments_.end(), 0.0,
                           [](double sum, const Segment& s) { return sum + s.duration(); });
}

Exporter::Plan Exporter::prepare(const Decided& decided) {
    Plan plan;
    const auto build = [&](std::optional<double> maxLongEdge, bool passthrough) {
        return std::make_shared<const Timeline>(
            Timeline::build(segments_, layout_, maxLongEdge, passthrough));
    };
    if (quality_ == ExportQuality::original) {
        // The same verdict the export sheet shows: copy exactly when it says so.
        std::shared_ptr<const CopyVerdict> verdict = verdict_;
        if (!verdict)
            verdict = std::make_shared<const CopyVerdict>(decideCopy(segments_, layout_, *cancel_));
        if (decided)
            decided(verdict->line());
        if (verdict->copies() || verdict->cut) {
            plan.timeline = build(std::nullopt, true);
            plan.copy = std::move(verdict);
            plan.preset = Preset::passthrough;
            return plan;
        }
        plan.timeline = build(std::nullopt, false);
    } else {
        plan.timeline = build(longEdgeCap(quality_), false);
    }
    plan.preset = preset();
    return plan;
}

void Exporter::export_(const QString& destination, const Progress& progress,
                       const Decided& decided) {
    std::vector<QString> clips;
    for (const Segment& s : segments_)
        clips.push_back(s.url.toLocalFile());
    if (const std::optional<QString> clip = sameFileAs(destination, clips))
        throw ExportFailure::overClip(*clip);
    Plan plan = prepare(decided);
    {
        std::lock_guard lock(lock_);
        // Either cancel() came first and nothing starts, or the job starts and sees the flag.
        if (cancelled_)
            throw Cancelled();
    }
    try {
        PendingMovie movie(destination); // removed on the way out unless put in place
        run(plan, movie.path(), progress);
        movie.flush();
        {
            // A cancel that comes before the movie takes the old file's place keeps that file;
            // the lock is held for the rename only, as cancel() may come from the interface.
            std::lock_guard lock(lock_);
            if (cancelled_)
                throw Cancelled();
            movie.commit();
        }
    } catch (const Cancelled&) {
        throw;
    } catch (const VimboError& error) {
        if (cancel_->isCancelled())
            throw Cancelled();
        // A clip's file that vanished while the export ran is the likely story, and the
        // sentence that tells it is the more useful one.
        if (error.kind() == VimboError::Kind::unreadable &&
            !QFileInfo::exists(error.url().toLocalFile()))
            throw ExportFailure::sourceGone(error.url().toLocalFile());
        throw;
    } catch (...) {
        if (cancel_->isCancelled())
            throw Cancelled();
        throw ExportFailure::failed();
    }
    progress(1.0);
}

void Exporter::run(const Plan& plan, const QString& destination, const Progress& progress) {
    ProgressTicker ticker(fraction_, progress);
    const auto store = [this](double f) { fraction_.store(f, std::memory_order_relaxed); };
    if (plan.copy && plan.copy->job)
        copyStreams(*plan.copy->job, destination, format_, *cancel_, store);
    else if (plan.copy && plan.copy->cut)
        smartCutStreams(*plan.copy->cut, destination, format_, *cancel_, store);
    else
        reencode(plan.timeline, plan.preset, format_, destination, cancel_, store);
}

void Exporter::cancel() {
    {
        std::lock_guard lock(lock_);
        cancelled_ = true;
    }
    // Outside the lock: the running copy or encode sees the flag at its next packet or frame,
    // and its I/O is interrupted at once.
    cancel_->cancel();
}

} // namespace vimbo
