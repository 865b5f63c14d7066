#include "media/Photo.h"

#include "media/HeifPhoto.h"
#include "media/JxlPhoto.h"
#include "media/Orientation.h"
#include "media/PhotoMetadata.h"
#include "media/RawPhoto.h"
#include "media/ToneMap.h"

#include <QColorSpace>
#include <QFileInfo>
#include <QImageReader>

#include <libheif/heif.h>

extern "C" {
#include <libavutil/mastering_display_metadata.h>
}

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <mutex>

namespace vimbo::Photo {
namespace {

struct HeifContextDeleter {
    void operator()(heif_context* c) const { heif_context_free(c); }
};
struct HeifHandleDeleter {
    void operator()(heif_image_handle* h) const { heif_image_handle_release(h); }
};
struct HeifImageDeleter {
    void operator()(heif_image* i) const { heif_image_release(i); }
};
struct NclxDeleter {
    void operator()(heif_color_profile_nclx* p) const { heif_nclx_color_profile_free(p); }
};
using HeifImagePtr = std::unique_ptr<heif_image, HeifImageDeleter>;
using NclxPtr = std::unique_ptr<heif_color_profile_nclx, NclxDeleter>;

// `size` made smaller so that its longer side is at most `longest`; never larger.
QSize bounded(QSize size, std::int64_t longest) {
    const int side = std::max(size.width(), size.height());
    if (side <= longest)
        return size;
    const double f = static_cast<double>(longest) / side;
    return {std::max(1, static_cast<int>(std::lround(size.width() * f))),
            std::max(1, static_cast<int>(std::lround(size.height() * f)))};
}

// The image scaled down so that its longer side is at most `longest`, in sRGB: everything after
// decoding takes photos as sRGB, so a photo in another colour space (a Display P3 profile, as
// phones embed) would show its colours dull or shifted. Scaled first, so that only the pixels
// kept are converted.
QImage fitted(QImage image, std::int64_t longest) {
    const QSize size = bounded(image.size(), longest);
    if (size != image.size()) {
        const QColorSpace space = image.colorSpace();
        image = image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        image.setColorSpace(space);
    }
    const QColorSpace space = image.colorSpace();
    if (space.isValid() && space != QColorSpace(QColorSpace::SRgb))
        image.convertToColorSpace(QColorSpace::SRgb);
    return image;
}

QImage loadWithQt(const QString& file, std::int64_t longest) {
    // Some readers (WebP, PNG) cannot decode at a reduced size; Qt's default 128 MB limit would
    // then refuse panoramas and large camera files that we only want small.
    static std::once_flag raised;
    std::call_once(raised, [] { QImageReader::setAllocationLimit(1024); });
    QImageReader reader(file);
    reader.setAutoTransform(true);
    // The scaled size applies before the orientation turns the picture; the longer side is the
    // same either way.
    const QSize stored = reader.size();
    if (stored.isValid()) {
        const QSize target = bounded(stored, longest);
        if (target != stored)
            reader.setScaledSize(target);
    }
    // Asked before reading: the reader forgets both once it has read.
    const QByteArray format = reader.format();
    const bool turnedByQt = reader.transformation() != QImageIOHandler::TransformationNone;
    QImage image = reader.read();
    if (image.isNull())
        return {};
    // Qt stands JPEG and TIFF upright by their EXIF orientation, but not PNG (eXIf chunk or
    // ImageMagick's text profile) or WebP (EXIF chunk), whose size the probe reports turned all
    // the same. Exiv2 reads their orientation as it does for the probe.
    if ((format == "png" || format == "webp") && !turnedByQt)
        image = upright(image, static_cast<ImageOrientation>(readPhotoMetadata(file).orientation));
    return fitted(std::move(image), longest);
}

NclxPtr nclxOf(const heif_image_handle* handle) {
    heif_color_profile_nclx* nclx = nullptr;
    if (heif_image_handle_get_nclx_color_profile(handle, &nclx).code != heif_error_Ok)
        return nullptr;
    return NclxPtr(nclx);
}

bool isHdr(const heif_color_profile_nclx* nclx) {
    return nclx &&
           (nclx->transfer_characteristics == heif_transfer_characteristic_ITU_R_BT_2100_0_PQ ||
            nclx->transfer_characteristics == heif_transfer_characteristic_ITU_R_BT_2100_0_HLG);
}

// The colour space of an SDR image's RGB: its ICC profile, else the primaries its nclx box
// names (the transfer is taken as sRGB's either way, so only the primaries are converted).
// Invalid (taken as sRGB) when the file says nothing or names BT.709's primaries.
QColorSpace colourSpaceOf(const heif_image_handle* handle, const heif_color_profile_nclx* nclx) {
    if (const std::size_t size = heif_image_handle_get_raw_color_profile_size(handle); size > 0) {
        QByteArray icc(static_cast<qsizetype>(size), Qt::Uninitialized);
        if (heif_image_handle_get_raw_color_profile(handle, icc.data()).code == heif_error_Ok)
            if (const QColorSpace space = QColorSpace::fromIccProfile(icc); space.isValid())
                return space;
    }
    if (!nclx)
        return {};
    switch (nclx->color_primaries) {
    case heif_color_primaries_SMPTE_EG_432_1:
        return QColorSpace(QColorSpace::Primaries::DciP3D65, QColorSpace::TransferFunction::SRgb);
    case heif_color_primaries_ITU_R_BT_2020_2_and_2100_0:
        return QColorSpace({0.3127, 0.3290}, {0.708, 0.292}, {0.170, 0.797}, {0.131, 0.046},
                           QColorSpace::TransferFunction::SRgb);
    default:
        return {};
    }
}

// The planes of a decoded YCbCr image as FFmpeg names their layout; none for anything else.
AVPixelFormat pixelFormatOf(const heif_image* image) {
    const int bits = heif_image_get_bits_per_pixel_range(image, heif_channel_Y);
    if (bits != 8 && bits != 10 && bits != 12)
        return AV_PIX_FMT_NONE;
    const int depth = bits == 8 ? 0 : bits == 10 ? 1 : 2;
    switch (heif_image_get_chroma_format(image)) {
    case heif_chroma_420:
        return std::array{AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P10, AV_PIX_FMT_YUV420P12}[depth];
    case heif_chroma_422:
        return std::array{AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV422P10, AV_PIX_FMT_YUV422P12}[depth];
    case heif_chroma_444:
        return std::array{AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV444P10, AV_PIX_FMT_YUV444P12}[depth];
    default:
        return AV_PIX_FMT_NONE;
    }
}

// The light levels an HDR image states, as a video frame carries them, for the tone mapper's
// idea of its peak.
void addLightLevels(const heif_image* image, AVFrame* frame) {
    if (heif_image_has_content_light_level(image)) {
        heif_content_light_level level{};
        heif_image_get_content_light_level(image, &level);
        if (AVContentLightMetadata* m = av_content_light_metadata_create_side_data(frame))
            m->MaxCLL = level.max_content_light_level;
    }
    if (heif_image_has_mastering_display_colour_volume(image)) {
        heif_mastering_display_colour_volume coded{};
        heif_decoded_mastering_display_colour_volume display{};
        heif_image_get_mastering_display_colour_volume(image, &coded);
        if (heif_mastering_display_colour_volume_decode(&coded, &display).code == heif_error_Ok)
            if (AVMasteringDisplayMetadata* m =
                    av_mastering_display_metadata_create_side_data(frame)) {
                m->max_luminance = av_d2q(display.max_display_mastering_luminance, 1 << 20);
                m->has_luminance = 1;
            }
    }
}

// An HDR (PQ or HLG) image decoded to its own YCbCr at its own bit depth, scaled and
// tone-mapped to SDR BT.709 as an HDR video frame is. Null when its planes are of a layout the
// tone mapper does not take (monochrome), or on failure.
QImage loadHdrHeif(heif_image_handle* handle, const heif_color_profile_nclx& nclx,
                   std::int64_t longest) {
    // 4:2:0 as the tone mapper works in: asked for none, libheif 1.15 would spread a phone's
    // 4:2:0 to 4:4:4 by repeating samples, which shifts every coloured edge.
    heif_image* raw = nullptr;
    if (heif_decode_image(handle, &raw, heif_colorspace_YCbCr, heif_chroma_420, nullptr).code !=
        heif_error_Ok)
        return {};
    const HeifImagePtr decoded(raw);
    const AVPixelFormat format = pixelFormatOf(raw);
    ff::FramePtr frame = ff::makeFrame();
    if (format == AV_PIX_FMT_NONE || !frame)
        return {};
    frame->format = format;
    frame->width = heif_image_get_width(raw, heif_channel_Y);
    frame->height = heif_image_get_height(raw, heif_channel_Y);
    const std::array channels{heif_channel_Y, heif_channel_Cb, heif_channel_Cr};
    for (std::size_t i = 0; i < channels.size(); ++i) {
        // Only read: the frame lends libheif's planes to swscale.
        frame->data[i] = const_cast<std::uint8_t*>(
            heif_image_get_plane_readonly(raw, channels[i], &frame->linesize[i]));
        if (!frame->data[i])
            return {};
    }
    // The nclx codes are those of ITU-T H.273, as FFmpeg's are. libheif hands the planes out in
    // the YCbCr its decoded image names, else (1.15 names none) converted to BT.601 at full
    // range, whatever the file's own matrix and range.
    frame->color_trc = static_cast<AVColorTransferCharacteristic>(nclx.transfer_characteristics);
    frame->color_primaries = static_cast<AVColorPrimaries>(nclx.color_primaries);
    const NclxPtr planes = [raw] {
        heif_color_profile_nclx* p = nullptr;
        return NclxPtr(heif_image_get_nclx_color_profile(raw, &p).code == heif_error_Ok ? p
                                                                                        : nullptr);
    }();
    frame->colorspace =
        planes ? static_cast<AVColorSpace>(planes->matrix_coefficients) : AVCOL_SPC_BT470BG;
    frame->color_range = !planes || planes->full_range_flag ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    addLightLevels(raw, frame.get());
    const QSize size = bounded({frame->width, frame->height}, longest);
    const ff::FramePtr mapped = toneMapped(*frame, size.width(), size.height(),
                                           SWS_BICUBIC | SWS_ACCURATE_RND, AV_PIX_FMT_RGB24);
    if (!mapped)
        return {};
    return QImage(mapped->data[0], mapped->width, mapped->height, mapped->linesize[0],
                  QImage::Format_RGB888)
        .copy();
}

QImage loadWithHeif(const QString& file, std::int64_t longest) {
    std::unique_ptr<heif_context, HeifContextDeleter> context(heif_context_alloc());
    if (!context)
        return {};
    const QByteArray path = file.toUtf8();
    if (heif_context_read_from_file(context.get(), path.constData(), nullptr).code != heif_error_Ok)
        return {};
    heif_image_handle* rawHandle = nullptr;
    if (heif_context_get_primary_image_handle(context.get(), &rawHandle).code != heif_error_Ok)
        return {};
    std::unique_ptr<heif_image_handle, HeifHandleDeleter> handle(rawHandle);
    const NclxPtr nclx = nclxOf(rawHandle);
    if (isHdr(nclx.get()))
        if (QImage image = loadHdrHeif(rawHandle, *nclx, longest); !image.isNull())
            return image;
    const bool alpha = heif_image_handle_has_alpha_channel(rawHandle);
    const heif_chroma chroma = alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB;
    heif_image* rawImage = nullptr;
    // Default options: libheif applies the file's rotation and mirroring.
    if (heif_decode_image(rawHandle, &rawImage, heif_colorspace_RGB, chroma, nullptr).code !=
        heif_error_Ok)
        return {};
    const HeifImagePtr decoded(rawImage);
    const int width = heif_image_get_width(rawImage, heif_channel_interleaved);
    const int height = heif_image_get_height(rawImage, heif_channel_interleaved);
    int stride = 0;
    const std::uint8_t* pixels =
        heif_image_get_plane_readonly(rawImage, heif_channel_interleaved, &stride);
    if (!pixels || width <= 0 || height <= 0)
        return {};
    const QImage::Format format = alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888;
    QImage view(pixels, width, height, stride, format);
    view.setColorSpace(colourSpaceOf(rawHandle, nclx.get()));
    // A copy either way: the image must not outlive libheif's buffer.
    return view.size() == bounded(view.size(), longest) ? fitted(view.copy(), longest)
                                                        : fitted(view, longest);
}

} // namespace

Decoder decoderOf(const QString& path) {
    if (isCameraRaw(path))
        return Decoder::raw;
    if (isHeifFile(path))
        return Decoder::heif;
    if (isJxlFile(path))
        return Decoder::jxl;
    return Decoder::qt;
}

QImage load(const QUrl& url, std::int64_t maxPixels) {
    const std::int64_t longest = std::max<std::int64_t>(maxPixels, 1);
    const QString file = url.toLocalFile();
    switch (decoderOf(file)) {
    case Decoder::heif:
        return loadWithHeif(file, longest);
    case Decoder::raw:
        return fitted(loadRawPhoto(file, longest), longest);
    case Decoder::jxl:
        return fitted(loadJxl(file), longest);
    case Decoder::qt:
        break;
    }
    return loadWithQt(file, longest);
}

} // namespace vimbo::Photo
