#pragma once

namespace vimbo::app {

// Exit statuses of the command line.
enum ExitStatus { exitOk = 0, exitFailed = 1, exitUsage = 2 };

// Runs `vimbo ARGS…`: a command word selects a headless command; without one the window opens.
int run(int argc, char** argv);

} // namespace vimbo::app
