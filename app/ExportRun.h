#pragma once

// What `vimbo merge` and `vimbo export` share: the real media functions for a Project, waiting
// for a project's clips to be read, and running one export through the ExportController with
// a progress bar (or plain lines) on stderr and Ctrl-C as cancel.

#include "export/ExportChoices.h"
#include "model/MediaAccess.h"
#include "model/Project.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace vimbo::app {

// isMedia and probe from the media layer; no thumbnails (nothing shows them here).
MediaAccess commandLineMedia();

// Runs the event loop until every clip of the project has been probed.
void waitForProbes(Project& project);

// The export options both commands take.
struct ExportOptions {
    std::optional<ExportQuality> quality;
    std::optional<ExportFormat> format;
    QString output;
};

// Takes --quality, --format and -o/--output (with their values) out of args. False, with the
// problem in `error`, when one is malformed.
bool takeExportOptions(QStringList& args, ExportOptions& options, QString& error);

// Exports the project's usable clips under its layout; returns the exit status (0 written,
// 1 failed with the sentence on stderr, 130 interrupted by Ctrl-C with no file left).
int exportProject(const Project& project, const ExportOptions& options);

} // namespace vimbo::app
