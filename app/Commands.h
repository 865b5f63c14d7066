#pragma once

#include <QStringList>

namespace vimbo::app {

// Each headless command takes the arguments after its own word and returns the exit status.
int probeCommand(const QStringList& args);
int projectCommand(const QStringList& args);
int thumbnailCommand(const QStringList& args);
int mergeCommand(const QStringList& args);
int exportCommand(const QStringList& args);

} // namespace vimbo::app
