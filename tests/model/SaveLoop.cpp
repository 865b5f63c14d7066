// A child process for the crash test: saves the session over and over, each time a different
// project that can be recomputed from its nextAdded number, until it is killed. It says "ready"
// once the first save is on disk, so that every kill lands amid later ones.

#include "tests/model/SaveStates.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc != 2)
        return 2;
    const vimbo::SessionStore store(QString::fromLocal8Bit(argv[1]));
    store.save(vimbo::test::savedState(1));
    std::puts("ready");
    std::fflush(stdout);
    for (std::int64_t n = 2;; ++n)
        store.save(vimbo::test::savedState(n));
}
