// The window's tool bar as a person meets it: which buttons can be pressed in each state of the
// project and the export, what they do, the frame button's title, and the flat look's fills.
#include "export/ExportController.h"
#include "tests/model/ProjectFixture.h"
#include "ui/FlatButtonStyle.h"
#include "ui/WindowToolbar.h"

#include <QAction>
#include <QMenu>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

namespace vimbo::test {
namespace {

using ui::FlatButtonStyle;
using ui::WindowToolbar;

class ToolbarTest : public ProjectTest {
protected:
    ExportController exporter;
    std::unique_ptr<WindowToolbar> toolbar;

    void SetUp() override {
        ProjectTest::SetUp();
        toolbar = std::make_unique<WindowToolbar>(*project, exporter);
        toolbar->resize(820, toolbar->sizeHint().height());
        toolbar->show();
    }

    void addPhotos(const QStringList& names) {
        QList<QUrl> urls;
        for (const QString& name : names)
            urls << photo(name);
        project->add(urls);
        ASSERT_TRUE(waitUntil([&] { return project->usable().size() == project->clips().size(); }));
    }

    std::map<QString, bool> enabled() const {
        return {{"undo", toolbar->undoButton()->isEnabled()},
                {"redo", toolbar->redoButton()->isEnabled()},
                {"add", toolbar->addButton()->isEnabled()},
                {"sort", toolbar->sortButton()->isEnabled()},
                {"frame", toolbar->frameButton()->isEnabled()},
                {"export", toolbar->exportButton()->isEnabled()},
                {"inspector", toolbar->inspectorButton()->isEnabled()}};
    }

    static QAction* menuItem(QToolButton* button, const QString& text) {
        for (QAction* action : button->menu()->actions())
            if (action->text() == text)
                return action;
        ADD_FAILURE() << "no menu item " << text.toStdString();
        return nullptr;
    }
};

TEST_F(ToolbarTest, EnabledStatesFollowTheProjectAndTheExport) {
    using State = std::map<QString, bool>;
    EXPECT_EQ(enabled(), (State{{"undo", false},
                                {"redo", false},
                                {"add", true},
                                {"sort", false},
                                {"frame", false},
                                {"export", false},
                                {"inspector", false}}));

    addPhotos({"one.jpg"});
    EXPECT_EQ(enabled(), (State{{"undo", true},
                                {"redo", false},
                                {"add", true},
                                {"sort", false},
                                {"frame", true},
                                {"export", true},
                                {"inspector", true}}));

    addPhotos({"two.jpg"});
    EXPECT_TRUE(toolbar->sortButton()->isEnabled());

    // A clip that cannot be played counts for the frame but not for export.
    project->remove({idOf("one.jpg"), idOf("two.jpg")});
    project->add({file("broken.jpg")});
    ASSERT_TRUE(probed(3));
    EXPECT_TRUE(toolbar->frameButton()->isEnabled());
    EXPECT_FALSE(toolbar->exportButton()->isEnabled());
    stack().undo();
    stack().undo();
    EXPECT_TRUE(toolbar->exportButton()->isEnabled());
    EXPECT_TRUE(toolbar->redoButton()->isEnabled());

    std::vector<Segment> segments;
    for (const auto& [id, segment] : project->usable())
        segments.push_back(segment);
    exporter.start(segments, project->layout(), ExportFormat::mp4, ExportQuality::smaller,
                   QUrl::fromLocalFile(root + "/out.mp4"));
    EXPECT_FALSE(toolbar->exportButton()->isEnabled());
    EXPECT_TRUE(toolbar->addButton()->isEnabled());
    exporter.cancel();
    EXPECT_TRUE(toolbar->exportButton()->isEnabled());
}

TEST_F(ToolbarTest, ButtonsActOnTheProject) {
    addPhotos({"b.jpg", "a.jpg"});
    QSignalSpy undone(&stack(), &QUndoStack::indexChanged);
    QTest::mouseClick(toolbar->undoButton(), Qt::LeftButton);
    EXPECT_TRUE(project->clips().empty());
    QTest::mouseClick(toolbar->redoButton(), Qt::LeftButton);
    EXPECT_EQ(names(), (std::vector<QString>{"b.jpg", "a.jpg"}));

    menuItem(toolbar->sortButton(), "File Name")->trigger();
    EXPECT_EQ(names(), (std::vector<QString>{"a.jpg", "b.jpg"}));
    menuItem(toolbar->sortButton(), "Order Added")->trigger();
    EXPECT_EQ(names(), (std::vector<QString>{"b.jpg", "a.jpg"}));

    menuItem(toolbar->addButton(), "Add from Photos…")->trigger();
    EXPECT_TRUE(project->showPhotosPicker());
    QTest::mouseClick(toolbar->exportButton(), Qt::LeftButton);
    EXPECT_TRUE(project->showExport());

    // Left to right: undo and redo apart on the leading side, the rest together at the end.
    const std::vector<QToolButton*> order{toolbar->undoButton(),     toolbar->redoButton(),
                                          toolbar->addButton(),      toolbar->sortButton(),
                                          toolbar->frameButton(),    toolbar->exportButton(),
                                          toolbar->inspectorButton()};
    for (std::size_t i = 1; i < order.size(); ++i)
        EXPECT_LT(order[i - 1]->geometry().right(), order[i]->geometry().left());
    EXPECT_GT(toolbar->addButton()->x() - toolbar->redoButton()->geometry().right(), 200);
    for (QToolButton* button : order)
        EXPECT_FALSE(button->accessibleName().isEmpty());
    EXPECT_EQ(toolbar->exportButton()->toolTip(), "Export…");
}

TEST_F(ToolbarTest, InspectorButtonIsOnOnlyWithClipsAndLeavesTheFlagToTheWindow) {
    QToolButton* inspector = toolbar->inspectorButton();
    toolbar->setInspectorShown(true);
    EXPECT_FALSE(inspector->isChecked()); // no clips, no column

    addPhotos({"one.jpg"});
    EXPECT_TRUE(inspector->isChecked());

    QSignalSpy toggled(toolbar.get(), &WindowToolbar::inspectorToggled);
    QTest::mouseClick(inspector, Qt::LeftButton);
    EXPECT_EQ(toggled.count(), 1);
    EXPECT_TRUE(inspector->isChecked()); // until the window answers
    toolbar->setInspectorShown(false);
    EXPECT_FALSE(inspector->isChecked());
    toolbar->setInspectorShown(true);

    project->remove({idOf("one.jpg")});
    EXPECT_FALSE(inspector->isEnabled());
    EXPECT_FALSE(inspector->isChecked());
    EXPECT_TRUE(toolbar->inspectorShown());
}

TEST_F(ToolbarTest, FrameMenuMirrorsTheInspectorPickers) {
    addPhotos({"one.jpg"});
    QToolButton* frame = toolbar->frameButton();
    EXPECT_EQ(frame->text(), "Auto · Fit");

    QStringList items;
    for (QAction* action : frame->menu()->actions())
        items << action->text();
    EXPECT_EQ(items,
              QStringList({"Shape", "Auto", "16:9", "9:16", "1:1", "4:5", "Scale", "Fit", "Fill"}));

    const qint64 landscapeIcon = frame->icon().cacheKey();
    menuItem(frame, "4:5")->trigger();
    EXPECT_EQ(stack().undoText(), "Change Shape");
    menuItem(frame, "Fill")->trigger();
    EXPECT_EQ(stack().undoText(), "Change Fill");
    EXPECT_EQ(project->layout(), (Layout{FrameShape::portrait, FillMode::fill}));
    EXPECT_EQ(frame->text(), "4:5 · Fill");
    EXPECT_NE(frame->icon().cacheKey(), landscapeIcon);
    EXPECT_TRUE(menuItem(frame, "4:5")->isChecked());

    // Choosing what is already chosen makes no step.
    const int steps = stack().count();
    menuItem(frame, "Fill")->trigger();
    EXPECT_EQ(stack().count(), steps);

    stack().undo();
    stack().undo();
    EXPECT_EQ(frame->text(), "Auto · Fit");
    EXPECT_TRUE(menuItem(frame, "Auto")->isChecked());
    EXPECT_TRUE(menuItem(frame, "Fit")->isChecked());
    EXPECT_EQ(WindowToolbar::frameTitle({FrameShape::tall, FillMode::fill}), "9:16 · Fill");
}

// The flat look, read back from the pixels a real button paints.
class FlatStyleTest : public ::testing::Test {
protected:
    FlatButtonStyle style;
    QPalette palette{QColor(0xf0, 0xf0, 0xf0), QColor(0xf0, 0xf0, 0xf0)};
    QToolButton button;

    void SetUp() override {
        palette.setColor(QPalette::WindowText, QColor(0x20, 0x20, 0x20));
        palette.setColor(QPalette::Window, QColor(0xf0, 0xf0, 0xf0));
        button.setStyle(&style);
        button.setPalette(palette);
        button.setText("Sort");
        button.setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button.setCheckable(true);
        button.resize(button.sizeHint());
    }

    // The colour behind the label, at the middle of the button's top edge.
    QColor fill() {
        QImage image(button.size(), QImage::Format_ARGB32);
        image.fill(palette.color(QPalette::Window));
        button.render(&image, {}, {}, QWidget::DrawChildren);
        return image.pixelColor(button.width() / 2, 3);
    }

    QColor expected(double opacity) const {
        const QColor under = palette.color(QPalette::Window);
        const QColor over = palette.color(QPalette::WindowText);
        auto mix = [&](int a, int b) {
            return static_cast<int>(std::lround(a + (b - a) * opacity));
        };
        return {mix(under.red(), over.red()), mix(under.green(), over.green()),
                mix(under.blue(), over.blue())};
    }

    static bool near(const QColor& a, const QColor& b) {
        return std::abs(a.red() - b.red()) <= 2 && std::abs(a.green() - b.green()) <= 2 &&
               std::abs(a.blue() - b.blue()) <= 2;
    }
};

TEST_F(FlatStyleTest, FillsForEachState) {
    EXPECT_TRUE(near(fill(), expected(0)));
    button.setAttribute(Qt::WA_UnderMouse, true);
    EXPECT_TRUE(near(fill(), expected(0.07))) << fill().name().toStdString();
    button.setDown(true);
    EXPECT_TRUE(near(fill(), expected(0.12))) << fill().name().toStdString();
    button.setDown(false);
    button.setAttribute(Qt::WA_UnderMouse, false);
    button.setChecked(true);
    EXPECT_TRUE(near(fill(), expected(0.12))) << fill().name().toStdString();

    // Disabled: no background, whatever else holds.
    button.setEnabled(false);
    EXPECT_TRUE(near(fill(), expected(0)));
    button.setAttribute(Qt::WA_UnderMouse, true);
    button.setDown(true);
    EXPECT_TRUE(near(fill(), expected(0))) << fill().name().toStdString();
}

TEST_F(FlatStyleTest, ButtonSizes) {
    EXPECT_EQ(button.sizeHint().height(), FlatButtonStyle::buttonHeight);
    QFont medium = button.font();
    medium.setWeight(QFont::Medium);
    EXPECT_EQ(button.sizeHint().width(),
              QFontMetrics(medium).horizontalAdvance("Sort") + 2 * FlatButtonStyle::titledPadding);
    button.setIcon(QIcon(":/icons/sort.svg"));
    const int withIcon = button.sizeHint().width();
    EXPECT_GT(withIcon, QFontMetrics(medium).horizontalAdvance("Sort") +
                            2 * FlatButtonStyle::titledPadding + FlatButtonStyle::titledIconSize);
    button.setToolButtonStyle(Qt::ToolButtonIconOnly);
    EXPECT_EQ(button.sizeHint(),
              QSize(FlatButtonStyle::iconOnlyWidth, FlatButtonStyle::buttonHeight));
}

} // namespace
} // namespace vimbo::test
