#include "model/NaturalOrder.h"
#include "model/UndoNames.h"
#include "tests/model/ProjectFixture.h"

namespace vimbo::test {
namespace {

using Names = std::vector<QString>;

TEST_F(ProjectTest, AddExpandsFoldersNaturallyAndSelectsTheNewClips) {
    for (const char* name : {"b10.jpg", "b2.jpg", "a.mov", ".c.jpg", "notes.txt", "clip.mkv",
                             "sub/z.jpg", ".hidden/y.jpg", "raw.SRW", "song.m4a"})
        file(QString::fromLatin1(name));
    project->add({QUrl::fromLocalFile(files)});
    EXPECT_EQ(names(), (Names{"a.mov", "b2.jpg", "b10.jpg", "clip.mkv", "raw.SRW", "z.jpg"}));

    std::int64_t added = 0;
    QSet<QUuid> ids;
    for (const Clip& c : project->clips()) {
        EXPECT_EQ(c.added, added++);
        EXPECT_TRUE(c.bookmark);
        EXPECT_FALSE(c.imported);
        EXPECT_EQ(c.edits, ClipEdits{});
        ids.insert(c.id);
    }
    EXPECT_EQ(project->selection(), ids);
    EXPECT_EQ(project->nextAdded(), 6);
    EXPECT_EQ(stack().count(), 1);
    EXPECT_EQ(stack().undoText(), QStringLiteral("Add Clips"));

    // The refused container arrives and is then probed as unsupported.
    ASSERT_TRUE(probed(6));
    EXPECT_EQ(project->info()[idOf("clip.mkv")].kind, MediaKind::unsupported);

    // Shift-click extends from the anchor, which add left on the last new clip.
    project->click(idOf("b2.jpg"), Qt::ShiftModifier);
    EXPECT_EQ(project->selection(), (QSet<QUuid>{idOf("b2.jpg"), idOf("b10.jpg"), idOf("clip.mkv"),
                                                 idOf("raw.SRW"), idOf("z.jpg")}));
}

TEST_F(ProjectTest, NumberingOnlyGrowsNothingIsDeduplicatedAndNothingUsableAddsNothing) {
    QDir().mkpath(root + "/empty");
    file("text/readme.txt");
    project->add({QUrl::fromLocalFile(root + "/empty"), QUrl::fromLocalFile(files + "/text"),
                  QUrl::fromLocalFile(root + "/gone.mov"), file("notes.txt")});
    EXPECT_TRUE(project->clips().empty());
    EXPECT_EQ(stack().count(), 0);
    EXPECT_EQ(project->nextAdded(), 0);

    const QUrl a = file("a.jpg");
    project->add({a});
    project->add({a});
    ASSERT_EQ(project->clips().size(), 2u);
    EXPECT_NE(project->clips()[0].id, project->clips()[1].id);
    project->startOver();
    EXPECT_TRUE(project->clips().empty());
    EXPECT_TRUE(project->selection().isEmpty());
    project->add({a});
    EXPECT_EQ(project->clips()[0].added, 2);

    // addImported takes the files as they are and keeps the anchor where it was.
    project->click(project->clips()[0].id, {});
    project->addImported({file("i1.heic"), file("i2.mov")});
    ASSERT_EQ(project->clips().size(), 3u);
    EXPECT_TRUE(project->clips()[1].imported);
    EXPECT_FALSE(project->clips()[1].bookmark);
    project->click(project->clips()[2].id, Qt::ShiftModifier);
    EXPECT_EQ(project->selection().size(), 3);
}

TEST_F(ProjectTest, MoveTakesTheTargetsPlace) {
    project->add({file("A.jpg"), file("B.jpg"), file("C.jpg"), file("D.jpg")});
    const QUuid A = idOf("A.jpg"), B = idOf("B.jpg"), C = idOf("C.jpg"), D = idOf("D.jpg");
    project->move(A, C);
    EXPECT_EQ(names(), (Names{"B.jpg", "C.jpg", "A.jpg", "D.jpg"}));
    project->move(A, B);
    EXPECT_EQ(names(), (Names{"A.jpg", "B.jpg", "C.jpg", "D.jpg"}));
    project->move(D, B);
    EXPECT_EQ(names(), (Names{"A.jpg", "D.jpg", "B.jpg", "C.jpg"}));
    const int steps = stack().count();
    project->move(A, A);
    project->move(A, QUuid::createUuid());
    EXPECT_EQ(names(), (Names{"A.jpg", "D.jpg", "B.jpg", "C.jpg"}));
    EXPECT_EQ(stack().count(), steps); // moves alone never make steps
}

TEST_F(ProjectTest, ClickWithModifiers) {
    project->addImported({file("A.jpg"), file("B.jpg"), file("C.jpg"), file("D.jpg")});
    const QUuid A = idOf("A.jpg"), B = idOf("B.jpg"), C = idOf("C.jpg"), D = idOf("D.jpg");

    project->click(A, {});
    project->click(D, Qt::ShiftModifier);
    EXPECT_EQ(project->selection(), (QSet<QUuid>{A, B, C, D}));
    project->click(B, Qt::ShiftModifier);
    EXPECT_EQ(project->selection(), (QSet<QUuid>{A, B}));
    project->click(C, Qt::ControlModifier);
    EXPECT_EQ(project->selection(), (QSet<QUuid>{A, B, C}));
    project->click(D, Qt::ShiftModifier); // the anchor moved to C
    EXPECT_EQ(project->selection(), (QSet<QUuid>{C, D}));
    project->click(D, Qt::ControlModifier | Qt::ShiftModifier); // Ctrl wins
    EXPECT_EQ(project->selection(), (QSet<QUuid>{C}));

    project->remove({D}); // the anchor D is gone: shift-click acts as a plain click
    project->click(B, Qt::ShiftModifier);
    EXPECT_EQ(project->selection(), (QSet<QUuid>{B}));
    project->selectAll();
    EXPECT_EQ(project->selectedClips().size(), 3u);
    EXPECT_EQ(project->selectedClips()[0].id, A);
}

TEST_F(ProjectTest, SortOrdersAreStableAndMakeStepsOnlyWhenTheyMoveSomething) {
    auto dated = [&](const QString& name, const char* date) {
        const QUrl url = photo(name);
        if (date)
            run("exiftool", {"-q", "-overwrite_original",
                             QStringLiteral("-DateTimeOriginal=%1").arg(date), url.toLocalFile()});
        return url;
    };
    project->add({dated("clip10.jpg", "2021:01:01 10:00:00"), dated("clip2.jpg", nullptr),
                  dated("Clip1.jpg", "2020:01:01 10:00:00"),
                  dated("clip2b.jpg", "2020:01:01 10:00:00")});
    ASSERT_TRUE(probed(4));
    nextTurn();

    project->sort(SortOrder::fileName);
    EXPECT_EQ(names(), (Names{"Clip1.jpg", "clip2.jpg", "clip2b.jpg", "clip10.jpg"}));
    nextTurn();
    project->sort(SortOrder::dateTaken); // same dates keep the order they were added in
    EXPECT_EQ(names(), (Names{"Clip1.jpg", "clip2b.jpg", "clip10.jpg", "clip2.jpg"}));
    nextTurn();
    const int steps = stack().count();
    project->sort(SortOrder::dateTaken);
    nextTurn();
    EXPECT_EQ(stack().count(), steps);
    project->sort(SortOrder::orderAdded);
    EXPECT_EQ(names(), (Names{"clip10.jpg", "clip2.jpg", "Clip1.jpg", "clip2b.jpg"}));
    EXPECT_EQ(stack().undoText(), QStringLiteral("Sort"));
}

TEST_F(ProjectTest, EditsDurationAndUsableSkipUnprobedMissingAndUnsupported) {
    const QString jpg =
        generated("still.jpg", {"-f", "lavfi", "-i", "color=red:s=64x48", "-frames:v", "1"});
    const QString mp4 =
        generated("two-seconds.mp4",
                  {"-f", "lavfi", "-i", "testsrc=s=160x120:r=25:d=2", "-pix_fmt", "yuv420p"});
    project->add({QUrl::fromLocalFile(jpg), QUrl::fromLocalFile(mp4), file("bad.mov")});
    EXPECT_EQ(project->duration(), 0);
    ASSERT_TRUE(probed(3));
    EXPECT_EQ(project->info()[idOf("bad.mov")].kind, MediaKind::unsupported);
    const auto usable = project->usable();
    ASSERT_EQ(usable.size(), 2u);
    EXPECT_EQ(usable[0].first, idOf("still.jpg"));
    EXPECT_EQ(usable[1].second.info.kind, MediaKind::video);
    EXPECT_NEAR(project->duration(), 3 + 2, 0.05);

    project->addImported({file("unprobed.jpg")}); // never probed before the edits below run
    project->selectAll();
    project->rotateSelection(-1);
    EXPECT_EQ(project->clips()[0].edits.quarterTurns, 3);
    EXPECT_EQ(project->clips()[3].edits.quarterTurns, 0);
    nextTurn();
    project->rotateSelection(+1);
    EXPECT_EQ(project->clips()[0].edits.quarterTurns, 0);
    nextTurn();
    EXPECT_EQ(stack().undoText(), QStringLiteral("Rotate"));

    const MediaInfo* seen = nullptr;
    project->edit(UndoName::changeDuration, QSet<QUuid>{project->clips()[0].id},
                  [&](ClipEdits& e, const MediaInfo& info) {
                      e.photoDuration = 0;
                      seen = &info;
                  });
    ASSERT_TRUE(seen);
    EXPECT_EQ(seen->kind, MediaKind::photo);
    EXPECT_NEAR(project->duration(), 0.1 + 2, 0.05);
}

} // namespace
} // namespace vimbo::test

namespace vimbo {
namespace {

TEST(NaturalOrder, NumbersByValueTextCaseInsensitive) {
    const std::tuple<const char*, const char*, int> cases[] = {
        {"clip2.mov", "clip10.mov", -1},
        {"IMG_0099.JPG", "img_100.jpg", -1},
        {"a", "A", 0},
        {"x007", "x7", 0},
        {"v99999999999999999999", "v100000000000000000000", -1},
        {"clip2.jpg", "clip2b.jpg", -1},
        {"b", "a10", 1},
        {"photo", "photo 2", -1},
        {"/t/sub/z.jpg", "/t/b10.jpg", 1},
    };
    for (const auto& [a, b, expected] : cases) {
        EXPECT_EQ(naturalCompare(a, b), expected) << a << " vs " << b;
        EXPECT_EQ(naturalCompare(b, a), -expected) << b << " vs " << a;
    }
}

} // namespace
} // namespace vimbo
