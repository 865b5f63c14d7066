#include "app/CommandLine.h"
#include "app/Commands.h"
#include "app/ExportRun.h"
#include "app/Options.h"
#include "model/Project.h"

#include <cstdio>

namespace vimbo::app {

// Exports the saved project, restored with all its edits exactly as the window finds it.
int exportCommand(const QStringList& args) {
    const Parsed<ExportOptions> parsed = parseExport(args);
    if (parsed.help) {
        std::fputs(qPrintable(exportHelp()), stdout);
        return exitOk;
    }
    if (!parsed.error.isEmpty()) {
        std::fprintf(stderr, "vimbo export: %s\n%s\n", qPrintable(parsed.error),
                     qPrintable(exportUsage()));
        return exitUsage;
    }
    Project project(commandLineMedia());
    waitForProbes(project);
    return exportProject(project, parsed.options);
}

} // namespace vimbo::app
