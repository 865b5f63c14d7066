#include "media/MediaProbe.h"
#include "model/RecordJson.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"

#include <QDir>
#include <QJsonDocument>
#include <QProcess>

#include <gtest/gtest.h>

namespace vimbo {
namespace {

QList<QByteArray> lines(const test::ProgramRun& run) {
    QList<QByteArray> lines = run.out.toUtf8().split('\n');
    if (lines.endsWith(QByteArray()))
        lines.removeLast();
    return lines;
}

TEST(ProbeCommand, OneJsonLinePerFileInArgumentOrder) {
    const QString movie = test::generated(
        QStringLiteral("command.mp4"),
        {"-f", "lavfi", "-i", "testsrc=size=160x120:rate=10:duration=0.5", "-c:v", "libx264"});
    const QString photo =
        test::generated(QStringLiteral("command.jpg"),
                        {"-f", "lavfi", "-i", "testsrc=size=160x120", "-frames:v", "1"});
    // A relative path comes back absolute.
    const QString relativePhoto = QDir::current().relativeFilePath(photo);
    const QString missing = test::scratchFolder() + QStringLiteral("/gone.mkv");
    const test::ProgramRun result =
        test::vimbo({"probe", photo, movie, missing, relativePhoto, movie});
    EXPECT_EQ(result.exitCode, 0);
    const QList<QByteArray> output = lines(result);
    ASSERT_EQ(output.size(), 5);
    const std::pair<QString, MediaKind> expected[] = {
        {photo, MediaKind::photo}, {movie, MediaKind::video}, {missing, MediaKind::missing},
        {photo, MediaKind::photo}, {movie, MediaKind::video},
    };
    for (int i = 0; i < 5; ++i) {
        const QJsonObject line = QJsonDocument::fromJson(output[i]).object();
        EXPECT_EQ(line[QStringLiteral("path")].toString(), expected[i].first) << i;
        EXPECT_TRUE(line[QStringLiteral("isMedia")].toBool()) << i;
        const QJsonObject info = line[QStringLiteral("info")].toObject();
        EXPECT_EQ(info[QStringLiteral("kind")].toString(), mediaKindText(expected[i].second)) << i;
        EXPECT_EQ(info, toJson(MediaProbe::probe(QUrl::fromLocalFile(expected[i].first)))) << i;
    }
}

TEST(ProbeCommand, BadUsageExitsTwo) {
    EXPECT_EQ(test::vimbo({"probe"}).exitCode, 2);
    EXPECT_EQ(test::vimbo({"probe", "--all"}).exitCode, 2);
}

} // namespace
} // namespace vimbo
