#include "tests/model/SaveStates.h"
#include "tests/support/Media.h"

#include <QFile>
#include <QProcess>
#include <QThread>

#include <gtest/gtest.h>
#include <random>

namespace vimbo::test {
namespace {

// Kills a process that saves without pause at random moments after its first save: every time,
// the session file must be complete and be exactly one of the projects that were written.
TEST(SessionStore, AKilledSaveNeverLeavesAHalfWrittenFile) {
    const QString folder = scratchFolder() + QStringLiteral("/Vimbo");
    const SessionStore store(folder);
    std::mt19937 random(20261123);
    std::uniform_int_distribution<int> delayMs(0, 40);

    for (int round = 0; round < 30; ++round) {
        QProcess child;
        child.start(QStringLiteral(VIMBO_SAVE_LOOP), {folder});
        ASSERT_TRUE(child.waitForReadyRead(10000));
        QThread::msleep(static_cast<unsigned long>(delayMs(random)));
        child.kill();
        child.waitForFinished();

        QFile file(store.sessionFile());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << "round " << round;
        const auto saved = decodeSaved(file.readAll());
        ASSERT_TRUE(saved) << "round " << round << ": the file does not parse";
        EXPECT_EQ(*saved, savedState(saved->nextAdded)) << "round " << round;
    }
}

} // namespace
} // namespace vimbo::test
