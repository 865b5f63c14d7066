#include "model/SessionStore.h"
#include "tests/ui/WindowFixture.h"
#include "ui/OpenRequests.h"

namespace vimbo::test {
namespace {

TEST_F(WindowTest, FilesOpenedBeforeTheWindowAreAddedOnceInOrderWhenItShows) {
    start(false);
    const QUrl first = photo(QStringLiteral("b-first.jpg"));
    const QUrl second = photo(QStringLiteral("a-second.jpg"));
    shell->open({first});
    shell->open({second});
    QTest::qWait(50);
    EXPECT_TRUE(project().clips().empty()) << "nothing is added before the window is up";

    shell->show();
    ASSERT_TRUE(waitUntil([this] { return project().clips().size() == 2; }));
    QTest::qWait(100);
    EXPECT_EQ(names(), (std::vector<QString>{"b-first.jpg", "a-second.jpg"}));
    EXPECT_EQ(window().undoStack().count(), 1) << "one Add Clips step";

    // Once the window is up, later files are added as they come.
    shell->open({photo(QStringLiteral("c-later.jpg"))});
    ASSERT_TRUE(waitUntil([this] { return project().clips().size() == 3; }));
}

TEST(OpenRequests, WaitingFilesGoToTheHandlerOnceAndLaterOnesAtOnce) {
    ui::OpenRequests requests;
    std::vector<QList<QUrl>> calls;
    const QUrl a = QUrl::fromLocalFile("/a"), b = QUrl::fromLocalFile("/b");
    requests.open({a});
    requests.open({b});
    requests.setHandler([&](const QList<QUrl>& files) { calls.push_back(files); });
    requests.setHandler([&](const QList<QUrl>& files) { calls.push_back(files); });
    requests.open({a});
    EXPECT_EQ(calls, (std::vector<QList<QUrl>>{{a, b}, {a}}));
    EXPECT_TRUE(requests.pending().isEmpty());
}

// Quitting writes the project at once, without waiting for the autosave.
TEST_F(WindowTest, QuitAndClosingTheWindowSaveAtOnceAndTheNextStartFindsTheProject) {
    for (const bool byMenu : {true, false}) {
        SCOPED_TRACE(byMenu ? "File > Quit" : "closing the window");
        QFile::remove(store.sessionFile());
        start();
        add({photo(QStringLiteral("kept.jpg"))});
        project().rotateSelection(1);
        if (byMenu)
            action("quit")->trigger();
        else
            window().close();
        EXPECT_FALSE(window().isVisible());
        const auto saved = store.load();
        ASSERT_TRUE(saved.has_value()) << "written as the window closed";
        ASSERT_EQ(saved->clips.size(), 1u);
        EXPECT_EQ(saved->clips[0].url.fileName(), QStringLiteral("kept.jpg"));
        EXPECT_EQ(saved->clips[0].edits.quarterTurns, 1);

        shell.reset();
        start();
        EXPECT_EQ(names(), std::vector<QString>{"kept.jpg"});
        project().startOver();
        shell.reset();
    }
}

} // namespace
} // namespace vimbo::test
