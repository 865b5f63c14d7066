#include "tests/timeline/Fixtures.h"

#include "tests/support/Media.h"

#include <cmath>
#include <numbers>

namespace vimbo::test {

QString numberedVideo(bool withSound) {
    QStringList args{"-f", "lavfi", "-i", "color=black:size=320x240:rate=30:duration=2"};
    if (withSound)
        args += QString("-f lavfi -i sine=frequency=440:sample_rate=48000:duration=2 -c:a aac "
                        "-b:a 128k")
                    .split(' ');
    // Ten 32-pixel columns, one per bit of the frame index: light for 1, dark for 0.
    args += {"-vf", "geq=lum='if(bitand(N,pow(2,floor(X/32))),235,16)':cb=128:cr=128"};
    args += QString("-c:v libx264 -crf 4 -g 15 -bf 2 -pix_fmt yuv420p").split(' ');
    return generated(withSound ? "numbered-av.mp4" : "numbered.mp4", args);
}

QString quadrantVideo(bool turned) {
    const QString quadrants =
        quadrantsFilter + ",scale=out_color_matrix=bt709:out_range=tv,format=yuv420p";
    const QString upright = generated(
        "quadrants.mp4", {"-f", "lavfi", "-i", "color=black:size=320x160:rate=30:duration=1", "-vf",
                          quadrants, "-c:v", "libx264", "-crf", "10", "-color_primaries", "bt709",
                          "-color_trc", "bt709", "-colorspace", "bt709"});
    if (!turned)
        return upright;
    // A phone's display matrix (0 1 / -1 0: a quarter turn clockwise), written while copying.
    return generated("quadrants-turned.mp4",
                     {"-i", upright, "-c", "copy", "-metadata:s:v:0", "rotate=270"});
}

QString toneVideo(int hertz, double audioDelay, double audioLength) {
    const double length = audioLength > 0 ? audioLength : 2;
    QStringList args{"-f", "lavfi", "-i", "color=black:size=160x120:rate=30:duration=2"};
    if (audioDelay > 0)
        args += {"-itsoffset", QString::number(audioDelay)};
    args += QString("-f lavfi -i sine=frequency=%1:sample_rate=48000:duration=%2 -c:v libx264 "
                    "-crf 30 -c:a aac -b:a 160k")
                .arg(hertz)
                .arg(length)
                .split(' ');
    return generated(QString("tone-%1-%2-%3.mp4").arg(hertz).arg(audioDelay).arg(length), args);
}

Segment videoSegment(const QString& path, double duration, Size size, float frameRate,
                     bool hasAudio) {
    MediaInfo info(MediaKind::video);
    info.size = size;
    info.naturalSize = size;
    info.duration = duration;
    info.frameRate = frameRate;
    info.hasAudio = hasAudio;
    info.codec = "avc1";
    info.audioFormat = hasAudio ? "aac 48000 1" : "";
    return {QUrl::fromLocalFile(path), info, {}};
}

Segment photoSegment(const QString& path, Size size, double seconds) {
    MediaInfo info(MediaKind::photo);
    info.size = size;
    ClipEdits edits;
    edits.photoDuration = seconds;
    return {QUrl::fromLocalFile(path), info, edits};
}

int frameNumber(const AVFrame& frame) {
    int n = 0;
    for (int bit = 0; bit < 10; ++bit) {
        const int x = bit * 32 + 16;
        if (frame.data[0][120 * frame.linesize[0] + x] > 128)
            n |= 1 << bit;
    }
    return n;
}

char colourAt(const AVFrame& frame, int x, int y) {
    const double luma = (frame.data[0][y * frame.linesize[0] + x] - 16) / 219.0;
    const double cb = (frame.data[1][(y / 2) * frame.linesize[1] + x / 2] - 128) / 224.0;
    const double cr = (frame.data[2][(y / 2) * frame.linesize[2] + x / 2] - 128) / 224.0;
    // BT.709
    const double r = luma + 1.5748 * cr;
    const double g = luma - 0.1873 * cb - 0.4681 * cr;
    const double b = luma + 1.8556 * cb;
    auto on = [](double v) { return v > 0.75; };
    auto off = [](double v) { return v < 0.25; };
    if (on(r) && off(g) && off(b))
        return 'R';
    if (off(r) && on(g) && off(b))
        return 'G';
    if (off(r) && off(g) && on(b))
        return 'B';
    if (on(r) && on(g) && on(b))
        return 'W';
    if (off(r) && off(g) && off(b))
        return 'K';
    return '?';
}

double frequency(const float* samples, std::size_t count, int rate) {
    int crossings = 0;
    std::size_t first = 0, last = 0;
    for (std::size_t i = 1; i < count; ++i) {
        if (samples[i - 1] < 0 && samples[i] >= 0) {
            if (crossings == 0)
                first = i;
            last = i;
            ++crossings;
        }
    }
    if (crossings < 2)
        return 0;
    return (crossings - 1) * static_cast<double>(rate) / static_cast<double>(last - first);
}

double power(const float* samples, std::size_t count, int rate, double hertz) {
    const double w = 2 * std::numbers::pi * hertz / rate;
    const double coefficient = 2 * std::cos(w);
    double s1 = 0, s2 = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const double s = samples[i] + coefficient * s1 - s2;
        s2 = s1;
        s1 = s;
    }
    return (s1 * s1 + s2 * s2 - coefficient * s1 * s2) / static_cast<double>(count * count);
}

} // namespace vimbo::test
