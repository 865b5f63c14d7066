#include "app/CommandLine.h"
#include "app/Commands.h"
#include "media/MediaProbe.h"
#include "model/RecordJson.h"
#include "model/Segment.h"
#include "model/SessionStore.h"
#include "model/TimeText.h"

#include <QtConcurrent/QtConcurrentMap>

#include <cstdio>
#include <vector>

namespace vimbo::app {
namespace {

QString editsText(const ClipEdits& e, MediaKind kind) {
    const ClipEdits plain;
    QStringList parts;
    if (kind != MediaKind::photo) {
        if (e.trimStart != plain.trimStart)
            parts << QStringLiteral("trim start %1 s").arg(TimeText::seconds(e.trimStart));
        if (e.trimEnd != plain.trimEnd)
            parts << QStringLiteral("trim end %1 s").arg(TimeText::seconds(e.trimEnd));
        if (e.speed != plain.speed)
            parts << QStringLiteral("speed %1×").arg(TimeText::seconds(e.speed));
        if (e.muted)
            parts << QStringLiteral("muted");
    }
    if (const auto turns = e.quarterTurns & 3)
        parts << QStringLiteral("turned %1°").arg(turns * 90);
    if (kind == MediaKind::photo)
        parts << QStringLiteral("shown %1 s").arg(TimeText::seconds(e.photoDuration));
    return parts.join(QStringLiteral(", "));
}

} // namespace

// Prints the saved project as the window would show it after a restart: the clips found again
// (moved files followed through their bookmarks), each probed, with its played length.
// Read-only: unlike the window, it never cleans the import store.
int projectCommand(const QStringList& args) {
    if (!args.isEmpty()) {
        std::fprintf(stderr, "usage: vimbo project\n");
        return exitUsage;
    }
    const SessionStore store;
    const auto saved = store.load();
    if (!saved) {
        std::printf("No saved project (%s).\n", qPrintable(store.sessionFile()));
        return exitOk;
    }
    std::vector<Clip> clips;
    for (const Clip& clip : saved->clips)
        clips.push_back(store.restored(clip));
    clips = SessionStore::located(std::move(clips));
    const QList<MediaInfo> infos =
        QtConcurrent::blockingMapped(QList<Clip>(clips.begin(), clips.end()),
                                     [](const Clip& clip) { return MediaProbe::probe(clip.url); });

    std::printf("Frame: %s, %s\n", qPrintable(frameShapeText(saved->layout.shape)),
                qPrintable(fillModeText(saved->layout.fill)));
    double total = 0;
    int playing = 0;
    for (std::size_t i = 0; i < clips.size(); ++i) {
        const Segment segment{clips[i].url, infos[static_cast<qsizetype>(i)], clips[i].edits};
        const double length = segment.duration();
        total += length;
        playing += segment.info.isUsable() ? 1 : 0;
        QString line = QStringLiteral("%1  %2 %3  %4")
                           .arg(i + 1, 3)
                           .arg(mediaKindText(segment.info.kind), -11)
                           .arg(TimeText::precise(length), 8)
                           .arg(clips[i].url.isLocalFile() ? clips[i].url.toLocalFile()
                                                           : clips[i].url.toString());
        if (clips[i].imported)
            line += QStringLiteral(" (imported)");
        if (const QString edits = editsText(clips[i].edits, segment.info.kind); !edits.isEmpty())
            line += QStringLiteral("  ") + edits;
        std::printf("%s\n", qPrintable(line));
    }
    std::printf("Total: %s, %d of %zu clips play\n", qPrintable(TimeText::precise(total)), playing,
                clips.size());
    return exitOk;
}

} // namespace vimbo::app
