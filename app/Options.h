#pragma once

// The options of `vimbo merge` and `vimbo export`, parsed with QCommandLineParser. Every value
// name comes from the one table its type has (the saved project's for shape and fill, the user
// defaults' for quality and format), so the command line, the help and the saved project never
// disagree.

#include "export/ExportChoices.h"
#include "model/Layout.h"
#include "model/Project.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace vimbo::app {

struct ExportOptions {
    std::optional<ExportQuality> quality;
    // --format, else what OUT's suffix names, else MP4; the two never disagree.
    ExportFormat format = ExportFormat::mp4;
    QString output; // as given, with the format's suffix added when it had none
};

struct MergeOptions {
    Layout layout;
    std::optional<double> photoDuration;
    std::optional<SortOrder> sort;
    QStringList inputs; // files and folders, as given
    ExportOptions out;
};

// What a command's arguments asked for: its options, its help, or a mistake described in one
// line ("--shape takes auto, wide, tall, square or portrait, not “round”").
template <typename Options>
struct Parsed {
    Options options;
    bool help = false;
    QString error; // empty when the arguments were understood
};

// The arguments after the command word.
Parsed<MergeOptions> parseMerge(const QStringList& args);
Parsed<ExportOptions> parseExport(const QStringList& args);

// One line each, for the end of a mistake's message.
QString mergeUsage();
QString exportUsage();
// The whole of `vimbo merge --help` and `vimbo export --help`.
QString mergeHelp();
QString exportHelp();

} // namespace vimbo::app
