// HDR video and photos as they come out of the renderer and the filmstrip: tone-mapped to SDR
// BT.709, measured against FFmpeg's reference chain and against the conversion of the matrix
// alone (which shows HDR grey and washed out).

#include "media/MediaProbe.h"
#include "media/Thumbnail.h"
#include "media/ToneMap.h"
#include "media/ff/Decoder.h"
#include "tests/support/Media.h"
#include "tests/timeline/Fixtures.h"
#include "timeline/VideoRenderer.h"

#include <QFile>
#include <QFileInfo>

#include <cmath>
#include <gtest/gtest.h>

namespace vimbo {
namespace {

// BT.1886 encoding of one channel of linear light, continued below zero by symmetry.
QString encoded(const QString& channel) {
    const QString v = channel + "(X,Y)";
    return QString("if(gte(%1,0),pow(%1,1/2.4),-pow(-%1,1/2.4))").arg(v);
}

// FFmpeg's tone mapping, with the light encoded by geq rather than by zscale: zimg encodes with
// a curve that goes on below zero (as the renderer's does) on processors with AVX-512, and with
// a table that stops at zero on all others, which put the colours outside BT.709 up to ten codes
// apart and made the reference depend on the machine.
const QString referenceToneMap = "zscale=t=linear:npl=100,format=gbrpf32le,zscale=p=bt709,"
                                 "tonemap=hable:desat=0,geq=r='" +
                                 encoded("r") + "':g='" + encoded("g") + "':b='" + encoded("b") +
                                 "',zscale=tin=bt709:t=bt709";
const QString referenceChain = referenceToneMap + ":m=bt709:r=tv,format=yuv420p";
const QString referenceChainRgb = referenceToneMap + ",format=gbrp";
const QString matrixOnly = "scale=out_color_matrix=bt709:out_range=tv,format=yuv420p";

// The test pattern with its SDR white placed at 1000 cd/m², as phones record it: an HEVC Main 10
// clip of two frames in BT.2020, or a 10-bit AVIF photo in Display P3.
QString hdrSource(const QString& transfer, bool photo) {
    const QString primaries = photo ? "smpte432" : "bt2020";
    const QString coding = photo ? "-c:v libaom-av1 -crf 16 -still-picture 1"
                                 : "-c:v libx265 -x265-params log-level=error -tag:v hvc1";
    return test::generated(
        (photo ? "hdr-photo-" : "hdr-still-") + transfer + (photo ? ".avif" : ".mp4"),
        QString("-f lavfi -i testsrc2=size=320x180:rate=1 %1 -vf "
                "zscale=tin=bt709:min=bt709:pin=bt709:rin=tv:t=%2:p=%3:m=bt2020nc:r=tv:npl=1000,"
                "format=yuv420p10le %4 -color_primaries %3 -color_trc %2 -colorspace bt2020nc")
            .arg(photo ? "-frames:v 1" : "-r 10 -frames:v 2", transfer, primaries, coding)
            .split(' '));
}

// The first frame of `clip` through an ffmpeg filter chain, as raw yuv420p (or the chain's
// own `format`).
QByteArray ffmpegFrame(const QString& clip, const QString& name, const QString& chain,
                       const QString& format = "yuv420p") {
    QFile file(test::generated(
        name, {"-i", clip, "-vf", chain, "-frames:v", "1", "-f", "rawvideo", "-pix_fmt", format}));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

// The pixels of a yuv420p frame, plane after plane: luma only, or all three.
QByteArray bytesOf(const AVFrame& frame, int planes) {
    QByteArray bytes;
    for (int p = 0; p < planes; ++p) {
        const int s = p ? 1 : 0;
        const int w = (frame.width + s) >> s, h = (frame.height + s) >> s;
        for (int y = 0; y < h; ++y)
            bytes.append(reinterpret_cast<const char*>(frame.data[p] + y * frame.linesize[p]), w);
    }
    return bytes;
}

// The first frame of `clip` as the renderer draws it at the clip's own size.
QByteArray renderedFrame(const QString& clip) {
    const QUrl url = QUrl::fromLocalFile(clip);
    const Segment s{url, MediaProbe::probe(url), {}};
    EXPECT_TRUE(s.info.isHDR || s.info.kind == MediaKind::photo);
    VideoRenderer renderer(std::make_shared<const Timeline>(
        Timeline::build({s}, {FrameShape::auto_, FillMode::fit}, std::nullopt, false)));
    return bytesOf(*renderer.render(0), 3);
}

// The luma of the first frame of `clip` scaled to width × height and tone-mapped.
QByteArray scaledLuma(const QString& clip, int width, int height) {
    ff::Demuxer input(QUrl::fromLocalFile(clip));
    ff::Decoder decoder(input, input.firstVideoStream());
    ff::FramePtr frame = ff::makeFrame();
    EXPECT_TRUE(decoder.receive(frame.get()));
    const ff::FramePtr mapped = toneMapped(*frame, width, height, SWS_BICUBIC);
    return mapped ? bytesOf(*mapped, 1) : QByteArray();
}

// The pixels of a photo's filmstrip picture, row after row of RGB.
QByteArray tileOf(const QString& photo, int longest) {
    const std::optional<QImage> tile =
        Thumbnail::make(QUrl::fromLocalFile(photo), MediaKind::photo, longest);
    if (!tile)
        return {};
    const QImage rgb = tile->convertToFormat(QImage::Format_RGB888);
    QByteArray bytes;
    for (int y = 0; y < rgb.height(); ++y)
        bytes.append(reinterpret_cast<const char*>(rgb.constScanLine(y)), 3 * rgb.width());
    return bytes;
}

double meanAbsoluteError(const QByteArray& a, const QByteArray& b) {
    EXPECT_EQ(a.size(), b.size());
    double sum = 0;
    for (qsizetype i = 0; i < std::min(a.size(), b.size()); ++i)
        sum += std::abs(int(std::uint8_t(a[i])) - int(std::uint8_t(b[i])));
    return sum / double(std::max<qsizetype>(1, a.size()));
}

// A clip name: generated ones by their transfer ("photo " before it for a photo), real samples
// by file name.
class Hdr : public testing::TestWithParam<const char*> {};

TEST_P(Hdr, LooksAsTheReferenceChainShowsIt) {
    const QString name = GetParam();
    const bool generated = !name.contains('.');
    if (!generated && test::sampleFolder().isEmpty())
        GTEST_SKIP() << "the shared sample media are not on this machine";
    const bool photo = name.startsWith("photo ");
    const QString clip = generated ? hdrSource(name.section(' ', -1), photo) : test::sample(name);
    const QByteArray ours = renderedFrame(clip);
    const QString base = QFileInfo(clip).completeBaseName();
    // A photo's reference ends in RGB, as a photo's pixels do, and becomes a frame as an SDR
    // photo does.
    const QByteArray reference = ffmpegFrame(
        clip, base + "-reference.yuv",
        photo ? referenceChainRgb + ",scale=out_color_matrix=bt709:out_range=tv,format=yuv420p"
              : referenceChain);
    const QByteArray naive = ffmpegFrame(clip, base + "-matrix-only.yuv", matrixOnly);
    const double error = meanAbsoluteError(ours, reference);
    const double naiveError = meanAbsoluteError(naive, reference);
    std::printf("%s: mean absolute error %.2f (matrix only: %.2f)\n", qPrintable(name), error,
                naiveError);
    // Real clips keep closer to the reference than the synthetic pattern's hard edges allow.
    EXPECT_LT(error, generated ? 1.0 : 0.5);
    EXPECT_LT(error * 10, naiveError);
    if (photo) {
        // The filmstrip's picture, scaled down to an odd size (before the mapping, where the
        // chain scales after it).
        const QString scale = ",scale=161:91:flags=bicubic,format=rgb24";
        const QByteArray tileReference =
            ffmpegFrame(clip, base + "-reference-161x91.rgb", referenceChainRgb + scale, "rgb24");
        const double tileError = meanAbsoluteError(tileOf(clip, 161), tileReference);
        const double tileNaive = meanAbsoluteError(
            ffmpegFrame(clip, base + "-naive-161x91.rgb", "format=gbrp" + scale, "rgb24"),
            tileReference);
        std::printf("%s tile: mean absolute error %.2f (as SDR: %.2f)\n", qPrintable(name),
                    tileError, tileNaive);
        EXPECT_LT(tileError * 5, tileNaive);
    } else if (generated) {
        // Scaled down first to odd sizes (blocks cut at the right and bottom edges).
        const QString scale = ",scale=161:91:flags=bicubic";
        const QByteArray scaledReference =
            ffmpegFrame(clip, base + "-reference-161x91.yuv", referenceChain + scale)
                .first(161 * 91);
        const double scaledError = meanAbsoluteError(scaledLuma(clip, 161, 91), scaledReference);
        const double scaledNaive = meanAbsoluteError(
            ffmpegFrame(clip, base + "-matrix-only-161x91.yuv", matrixOnly + scale).first(161 * 91),
            scaledReference);
        EXPECT_LT(scaledError * 5, scaledNaive);
    }
}

INSTANTIATE_TEST_SUITE_P(Generated, Hdr,
                         testing::Values("smpte2084", "arib-std-b67", "photo smpte2084",
                                         "photo arib-std-b67"));
INSTANTIATE_TEST_SUITE_P(Samples, Hdr,
                         testing::Values("hlg10-color-test.mp4", "dolbyVision-hdr.MOV",
                                         "hdr10-video-with-sdr-container.mp4",
                                         "sample_with_colr_mdcv_and_clli.mp4"));

} // namespace
} // namespace vimbo
