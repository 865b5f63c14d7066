#pragma once

// Turns the player's yuv420p frames into RGB pictures of exactly the size they are shown at, on
// a thread of its own: one swscale pass from the frame straight to the view's device pixels, so
// a small view converts little and a full-screen one never scales twice. Only the newest request
// matters: one that arrives while another is converting replaces any still waiting.
//
// Threads: request() is called on the interface thread, converted() is emitted there (a queued
// call from the worker). The worker owns the scaler; the destructor joins it.

#include "media/Worker.h"
#include "preview/Picture.h"

#include <QImage>
#include <QObject>
#include <QSize>

#include <optional>

namespace vimbo {

class FrameConverter : public QObject {
    Q_OBJECT
public:
    explicit FrameConverter(QObject* parent = nullptr);

    // Converts `picture` to an opaque RGB image of `size` device pixels (its aspect as given).
    void request(Picture picture, QSize size);

    // Converts on the calling thread (the worker's job; also a benchmark's).
    static QImage convert(const AVFrame& picture, QSize size, ff::SwsPtr& scaler);

signals:
    void converted(const QImage& image);

private:
    struct Job {
        Picture picture;
        QSize size;
    };

    void run(const std::stop_token& stop);

    std::optional<Job> waiting_; // guarded by the worker's mutex
    Worker worker_;
};

} // namespace vimbo
