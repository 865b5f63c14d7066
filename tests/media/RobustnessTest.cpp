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

// A good file to damage: one generated of each kind the probe reads its own way, or a real sample.
QString source(const QString& name) {
    if (name == "robust.dng") {
        test::DngPhoto raw;
        raw.width = 160;
        raw.height = 120;
        raw.preview = contents(source("robust.jpg"));
        raw.previewWidth = 160;
        raw.previewHeight = 120;
        return test::writeDng(test::scratchFolder() + "/robust.dng", raw);
    }
    if (name == "robust.mp4")
        return test::generated(name, {"-f", "lavfi", "-i",
                                      "testsrc=size=160x120:rate=15:duration=1", "-f", "lavfi",
                                      "-i", "sine=duration=1", "-c:v", "libx264", "-c:a", "aac"});
    if (name.startsWith("robust."))
        return test::generated(name,
                               {"-f", "lavfi", "-i", "testsrc=size=160x120", "-frames:v", "1"});
    return test::sample(name);
}

class ProbeRobustness : public ::testing::TestWithParam<const char*> {};

// Probes damaged copies of a good file: cut short at many lengths, and with a few bytes
// changed, half of them in the first and last 4 KiB where the headers are. Every probe must
// come back (under the sanitizers: without a memory error or leak), whatever it makes of it,
// and so must decoding the photos among them.
TEST_P(ProbeRobustness, DamagedFilesAlwaysComeBack) {
    const QString name = QLatin1String(GetParam());
    if (!name.startsWith("robust.")) {
        VIMBO_REQUIRE_SAMPLES();
    }
    av_log_set_level(AV_LOG_QUIET); // thousands of complaints about broken files help nobody
    std::mt19937 random(20261123);
    const QString folder = test::scratchFolder();
    int variants = 0, usable = 0;
    const QByteArray bytes = contents(source(name));
    ASSERT_FALSE(bytes.isEmpty()) << name.toStdString();
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
    const QString suffix = QFileInfo(name).suffix();
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
    RecordProperty("variants", variants);
    RecordProperty("usable", usable);
}

INSTANTIATE_TEST_SUITE_P(Files, ProbeRobustness,
                         ::testing::Values("robust.mp4", "robust.jpg", "robust.jxl", "robust.dng",
                                           "L_exif_xmp_iptc.heic", "dolbyVision-hdr.MOV",
                                           "sample_fragmented.mp4", "Canon_40D.jpg",
                                           "sowt-with-video.mov"),
                         [](const ::testing::TestParamInfo<const char*>& file) {
                             std::string name = file.param;
                             for (char& c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c)))
                                     c = '_';
                             return name;
                         });

} // namespace
} // namespace vimbo
