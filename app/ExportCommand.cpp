#include "app/CommandLine.h"
#include "app/Commands.h"
#include "app/ExportRun.h"
#include "model/Project.h"

#include <cstdio>

namespace vimbo::app {

// Exports the saved project, restored with all its edits exactly as the window finds it.
int exportCommand(const QStringList& args) {
    QStringList rest = args;
    ExportOptions out;
    QString error;
    if (!takeExportOptions(rest, out, error) || !rest.isEmpty()) {
        if (error.isEmpty())
            error = QStringLiteral("unexpected %1").arg(rest.join(QLatin1Char(' ')));
        std::fprintf(stderr,
                     "vimbo export: %s\nusage: vimbo export [--quality original|high|smaller] "
                     "[--format mp4|mov] -o OUT\n",
                     qPrintable(error));
        return exitUsage;
    }
    Project project(commandLineMedia());
    waitForProbes(project);
    return exportProject(project, out);
}

} // namespace vimbo::app
