#pragma once

#include <QStringList>

namespace vimbo::app {

// Each headless command takes the arguments after its own word and returns the exit status.
int probeCommand(const QStringList& args);
int projectCommand(const QStringList& args);
int thumbnailCommand(const QStringList& args);
int mergeCommand(const QStringList& args);
int exportCommand(const QStringList& args);

// Whether `vimbo ARG…` opens the window with files: the first argument names an existing file
// or folder, or is a file URL.
bool opensWindow(const QString& firstArgument);
// The window (with `files` added); needs a display and says so in one sentence without one.
int windowCommand(int argc, char** argv, const QStringList& files);

} // namespace vimbo::app
