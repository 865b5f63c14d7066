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
#include <sys/stat.h>

namespace vimbo::test {
namespace {

QString lastLine(const QString& text) {
    return text.trimmed().split(QLatin1Char('\n')).last();
}

TEST(MergeCommand, MergesFilesAndFoldersAsTheWindowWould) {
    const QString clip = flashClip();
    const QString folder = scratchFolder();
    QFile::copy(clip, folder + "/b.mp4");
    QFile::copy(clip, folder + "/a.mp4");
    const QString photo = generated(
        "green-320x240.jpg", {"-f", "lavfi", "-i", "color=green:s=320x240", "-frames:v", "1"});
    struct Case {
        QStringList args;
        double duration;
        QString size;
    };
    const QString out = scratchFolder() + "/merged";
    const QString temp = scratchFolder();
    ProgramSetup setup;
    setup.environment = [&](QProcessEnvironment& env) { env.insert("TMPDIR", temp); };
    const Case cases[] = {
        {{clip, photo, folder, "--photo-duration", "1.5", "--shape", "square", "--fill", "fill",
          "--quality", "high", "-o", out + ".mp4"},
         2 + 1.5 + 2 + 2,
         "320,320"},
        {{"--sort", "name", folder, clip, "-o", out + ".mov"}, 6, "320,240"},
    };
    for (const Case& c : cases) {
        const ProgramRun r = vimbo(QStringList{"merge"} + c.args, setup);
        const QString written = c.args.last();
        EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
        EXPECT_EQ(lastLine(r.err), "Wrote " + written);
        EXPECT_FALSE(r.err.contains("No fast export")) << "nothing to explain";
        EXPECT_EQ(decodeErrors(written), QString());
        EXPECT_NEAR(movieDuration(written), c.duration, 1.0 / 30);
        EXPECT_EQ(videoSize(written), c.size);
        EXPECT_EQ(QDir(temp).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden),
                  QStringList())
            << "nothing left in the temporary folder";
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
    ASSERT_TRUE(SessionStore(dataHome + "/Vimbo").save(saved));
    const QString out = scratchFolder() + "/saved.mov";
    const ProgramRun r =
        vimbo({"export", "--quality", "high", "-o", out}, ProgramSetup::withDataHome(dataHome));
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_EQ(decodeErrors(out), QString());
    EXPECT_NEAR(movieDuration(out), 1.5 + 1.0, 1.0 / 30);
    EXPECT_EQ(videoSize(out), "180,320") << "the saved 9:16 layout";
}

// Inputs that add nothing are named, in the order given, with the reason, and the merge goes
// on with the rest; the image library's complaints about a damaged photo stay off the terminal.
TEST(MergeCommand, NamesWhatItLeavesOutAndGoesOn) {
    const QString folder = scratchFolder();
    QDir(folder).mkpath("empty");
    QDir(folder).mkpath("mixed");
    const auto write = [&](const QString& name, const QByteArray& bytes) {
        QFile file(folder + QLatin1Char('/') + name);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    };
    write("notes.txt", "not a movie");
    write("mixed/broken.mov", "not a movie either");
    QFile jpeg(quadrantsPhoto());
    ASSERT_TRUE(jpeg.open(QIODevice::ReadOnly));
    write("mixed/cut.jpg", jpeg.read(jpeg.size() / 2)); // a damaged photo
    QFile::copy(flashClip(), folder + "/mixed/clip.mp4");

    const QString out = folder + "/out.mp4";
    ProgramSetup inFolder;
    inFolder.workingFolder = folder;
    const ProgramRun r =
        vimbo({"merge", "missing.mp4", "notes.txt", "empty", "mixed", "-o", out}, inFolder);
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QStringList lines = r.err.trimmed().split(QLatin1Char('\n'));
    ASSERT_GE(lines.size(), 6) << r.err.toStdString();
    EXPECT_EQ(lines.mid(0, 5), (QStringList{"Skipped missing.mp4: not found",
                                            "Skipped notes.txt: not a photo or video",
                                            "Skipped empty: no photos or videos in it",
                                            "Skipped mixed/broken.mov: a format Vimbo can’t read",
                                            "No fast export: “cut.jpg” is a photo"}));
    EXPECT_EQ(lines.last(), "Wrote " + out);
    for (const QString& line : lines.mid(5, lines.size() - 6))
        EXPECT_TRUE(line.endsWith(QLatin1String("left")) || line.endsWith(QLatin1Char('%')))
            << "not a progress line: " << line.toStdString();
    EXPECT_NEAR(movieDuration(out), 3 + 2, 1.0 / 30) << "the damaged photo and the clip";
}

TEST(MergeCommand, FailuresSayWhyInOneSentence) {
    const QString clip = flashClip();
    const QString fullFolder = scratchFolder();
    const QString full = keptFile(fullFolder + "/full.mp4");
    struct Case {
        QString out;
        QString sentence;
        std::function<void()> childSetup;
    };
    const Case cases[] = {
        {"/proc/vimbo-no-folder/out.mp4",
         QStringLiteral("The movie can\u2019t be saved because the folder "
                        "\u201C/proc/vimbo-no-folder\u201D can\u2019t be written to."),
         {}},
        // A disk that fills up: the file may not grow past 20 KB.
        {full, "There isn\u2019t enough space on the disk to save the movie.",
         [] {
             const rlimit limit{20'000, 20'000};
             ::setrlimit(RLIMIT_FSIZE, &limit);
             std::signal(SIGXFSZ, SIG_IGN);
         }},
    };
    const QString missing = scratchFolder() + "/missing.mp4";
    for (const Case& c : cases) {
        const QStringList args{"merge", clip, clip, clip};
        const ProgramRun r =
            vimbo(args + QStringList{"-o", c.out}, ProgramSetup::withChild(c.childSetup));
        EXPECT_EQ(r.exitCode, 1) << r.err.toStdString();
        EXPECT_EQ(lastLine(r.err), c.sentence);
    }
    EXPECT_FALSE(QFileInfo::exists(cases[0].out));
    EXPECT_EQ(contents(full), "an older movie");
    EXPECT_EQ(leftovers(fullFolder), QStringList());

    // One of its own clips, however it is named, usable or not: refused before anything is
    // touched, in one sentence that names the clip.
    const QString folder = scratchFolder();
    QFile::copy(clip, folder + "/a.mp4");
    QFile::link(folder + "/a.mp4", folder + "/link.mp4");
    keptFile(folder + "/broken.mov", "not a movie");
    ProgramSetup inFolder;
    inFolder.workingFolder = folder;
    const QStringList overClips[] = {{"a.mp4", "-o", "a.mp4"},
                                     {"a.mp4", clip, "-o", "./a.mp4"},
                                     {clip, folder + "/a.mp4", "-o", "link.mp4"},
                                     {"a.mp4", "broken.mov", "-o", "broken.mov"}};
    const QByteArray a = contents(folder + "/a.mp4");
    for (const QStringList& args : overClips) {
        const ProgramRun r = vimbo(QStringList{"merge"} + args, inFolder);
        EXPECT_EQ(r.exitCode, 1) << r.err.toStdString();
        EXPECT_EQ(lastLine(r.err),
                  QStringLiteral("The movie can\u2019t be saved as \u201C%1\u201D because that is "
                                 "one of its clips.")
                      .arg(args.last() == "broken.mov" ? "broken.mov" : "a.mp4"));
    }
    EXPECT_EQ(contents(folder + "/a.mp4"), a);
    EXPECT_EQ(contents(folder + "/broken.mov"), "not a movie");
    // Nothing at all: the skipped input and the sentence, no progress before them.
    EXPECT_EQ(vimbo({"merge", missing, "-o", scratchFolder() + "/none.mp4"}).err,
              QStringLiteral("Skipped %1: not found\nThere is nothing to merge.\n").arg(missing));
}

// A merge over a file a person keeps, stopped by Ctrl-C or killed once its progress shows:
// the file stays as it was. The killed run's temporary file is removed by the next export to
// the folder, and a movie that replaces a file takes on its permissions.
TEST(MergeCommand, AStoppedOrKilledMergeLeavesTheOldFileAsItWas) {
    const QString clip = flashClip({.seconds = 4, .size = 640});
    const QString folder = scratchFolder();
    const QString out = keptFile(folder + "/interrupted.mp4");
    QFile::setPermissions(out, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    const auto stop = [&](int signal) {
        QProcess process;
        process.setReadChannel(QProcess::StandardError);
        process.start(QStringLiteral(VIMBO_BINARY),
                      {"merge", "--quality", "high", clip, clip, clip, clip, "-o", out});
        QString errors;
        // The first progress line says the export is under way.
        while (!errors.contains(QLatin1Char('%')) && process.waitForReadyRead(60'000))
            errors += QString::fromUtf8(process.readAllStandardError());
        EXPECT_TRUE(errors.contains(QLatin1Char('%'))) << errors.toStdString();
        ::kill(static_cast<pid_t>(process.processId()), signal);
        EXPECT_TRUE(process.waitForFinished(60'000));
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -signal;
    };
    EXPECT_EQ(stop(SIGINT), 130);
    EXPECT_EQ(contents(out), "an older movie");
    EXPECT_EQ(leftovers(folder), QStringList());

    EXPECT_EQ(stop(SIGKILL), -SIGKILL);
    EXPECT_EQ(contents(out), "an older movie");
    EXPECT_EQ(leftovers(folder).size(), 1);

    const ProgramRun r = vimbo({"merge", clip, "-o", folder + "/new"});
    EXPECT_EQ(lastLine(r.err), "Wrote " + folder + "/new.mp4") << "the format's suffix added";
    EXPECT_EQ(leftovers(folder), QStringList()) << "the killed run's file is gone";
    const auto mode = [](const QString& path) {
        struct stat s = {};
        ::stat(QFile::encodeName(path).constData(), &s);
        return s.st_mode & 0777;
    };
    const mode_t umask = ::umask(0);
    ::umask(umask);
    EXPECT_EQ(mode(folder + "/new.mp4"), 0666 & ~umask) << "a new file's";
    EXPECT_EQ(vimbo({"merge", clip, "-o", out}).exitCode, 0);
    EXPECT_EQ(decodeErrors(out), QString());
    EXPECT_EQ(mode(out), 0640u) << "the replaced file's";
}

} // namespace
} // namespace vimbo::test
