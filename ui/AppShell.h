#pragma once

// The running program: the one project (restored from the saved session, stale imports
// cleaned), the one export controller, the files waiting to be opened, and the window. Files
// asked for before the window first shows are added when it does, in one step and in the order
// they arrived. Closing the window, by its close button, File > Quit or a termination signal,
// writes the project to disk before the program ends. Interface thread.

#include "export/ExportController.h"
#include "model/Project.h"
#include "ui/OpenRequests.h"

#include <memory>

namespace vimbo::ui {

class MainWindow;

class AppShell {
public:
    AppShell(MediaAccess media, SessionStore store);
    ~AppShell();
    AppShell(const AppShell&) = delete;
    AppShell& operator=(const AppShell&) = delete;

    Project& project() { return project_; }
    ExportController& exporter() { return exporter_; }
    MainWindow& window() { return *window_; }

    // Files to add: now when the window is up, else as soon as it first shows.
    void open(const QList<QUrl>& files);
    void show();
    // Brings the window forward (a later start handed over its files).
    void raise();
    // Closes the window; the project is saved and the program ends.
    void quit();

private:
    Project project_;
    ExportController exporter_;
    OpenRequests requests_;
    std::unique_ptr<MainWindow> window_;
};

} // namespace vimbo::ui
