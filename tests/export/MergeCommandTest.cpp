// `vimbo merge` and `vimbo export` end to end: the real program on generated files.
#include "model/SessionStore.h"
#include "tests/export/ExportFixtures.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace vimbo::test {
namespace {

QString lastLine(const QString& text) {
    return text.trimmed().split(QLatin1Char('\n')).last();
}

QString size(const QString& path) {
    QString output;
    run(QStringLiteral("ffprobe"),
        {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-show_entries"),
         QStringLiteral("stream=width,height"), QStringLiteral("-of"), QStringLiteral("csv=p=0"),
         QStringLiteral("-select_streams"), QStringLiteral("v"), path},
        &output);
    return output.trimmed();
}

TEST(MergeCommand, MergesFilesAndFoldersAsTheWindowWould) {
    const QString clip = flashClip();
    const QString folder = scratchFolder();
    QFile::copy(clip, folder + QStringLiteral("/b.mp4"));
    QFile::copy(clip, folder + QStringLiteral("/a.mp4"));
    const QString photo = generated(QStringLiteral("green-320x240.jpg"),
                                    {QStringLiteral("-f"), QStringLiteral("lavfi"),
                                     QStringLiteral("-i"), QStringLiteral("color=green:s=320x240"),
                                     QStringLiteral("-frames:v"), QStringLiteral("1")});
    struct Case {
        QStringList args;
        double duration;
        QString size;
    };
    const QString out = scratchFolder() + QStringLiteral("/merged");
    const Case cases[] = {
        {{clip, photo, folder, QStringLiteral("--photo-duration"), QStringLiteral("1.5"),
          QStringLiteral("--shape"), QStringLiteral("square"), QStringLiteral("--fill"),
          QStringLiteral("fill"), QStringLiteral("--quality"), QStringLiteral("high"),
          QStringLiteral("-o"), out + QStringLiteral(".mp4")},
         2 + 1.5 + 2 + 2,
         QStringLiteral("320,320")},
        {{QStringLiteral("--sort"), QStringLiteral("name"), folder, clip, QStringLiteral("-o"),
          out + QStringLiteral(".mov")},
         6,
         QStringLiteral("320,240")},
    };
    for (const Case& c : cases) {
        const ProgramRun r = vimbo(QStringList{QStringLiteral("merge")} + c.args);
        const QString written = c.args.last();
        EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
        EXPECT_EQ(lastLine(r.err), QStringLiteral("Wrote ") + written);
        EXPECT_EQ(decodeErrors(written), QString());
        EXPECT_NEAR(movieDuration(written), c.duration, 1.0 / 30);
        EXPECT_EQ(size(written), c.size);
    }
}

TEST(MergeCommand, ExportWritesTheSavedProjectWithItsEdits) {
    const QString clip = flashClip();
    const QString dataHome = scratchFolder();
    Saved saved;
    for (int i = 0; i < 2; ++i) {
        Clip c;
        c.id = QUuid::createUuid();
        c.url = QUrl::fromLocalFile(clip);
        c.added = i;
        saved.clips.push_back(c);
    }
    saved.clips[0].edits.trimStart = 0.5;
    saved.clips[1].edits.speed = 2;
    saved.layout.shape = FrameShape::tall;
    saved.nextAdded = 2;
    ASSERT_TRUE(SessionStore(dataHome + QStringLiteral("/Vimbo")).save(saved));
    const QString out = scratchFolder() + QStringLiteral("/saved.mov");
    const ProgramRun r = vimbo({QStringLiteral("export"), QStringLiteral("--quality"),
                                QStringLiteral("high"), QStringLiteral("-o"), out},
                               ProgramSetup::withDataHome(dataHome));
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(decodeErrors(out), QString());
    EXPECT_NEAR(movieDuration(out), 1.5 + 1.0, 1.0 / 30);
    EXPECT_EQ(size(out).toStdString(), "180,320") << "the saved 9:16 layout";
}

TEST(MergeCommand, BadArgumentsAreUsageErrors) {
    const QString clip = flashClip();
    const QString out = scratchFolder() + QStringLiteral("/never.mp4");
    const QStringList cases[] = {
        {QStringLiteral("merge")},
        {QStringLiteral("merge"), clip},
        {QStringLiteral("merge"), QStringLiteral("-o"), out},
        {QStringLiteral("merge"), QStringLiteral("--shape"), QStringLiteral("round"), clip,
         QStringLiteral("-o"), out},
        {QStringLiteral("merge"), QStringLiteral("--quality"), QStringLiteral("best"), clip,
         QStringLiteral("-o"), out},
        {QStringLiteral("merge"), QStringLiteral("--photo-duration"), QStringLiteral("-1"), clip,
         QStringLiteral("-o"), out},
        {QStringLiteral("merge"), QStringLiteral("--colour"), QStringLiteral("red"), clip,
         QStringLiteral("-o"), out},
        {QStringLiteral("merge"), clip, QStringLiteral("-o")},
        {QStringLiteral("export"), QStringLiteral("--format"), QStringLiteral("avi"),
         QStringLiteral("-o"), out},
        {QStringLiteral("export"), clip, QStringLiteral("-o"), out},
    };
    for (const QStringList& args : cases) {
        const ProgramRun r = vimbo(args);
        EXPECT_EQ(r.exitCode, 2) << args.join(QLatin1Char(' ')).toStdString();
        EXPECT_TRUE(r.err.contains(QStringLiteral("usage:"))) << r.err.toStdString();
        EXPECT_FALSE(QFileInfo::exists(out));
    }
}

TEST(MergeCommand, FailuresSayWhyInOneSentence) {
    const QString clip = flashClip();
    const QString full = scratchFolder() + QStringLiteral("/full.mp4");
    struct Case {
        QString out;
        QString sentence;
        std::function<void()> childSetup;
    };
    const Case cases[] = {
        {QStringLiteral("/proc/vimbo-no-folder/out.mp4"),
         QStringLiteral("The movie can\u2019t be saved because the folder "
                        "\u201C/proc/vimbo-no-folder\u201D can\u2019t be written to."),
         {}},
        // A disk that fills up: the file may not grow past 20 KB.
        {full, QStringLiteral("There isn\u2019t enough space on the disk to save the movie."),
         [] {
             const rlimit limit{20'000, 20'000};
             ::setrlimit(RLIMIT_FSIZE, &limit);
             std::signal(SIGXFSZ, SIG_IGN);
         }},
        {scratchFolder() + QStringLiteral("/none.mp4"),
         QStringLiteral("There is nothing to merge."),
         {}},
    };
    for (const Case& c : cases) {
        QStringList args{QStringLiteral("merge"), clip, clip, clip};
        if (c.sentence.startsWith(QStringLiteral("There is nothing")))
            args = {QStringLiteral("merge"), scratchFolder() + QStringLiteral("/missing.mp4")};
        const ProgramRun r = vimbo(args + QStringList{QStringLiteral("-o"), c.out},
                                   ProgramSetup::withChild(c.childSetup));
        EXPECT_EQ(r.exitCode, 1) << r.err.toStdString();
        EXPECT_EQ(lastLine(r.err), c.sentence);
        EXPECT_FALSE(QFileInfo::exists(c.out));
    }
}

TEST(MergeCommand, CtrlCStopsAndLeavesNoFile) {
    const QString clip = flashClip({.seconds = 4, .size = 640});
    const QString out = scratchFolder() + QStringLiteral("/interrupted.mp4");
    QProcess process;
    process.setReadChannel(QProcess::StandardError);
    process.start(QStringLiteral(VIMBO_BINARY),
                  {QStringLiteral("merge"), QStringLiteral("--quality"), QStringLiteral("high"),
                   clip, clip, clip, clip, QStringLiteral("-o"), out});
    QString errors;
    // The first progress line says the export is under way.
    while (!errors.contains(QLatin1Char('%')) && process.waitForReadyRead(60'000))
        errors += QString::fromUtf8(process.readAllStandardError());
    ASSERT_TRUE(errors.contains(QLatin1Char('%'))) << errors.toStdString();
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(60'000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 130);
    EXPECT_FALSE(QFileInfo::exists(out));
}

} // namespace
} // namespace vimbo::test
