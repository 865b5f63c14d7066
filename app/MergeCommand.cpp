#include "app/CommandLine.h"
#include "app/Commands.h"
#include "app/ExportRun.h"
#include "app/Options.h"
#include "media/MediaProbe.h"
#include "model/Project.h"
#include "model/VimboError.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>

#include <algorithm>
#include <cstdio>

namespace vimbo::app {
namespace {

// Why an input given on the command line adds no clip at all.
QString whyNothing(const QFileInfo& input) {
    if (!input.exists())
        return QStringLiteral("not found");
    if (input.isDir())
        return QStringLiteral("no photos or videos in it");
    return QStringLiteral("not a photo or video");
}

// Why a clip takes no part in the movie, once probed; empty when it does.
QString whyLeftOut(MediaKind kind) {
    switch (kind) {
    case MediaKind::unsupported:
        return QStringLiteral("a format Vimbo can\u2019t read");
    case MediaKind::missing:
        return QStringLiteral("not found");
    case MediaKind::video:
    case MediaKind::photo:
        break;
    }
    return {};
}

// A file as the user named it: the input itself, or its path under the folder given.
struct Named {
    int input = 0; // index among the inputs
    QString name;
};

struct Skipped {
    int input = 0;
    QString line;
};

} // namespace

// Builds a scratch project from the files as the window would (add, read every clip, sort,
// photo times, layout) and exports it through the same controller the window uses. Every
// input that adds nothing to the movie is named with the reason, in the order given; only when
// nothing is left does the merge fail.
int mergeCommand(const QStringList& args) {
    const Parsed<MergeOptions> parsed = parseMerge(args);
    if (parsed.help) {
        std::fputs(qPrintable(mergeHelp()), stdout);
        return exitOk;
    }
    if (!parsed.error.isEmpty()) {
        std::fprintf(stderr, "vimbo merge: %s\n%s\n", qPrintable(parsed.error),
                     qPrintable(mergeUsage()));
        return exitUsage;
    }
    const MergeOptions& merge = parsed.options;

    std::vector<Skipped> skipped;
    QHash<QString, Named> names; // by absolute path
    QList<QUrl> files;
    for (int i = 0; i < merge.inputs.size(); ++i) {
        const QString& input = merge.inputs[i];
        const QFileInfo info(input);
        const QList<QUrl> found =
            Project::expand({QUrl::fromLocalFile(info.absoluteFilePath())}, MediaProbe::isMedia);
        if (found.isEmpty())
            skipped.push_back({i, QStringLiteral("%1: %2").arg(input, whyNothing(info))});
        const QDir folder(info.absoluteFilePath());
        for (const QUrl& file : found)
            names.insert(file.toLocalFile(),
                         {i, info.isDir()
                                 ? QDir(input).filePath(folder.relativeFilePath(file.toLocalFile()))
                                 : input});
        files += found;
    }

    Project project(commandLineMedia(), std::nullopt);
    project.add(files);
    waitForProbes(project);
    for (const Clip& clip : project.clips())
        if (const QString why = whyLeftOut(project.info().value(clip.id).kind); !why.isEmpty()) {
            const Named named = names.value(clip.url.toLocalFile());
            skipped.push_back({named.input, QStringLiteral("%1: %2").arg(named.name, why)});
        }
    std::stable_sort(skipped.begin(), skipped.end(),
                     [](const Skipped& a, const Skipped& b) { return a.input < b.input; });
    for (const Skipped& s : skipped)
        std::fprintf(stderr, "Skipped %s\n", qPrintable(s.line));
    if (project.usable().empty()) {
        std::fprintf(stderr, "%s\n", qPrintable(VimboError::nothingToMerge().errorDescription()));
        return exitFailed;
    }

    if (merge.sort)
        project.sort(*merge.sort);
    QSet<QUuid> everyClip;
    for (const Clip& clip : project.clips())
        everyClip.insert(clip.id);
    if (merge.photoDuration)
        project.edit("Photo Duration", everyClip, [&](ClipEdits& edits, const MediaInfo& info) {
            if (info.kind == MediaKind::photo)
                edits.photoDuration = *merge.photoDuration;
        });
    project.setLayout(merge.layout, "Layout");
    return exportProject(project, merge.out);
}

} // namespace vimbo::app
