#include "media/JxlPhoto.h"

#include "media/PhotoMetadata.h"

#include <QColorSpace>
#include <QFile>

#include <cstring>
#include <jxl/decode_cxx.h>
#include <jxl/thread_parallel_runner_cxx.h>

namespace vimbo {
namespace {

// EXIF worth reading is far smaller; a box near this size is not one.
constexpr std::size_t maxExifSize = 4 << 20;
// As for the photos Qt reads: a decoded picture of at most 1 GiB.
constexpr std::uint64_t maxPixels = (std::uint64_t(1) << 30) / 4;

// Collects the contents of the boxes named "Exif" as libjxl hands them out in pieces.
class ExifBox {
public:
    // At each box: keeps what the previous one gave, then listens to this one if it is EXIF.
    void start(JxlDecoder* decoder) {
        finish(decoder);
        JxlBoxType type{};
        if (JxlDecoderGetBoxType(decoder, type, JXL_TRUE) != JXL_DEC_SUCCESS ||
            std::memcmp(type, "Exif", 4) != 0 || !exif_.empty())
            return;
        buffer_.resize(64 << 10);
        collecting_ =
            JxlDecoderSetBoxBuffer(decoder, buffer_.data(), buffer_.size()) == JXL_DEC_SUCCESS;
    }

    // The box goes on past the buffer: a larger one takes over where it stopped.
    bool grow(JxlDecoder* decoder) {
        const std::size_t used = buffer_.size() - JxlDecoderReleaseBoxBuffer(decoder);
        if (buffer_.size() * 2 > maxExifSize)
            return false;
        buffer_.resize(buffer_.size() * 2);
        return JxlDecoderSetBoxBuffer(decoder, buffer_.data() + used, buffer_.size() - used) ==
               JXL_DEC_SUCCESS;
    }

    void finish(JxlDecoder* decoder) {
        if (!collecting_)
            return;
        collecting_ = false;
        buffer_.resize(buffer_.size() - JxlDecoderReleaseBoxBuffer(decoder));
        const std::span<const std::uint8_t> tiff = exifInBox(buffer_);
        exif_.assign(tiff.begin(), tiff.end());
    }

    std::vector<std::uint8_t> take() { return std::move(exif_); }

private:
    std::vector<std::uint8_t> buffer_;
    std::vector<std::uint8_t> exif_;
    bool collecting_ = false;
};

struct Decoded {
    JxlFacts facts;
    QImage image;
    QColorSpace space; // of the pixels as libjxl hands them out; invalid when unknown
};

// The colour space libjxl writes the pixels in: the file's own unless it is stored as XYB, which
// libjxl turns into a space of its choosing.
QColorSpace outputSpace(const JxlDecoder* d) {
    std::size_t size = 0;
    if (JxlDecoderGetICCProfileSize(d, nullptr, JXL_COLOR_PROFILE_TARGET_DATA, &size) !=
            JXL_DEC_SUCCESS ||
        size == 0)
        return {};
    QByteArray icc(static_cast<qsizetype>(size), Qt::Uninitialized);
    if (JxlDecoderGetColorAsICCProfile(d, nullptr, JXL_COLOR_PROFILE_TARGET_DATA,
                                       reinterpret_cast<std::uint8_t*>(icc.data()),
                                       size) != JXL_DEC_SUCCESS)
        return {};
    return QColorSpace::fromIccProfile(icc);
}

// Runs libjxl over the whole file: the facts always, the pixels when `pixels`.
std::optional<Decoded> decode(const QString& path, bool pixels) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray data = file.readAll();
    const JxlDecoderPtr decoder = JxlDecoderMake(nullptr);
    JxlDecoder* d = decoder.get();
    const int events =
        JXL_DEC_BASIC_INFO | (pixels ? JXL_DEC_COLOR_ENCODING | JXL_DEC_FULL_IMAGE : JXL_DEC_BOX);
    if (!d || JxlDecoderSubscribeEvents(d, events) != JXL_DEC_SUCCESS ||
        JxlDecoderSetDecompressBoxes(d, JXL_TRUE) != JXL_DEC_SUCCESS)
        return std::nullopt;
    JxlThreadParallelRunnerPtr runner;
    if (pixels) {
        runner =
            JxlThreadParallelRunnerMake(nullptr, JxlThreadParallelRunnerDefaultNumWorkerThreads());
        if (!runner || JxlDecoderSetParallelRunner(d, JxlThreadParallelRunner, runner.get()) !=
                           JXL_DEC_SUCCESS)
            return std::nullopt;
    }
    if (JxlDecoderSetInput(d, reinterpret_cast<const std::uint8_t*>(data.constData()),
                           static_cast<std::size_t>(data.size())) != JXL_DEC_SUCCESS)
        return std::nullopt;
    JxlDecoderCloseInput(d);

    const JxlPixelFormat format{4, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0};
    Decoded out;
    ExifBox exif;
    for (;;) {
        switch (JxlDecoderProcessInput(d)) {
        case JXL_DEC_BASIC_INFO: {
            JxlBasicInfo info{};
            if (JxlDecoderGetBasicInfo(d, &info) != JXL_DEC_SUCCESS || info.xsize == 0 ||
                info.ysize == 0 || std::uint64_t(info.xsize) * info.ysize > maxPixels)
                return std::nullopt;
            const bool quarter = info.orientation >= JXL_ORIENT_TRANSPOSE;
            out.facts.size = quarter ? QSize(int(info.ysize), int(info.xsize))
                                     : QSize(int(info.xsize), int(info.ysize));
            break;
        }
        case JXL_DEC_COLOR_ENCODING:
            out.space = outputSpace(d);
            break;
        case JXL_DEC_BOX:
            exif.start(d);
            break;
        case JXL_DEC_BOX_NEED_MORE_OUTPUT:
            if (!exif.grow(d))
                return std::nullopt;
            break;
        case JXL_DEC_NEED_IMAGE_OUT_BUFFER: {
            out.image = QImage(out.facts.size, QImage::Format_RGBA8888);
            std::size_t needed = 0;
            if (out.image.isNull() ||
                JxlDecoderImageOutBufferSize(d, &format, &needed) != JXL_DEC_SUCCESS ||
                needed != static_cast<std::size_t>(out.image.sizeInBytes()) ||
                JxlDecoderSetImageOutBuffer(d, &format, out.image.bits(), needed) !=
                    JXL_DEC_SUCCESS)
                return std::nullopt;
            break;
        }
        case JXL_DEC_FULL_IMAGE: // the first frame: what a still shows
            out.image.setColorSpace(out.space);
            return out;
        case JXL_DEC_SUCCESS:
            if (pixels)
                return std::nullopt;
            exif.finish(d);
            out.facts.exif = exif.take();
            return out;
        default: // an error, or a file that ends too early
            return std::nullopt;
        }
    }
}

} // namespace

bool isJxlFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray head = file.read(16);
    const JxlSignature s =
        JxlSignatureCheck(reinterpret_cast<const std::uint8_t*>(head.constData()),
                          static_cast<std::size_t>(head.size()));
    return s == JXL_SIG_CODESTREAM || s == JXL_SIG_CONTAINER;
}

std::optional<JxlFacts> readJxl(const QString& path) {
    std::optional<Decoded> decoded = decode(path, false);
    if (!decoded)
        return std::nullopt;
    return std::move(decoded->facts);
}

QImage loadJxl(const QString& path) {
    std::optional<Decoded> decoded = decode(path, true);
    return decoded ? decoded->image : QImage();
}

} // namespace vimbo
