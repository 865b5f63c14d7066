#include "export/ExportController.h"
#include "tests/ui/WindowFixture.h"

#include <QKeySequence>
#include <QMenuBar>

namespace vimbo::test {
namespace {

std::vector<Segment> segmentsOf(const Project& project) {
    std::vector<Segment> segments;
    for (const auto& [id, segment] : project.usable())
        segments.push_back(segment);
    return segments;
}

TEST_F(WindowTest, CommandsAreEnabledByWhatTheProjectAndTheExportAllow) {
    start();
    const auto enabled = [this](const char* name) { return action(name)->isEnabled(); };
    for (const char* name : {"startOver", "export", "rotateLeft", "rotateRight", "remove"})
        EXPECT_FALSE(enabled(name)) << "empty project: " << name;
    for (const char* name : {"add", "addFromPhotos", "quit", "website", "newVersion"})
        EXPECT_TRUE(enabled(name)) << name;
    EXPECT_FALSE(enabled("undo"));

    add({movie()});
    for (const char* name : {"startOver", "export", "rotateLeft", "rotateRight", "remove", "undo"})
        EXPECT_TRUE(enabled(name)) << "one selected clip: " << name;
    EXPECT_EQ(action("undo")->text(), QStringLiteral("Undo Add Clips"));

    project().click(project().clips().at(0).id, Qt::ControlModifier); // toggled off
    ASSERT_TRUE(project().selection().isEmpty());
    for (const char* name : {"rotateLeft", "rotateRight", "remove"})
        EXPECT_FALSE(enabled(name)) << "nothing selected: " << name;
    EXPECT_TRUE(enabled("export"));

    project().startOver();
    add({movie()});
    ExportController& exporter = shell->exporter();
    exporter.start(segmentsOf(project()), project().layout(), ExportFormat::mp4,
                   ExportQuality::high, QUrl::fromLocalFile(root + "/out.mp4"));
    EXPECT_FALSE(enabled("export")) << "while an export runs";
    EXPECT_TRUE(enabled("startOver"));
    exporter.cancel();
    EXPECT_TRUE(enabled("export"));
}

TEST_F(WindowTest, ExportNeedsAPlayableClip) {
    savePhotos({3});
    QFile::remove(root + "/files/saved-0.jpg");
    start();
    ASSERT_TRUE(waitUntil([this] { return probed(); }));
    EXPECT_TRUE(action("startOver")->isEnabled());
    EXPECT_FALSE(action("export")->isEnabled()) << "every clip is missing";
}

// A key pressed on the window, and the event loop's turn that follows, as between two presses
// of a person.
void press(QWidget& window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(&window, key, modifiers);
    QTest::qWait(1);
}

// The shortcuts a person uses, pressed on the window.
TEST_F(WindowTest, ShortcutsRotateUndoRedoRemoveAndStartOver) {
    start();
    window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    add({photo("one.jpg"), photo("two.jpg")});
    const auto turns = [this] { return project().clips().at(0).edits.quarterTurns; };

    press(window(), Qt::Key_R, Qt::ControlModifier);
    EXPECT_EQ(turns(), 1);
    press(window(), Qt::Key_L, Qt::ControlModifier);
    press(window(), Qt::Key_L, Qt::ControlModifier);
    EXPECT_EQ(turns(), 3);
    press(window(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(turns(), 0);
    press(window(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(turns(), 1) << "each press is a step of its own";
    press(window(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(turns(), 0);
    press(window(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(turns(), 1);
    press(window(), Qt::Key_Z, Qt::ControlModifier);
    press(window(), Qt::Key_Y, Qt::ControlModifier);
    EXPECT_EQ(turns(), 1);

    press(window(), Qt::Key_Delete);
    EXPECT_TRUE(project().clips().empty());
    press(window(), Qt::Key_Z, Qt::ControlModifier);
    ASSERT_EQ(project().clips().size(), 2u);
    project().click(project().clips().at(1).id, Qt::NoModifier);
    press(window(), Qt::Key_Backspace, Qt::ControlModifier);
    EXPECT_EQ(names(), std::vector<QString>{"one.jpg"});

    press(window(), Qt::Key_N, Qt::ControlModifier);
    EXPECT_TRUE(project().clips().empty());
    EXPECT_EQ(action("undo")->text(), QStringLiteral("Undo Start Over"));
    press(window(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(names(), std::vector<QString>{"one.jpg"});

    press(window(), Qt::Key_E, Qt::ControlModifier);
    EXPECT_TRUE(project().showExport());
}

TEST_F(WindowTest, MenusAreFileEditViewHelpWithLinuxShortcuts) {
    start();
    QStringList titles;
    for (QAction* menu : window().menuBar()->actions())
        titles << menu->text().remove(QLatin1Char('&'));
    EXPECT_EQ(titles, (QStringList{"File", "Edit", "View", "Help"}));
    const auto keys = [this](const char* name) {
        QStringList texts;
        for (const QKeySequence& key : action(name)->shortcuts())
            texts << key.toString(QKeySequence::PortableText);
        return texts;
    };
    EXPECT_EQ(keys("startOver"), QStringList{"Ctrl+N"});
    EXPECT_EQ(keys("add"), QStringList{"Ctrl+O"});
    EXPECT_EQ(keys("addFromPhotos"), QStringList{"Ctrl+Shift+O"});
    EXPECT_EQ(keys("export"), QStringList{"Ctrl+E"});
    EXPECT_EQ(keys("quit"), QStringList{"Ctrl+Q"});
    EXPECT_EQ(keys("undo"), QStringList{"Ctrl+Z"});
    EXPECT_EQ(keys("redo"), (QStringList{"Ctrl+Shift+Z", "Ctrl+Y"}));
    EXPECT_EQ(keys("remove"), (QStringList{"Ctrl+Backspace", "Del"}));
}

} // namespace
} // namespace vimbo::test
