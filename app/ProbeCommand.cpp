#include "app/CommandLine.h"
#include "app/Commands.h"
#include "media/MediaProbe.h"
#include "model/RecordJson.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtConcurrent/QtConcurrentMap>

#include <cstdio>

namespace vimbo::app {

int probeCommand(const QStringList& args) {
    if (args.isEmpty() || args.first().startsWith(QLatin1Char('-'))) {
        std::fprintf(stderr, "usage: vimbo probe FILE…\n");
        return exitUsage;
    }

    // Files are probed in parallel, as the window reads clips, and printed in argument order.
    const QList<QByteArray> lines = QtConcurrent::blockingMapped(args, [](const QString& argument) {
        const QString path = QFileInfo(argument).absoluteFilePath();
        const QUrl url = QUrl::fromLocalFile(path);
        const QJsonObject line{
            {QStringLiteral("path"), path},
            {QStringLiteral("isMedia"), MediaProbe::isMedia(url)},
            {QStringLiteral("info"), toJson(MediaProbe::probe(url))},
        };
        return QJsonDocument(line).toJson(QJsonDocument::Compact);
    });
    for (const QByteArray& line : lines) {
        std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stdout);
        std::fputc('\n', stdout);
    }
    return exitOk;
}

} // namespace vimbo::app
