#include "export/MovieWriter.h"

#include "export/EncoderSettings.h"
#include "export/ExportFailure.h"

#include <cstring>

namespace vimbo {

MovieWriter::MovieWriter(const QString& path, ExportFormat format, const CancelFlag& cancel)
    : path_(path)
    , cancel_(cancel) {
    AVFormatContext* raw = nullptr;
    const QByteArray file = path.toUtf8();
    if (avformat_alloc_output_context2(&raw, nullptr, muxerName(format), file.constData()) < 0)
        throw ExportFailure::failed();
    context_.reset(raw);
    context_->interrupt_callback = ff::interruptCallback(&cancel);
}

AVStream* MovieWriter::addStream(const AVCodecParameters& parameters, AVRational timeBase,
                                 const QByteArray& displayMatrix) {
    AVStream* stream = avformat_new_stream(context_.get(), nullptr);
    if (!stream || avcodec_parameters_copy(stream->codecpar, &parameters) < 0)
        throw ExportFailure::failed();
    // As remux.c does: let the muxer pick the sample entry, except that HEVC keeps the
    // source's own (hvc1 or hev1 say where the parameter sets live).
    if (parameters.codec_id != AV_CODEC_ID_HEVC)
        stream->codecpar->codec_tag = 0;
    stream->time_base = timeBase;
    if (parameters.codec_id == AV_CODEC_ID_AAC)
        stream->codecpar->frame_size = 1024; // what the muxer states as the frame length
    if (displayMatrix.size() == 9 * static_cast<int>(sizeof(std::int32_t))) {
        std::uint8_t* side = av_stream_new_side_data(
            stream, AV_PKT_DATA_DISPLAYMATRIX, static_cast<std::size_t>(displayMatrix.size()));
        if (!side)
            throw ExportFailure::failed();
        std::memcpy(side, displayMatrix.constData(),
                    static_cast<std::size_t>(displayMatrix.size()));
    }
    return stream;
}

AVStream* MovieWriter::addStream(const AVCodecContext& encoder) {
    AVStream* stream = avformat_new_stream(context_.get(), nullptr);
    if (!stream || avcodec_parameters_from_context(stream->codecpar, &encoder) < 0)
        throw ExportFailure::failed();
    stream->time_base = encoder.time_base;
    return stream;
}

void MovieWriter::open(std::int64_t reservedIndex) {
    const QByteArray file = path_.toUtf8();
    check(avio_open2(&context_->pb, file.constData(), AVIO_FLAG_WRITE,
                     &context_->interrupt_callback, nullptr));
    ff::Dictionary options;
    if (reservedIndex > 0)
        options.set("moov_size", QByteArray::number(reservedIndex).constData());
    else
        options.set("movflags", movFlags());
    check(avformat_write_header(context_.get(), options.out()));
}

void MovieWriter::write(AVPacket* packet) {
    cancel_.throwIfCancelled();
    check(av_interleaved_write_frame(context_.get(), packet));
}

void MovieWriter::finish() {
    cancel_.throwIfCancelled();
    check(av_write_trailer(context_.get()));
    check(avio_closep(&context_->pb));
}

int MovieWriter::check(int result) const {
    if (result < 0)
        fail(result);
    return result;
}

void MovieWriter::fail(int averror) const {
    if (cancel_.isCancelled() || averror == AVERROR_EXIT)
        throw Cancelled();
    throw ExportFailure::writing(averror, path_);
}

} // namespace vimbo
