#include "media/ff/AudioGraph.h"

#include "media/ff/Error.h"
#include "model/VimboError.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
}

#include <string>
#include <utility>
#include <vector>

namespace vimbo::ff {
namespace {

std::string describe(const AVChannelLayout& layout) {
    AVChannelLayout known{};
    if (layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(&known, layout.nb_channels);
    else
        av_channel_layout_copy(&known, &layout);
    char text[128] = {};
    av_channel_layout_describe(&known, text, sizeof text);
    av_channel_layout_uninit(&known);
    return text;
}

// atempo factors whose product is `tempo`, each within the 0.5…2 that one atempo spans well.
std::vector<double> tempoSteps(double tempo) {
    std::vector<double> steps;
    while (tempo < 0.5) {
        steps.push_back(0.5);
        tempo /= 0.5;
    }
    while (tempo > 2.0) {
        steps.push_back(2.0);
        tempo /= 2.0;
    }
    if (tempo != 1.0)
        steps.push_back(tempo);
    return steps;
}

AVFilterContext* create(AVFilterGraph* graph, const char* filter, const std::string& args) {
    AVFilterContext* context = nullptr;
    check(avfilter_graph_create_filter(&context, avfilter_get_by_name(filter), nullptr,
                                       args.c_str(), nullptr, graph));
    return context;
}

} // namespace

AudioGraph::AudioGraph(const AVFrame& format, AVRational timeBase, double tempo, int outputRate) {
    graph_.reset(avfilter_graph_alloc());
    if (!graph_)
        throw VimboError::exportFailed(QStringLiteral("Out of memory."));
    graph_->nb_threads = 1;
    const char* sampleFormat = av_get_sample_fmt_name(static_cast<AVSampleFormat>(format.format));
    source_ =
        create(graph_.get(), "abuffer",
               "time_base=" + std::to_string(timeBase.num) + "/" + std::to_string(timeBase.den) +
                   ":sample_rate=" + std::to_string(format.sample_rate) +
                   ":sample_fmt=" + (sampleFormat ? sampleFormat : "fltp") +
                   ":channel_layout=" + describe(format.ch_layout));
    const std::string output =
        "sample_fmts=fltp:sample_rates=" + std::to_string(outputRate) + ":channel_layouts=stereo";
    std::vector<std::pair<const char*, std::string>> chain{
        {"aresample", std::to_string(outputRate)}};
    for (double step : tempoSteps(tempo))
        chain.emplace_back("atempo", std::to_string(step));
    chain.emplace_back("aformat", output);
    AVFilterContext* last = source_;
    for (const auto& [name, args] : chain) {
        AVFilterContext* next = create(graph_.get(), name, args);
        check(avfilter_link(last, 0, next, 0));
        last = next;
    }
    sink_ = create(graph_.get(), "abuffersink", {});
    check(avfilter_link(last, 0, sink_, 0));
    check(avfilter_graph_config(graph_.get(), nullptr));
}

void AudioGraph::push(const AVFrame* frame) {
    // write_frame takes a new reference; the caller keeps its own.
    check(av_buffersrc_write_frame(source_, frame));
}

bool AudioGraph::pull(AVFrame* frame) {
    return av_buffersink_get_frame(sink_, frame) >= 0;
}

} // namespace vimbo::ff
