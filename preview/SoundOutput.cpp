#include "preview/SoundOutput.h"

#include "preview/SoundFeed.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSink>
#include <QIODevice>
#include <QMediaDevices>
#include <QtDebug>

#include <array>

namespace vimbo {
namespace {

// Generous: the sink is fed from the interface thread, which a busy machine may hold up; the
// clock is unaffected (the sink reports what it has played) and pausing corks at once.
constexpr int sinkBufferMilliseconds = 250;
constexpr int drainMilliseconds = 20;

// Hands the feed's buffer to a sink that pulls: never blocks, gives what is there.
class FeedDevice : public QIODevice {
public:
    explicit FeedDevice(SoundFeed& feed)
        : feed_(feed) {}

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override {
        return static_cast<qint64>(feed_.buffered()) * SoundFeed::bytesPerFrame +
               QIODevice::bytesAvailable();
    }

protected:
    qint64 readData(char* data, qint64 maxSize) override { return feed_.read(data, maxSize); }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    SoundFeed& feed_;
};

} // namespace

SoundOutput::SoundOutput(SoundFeed& feed, QObject* parent)
    : QObject(parent)
    , feed_(feed) {
    drain_.setTimerType(Qt::PreciseTimer);
    connect(&drain_, &QTimer::timeout, this, &SoundOutput::drainSilently);
    openDevice();
}

SoundOutput::~SoundOutput() {
    close();
}

void SoundOutput::close() {
    if (!sink_)
        return;
    sink_->stop();
    sink_.reset();
    device_.reset();
}

void SoundOutput::openDevice() {
    const QAudioDevice device = QMediaDevices::defaultAudioOutput();
    if (device.isNull())
        return;
    QAudioFormat format;
    format.setSampleRate(SoundFeed::sampleRate);
    format.setChannelCount(SoundFeed::channels);
    format.setSampleFormat(QAudioFormat::Int16);
    if (!device.isFormatSupported(format)) {
        qWarning("Preview: the sound device does not take 48 kHz stereo; playing silently.");
        return;
    }
    sink_ = std::make_unique<QAudioSink>(device, format);
    sink_->setBufferSize(format.bytesForDuration(sinkBufferMilliseconds * 1000));
    connect(sink_.get(), &QAudioSink::stateChanged, this, &SoundOutput::sinkStateChanged);
    device_ = std::make_unique<FeedDevice>(feed_);
    device_->open(QIODevice::ReadOnly);
}

void SoundOutput::cue(const MediaTime& at) {
    if (sink_)
        sink_->stop();
    drain_.stop();
    running_ = started_ = dry_ = false;
    heldMicroseconds_ = taken_ = 0;
    cue_ = at;
    cued_ = true;
}

void SoundOutput::prepare() {
    if (cued_)
        feed_.seek(cue_);
    cued_ = false;
}

void SoundOutput::start() {
    if (running_)
        return;
    running_ = true;
    prepare();
    if (sink_) {
        if (started_)
            sink_->resume();
        else
            sink_->start(device_.get());
    } else {
        elapsed_.start();
        drain_.start(drainMilliseconds);
    }
    started_ = true;
}

void SoundOutput::pause() {
    if (!running_)
        return;
    if (sink_) {
        running_ = false;
        sink_->suspend();
        return;
    }
    drainSilently();
    heldMicroseconds_ += elapsed_.nsecsElapsed() / 1000;
    running_ = false;
    drain_.stop();
}

std::int64_t SoundOutput::playedMicroseconds() const {
    if (sink_)
        return started_ ? sink_->processedUSecs() : 0;
    return heldMicroseconds_ + (running_ ? elapsed_.nsecsElapsed() / 1000 : 0);
}

MediaTime SoundOutput::now() const {
    return cue_ + MediaTime{playedMicroseconds(), 1'000'000};
}

// Without a device the sound due by the clock is taken from the feed and dropped, so the feed
// works at the pace a device would ask, and a feed that falls behind counts as an underrun.
void SoundOutput::drainSilently() {
    std::int64_t due = playedMicroseconds() * SoundFeed::sampleRate / 1'000'000 - taken_;
    std::array<char, 4096 * SoundFeed::bytesPerFrame> scratch;
    while (due > 0) {
        const std::int64_t want =
            std::min<std::int64_t>(due * SoundFeed::bytesPerFrame, std::ssize(scratch));
        const std::int64_t got = feed_.read(scratch.data(), want) / SoundFeed::bytesPerFrame;
        if (got == 0)
            break;
        taken_ += got;
        due -= got;
    }
    // The first sound after a cue is allowed its start-up time.
    if (due > 0 && taken_ > 0 && !dry_)
        ++underruns_;
    dry_ = due > 0;
}

void SoundOutput::soundArrived() {
    // A pulling sink that found the buffer empty waits for readyRead before it asks again.
    if (sink_ && running_ && device_)
        emit device_->readyRead();
}

void SoundOutput::sinkStateChanged() {
    switch (sink_->error()) {
    case QAudio::NoError:
        break;
    case QAudio::UnderrunError:
        if (running_ && sink_->processedUSecs() > 0)
            ++underruns_;
        break;
    case QAudio::OpenError:
    case QAudio::IOError:
    case QAudio::FatalError:
        // Dropped after this signal returns: the sink is still inside it.
        QMetaObject::invokeMethod(
            this, [this] { dropDevice("the sound device failed"); }, Qt::QueuedConnection);
        break;
    }
}

void SoundOutput::dropDevice(const char* why) {
    if (!sink_)
        return;
    qWarning("Preview: %s; playing silently.", why);
    const std::int64_t played = playedMicroseconds();
    sink_->stop();
    sink_.reset();
    device_.reset();
    heldMicroseconds_ = played;
    taken_ = played * SoundFeed::sampleRate / 1'000'000;
    dry_ = false;
    if (running_) {
        elapsed_.start();
        drain_.start(drainMilliseconds);
    }
}

} // namespace vimbo
