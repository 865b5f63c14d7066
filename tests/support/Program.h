#pragma once

// Running the real `vimbo` program from a test, and waiting on the event loop.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <functional>

namespace vimbo::test {

struct ProgramRun {
    int exitCode = -1; // -1 when it crashed or did not finish
    QString out;
    QString err;
};

struct ProgramSetup {
    QString dataHome;              // XDG_DATA_HOME for the run (the saved project's home)
    QString workingFolder;         // where relative paths start
    std::function<void()> inChild; // runs in the child before it starts (limits, signals)
    std::function<void(QProcessEnvironment&)> environment; // changes to the inherited one
    int timeoutMs = 300'000;

    static ProgramSetup withDataHome(const QString& folder) {
        ProgramSetup s;
        s.dataHome = folder;
        return s;
    }
    static ProgramSetup withChild(std::function<void()> inChild) {
        ProgramSetup s;
        s.inChild = std::move(inChild);
        return s;
    }
};

// Runs the vimbo built with the tests and collects its exit status and output.
ProgramRun vimbo(const QStringList& arguments, const ProgramSetup& setup = {});

// Lets queued work (background results landing, timers) happen until `done` holds or the time
// is up; returns whether it holds.
template <typename F>
bool waitUntil(F done, int ms = 60000) {
    QDeadlineTimer deadline(ms);
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return done();
}

} // namespace vimbo::test
