#include "app/CommandLine.h"
#include "app/Commands.h"
#include "media/MediaProbe.h"
#include "media/Thumbnail.h"
#include "model/VimboError.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include <cstdio>

namespace vimbo::app {

// Writes a clip's thumbnail as the filmstrip shows it: probed, decoded small, turned.
int thumbnailCommand(const QStringList& args) {
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("the clip's file"));
    const QCommandLineOption out({QStringLiteral("o"), QStringLiteral("output")},
                                 QStringLiteral("the PNG to write"), QStringLiteral("OUT.png"));
    const QCommandLineOption maxPixels(QStringLiteral("max-pixels"),
                                       QStringLiteral("longest side (default 320)"),
                                       QStringLiteral("N"), QStringLiteral("320"));
    const QCommandLineOption turns(QStringLiteral("turns"),
                                   QStringLiteral("quarter turns clockwise"), QStringLiteral("Q"),
                                   QStringLiteral("0"));
    parser.addOptions({out, maxPixels, turns});

    bool pixelsOk = false, turnsOk = false;
    const bool parsed = parser.parse(QStringList{QStringLiteral("vimbo thumbnail")} + args);
    const qint64 pixels = parser.value(maxPixels).toLongLong(&pixelsOk);
    const qint64 quarterTurns = parser.value(turns).toLongLong(&turnsOk);
    if (!parsed || parser.positionalArguments().size() != 1 || !parser.isSet(out) || !pixelsOk ||
        !turnsOk || pixels < 1) {
        std::fprintf(stderr,
                     "usage: vimbo thumbnail FILE -o OUT.png [--max-pixels N] [--turns Q]\n");
        return exitUsage;
    }

    const QUrl url =
        QUrl::fromLocalFile(QFileInfo(parser.positionalArguments().first()).absoluteFilePath());
    const MediaInfo info = MediaProbe::probe(url);
    const auto image = Thumbnail::make(url, info.kind, pixels);
    if (!image) {
        std::fprintf(stderr, "%s\n", qPrintable(VimboError::unreadable(url).errorDescription()));
        return exitFailed;
    }
    const QString destination = parser.value(out);
    if (!Thumbnail::rotate(*image, quarterTurns).save(destination, "PNG")) {
        std::fprintf(stderr, "Couldn’t write “%s”.\n", qPrintable(destination));
        return exitFailed;
    }
    return exitOk;
}

} // namespace vimbo::app
