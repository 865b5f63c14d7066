#pragma once

// Decoded audio of any format turned into one output format (sample rate, stereo, float
// planar) and, when asked, played faster or slower with its pitch kept: libavfilter's aresample
// (libswresample) and atempo, chained because one atempo only spans 0.5 to 2.
// One thread at a time.

#include "media/ff/Ptr.h"

namespace vimbo::ff {

class AudioGraph {
public:
    // `format` is a decoded frame whose sample rate, sample format and channels the graph will
    // take; `tempo` is the playback speed (0.25 to 4: 2 plays twice as fast, same pitch).
    // Throws VimboError::exportFailed when the graph cannot be made.
    AudioGraph(const AVFrame& format, AVRational timeBase, double tempo, int outputRate);

    // Feeds one frame (which keeps its own reference), or the end of the stream for null.
    void push(const AVFrame* frame);
    // The next output frame (fltp, stereo, outputRate); false when none is ready yet or after
    // the end.
    bool pull(AVFrame* frame);

private:
    FilterGraphPtr graph_;
    AVFilterContext* source_ = nullptr; // owned by graph_
    AVFilterContext* sink_ = nullptr;   // owned by graph_
};

} // namespace vimbo::ff
