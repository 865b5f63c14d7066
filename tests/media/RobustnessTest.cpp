#include "media/MediaProbe.h"
#include "media/Photo.h"
#include "tests/support/Dng.h"
#include "tests/support/Media.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/log.h>
}

#include <random>

namespace vimbo {
namespace {

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Probes damaged copies of good files: cut short at many lengths, and with a few bytes
// changed, half of them in the first and last 4 KiB where the headers are. Every probe must
// come back (under the sanitizers: without a memory error or leak), whatever it makes of it,
// and so must decoding the photos among them.
TEST(ProbeRobustness, DamagedFilesAlwaysComeBack) {
    av_log_set_level(AV_LOG_QUIET); // thousands of complaints about broken files help nobody
    QStringList sources{
        test::generated(QStringLiteral("robust.mp4"),
                        {"-f", "lavfi", "-i", "testsrc=size=160x120:rate=15:duration=1", "-f",
                         "lavfi", "-i", "sine=duration=1", "-c:v", "libx264", "-c:a", "aac"}),
        test::generated(QStringLiteral("robust.jpg"),
                        {"-f", "lavfi", "-i", "testsrc=size=160x120", "-frames:v", "1"}),
        test::generated(QStringLiteral("robust.jxl"),
                        {"-f", "lavfi", "-i", "testsrc=size=160x120", "-frames:v", "1"}),
    };
    test::DngPhoto raw;
    raw.width = 160;
    raw.height = 120;
    raw.preview = contents(sources[1]);
    raw.previewWidth = 160;
    raw.previewHeight = 120;
    sources << test::writeDng(test::scratchFolder() + "/robust.dng", raw);
    if (!test::sampleFolder().isEmpty())
        for (const char* name : {"L_exif_xmp_iptc.heic", "dolbyVision-hdr.MOV",
                                 "sample_fragmented.mp4", "Canon_40D.jpg", "sowt-with-video.mov"})
            sources << test::sample(QLatin1String(name));

    std::mt19937 random(20261123);
    const QString folder = test::scratchFolder();
    int variants = 0, usable = 0;
    for (const QString& source : sources) {
        const QByteArray bytes = contents(source);
        ASSERT_FALSE(bytes.isEmpty()) << source.toStdString();
        const qsizetype size = bytes.size();
        QList<QByteArray> damaged;
        for (qsizetype cut : {0, 1, 7, 8, 12, 16, 32, 64, 100, 200, 512, 1000, 2048, 4096})
            damaged << bytes.left(cut);
        for (int i = 1; i < 24; ++i)
            damaged << bytes.left(size * i / 24);
        for (int i = 0; i < 96; ++i) {
            QByteArray copy = bytes;
            const qsizetype edge = std::min<qsizetype>(size, 4096);
            for (int n = 1 + static_cast<int>(random() % 8); n > 0; --n) {
                const qsizetype offset = i % 2   ? qsizetype(random() % size)
                                         : n % 2 ? qsizetype(random() % edge)
                                                 : size - 1 - qsizetype(random() % edge);
                copy[offset] = static_cast<char>(random());
            }
            damaged << copy;
        }
        const QString suffix = QFileInfo(source).suffix();
        for (const QByteArray& variant : damaged) {
            const QString path = QStringLiteral("%1/%2.%3").arg(folder).arg(++variants).arg(suffix);
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(variant);
            file.close();
            const MediaInfo info = MediaProbe::probe(QUrl::fromLocalFile(path));
            usable += info.isUsable();
            if (info.kind == MediaKind::photo)
                Photo::load(QUrl::fromLocalFile(path), 64);
            QFile::remove(path);
        }
    }
    RecordProperty("variants", variants);
    RecordProperty("usable", usable);
}

} // namespace
} // namespace vimbo
