#include "media/MediaProbe.h"
#include "model/RecordJson.h"
#include "model/SessionStore.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"

#include <QDir>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

TEST(Commands, HelpVersionAndUsage) {
    const ProgramRun help = vimbo({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* command : {"probe", "thumbnail", "project"})
        EXPECT_TRUE(help.out.contains(QLatin1String(command))) << command;
    const ProgramRun version = vimbo({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(version.out.startsWith(QStringLiteral("vimbo "))) << version.out.toStdString();

    for (const QStringList& bad : {QStringList{"frobnicate"}, QStringList{"probe"},
                                   QStringList{"probe", "--all"}, QStringList{"thumbnail", "x.jpg"},
                                   QStringList{"thumbnail", "x.jpg", "-o", "y.png", "--turns", "z"},
                                   QStringList{"project", "extra"}}) {
        const ProgramRun r = vimbo(bad);
        EXPECT_EQ(r.exitCode, 2) << bad.join(' ').toStdString();
        EXPECT_EQ(r.err.count('\n'), 1) << r.err.toStdString(); // one line of usage
        EXPECT_TRUE(r.err.startsWith(QStringLiteral("usage: vimbo"))) << r.err.toStdString();
    }
}

TEST(Commands, ProbeWritesOneJsonLinePerFileInArgumentOrder) {
    const QString movie =
        generated("command.mp4", {"-f", "lavfi", "-i", "testsrc=size=160x120:rate=10:duration=0.5",
                                  "-c:v", "libx264", "-pix_fmt", "yuv420p"});
    const QString photo =
        generated("command.jpg", {"-f", "lavfi", "-i", "testsrc=size=160x120", "-frames:v", "1"});
    const QString missing = scratchFolder() + "/gone.mkv";
    // A relative path comes back absolute.
    const ProgramRun result =
        vimbo({"probe", photo, movie, missing, QDir::current().relativeFilePath(photo), movie});
    EXPECT_EQ(result.exitCode, 0);
    const QStringList output = result.out.split('\n', Qt::SkipEmptyParts);
    const QStringList paths{photo, movie, missing, photo, movie};
    const char* kinds[] = {"photo", "video", "missing", "photo", "video"};
    ASSERT_EQ(output.size(), paths.size()) << result.out.toStdString();
    for (int i = 0; i < paths.size(); ++i) {
        const QJsonObject line = QJsonDocument::fromJson(output[i].toUtf8()).object();
        EXPECT_EQ(line["path"].toString(), paths[i]) << i;
        EXPECT_TRUE(line["isMedia"].toBool()) << i;
        EXPECT_EQ(line["info"]["kind"].toString(), kinds[i]) << i;
        EXPECT_EQ(line["info"].toObject(), toJson(MediaProbe::probe(QUrl::fromLocalFile(paths[i]))))
            << i;
    }
}

TEST(Commands, ThumbnailWritesTheTurnedPictureOrSaysWhyNot) {
    const QString movie =
        generated("command-thumb.mp4", {"-f", "lavfi", "-i", "color=red:size=400x200:rate=25:d=1",
                                        "-c:v", "libx264", "-pix_fmt", "yuv420p"});
    const QString png = scratchFolder() + "/t.png";
    EXPECT_EQ(
        vimbo({"thumbnail", movie, "-o", png, "--max-pixels", "100", "--turns", "-1"}).exitCode, 0);
    const QImage image(png);
    EXPECT_EQ(image.size(), QSize(50, 100));
    EXPECT_GT(qRed(image.pixel(25, 50)), 200);

    const ProgramRun missing = vimbo({"thumbnail", scratchFolder() + "/gone.mov", "-o", png});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, QStringLiteral("“gone.mov” can’t be read.\n"));
}

TEST(Commands, ProjectListsTheSavedProjectAsARestartFindsIt) {
    const QString home = scratchFolder();
    EXPECT_TRUE(vimbo({"project"}, ProgramSetup::withDataHome(home))
                    .out.startsWith(QStringLiteral("No saved project")));

    const QString photo = generated(
        "command-photo.jpg", {"-f", "lavfi", "-i", "color=blue:size=64x48", "-frames:v", "1"});
    const QString movie =
        generated("command-4s.mp4", {"-f", "lavfi", "-i", "testsrc=size=160x120:rate=25:d=4",
                                     "-c:v", "libx264", "-pix_fmt", "yuv420p"});
    const auto clip = [](const QString& path, std::int64_t added) {
        Clip c;
        c.id = QUuid::createUuid();
        c.url = QUrl::fromLocalFile(path);
        c.added = added;
        return c;
    };
    Saved saved{{clip(movie, 0), clip(photo, 1), clip(home + "/gone.mov", 2)},
                {FrameShape::tall, FillMode::fill},
                3};
    ClipEdits& a = saved.clips[0].edits;
    a.trimStart = 1;
    a.speed = 2;
    a.muted = true;
    saved.clips[1].edits.quarterTurns = 3;
    saved.clips[1].edits.photoDuration = 2.5;
    const SessionStore store(home + "/Vimbo");
    ASSERT_TRUE(store.save(saved));
    QDir().mkpath(store.importsFolder() + "/UNUSED");

    const ProgramRun r = vimbo({"project"}, ProgramSetup::withDataHome(home));
    EXPECT_EQ(r.exitCode, 0);
    const QStringList lines = r.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 5) << r.out.toStdString();
    EXPECT_EQ(lines[0], QStringLiteral("Frame: tall, fill"));
    EXPECT_TRUE(lines[1].contains(QRegularExpression(
        R"(^  1  video\s+0:01\.5  .*command-4s\.mp4  trim start 1 s, speed 2×, muted$)")))
        << lines[1].toStdString();
    EXPECT_TRUE(lines[2].contains(
        QRegularExpression(R"(^  2  photo\s+0:02\.5  .*turned 270°, shown 2\.5 s$)")))
        << lines[2].toStdString();
    EXPECT_TRUE(lines[3].contains(QRegularExpression(R"(^  3  missing\s+0:00\.0  .*gone\.mov$)")))
        << lines[3].toStdString();
    EXPECT_EQ(lines[4], QStringLiteral("Total: 0:04.0, 2 of 3 clips play"));
    EXPECT_TRUE(QDir(store.importsFolder() + "/UNUSED").exists()); // listing changes nothing
}

} // namespace
} // namespace vimbo::test
