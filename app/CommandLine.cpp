#include "app/CommandLine.h"

#include "app/Commands.h"
#include "app/QtLog.h"
#include "media/ff/Log.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTextStream>

#include <cstdio>

namespace vimbo::app {
namespace {

// One line, so that a script's log shows the whole of it; --help has the rest.
const char* const usageLine =
    "usage: vimbo [FILE…] | merge|export|probe|thumbnail|project [ARGS…] (vimbo --help for "
    "details)";

const char* const helpText = R"(Vimbo joins photos and videos into one movie.

usage: vimbo [FILE-OR-FOLDER…]
       vimbo COMMAND [ARGS…]

Without a command, Vimbo opens its window (with the files and folders given added to the
project); when the window is already open, the files go to it.

commands:
  merge [OPTIONS] FILE-OR-FOLDER… -o OUT
                join the files (folders are searched) into one movie, as the window would;
                OUT ends in .mp4 or .mov (or gets the one --format names); the movie
                replaces a file there only once complete, and never one of its clips;
                Ctrl-C stops it and leaves OUT as it was (vimbo merge --help: the options)
  export [OPTIONS] -o OUT
                export the saved project, with all its edits, as the window would
  probe FILE…   print one line of JSON per file: its path, whether Vimbo takes it in as a
                clip, and the facts probed from it
  thumbnail FILE -o OUT.png [--max-pixels N] [--turns Q]
                write the clip's thumbnail as the filmstrip shows it (320 pixels unless
                --max-pixels says otherwise, turned Q quarter turns clockwise)
  project       list the saved project as the window restores it: each clip's file,
                kind, played length and edits, and the total length

options:
  --help        show this help
  --version     show the version
)";

int usage() {
    std::fprintf(stderr, "%s\n", usageLine);
    return exitUsage;
}

int commandLine(int argc, char** argv);

const QStringList commandWords{QStringLiteral("merge"), QStringLiteral("export"),
                               QStringLiteral("probe"), QStringLiteral("project"),
                               QStringLiteral("thumbnail")};

} // namespace

int run(int argc, char** argv) {
    // The window needs a QApplication (and a display), every command only a QCoreApplication,
    // so the choice is made before either exists.
    const QString first = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    if (argc < 2 || (!commandWords.contains(first) && !first.startsWith(QLatin1Char('-')) &&
                     opensWindow(first))) {
        QStringList files;
        for (int i = 1; i < argc; ++i)
            files << QString::fromLocal8Bit(argv[i]);
        return windowCommand(argc, argv, files);
    }
    return commandLine(argc, argv);
}

namespace {

int commandLine(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Vimbo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VIMBO_VERSION));
    ff::quietLibraryLog();
    quietQtLog();

    QStringList args = QCoreApplication::arguments();
    args.removeFirst();
    if (args.isEmpty())
        return usage();

    const QString command = args.takeFirst();
    if (command == QLatin1String("--help") || command == QLatin1String("-h")) {
        std::fputs(helpText, stdout);
        return exitOk;
    }
    if (command == QLatin1String("--version")) {
        std::printf("vimbo %s\n", VIMBO_VERSION);
        return exitOk;
    }
    if (command == QLatin1String("merge"))
        return mergeCommand(args);
    if (command == QLatin1String("export"))
        return exportCommand(args);
    if (command == QLatin1String("probe"))
        return probeCommand(args);
    if (command == QLatin1String("project"))
        return projectCommand(args);
    if (command == QLatin1String("thumbnail"))
        return thumbnailCommand(args);
    return usage();
}

} // namespace
} // namespace vimbo::app
