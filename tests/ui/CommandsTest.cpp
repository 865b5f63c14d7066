// The window's commands in the menus, on the tool bar and on the keyboard: which can be pressed
// when, what they do, the frame button's title, the flat look, and the Help menu's links.
#include "tests/ui/WindowFixture.h"
#include "ui/ExportSheet.h"
#include "ui/FlatButtonStyle.h"
#include "ui/Links.h"

#include <QMenu>
#include <QToolButton>

namespace vimbo::test {
namespace {

class CommandsTest : public WindowTest {
protected:
    // What can be pressed: the menus' commands, then the tool bar's buttons.
    QString enabled() {
        QStringList on;
        for (const char* name :
             {"startOver", "add", "export", "rotateLeft", "rotateRight", "remove", "undo", "redo"})
            if (action(name)->isEnabled())
                on << name;
        on << "|";
        const ui::WindowToolbar& bar = toolbar();
        for (QToolButton* button :
             {bar.undoButton(), bar.redoButton(), bar.addButton(), bar.sortButton(),
              bar.frameButton(), bar.exportButton(), bar.inspectorButton()})
            if (button->isEnabled())
                on << button->accessibleName(); // the frame's is its title
        return on.join(u' ');
    }

    static QAction* menuItem(QToolButton* button, const QString& text) {
        for (QAction* action : button->menu()->actions())
            if (action->text() == text)
                return action;
        ADD_FAILURE() << "no menu item " << text.toStdString();
        return nullptr;
    }
    // Chooses a menu item, and lets the event loop turn as between two choices of a person.
    static void choose(QToolButton* button, const QString& text) {
        menuItem(button, text)->trigger();
        QCoreApplication::processEvents();
    }
};

TEST_F(CommandsTest, EnabledByWhatTheProjectAndTheExportAllow) {
    start();
    EXPECT_EQ(enabled(), "add | Add");
    add({video()});
    EXPECT_EQ(
        enabled(),
        "startOver add export rotateLeft rotateRight remove undo | Undo Add Auto · Fit Export "
        "Inspector");
    EXPECT_EQ(action("undo")->text(), QStringLiteral("Undo Add Clips"));
    add({photo("p.jpg")});
    project().clearSelection();
    EXPECT_EQ(enabled(), "startOver add export undo | Undo Add Sort Auto · Fit Export Inspector");

    ExportController& exporter = shell->exporter();
    exporter.start({project().usable().front().second}, project().layout(), ExportFormat::mp4,
                   ExportQuality::high, QUrl::fromLocalFile(root + "/out.mp4"));
    EXPECT_EQ(enabled(), "startOver add undo | Undo Add Sort Auto · Fit Inspector")
        << "no second export while one runs";
    exporter.cancel();
    EXPECT_EQ(enabled(), "startOver add export undo | Undo Add Sort Auto · Fit Export Inspector");

    // A clip that cannot be played counts for the frame but not for export.
    project().startOver();
    add({broken("broken.jpg")});
    EXPECT_EQ(enabled(),
              "startOver add rotateLeft rotateRight remove undo | Undo Add Auto · Fit Inspector");
}

// A key pressed on the window, and the event loop's turn that follows, as between two presses
// of a person.
void press(QWidget& window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(&window, key, modifiers);
    QTest::qWait(1);
}

TEST_F(CommandsTest, ShortcutsRotateUndoRedoRemoveAndStartOver) {
    start();
    window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    add({photo("one.jpg"), photo("two.jpg")});
    const auto turns = [this] { return project().clips().at(0).edits.quarterTurns; };

    // Right, left, left, then undo twice (each press is a step of its own), redo and so on.
    const std::pair<Qt::Key, Qt::KeyboardModifiers> keys[] = {
        {Qt::Key_R, Qt::ControlModifier}, {Qt::Key_L, Qt::ControlModifier},
        {Qt::Key_L, Qt::ControlModifier}, {Qt::Key_Z, Qt::ControlModifier},
        {Qt::Key_Z, Qt::ControlModifier}, {Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier},
        {Qt::Key_Z, Qt::ControlModifier}, {Qt::Key_Y, Qt::ControlModifier}};
    std::vector<std::int64_t> seen;
    for (const auto& [key, modifiers] : keys) {
        press(window(), key, modifiers);
        seen.push_back(turns());
    }
    EXPECT_EQ(seen, (std::vector<std::int64_t>{1, 0, 3, 0, 1, 0, 1, 0}));

    press(window(), Qt::Key_Delete);
    EXPECT_TRUE(project().clips().empty());
    press(window(), Qt::Key_Z, Qt::ControlModifier);
    project().click(project().clips().at(1).id, Qt::NoModifier);
    press(window(), Qt::Key_Backspace, Qt::ControlModifier);
    EXPECT_EQ(names(), std::vector<QString>{"one.jpg"});
    press(window(), Qt::Key_N, Qt::ControlModifier);
    EXPECT_TRUE(project().clips().empty());
    EXPECT_EQ(action("undo")->text(), QStringLiteral("Undo Start Over"));
    press(window(), Qt::Key_Z, Qt::ControlModifier);
    press(window(), Qt::Key_E, Qt::ControlModifier);
    EXPECT_NE(openWindow<ui::ExportSheet>(), nullptr);
}

TEST_F(CommandsTest, ToolbarMenusSortAndFrameInOneStepEachAndTitleTheFrameButton) {
    start();
    add({photo("b.jpg"), photo("a.jpg")});
    QUndoStack& steps = window().undoStack();
    choose(toolbar().sortButton(), "File Name");
    EXPECT_EQ(names(), (std::vector<QString>{"a.jpg", "b.jpg"}));
    EXPECT_EQ(steps.count(), 2);

    QToolButton* frame = toolbar().frameButton();
    EXPECT_EQ(frame->text(), "Auto · Fit");
    const qint64 landscapeIcon = frame->icon().cacheKey();
    choose(frame, "4:5");
    EXPECT_EQ(steps.undoText(), "Change Shape");
    choose(frame, "Fill");
    EXPECT_EQ(steps.undoText(), "Change Fill");
    EXPECT_EQ(frame->text(), "4:5 · Fill");
    EXPECT_NE(frame->icon().cacheKey(), landscapeIcon);
    const int count = steps.count();
    choose(frame, "Fill");
    EXPECT_EQ(steps.count(), count) << "choosing what is chosen makes no step";

    choose(frame, "9:16");
    EXPECT_EQ(frame->text(), "9:16 · Fill");
    for (int i = 0; i < 4; ++i)
        steps.undo();
    EXPECT_EQ(frame->text(), "Auto · Fit");
    EXPECT_TRUE(menuItem(frame, "Auto")->isChecked());
    EXPECT_TRUE(menuItem(frame, "Fit")->isChecked());
    EXPECT_EQ(names(), (std::vector<QString>{"b.jpg", "a.jpg"}));
}

// The flat look, read back from the pixels a real button paints: the label's text colour over
// the window's at 7 % under the pointer, 12 % pressed or on, nothing when disabled.
TEST(FlatButtonStyle, FillsForEachState) {
    ui::FlatButtonStyle style;
    const QColor under(0xf0, 0xf0, 0xf0), over(0x20, 0x20, 0x20);
    QPalette palette(under, under);
    palette.setColor(QPalette::WindowText, over);
    QToolButton button;
    button.setStyle(&style);
    button.setPalette(palette);
    button.setText("Sort");
    button.setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button.setCheckable(true);
    button.resize(button.sizeHint());
    // How far the colour behind the label, at the middle of the top edge, is toward the text's.
    const auto fill = [&] {
        QImage image(button.size(), QImage::Format_ARGB32);
        image.fill(under);
        button.render(&image, {}, {}, QWidget::DrawChildren);
        return std::round(100.0 * (under.red() - image.pixelColor(button.width() / 2, 3).red()) /
                          (under.red() - over.red()));
    };
    EXPECT_EQ(fill(), 0);
    button.setAttribute(Qt::WA_UnderMouse, true);
    EXPECT_EQ(fill(), 7);
    button.setDown(true);
    EXPECT_EQ(fill(), 12);
    button.setDown(false);
    button.setAttribute(Qt::WA_UnderMouse, false);
    button.setChecked(true);
    EXPECT_EQ(fill(), 12);
    button.setEnabled(false);
    button.setAttribute(Qt::WA_UnderMouse, true);
    button.setDown(true);
    EXPECT_EQ(fill(), 0) << "disabled: no background, whatever else holds";
}

// The Help menu's pages follow the first language; the version is passed on, even unknown.
TEST(Links, PagesFollowTheFirstLanguageAndTheVersionIsPassedOn) {
    using namespace ui::Links;
    EXPECT_EQ(website({"zh-Hant", "en"}).toString(), "https://vimbo.app/vimbo-zh-tw.html");
    EXPECT_EQ(support({"zh-Hans-CN"}).toString(), "https://vimbo.app/vimbo-support-zh-cn.html");
    for (const QStringList& other : {QStringList{"en-US"}, {"de", "zh-Hant"}, {"zh"}, {}})
        EXPECT_EQ(website(other).toString(), "https://vimbo.app/vimbo.html");
    EXPECT_EQ(newVersion({"zh-TW"}, QString()).toString(),
              "https://vimbo.app/vimbo-zh-tw.html?installed=#download");
}

} // namespace
} // namespace vimbo::test
