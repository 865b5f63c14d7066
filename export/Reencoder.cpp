#include "export/Reencoder.h"

#include "export/BoundedQueue.h"
#include "export/Encoder.h"
#include "export/ExportFailure.h"
#include "export/MovieWriter.h"
#include "timeline/AudioRenderer.h"
#include "timeline/VideoRenderer.h"

#include <exception>
#include <mutex>
#include <optional>
#include <thread>

namespace vimbo {
namespace {

// Frames ahead of the encoder: enough to keep both cores busy, few enough to stay small.
constexpr std::size_t framesAhead = 6;
// AAC packets ahead of the muxer (about three seconds).
constexpr std::size_t packetsAhead = 150;

// Runs a stage on its own thread; its first exception is kept for the calling thread, and
// `onEnd` learns whether it failed.
class Stage {
public:
    template <typename Work>
    Stage(Work work, std::function<void(bool failed)> onEnd) {
        thread_ = std::jthread([this, work = std::move(work), onEnd = std::move(onEnd)] {
            try {
                work();
            } catch (...) {
                error_ = std::current_exception();
            }
            onEnd(error_ != nullptr);
        });
    }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    void join() {
        if (thread_.joinable())
            thread_.join();
    }
    // After join().
    void rethrowFailure() const {
        if (error_)
            std::rethrow_exception(error_);
    }

private:
    std::exception_ptr error_;
    std::jthread thread_; // last: joined before the error it may set goes
};

class Pipeline {
public:
    Pipeline(std::shared_ptr<const Timeline> timeline, Preset preset,
             std::shared_ptr<const CancelFlag> cancel, MovieWriter& writer)
        : cancel_(std::move(cancel))
        , video_(timeline, cancel_)
        , audio_(timeline, cancel_)
        , videoEncoder_(
              Encoder::video(videoSettings(preset), video_.size(), video_.frameDuration()))
        , writer_(writer) {
        if (audio_.hasAudio())
            audioEncoder_.emplace(Encoder::audio(audioSettings(preset)));
        videoStream_ = writer.addStream(*videoEncoder_.context());
        if (audioEncoder_)
            audioStream_ = writer.addStream(*audioEncoder_->context());
    }

    void run(const std::function<void(double)>& progressed);

private:
    void renderVideo();
    void encodeAudio();
    void writeVideo(AVPacket* packet);
    // Writes queued sound up to `time` (video time base), or all of it when absent.
    void writeAudioUntil(std::optional<std::int64_t> time);

    std::shared_ptr<const CancelFlag> cancel_;
    VideoRenderer video_;
    AudioRenderer audio_;
    Encoder videoEncoder_;
    std::optional<Encoder> audioEncoder_;
    MovieWriter& writer_;
    AVStream* videoStream_ = nullptr;
    AVStream* audioStream_ = nullptr;
    BoundedQueue<ff::FramePtr> frames_{framesAhead};
    BoundedQueue<ff::PacketPtr> sound_{packetsAhead};
    ff::PacketPtr pendingSound_;
    bool soundEnded_ = false;
};

void Pipeline::run(const std::function<void(double)>& progressed) {
    const auto closeAll = [this] {
        frames_.close();
        sound_.close();
    };
    // A failed stage closes both queues, so the other stages stop at once rather than at the
    // end of the movie.
    Stage videoStage([this] { renderVideo(); },
                     [this, closeAll](bool failed) { failed ? closeAll() : frames_.close(); });
    std::optional<Stage> audioStage;
    if (audioEncoder_)
        audioStage.emplace([this] { encodeAudio(); },
                           [this, closeAll](bool failed) { failed ? closeAll() : sound_.close(); });
    else
        soundEnded_ = true;
    try {
        const auto sink = [this](AVPacket* p) { writeVideo(p); };
        std::int64_t written = 0;
        while (auto frame = frames_.pop()) {
            cancel_->throwIfCancelled();
            videoEncoder_.encode(frame->get(), sink);
            progressed(static_cast<double>(++written) /
                       static_cast<double>(std::max<std::int64_t>(1, video_.frameCount())));
        }
        videoStage.join();
        videoStage.rethrowFailure();
        if (written < video_.frameCount()) {
            // The frames stopped early without a failure of their own: the sound stage failed,
            // or a frame never came. Either way the movie would be short.
            closeAll();
            if (audioStage) {
                audioStage->join();
                audioStage->rethrowFailure();
            }
            throw ExportFailure::failed();
        }
        videoEncoder_.encode(nullptr, sink);
        writeAudioUntil(std::nullopt);
        if (audioStage) {
            audioStage->join();
            audioStage->rethrowFailure();
        }
    } catch (...) {
        closeAll();
        throw;
    }
}

void Pipeline::renderVideo() {
    for (std::int64_t n = 0; n < video_.frameCount(); ++n) {
        ff::FramePtr frame = video_.render(n);
        cancel_->throwIfCancelled();
        if (!frame)
            throw ExportFailure::failed(); // a movie with a frame left out would be short
        if (!frames_.push(std::move(frame)))
            return;
    }
}

void Pipeline::encodeAudio() {
    const auto sink = [this](AVPacket* p) {
        ff::PacketPtr copy = ff::makePacket();
        if (!copy || av_packet_ref(copy.get(), p) < 0)
            throw std::bad_alloc();
        if (!sound_.push(std::move(copy)))
            throw Cancelled(); // the writer stopped first; its own outcome is the one reported
    };
    const int frameSize = audioEncoder_->context()->frame_size;
    while (ff::FramePtr frame = audio_.read(frameSize))
        audioEncoder_->encode(frame.get(), sink);
    audioEncoder_->encode(nullptr, sink);
}

void Pipeline::writeVideo(AVPacket* packet) {
    const AVRational from = videoEncoder_.context()->time_base;
    writeAudioUntil(av_rescale_q(packet->dts, from, videoStream_->time_base));
    packet->stream_index = videoStream_->index;
    av_packet_rescale_ts(packet, from, videoStream_->time_base);
    writer_.write(packet);
}

void Pipeline::writeAudioUntil(std::optional<std::int64_t> time) {
    const AVRational from = audioEncoder_ ? audioEncoder_->context()->time_base : AVRational{1, 1};
    for (;;) {
        if (!pendingSound_) {
            if (soundEnded_)
                return;
            auto next = sound_.pop();
            if (!next) {
                soundEnded_ = true;
                return;
            }
            pendingSound_ = std::move(*next);
        }
        if (time && av_compare_ts(pendingSound_->pts, from, *time, videoStream_->time_base) > 0)
            return;
        pendingSound_->stream_index = audioStream_->index;
        av_packet_rescale_ts(pendingSound_.get(), from, audioStream_->time_base);
        writer_.write(pendingSound_.get());
        pendingSound_.reset();
    }
}

} // namespace

void reencode(std::shared_ptr<const Timeline> timeline, Preset preset, ExportFormat format,
              const QString& destination, std::shared_ptr<const CancelFlag> cancel,
              const std::function<void(double)>& progressed) {
    MovieWriter writer(destination, format, *cancel);
    Pipeline pipeline(std::move(timeline), preset, cancel, writer);
    writer.open();
    pipeline.run(progressed);
    writer.finish();
}

} // namespace vimbo
