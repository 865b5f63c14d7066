#pragma once

// The one holder of which export is under way and how far it has come. Lives on the interface
// thread; every read and write of its state happens there. An export runs on a background
// thread; its progress reports and its outcome come back as queued calls tagged with the
// export's generation number, and only those of the current generation change the state: an
// export that was cancelled or replaced by a newer one runs down quietly. A replaced export
// that writes to the same file as the new one is cancelled, and the new one starts writing
// only once it has ended, so the older movie can never take the file's place after the newer.

#include "export/ExportChoices.h"
#include "model/Layout.h"
#include "model/Segment.h"

#include <QObject>
#include <QThreadPool>
#include <QUrl>

#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <vector>

namespace vimbo {

class Exporter;
struct CopyVerdict;

class ExportController : public QObject {
    Q_OBJECT
public:
    struct State {
        enum class Kind { idle, running, done, failed };
        Kind kind = Kind::idle;
        double progress = 0;             // running
        std::optional<double> remaining; // running: seconds, once an estimate is allowed
        QUrl url;                        // done
        QString message;                 // failed

        static State idle() { return {}; }
        static State running(double progress, std::optional<double> remaining) {
            return {Kind::running, progress, remaining, {}, {}};
        }
        static State done(const QUrl& url) { return {Kind::done, 0, {}, url, {}}; }
        static State failed(const QString& message) { return {Kind::failed, 0, {}, {}, message}; }
        friend bool operator==(const State&, const State&) = default;
    };

    // `estimateAfter`: seconds an export runs before its remaining time is estimated (tests
    // shorten it so that a short export shows an estimate too).
    explicit ExportController(QObject* parent = nullptr, double estimateAfter = 2.0);
    // Cancels every export still running and waits for them to wind down.
    ~ExportController() override;

    const State& state() const { return state_; }
    // The export bar's close button: back to idle (the exporter stays as it was).
    void close() { setState(State::idle()); }

    // Starts exporting at once in the background; failures become the `failed` state.
    // `verdict`: decideCopy's answer for these segments and layout, when one was already worked
    // out; otherwise an export at Original decides itself and says so through copyDecided.
    void start(const std::vector<Segment>& segments, const Layout& layout, ExportFormat format,
               ExportQuality quality, const QUrl& to,
               std::shared_ptr<const CopyVerdict> verdict = nullptr);
    // Stops the current export (the file it was to replace stays as it was) and goes idle at
    // once.
    void cancel();

    // Seconds left, from the fraction done and the seconds elapsed; absent while too early to
    // tell (too little progress or too little time for a fair estimate).
    static std::optional<double> remainingTime(double progress, double elapsed,
                                               double estimateAfter = 2.0);

signals:
    void stateChanged();
    // The current export at Original has decided which way it goes: `line` says so ("Fast
    // export, …"), or why it re-encodes. Comes before its first progress.
    void copyDecided(const QString& line);

private:
    // An export that may still be running.
    struct Run {
        std::uint64_t generation;
        QString destination;
        std::shared_ptr<Exporter> exporter;
        std::shared_future<void> ended;
    };

    void setState(const State& state);
    void progressed(std::uint64_t generation, double progress);
    void finished(std::uint64_t generation, const State& outcome);

    State state_;
    std::uint64_t generations_ = 0; // the last one handed out
    std::uint64_t current_ = 0;     // the generation whose reports count; 0 for none
    std::chrono::steady_clock::time_point started_;
    double estimateAfter_;
    std::vector<Run> runs_;
    QThreadPool pool_;
};

} // namespace vimbo
