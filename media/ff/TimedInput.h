#pragma once

// A movie file opened for reading under a deadline (see openMovie for which files open).
// FFmpeg asks the deadline before every read, so a slow, endless or hostile file makes the open
// and every later read give up instead of hanging the thread that probes it.

#include "media/ff/Ptr.h"

#include <QString>

#include <chrono>
#include <memory>
#include <optional>

namespace vimbo::ff {

class TimedInput {
public:
    // Absent when the file is not a regular file, cannot be opened or is not a QuickTime/MP4
    // movie. Only the header is read; codec parameters come from the sample descriptions,
    // without decoding.
    static std::optional<TimedInput> open(const QString& path, std::chrono::milliseconds timeout);

    AVFormatContext* get() const { return context_.get(); }
    AVFormatContext* operator->() const { return context_.get(); }

private:
    struct Deadline {
        std::chrono::steady_clock::time_point end;
        static int passed(void* deadline);
    };

    TimedInput(std::unique_ptr<Deadline> deadline, InputPtr context);

    // Declared first so that it is destroyed last: closing the context may still call it.
    std::unique_ptr<Deadline> deadline_;
    InputPtr context_;
};

} // namespace vimbo::ff
