#pragma once

// What `vimbo merge` and `vimbo export` share: the real media functions for a Project, waiting
// for a project's clips to be read, and running one export through the ExportController with
// a progress bar (or plain lines) on stderr and Ctrl-C as cancel.

#include "app/Options.h"
#include "model/MediaAccess.h"
#include "model/Project.h"

namespace vimbo::app {

// isMedia and probe from the media layer; no thumbnails (nothing shows them here).
MediaAccess commandLineMedia();

// Runs the event loop until every clip of the project has been probed (at its place found
// again, for a restored one that moved).
void waitForProbes(Project& project);

// Exports the project's usable clips under its layout; returns the exit status (0 written,
// 1 failed with the sentence on stderr, 130 interrupted by Ctrl-C; either of those leaves the
// file at the destination as it was). A destination that is one of the project's clips is
// refused before anything is written. The progress shows once the export has got going, so a
// failure at the start is one line alone.
int exportProject(const Project& project, const ExportOptions& options);

} // namespace vimbo::app
