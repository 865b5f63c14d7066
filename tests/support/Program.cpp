#include "tests/support/Program.h"

#include <QProcess>
#include <QProcessEnvironment>

namespace vimbo::test {

ProgramRun vimbo(const QStringList& arguments, const ProgramSetup& setup) {
    QProcess process;
    if (setup.inChild)
        process.setChildProcessModifier(setup.inChild);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!setup.dataHome.isEmpty())
        environment.insert(QStringLiteral("XDG_DATA_HOME"), setup.dataHome);
    if (setup.environment)
        setup.environment(environment);
    process.setProcessEnvironment(environment);
    if (!setup.workingFolder.isEmpty())
        process.setWorkingDirectory(setup.workingFolder);
    process.start(QStringLiteral(VIMBO_BINARY), arguments);
    const bool finished = process.waitForFinished(setup.timeoutMs);
    return {finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace vimbo::test
