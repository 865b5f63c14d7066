#include "export/ExportController.h"

#include "export/ExportFailure.h"
#include "export/Exporter.h"

#include <QFileInfo>
#include <QMetaObject>

namespace vimbo {

ExportController::ExportController(QObject* parent, double estimateAfter)
    : QObject(parent)
    , estimateAfter_(estimateAfter) {
    // A replaced export keeps running beside the new one; neither waits for a free thread.
    pool_.setMaxThreadCount(8);
}

ExportController::~ExportController() {
    for (const Run& run : runs_)
        run.exporter->cancel();
    pool_.waitForDone();
}

std::optional<double> ExportController::remainingTime(double progress, double elapsed,
                                                      double estimateAfter) {
    if (progress > 0.05 && elapsed > estimateAfter)
        return (1 - progress) * (elapsed / progress);
    return std::nullopt;
}

void ExportController::setState(const State& state) {
    if (state == state_)
        return;
    state_ = state;
    emit stateChanged();
}

void ExportController::start(const std::vector<Segment>& segments, const Layout& layout,
                             ExportFormat format, ExportQuality quality, const QUrl& to,
                             std::shared_ptr<const CopyVerdict> verdict) {
    const std::uint64_t generation = ++generations_;
    current_ = generation;
    std::erase_if(runs_, [](const Run& run) {
        return run.ended.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    });
    // Exports to the same file stop before this one starts, so none of them can put its movie
    // in place after this one's.
    const QString destination = QFileInfo(to.toLocalFile()).absoluteFilePath();
    std::vector<std::shared_future<void>> predecessors;
    for (const Run& run : runs_)
        if (run.destination == destination) {
            run.exporter->cancel();
            predecessors.push_back(run.ended);
        }
    auto exporter =
        std::make_shared<Exporter>(segments, layout, format, quality, std::move(verdict));
    auto end = std::make_shared<std::promise<void>>();
    runs_.push_back({generation, destination, exporter, end->get_future().share()});
    setState(State::running(0, std::nullopt));
    started_ = std::chrono::steady_clock::now();
    pool_.start([this, exporter, generation, to, predecessors, end] {
        // The pool starts tasks in order, so every predecessor is already running.
        for (const auto& predecessor : predecessors)
            predecessor.wait();
        // Every report and the outcome cross to the interface thread as their own queued call,
        // in the order they were made.
        const auto report = [this, generation](double p) {
            QMetaObject::invokeMethod(
                this, [this, generation, p] { progressed(generation, p); }, Qt::QueuedConnection);
        };
        const auto decided = [this, generation](const QString& line) {
            QMetaObject::invokeMethod(
                this,
                [this, generation, line] {
                    if (generation == current_)
                        emit copyDecided(line);
                },
                Qt::QueuedConnection);
        };
        State outcome;
        try {
            exporter->export_(to.toLocalFile(), report, decided);
            outcome = State::done(to);
        } catch (const Cancelled&) {
            outcome = State::idle();
        } catch (const VimboError& error) {
            outcome = State::failed(error.errorDescription());
        } catch (...) {
            outcome = State::failed(ExportFailure::failed().errorDescription());
        }
        QMetaObject::invokeMethod(
            this, [this, generation, outcome] { finished(generation, outcome); },
            Qt::QueuedConnection);
        end->set_value();
    });
}

void ExportController::cancel() {
    for (const Run& run : runs_)
        if (run.generation == current_)
            run.exporter->cancel();
    current_ = 0;
    setState(State::idle());
}

void ExportController::progressed(std::uint64_t generation, double progress) {
    if (generation != current_ || state_.kind != State::Kind::running)
        return;
    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
    setState(State::running(progress, remainingTime(progress, elapsed, estimateAfter_)));
}

void ExportController::finished(std::uint64_t generation, const State& outcome) {
    if (generation != current_)
        return;
    setState(outcome);
}

} // namespace vimbo
