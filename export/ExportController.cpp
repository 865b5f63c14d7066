#include "export/ExportController.h"

#include "export/ExportFailure.h"
#include "export/Exporter.h"

#include <QMetaObject>

namespace vimbo {

ExportController::ExportController(QObject* parent)
    : QObject(parent) {
    // A replaced export keeps running beside the new one; neither waits for a free thread.
    pool_.setMaxThreadCount(8);
}

ExportController::~ExportController() {
    for (const auto& weak : running_)
        if (auto exporter = weak.lock())
            exporter->cancel();
    pool_.waitForDone();
}

std::optional<double> ExportController::remainingTime(double progress, double elapsed) {
    if (progress > 0.05 && elapsed > 2.0)
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
                             ExportFormat format, ExportQuality quality, const QUrl& to) {
    auto exporter = std::make_shared<Exporter>(segments, layout, format, quality);
    exporter_ = exporter;
    std::erase_if(running_, [](const auto& weak) { return weak.expired(); });
    running_.push_back(exporter);
    setState(State::running(0, std::nullopt));
    started_ = std::chrono::steady_clock::now();
    const Exporter* id = exporter.get();
    pool_.start([this, exporter, id, to] {
        // Every report and the outcome cross to the interface thread as their own queued call,
        // in the order they were made.
        const auto report = [this, id](double p) {
            QMetaObject::invokeMethod(
                this, [this, id, p] { progressed(id, p); }, Qt::QueuedConnection);
        };
        State outcome;
        try {
            exporter->export_(to.toLocalFile(), report);
            outcome = State::done(to);
        } catch (const Cancelled&) {
            outcome = State::idle();
        } catch (const VimboError& error) {
            outcome = State::failed(error.errorDescription());
        } catch (const std::exception&) {
            outcome = State::failed(ExportFailure::failed().errorDescription());
        }
        QMetaObject::invokeMethod(
            this, [this, id, outcome] { finished(id, outcome); }, Qt::QueuedConnection);
    });
}

void ExportController::cancel() {
    if (exporter_)
        exporter_->cancel();
    exporter_.reset();
    setState(State::idle());
}

void ExportController::progressed(const Exporter* exporter, double progress) {
    if (exporter != exporter_.get() || state_.kind != State::Kind::running)
        return;
    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
    setState(State::running(progress, remainingTime(progress, elapsed)));
}

void ExportController::finished(const Exporter* exporter, const State& outcome) {
    if (exporter != exporter_.get())
        return;
    setState(outcome);
}

} // namespace vimbo
