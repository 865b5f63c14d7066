#include "timeline/Compositor.h"

#include "media/Photo.h"
#include "model/VimboError.h"

namespace vimbo {
namespace {

ff::FramePtr shared(const AVFrame* frame) {
    ff::FramePtr copy(av_frame_clone(frame));
    if (!copy)
        throw VimboError::exportFailed(QStringLiteral("Out of memory."));
    return copy;
}

// A view of the image's pixels as a frame; valid while the image lives.
ff::FramePtr wrap(QImage& image) {
    ff::FramePtr frame = ff::makeFrame();
    if (!frame)
        throw VimboError::exportFailed(QStringLiteral("Out of memory."));
    frame->format = AV_PIX_FMT_BGR0; // premultiplied ARGB32 in memory order: over black
    frame->width = image.width();
    frame->height = image.height();
    frame->data[0] = image.bits();
    frame->linesize[0] = static_cast<int>(image.bytesPerLine());
    frame->color_range = AVCOL_RANGE_JPEG;
    return frame;
}

Size sizeOf(const PlaneMap& map, int width, int height) {
    return map.swap ? Size{double(height), double(width)} : Size{double(width), double(height)};
}

} // namespace

ff::FramePtr Compositor::render(const CompositorInstruction& instruction, const AVFrame* source,
                                Size size, std::int64_t ticket) {
    if (generation() != ticket)
        return nullptr;
    const int width = static_cast<int>(size.width);
    const int height = static_cast<int>(size.height);
    if (!instruction.photo())
        return renderVideo(instruction, source, width, height);
    if (still_.frame && still_.instruction == instruction.identity() && still_.size == size)
        return shared(still_.frame.get());
    ff::FramePtr frame = renderPhoto(instruction, width, height);
    still_ = {instruction.identity(), size, shared(frame.get())};
    if (generation() != ticket)
        return nullptr;
    return frame;
}

ff::FramePtr Compositor::renderVideo(const CompositorInstruction& instruction,
                                     const AVFrame* source, int width, int height) {
    const auto& video = std::get<CompositorInstruction::Video>(instruction.source());
    if (!source || !instruction.trackID())
        return FramePainter::blackFrame(width, height);
    const PlaneMap map = planeMap(video.orientation, instruction.quarterTurns());
    const Placement placement = place(sizeOf(map, source->width, source->height),
                                      {double(width), double(height)}, instruction.fill());
    return painter_.paint(*source, map, placement, width, height);
}

ff::FramePtr Compositor::renderPhoto(const CompositorInstruction& instruction, int width,
                                     int height) {
    const CompositorInstruction::Photo& photo = *instruction.photo();
    if (!(photo.pixelSize.width > 0) || !(photo.pixelSize.height > 0))
        return FramePainter::blackFrame(width, height);
    const std::int64_t budget =
        photoPixelBudget(photo.pixelSize, instruction.quarterTurns(),
                         {double(width), double(height)}, instruction.fill());
    ++photoDecodes_;
    QImage image = Photo::load(photo.url, budget);
    if (image.isNull())
        return FramePainter::blackFrame(width, height);
    image.convertTo(QImage::Format_ARGB32_Premultiplied);
    const ff::FramePtr view = wrap(image);
    const PlaneMap map = planeMap(ImageOrientation::up, instruction.quarterTurns());
    const Placement placement = place(sizeOf(map, image.width(), image.height()),
                                      {double(width), double(height)}, instruction.fill());
    return painter_.paint(*view, map, placement, width, height);
}

} // namespace vimbo
