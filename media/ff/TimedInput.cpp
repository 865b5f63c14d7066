#include "media/ff/TimedInput.h"

#include <QFile>
#include <QFileInfo>

namespace vimbo::ff {

int TimedInput::Deadline::passed(void* deadline) {
    return std::chrono::steady_clock::now() >= static_cast<const Deadline*>(deadline)->end;
}

TimedInput::TimedInput(std::unique_ptr<Deadline> deadline, InputPtr context)
    : deadline_(std::move(deadline))
    , context_(std::move(context)) {}

std::optional<TimedInput> TimedInput::open(const QString& path, std::chrono::milliseconds timeout) {
    // Opening a pipe blocks until someone writes to it, and a device may never end: the
    // deadline cannot reach into either, so only regular files are opened.
    if (!QFileInfo(path).isFile())
        return std::nullopt;
    auto deadline =
        std::make_unique<Deadline>(Deadline{std::chrono::steady_clock::now() + timeout});
    InputPtr context(avformat_alloc_context());
    if (!context)
        return std::nullopt;
    context->interrupt_callback = {&Deadline::passed, deadline.get()};
    // Only used when a header lacks codec parameters and a few packets must be looked at.
    context->probesize = 2'000'000;
    context->max_analyze_duration = 2 * AV_TIME_BASE;

    Dictionary options;
    // A movie may point at other files or URLs (data references); never follow them.
    options.set("protocol_whitelist", "file");
    // Chapter titles are samples of their own track: reading them costs seeks for nothing.
    options.set("ignore_chapters", "1");

    // The "file:" prefix keeps a colon in a file name from being read as a protocol.
    const QByteArray url = "file:" + QFile::encodeName(path);
    const AVInputFormat* quickTime = av_find_input_format("mov");
    AVFormatContext* raw = context.release();
    // On failure avformat_open_input frees the context itself and leaves raw null.
    const int result = avformat_open_input(&raw, url.constData(), quickTime, options.out());
    context.reset(raw);
    if (result < 0)
        return std::nullopt;
    return TimedInput(std::move(deadline), std::move(context));
}

} // namespace vimbo::ff
