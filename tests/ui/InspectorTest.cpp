// The inspector as a person uses it: what it shows for the selection, and what each control
// does to the project and its undo history.
#include "tests/support/Program.h"
#include "tests/ui/ViewFixture.h"
#include "ui/InspectorView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <QLabel>
#include <QSlider>
#include <QTest>

#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

class InspectorTest : public ::testing::Test {
protected:
    Views views;
    std::unique_ptr<ui::InspectorView> inspector;

    void show(const std::vector<ClipSpec>& clips) {
        views.open(clips);
        ASSERT_TRUE(views.read());
        inspector = std::make_unique<ui::InspectorView>(views.project());
        inspector->resize(300, 600);
        inspector->show();
        settle();
    }
    // One event-loop turn: what happened so far is one undo step, the view is up to date.
    static void settle() { QCoreApplication::processEvents(); }
    void select(const std::vector<QString>& names) {
        views.project().clearSelection();
        for (const QString& name : names)
            views.project().click(views.id(name), Qt::ControlModifier);
        settle();
    }
    template <typename T = QWidget>
    T* find(const QString& name) {
        return control<T>(inspector.get(), name);
    }
    QString text(const QString& name) { return find<QLabel>(name)->text(); }
    // The headline (in bold) and the titles of the sections, as shown.
    QStringList titles() {
        QStringList t;
        for (QLabel* label : inspector->findChildren<QLabel*>())
            if (label->isVisibleTo(inspector.get()) && label->font().bold())
                t << label->text();
        for (QGroupBox* box : inspector->findChildren<QGroupBox*>())
            if (box->isVisibleTo(inspector.get()) && !box->title().isEmpty())
                t << box->title();
        return t;
    }
    const ClipEdits& edits(const QString& name) {
        const std::vector<Clip>& clips = views.project().clips();
        return std::ranges::find_if(clips, [&](const Clip& c) { return c.url.fileName() == name; })
            ->edits;
    }
};

TEST_F(InspectorTest, TrimSlidersKeepTheirRangesAndADragIsOneTrimStep) {
    show({{movie(views.files(), "beach.mp4")},
          {movie(views.files(), "cut.mp4"), {.trimEnd = 9.95}}});
    select({"cut.mp4"});
    QTest::keyClick(find<QSlider>("Start"), Qt::Key_End);
    EXPECT_EQ(text("Start time"), QStringLiteral("0:00.1")) << "the start may still move 0.1 s";
    EXPECT_DOUBLE_EQ(edits("cut.mp4").trimStart, 0.1);
    EXPECT_EQ(text("End time"), QStringLiteral("0:00.1"));

    select({"beach.mp4"});
    auto* start = find<QSlider>("Start");
    const int steps = views.undo().count();
    start->setSliderDown(true); // what pressing the handle does
    for (int ms = 500; ms <= 5000; ms += 500) {
        start->setSliderPosition(ms);
        settle();
    }
    EXPECT_EQ(text("Start time"), QStringLiteral("0:05.0")) << "follows the drag";
    start->setSliderDown(false);
    settle();
    EXPECT_EQ(views.undo().count(), steps + 1);
    EXPECT_EQ(views.undo().undoText(), QStringLiteral("Trim"));
    EXPECT_DOUBLE_EQ(edits("beach.mp4").trimStart, 5);

    // The end cannot come within 0.1 s of the start.
    QTest::keyClick(find<QSlider>("End"), Qt::Key_Home);
    EXPECT_EQ(text("End time"), QStringLiteral("0:05.1"));
    EXPECT_NEAR(edits("beach.mp4").trimEnd, 4.9, 1e-9);
    QTest::keyClick(find<QSlider>("Start"), Qt::Key_End);
    EXPECT_EQ(text("Start time"), QStringLiteral("0:05.0")) << "0.1 s before the end";
    settle();
    views.undo().undo();
    views.undo().undo();
    EXPECT_EQ(edits("beach.mp4"), ClipEdits());
    EXPECT_EQ(text("Start time"), QStringLiteral("0:00.0"));
}

TEST_F(InspectorTest, SectionsFollowTheSelectionAndEditEveryChosenClip) {
    const QString f = views.files();
    show({{movie(f, "a.mp4")},
          {movie(f, "b.mp4"), {.muted = true}},
          {picture(f, "p.jpg")},
          {f + QStringLiteral("/gone.mp4")}});
    select({"a.mp4"});
    EXPECT_EQ(titles(), QStringList{"a.mp4"}) << "a lone section has no title";
    EXPECT_EQ(text("Details"), QStringLiteral("320 × 180 · 0:10 · 30 fps"));
    select({"a.mp4", "p.jpg"});
    EXPECT_EQ(titles(), (QStringList{"2 Clips", "Videos", "Photos"}));
    EXPECT_NE(find<QSlider>("Start"), nullptr) << "one video among the clips";
    select({"gone.mp4"});
    EXPECT_EQ(find<QComboBox>("Speed"), nullptr) << "a missing file has nothing to edit";

    // Speed over two videos: the first one's value, one step for both.
    select({"a.mp4", "b.mp4"});
    auto* speed = find<QComboBox>("Speed");
    EXPECT_EQ(find<QSlider>("Start"), nullptr) << "trim is for one video";
    EXPECT_EQ(speed->currentText(), QStringLiteral("1×"));
    const int steps = views.undo().count();
    speed->setCurrentIndex(speed->findText(QStringLiteral("2×")));
    emit speed->activated(speed->currentIndex()); // as choosing it from the list does
    settle();
    EXPECT_EQ(edits("a.mp4").speed, 2);
    EXPECT_EQ(edits("b.mp4").speed, 2);
    EXPECT_EQ(views.undo().count(), steps + 1);
    EXPECT_EQ(views.undo().undoText(), QStringLiteral("Change Speed"));

    // Mute shows a mixed state; a click mutes both as one step.
    auto* mute = find<QCheckBox>("Mute");
    EXPECT_EQ(mute->checkState(), Qt::PartiallyChecked);
    mute->click();
    settle();
    EXPECT_TRUE(edits("a.mp4").muted && edits("b.mp4").muted);
    EXPECT_EQ(views.undo().count(), steps + 2);
}

// The duration stepper climbs a ladder of round values, for every selected photo.
TEST_F(InspectorTest, PhotoDurationStepsAlongTheLadder) {
    show({{picture(views.files(), "p.jpg")}, {picture(views.files(), "q.jpg")}});
    select({"p.jpg", "q.jpg"});
    auto* duration = find<QDoubleSpinBox>("Duration");
    EXPECT_EQ(duration->text(), QStringLiteral("3 s"));
    QTest::keyClick(duration, Qt::Key_Up);
    settle();
    EXPECT_EQ(duration->text(), QStringLiteral("3.5 s"));
    EXPECT_EQ(edits("q.jpg").photoDuration, 3.5);
    EXPECT_EQ(views.undo().undoText(), QStringLiteral("Change Duration"));
    QTest::keyClick(duration, Qt::Key_Down);
    QTest::keyClick(duration, Qt::Key_Down);
    EXPECT_EQ(edits("p.jpg").photoDuration, 2.5);
    // From, a step up, a step down; beyond the ladder a typed value never steps the wrong way.
    const std::tuple<double, double, double> steps[] = {
        {10, 15, 9}, {12, 15, 10}, {60, 60, 55}, {0.7, 1, 0.5}, {90, 90, 60}, {0.3, 0.5, 0.3}};
    for (const auto& [from, up, down] : steps) {
        EXPECT_EQ(ui::InspectorView::stepDuration(1, from), up) << from;
        EXPECT_EQ(ui::InspectorView::stepDuration(-1, from), down) << from;
    }
}

} // namespace
} // namespace vimbo::test
