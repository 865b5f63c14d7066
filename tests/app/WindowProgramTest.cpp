// The window as the real program: started without a display, twice on one project, and ended
// by the session.
#include "model/SessionStore.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLocalSocket>
#include <QProcess>
#include <QThread>

#include <csignal>
#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

// One user's session: their data, settings and runtime folders, and the offscreen platform.
struct Session {
    QString home = scratchFolder();

    void into(QProcessEnvironment& env) const {
        env.insert("XDG_DATA_HOME", home + "/data");
        env.insert("XDG_CONFIG_HOME", home + "/config");
        env.insert("XDG_RUNTIME_DIR", home + "/runtime");
        env.insert("QT_QPA_PLATFORM", "offscreen");
    }
    Session() { QDir().mkpath(home + "/runtime"); }

    ProgramSetup setup() const {
        ProgramSetup s;
        s.environment = [this](QProcessEnvironment& env) { into(env); };
        s.timeoutMs = 60'000;
        return s;
    }

    // The window, running in the background until the test ends it.
    void startWindow(QProcess& window, const QStringList& files = {}) const {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        into(env);
        window.setProcessEnvironment(env);
        window.start(VIMBO_BINARY, files);
        ASSERT_TRUE(window.waitForStarted());
        // Up once its socket takes connections (a socket left by a crash refuses them).
        QElapsedTimer waited;
        waited.start();
        while (!listening() && waited.elapsed() < 60'000)
            QThread::msleep(20);
        ASSERT_TRUE(listening());
    }

    bool listening() const {
        for (const QString& name : QDir(home + "/runtime").entryList({"vimbo-*"}, QDir::System)) {
            QLocalSocket probe;
            probe.connectToServer(home + "/runtime/" + name);
            if (probe.waitForConnected(100))
                return true;
        }
        return false;
    }

    std::optional<Saved> saved() const { return SessionStore(home + "/data/Vimbo").load(); }
};

TEST(WindowProgram, WithoutADisplayItSaysSoInOneSentence) {
    ProgramSetup setup;
    setup.environment = [](QProcessEnvironment& env) {
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            env.remove(name);
    };
    const ProgramRun run = vimbo({}, setup);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err.count('\n'), 1) << run.err.toStdString();
    EXPECT_TRUE(run.err.contains("vimbo merge")) << run.err.toStdString();
}

// A window that crashed leaves its socket behind; the next start still opens a window. A second
// `vimbo FILE` hands the file to it and ends, and a termination signal closes the window with
// the project written to disk.
TEST(WindowProgram, AfterACrashASecondStartHandsItsFilesOverAndSigtermSaves) {
    const Session session;
    QProcess crashed;
    session.startWindow(crashed);
    ::kill(static_cast<pid_t>(crashed.processId()), SIGKILL);
    crashed.waitForFinished();
    ASSERT_EQ(QDir(session.home + "/runtime").entryList({"vimbo-*"}, QDir::System).size(), 1);

    QProcess window;
    session.startWindow(window);
    const QString photo = generated(
        "program-photo.jpg", {"-f", "lavfi", "-i", "color=red:size=64x48", "-frames:v", "1"});
    const ProgramRun second = vimbo({photo}, session.setup());
    EXPECT_EQ(second.exitCode, 0) << second.err.toStdString();
    // No autosave has run yet (it waits half a second): what is on disk was written at quit.
    ::kill(static_cast<pid_t>(window.processId()), SIGTERM);
    ASSERT_TRUE(window.waitForFinished(60'000));
    EXPECT_EQ(window.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(window.exitCode(), 0);
    const auto saved = session.saved();
    ASSERT_TRUE(saved.has_value());
    ASSERT_EQ(saved->clips.size(), 1u);
    EXPECT_EQ(saved->clips[0].url.toLocalFile(), photo);
}

} // namespace
} // namespace vimbo::test
