#pragma once

// An opened media file and its packets: the demuxing half of decoding. One thread at a time;
// each reader of a file (video renderer, audio renderer, timeline build) opens its own.

#include "media/ff/Cancel.h"
#include "media/ff/Ptr.h"

#include <QUrl>

#include <cstdint>
#include <vector>

namespace vimbo::ff {

class Demuxer {
public:
    // Opens the movie (see openMovie for which files open) and reads its stream facts. Throws
    // VimboError::unreadable(url) when it cannot be opened, Cancelled when `cancel` is raised
    // meanwhile. `cancel` (may be
    // null) must outlive the Demuxer.
    explicit Demuxer(const QUrl& url, const CancelFlag* cancel = nullptr);

    AVFormatContext* context() const { return context_.get(); }
    AVStream* stream(int index) const { return context_->streams[index]; }
    const QUrl& url() const { return url_; }

    // The first video stream that is not an attached picture (cover art), or -1.
    int firstVideoStream() const;
    // The first audio stream, or -1.
    int firstAudioStream() const;

    // Only packets of these streams are read from now on; the demuxer skips the others without
    // reading their data where the format allows.
    void select(const std::vector<int>& streams);
    // The next packet of a selected stream; false at the end, on a read error or on cancel.
    bool read(AVPacket* packet);
    // Moves to the last key frame at or before `timestamp` (in the stream's time base), or the
    // nearest one when there is none before it.
    bool seek(int stream, std::int64_t timestamp);

private:
    QUrl url_;
    InputPtr context_;
    std::vector<bool> selected_;
};

} // namespace vimbo::ff
