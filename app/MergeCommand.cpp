#include "app/CommandLine.h"
#include "app/Commands.h"
#include "app/ExportRun.h"
#include "model/Project.h"

#include <QFileInfo>

#include <cstdio>

namespace vimbo::app {
namespace {

const char* const mergeUsage =
    "usage: vimbo merge [--shape auto|wide|tall|square|portrait] [--fill fit|fill]\n"
    "                   [--quality original|high|smaller] [--format mp4|mov]\n"
    "                   [--photo-duration S] [--sort added|date|name] FILE-OR-FOLDER… -o OUT";

struct MergeOptions {
    Layout layout;
    std::optional<double> photoDuration;
    std::optional<SortOrder> sort;
    QList<QUrl> files;
};

template <typename T, std::size_t N>
std::optional<T> pick(const QString& value, const std::array<const char*, N>& names,
                      const std::array<T, N>& values) {
    for (std::size_t i = 0; i < N; ++i)
        if (value == QLatin1String(names[i]))
            return values[i];
    return std::nullopt;
}

// One option and its value; false with `error` set when the value is not one it takes.
bool takeOption(const QString& name, const QString& value, MergeOptions& o, QString& error) {
    bool ok = true;
    if (name == QLatin1String("--shape")) {
        const auto shape = pick<FrameShape, 5>(
            value, {"auto", "wide", "tall", "square", "portrait"}, allFrameShapes);
        ok = shape.has_value();
        o.layout.shape = shape.value_or(FrameShape::auto_);
    } else if (name == QLatin1String("--fill")) {
        const auto fill = pick<FillMode, 2>(value, {"fit", "fill"}, allFillModes);
        ok = fill.has_value();
        o.layout.fill = fill.value_or(FillMode::fit);
    } else if (name == QLatin1String("--sort")) {
        o.sort =
            pick<SortOrder, 3>(value, {"added", "date", "name"},
                               {SortOrder::orderAdded, SortOrder::dateTaken, SortOrder::fileName});
        ok = o.sort.has_value();
    } else if (name == QLatin1String("--photo-duration")) {
        const double seconds = value.toDouble(&ok);
        ok = ok && seconds > 0 && seconds < 24 * 3600;
        o.photoDuration = seconds;
    } else {
        error = QStringLiteral("unknown option %1").arg(name);
        return false;
    }
    if (!ok)
        error = QStringLiteral("%1 does not take \u201C%2\u201D").arg(name, value);
    return ok;
}

bool parse(QStringList args, MergeOptions& merge, ExportOptions& out, QString& error) {
    if (!takeExportOptions(args, out, error))
        return false;
    for (int i = 0; i < args.size(); ++i) {
        const QString& arg = args[i];
        if (!arg.startsWith(QLatin1String("--"))) {
            merge.files << QUrl::fromLocalFile(QFileInfo(arg).absoluteFilePath());
            continue;
        }
        if (i + 1 >= args.size()) {
            error = QStringLiteral("%1 needs a value").arg(arg);
            return false;
        }
        if (!takeOption(arg, args[++i], merge, error))
            return false;
    }
    if (merge.files.isEmpty())
        error = QStringLiteral("no files to merge");
    return error.isEmpty();
}

} // namespace

// Builds a scratch project from the files as the window would (add, read every clip, sort,
// photo times, layout) and exports it through the same controller the window uses.
int mergeCommand(const QStringList& args) {
    MergeOptions merge;
    ExportOptions out;
    QString error;
    if (!parse(args, merge, out, error)) {
        std::fprintf(stderr, "vimbo merge: %s\n%s\n", qPrintable(error), mergeUsage);
        return exitUsage;
    }
    Project project(commandLineMedia(), std::nullopt);
    project.add(merge.files);
    waitForProbes(project);
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
    return exportProject(project, out);
}

} // namespace vimbo::app
