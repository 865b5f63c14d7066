#include "model/Bookmark.h"
#include "model/PickedFile.h"
#include "model/UndoNames.h"
#include "tests/model/ProjectFixture.h"

#include <QAction>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSignalSpy>

#include <chrono>

namespace vimbo::test {
namespace {

using Names = std::vector<QString>;

TEST_F(ProjectTest, UndoAndRedoRestoreWholeStatesWithTheirNames) {
    QSignalSpy canUndo(project.get(), &Project::canUndoChanged);
    project->add({photo("a.jpg"), photo("b.jpg")});
    const std::vector<Clip> added = project->clips();
    EXPECT_TRUE(project->canUndo());
    EXPECT_EQ(canUndo.count(), 1);
    ASSERT_TRUE(probed(2));

    stack().undo();
    EXPECT_TRUE(project->clips().empty());
    EXPECT_TRUE(project->selection().isEmpty());
    EXPECT_TRUE(project->canRedo());
    EXPECT_EQ(stack().redoText(), QStringLiteral("Add Clips"));
    stack().redo();
    EXPECT_EQ(project->clips(), added);
    EXPECT_EQ(project->usable().size(), 2u);     // probed facts were never dropped
    EXPECT_TRUE(project->selection().isEmpty()); // undo never brings a selection back

    nextTurn();
    project->click(added[0].id, {});
    project->remove({added[0].id});
    nextTurn();
    EXPECT_EQ(stack().undoText(), QStringLiteral("Remove"));
    stack().undo();
    EXPECT_EQ(project->clips(), added);
    EXPECT_FALSE(project->selection().contains(added[0].id));

    // Start Over comes back, but the numbering does not roll back.
    nextTurn();
    project->setLayout({FrameShape::tall, FillMode::fill}, UndoName::changeShape);
    nextTurn();
    project->startOver();
    nextTurn();
    stack().undo();
    EXPECT_EQ(project->clips(), added);
    EXPECT_EQ(project->layout(), (Layout{FrameShape::tall, FillMode::fill}));
    project->add({file("c.jpg")});
    EXPECT_EQ(project->clips().back().added, 2);
}

TEST_F(ProjectTest, OneStepPerEventLoopTurnAndPerGesture) {
    project->addImported({file("a.jpg"), file("b.jpg"), file("c.jpg")});
    ASSERT_TRUE(probed(3));
    nextTurn();
    const std::vector<Clip> start = project->clips();
    const int steps = stack().count();

    // Changes within one turn make one step, and the Edit menu's item shows the last one's name.
    const std::unique_ptr<QAction> undoItem(stack().createUndoAction(nullptr));
    project->edit(UndoName::changeSpeed, QSet<QUuid>{start[0].id},
                  [](ClipEdits& e, const MediaInfo&) { e.speed = 2; });
    for (const Clip& c : start)
        project->edit(UndoName::mute, QSet<QUuid>{c.id},
                      [](ClipEdits& e, const MediaInfo&) { e.muted = true; });
    EXPECT_EQ(undoItem->text(), QStringLiteral("Undo Mute"));
    nextTurn();
    EXPECT_EQ(stack().count(), steps + 1);
    stack().undo();
    EXPECT_EQ(project->clips(), start);
    stack().redo();
    // Changes that cancel out within a turn leave no step.
    nextTurn();
    for (const bool muted : {false, true})
        project->edit(UndoName::mute, QSet<QUuid>{start[0].id},
                      [muted](ClipEdits& e, const MediaInfo&) { e.muted = muted; });
    nextTurn();
    EXPECT_EQ(stack().count(), steps + 1);
    EXPECT_EQ(undoItem->text(), QStringLiteral("Undo Mute"));

    // A drag through ten values is one step that goes back to the value before the drag.
    const std::vector<Clip> beforeTrim = project->clips();
    project->beginGesture();
    for (int i = 1; i <= 10; ++i) {
        project->edit(nullptr, QSet<QUuid>{start[0].id},
                      [i](ClipEdits& e, const MediaInfo&) { e.trimStart = i * 0.1; });
        nextTurn();
        project->beginGesture(); // a nested begin keeps the earliest state
    }
    project->endGesture(UndoName::trim);
    // A gesture ended twice (a release after a cancel) neither renames its step nor adds one.
    project->endGesture(UndoName::moveClip);
    nextTurn();
    project->endGesture(UndoName::moveClip);
    nextTurn();
    EXPECT_EQ(stack().undoText(), QStringLiteral("Trim"));
    EXPECT_EQ(stack().count(), steps + 2);
    stack().undo();
    EXPECT_EQ(project->clips(), beforeTrim);

    // A gesture or named change that changes nothing makes no step.
    const int count = stack().count();
    project->beginGesture();
    project->endGesture(UndoName::moveClip);
    project->sort(SortOrder::orderAdded);
    project->setLayout(project->layout(), UndoName::changeFill);
    EXPECT_EQ(stack().count(), count);
}

TEST_F(ProjectTest, WithoutAStackChangesStandAndAReplacedStackStartsFresh) {
    project->add({file("a.jpg")});
    nextTurn();
    ASSERT_TRUE(project->canUndo());

    QUndoStack other;
    project->observeUndo(&other);
    EXPECT_FALSE(project->canUndo());
    project->add({file("b.jpg")});
    nextTurn();
    EXPECT_TRUE(project->canUndo());
    other.undo();
    EXPECT_EQ(project->clips().size(), 1u);

    project->observeUndo(nullptr);
    EXPECT_FALSE(project->canUndo());
    EXPECT_FALSE(project->canRedo());
    project->add({file("c.jpg")});
    EXPECT_EQ(project->clips().size(), 2u);
    EXPECT_EQ(stack().count(), 1);
}

TEST_F(ProjectTest, AutosaveWaitsForAPauseAndRestoreBringsTheProjectBack) {
    const QString session = store.sessionFile();
    project->setAutosaveDelay(std::chrono::milliseconds(200));
    project->add({file("a.jpg")});
    // Changes closer together than the delay keep postponing the save.
    QElapsedTimer burst;
    burst.start();
    for (int i = 0; burst.elapsed() < 500; ++i) {
        project->setLayout({i % 2 ? FrameShape::wide : FrameShape::tall, FillMode::fit},
                           UndoName::changeShape);
        waitUntil([] { return false; }, 10);
        ASSERT_FALSE(QFileInfo::exists(session)) << "saved during the burst, change " << i;
    }
    ASSERT_TRUE(waitUntil([&] { return QFileInfo::exists(session); }, 5000));

    // A change just before quitting is kept by the final save.
    project->addImported({PickedFile::keeping(file("picked.heic"), store)->url});
    project->saveNow();
    const Saved expected{project->clips(), project->layout(), project->nextAdded()};
    const QDateTime written = QFileInfo(session).lastModified();

    open();
    project->setAutosaveDelay(std::chrono::milliseconds(0)); // a pending save would run now
    EXPECT_EQ(project->clips(), expected.clips);
    EXPECT_EQ(project->layout(), expected.layout);
    EXPECT_EQ(project->nextAdded(), 2);
    EXPECT_FALSE(project->canUndo());
    ASSERT_TRUE(probed(2));
    nextTurn();
    project.reset();                                       // waits for any write
    EXPECT_EQ(QFileInfo(session).lastModified(), written); // restoring writes nothing

    QFile file(session);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_TRUE(text.startsWith("{\"clips\":[{")) << text.data();
    EXPECT_TRUE(text.contains("\"url\":\"file:\\/\\/")) << text.data();
}

TEST_F(ProjectTest, RestoreFindsMovedFilesAndImportedCopiesAndCleansTheStore) {
    const QUrl moved = photo("trip/day1.jpg");
    const QUrl gone = file("trip/gone.jpg");
    const QUrl elsewhere = photo("trip/day2.jpg");
    project->add({moved, gone, elsewhere});
    const QUrl copy = PickedFile::keeping(file("IMG_1.heic"), store)->url;
    project->addImported({copy});
    const QUuid keptImport = project->clips().back().id;
    project->saveNow();

    QDir().rename(moved.toLocalFile(), files + "/trip/renamed.jpg");
    QDir().mkpath(files + "/later");
    QDir().rename(elsewhere.toLocalFile(), files + "/later/day2.jpg");
    QFile::remove(gone.toLocalFile());
    touch(store.importsFolder() + "/stray/old.jpg");
    touch(store.importsFolder() + "/loose.txt");

    // The data folder moved: the imported copy is looked up under the new one.
    const QString newRoot = scratchFolder() + "/Vimbo";
    QDir().rename(store.folder(), newRoot);
    store = SessionStore(newRoot);
    open();

    // Moved files are found in the background; their clips change place and are read there.
    ASSERT_EQ(project->clips().size(), 4u);
    const auto& clips = project->clips();
    const auto kind = [&](int i) { return project->info().value(clips[i].id).kind; };
    EXPECT_TRUE(waitUntil([&] {
        return clips[0].url.fileName() == "renamed.jpg" && kind(0) == MediaKind::photo &&
               clips[2].url.toLocalFile() == files + "/later/day2.jpg" &&
               kind(2) == MediaKind::photo;
    }));
    EXPECT_EQ(*clips[0].bookmark, *Bookmark::make(clips[0].url));
    EXPECT_EQ(clips[1].url, gone);
    EXPECT_EQ(clips[3].id, keptImport);
    EXPECT_TRUE(clips[3].url.toLocalFile().startsWith(newRoot + "/Imports/"));
    EXPECT_TRUE(QFileInfo::exists(clips[3].url.toLocalFile()));
    EXPECT_EQ(QDir(store.importsFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{QFileInfo(QFileInfo(copy.toLocalFile()).path()).fileName()});
    ASSERT_TRUE(probed(4));
    EXPECT_EQ(kind(1), MediaKind::missing);
}

TEST_F(ProjectTest, ADamagedSessionGivesAnEmptyProjectAndEmptiesTheImportStore) {
    project->add({file("a.jpg")});
    project->setLayout({FrameShape::square, FillMode::fill}, UndoName::changeShape);
    project->saveNow();
    QFile saved(store.sessionFile());
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    const QByteArray good = saved.readAll();
    saved.close();

    std::vector<QByteArray> damaged;
    for (int cut = 0; cut < good.size(); cut += 11)
        damaged.push_back(good.left(cut));
    for (const char* bad :
         {"null", "[]", "{}", "not json", "{\"clips\":[],\"layout\":{\"shape\":\"auto\"}}",
          "{\"clips\":[],\"layout\":{\"shape\":\"auto\",\"fill\":\"fit\"}}",
          "{\"clips\":{},\"layout\":{\"shape\":\"auto\",\"fill\":\"fit\"},\"nextAdded\":0}",
          "{\"clips\":[],\"layout\":{\"shape\":\"Auto\",\"fill\":\"fit\"},\"nextAdded\":0}",
          "{\"clips\":[],\"layout\":{\"shape\":\"auto\",\"fill\":\"fit\"},\"nextAdded\":\"0\"}",
          "{\"clips\":[1],\"layout\":{\"shape\":\"auto\",\"fill\":\"fit\"},\"nextAdded\":0}"})
        damaged.emplace_back(bad);
    // A clip with a field missing, of the wrong type or in the wrong form spoils the whole file.
    const std::pair<const char*, const char*> spoiled[] = {
        {R"x("muted":false)x", R"x("muted":0)x"},
        {R"x("imported":false,)x", ""},
        {R"x("photoDuration":[^,]+,)x", ""},
        {R"x("speed":([0-9.]+))x", R"x("speed":"\1")x"},
        {R"x("quarterTurns":0)x", R"x("quarterTurns":0.5)x"},
        {R"x("added":0)x", R"x("added":0.5)x"},
        {R"x("id":"([^"]+)")x", R"x("id":"{\1}")x"},
        {R"x("bookmark":"[^"]*")x", R"x("bookmark":"***")x"},
        {R"x("url":"[^"]*")x", R"x("url":5)x"},
    };
    for (const auto& [pattern, replacement] : spoiled) {
        const QString text = QString::fromUtf8(good);
        const QString bad = QString(text).replace(QRegularExpression(pattern), replacement);
        ASSERT_NE(bad, text) << pattern;
        damaged.push_back(bad.toUtf8());
    }

    for (const QByteArray& bytes : damaged) {
        touch(store.sessionFile(), bytes);
        touch(store.importsFolder() + "/ABC/x.jpg");
        open();
        EXPECT_TRUE(project->clips().empty()) << bytes.data();
        EXPECT_EQ(project->layout(), Layout{});
        EXPECT_EQ(project->nextAdded(), 0);
        EXPECT_TRUE(QDir(store.importsFolder()).isEmpty());
    }

    // The bad file stays until the first change is saved over it.
    open();
    project->add({file("b.jpg")});
    project->saveNow();
    open();
    EXPECT_EQ(project->clips().size(), 1u);
}

TEST_F(ProjectTest, ImportingCopiesEachPickInOrderAndSkipsFailures) {
    const QUrl first = file("one/IMG_0001.JPG");
    const QUrl second = file("two/IMG_0001.JPG");
    const QUrl video = file("clip.mov");
    project->importFromPhotos({first, QUrl::fromLocalFile(root + "/vanished.jpg"), second, video});
    ASSERT_TRUE(waitUntil([&] { return project->clips().size() == 3; }));
    EXPECT_EQ(names(), (Names{"IMG_0001.JPG", "IMG_0001.JPG", "clip.mov"}));
    EXPECT_EQ(stack().count(), 1);
    QSet<QString> folders;
    for (const Clip& c : project->clips()) {
        EXPECT_TRUE(c.imported);
        EXPECT_TRUE(c.url.toLocalFile().startsWith(store.importsFolder()));
        const QString folder = QFileInfo(QFileInfo(c.url.toLocalFile()).path()).fileName();
        EXPECT_EQ(folder, folder.toUpper());
        EXPECT_FALSE(QUuid::fromString(folder).isNull());
        folders.insert(folder);
    }
    EXPECT_EQ(folders.size(), 3);

    // Imports run one after another: once the next one lands, the failed one has made no step.
    project->importFromPhotos({QUrl::fromLocalFile(root + "/nothing.jpg")});
    project->importFromPhotos({file("later.jpg")});
    ASSERT_TRUE(waitUntil([&] { return project->clips().size() == 4; }));
    nextTurn();
    EXPECT_EQ(stack().count(), 2);
}

} // namespace
} // namespace vimbo::test
