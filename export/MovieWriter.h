#pragma once

// The output movie: one MP4 or QuickTime file written through libavformat, with the export's
// cancel token as its I/O interrupt. One thread at a time. Failures are thrown as the
// sentence for what went wrong (disk full, folder not writable, …); a raised token as
// Cancelled. The caller removes the file after a failure.

#include "export/ExportChoices.h"
#include "media/ff/Cancel.h"
#include "media/ff/Ptr.h"

#include <QByteArray>
#include <QString>

namespace vimbo {

class MovieWriter {
public:
    MovieWriter(const QString& path, ExportFormat format, const CancelFlag& cancel);

    AVFormatContext* context() const { return context_.get(); }

    // A stream copying `parameters`, with the display matrix (nine numbers) when not empty.
    AVStream* addStream(const AVCodecParameters& parameters, AVRational timeBase,
                        const QByteArray& displayMatrix = {});
    // A stream for an encoder's output.
    AVStream* addStream(const AVCodecContext& encoder);

    // Creates the file and writes the header. With reservedIndex > 0 that many bytes are kept
    // free at the front for the movie index; otherwise the index is moved to the front when
    // the file is finished. Either way the index comes first ("optimise for network use").
    void open(std::int64_t reservedIndex = 0);
    // Takes the packet's data (the packet is left blank).
    void write(AVPacket* packet);
    // Writes the index and closes the file.
    void finish();

private:
    [[noreturn]] void fail(int averror) const;
    int check(int result) const;

    QString path_;
    const CancelFlag& cancel_;
    ff::OutputPtr context_;
};

} // namespace vimbo
