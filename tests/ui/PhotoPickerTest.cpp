// "Add from Photos…" as a person uses it: a Pictures folder and a camera card on disk, real
// clicks in the grid, real thumbnails, and the picked items imported into the project.
#include "ui/PhotoPicker.h"

#include "tests/model/ProjectFixture.h"
#include "ui/PhotoGridModel.h"

#include <QComboBox>
#include <QListView>
#include <QPointer>
#include <QPushButton>
#include <QTest>

namespace vimbo::test {
namespace {

using ui::PhotoGridModel;
using ui::PhotoPicker;

class PhotoPickerTest : public ProjectTest {
protected:
    QString pictures = root + "/Pictures";
    QString mounts = root + "/media";
    QDateTime day = QDateTime::currentDateTime().addDays(-3);

    PhotoLibrary::Roots roots() const { return {pictures, {mounts}}; }

    // A real file under `folder`, modified `hours` after the start of the day.
    void place(const QString& folder, const QString& name, const QString& source, int hours) {
        QDir().mkpath(folder);
        const QString path = folder + "/" + name;
        ASSERT_TRUE(QFile::copy(source, path));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        file.setFileTime(day.addSecs(hours * 3600), QFileDevice::FileModificationTime);
    }

    static QString jpeg() {
        return generated("picker.jpg",
                         {"-f", "lavfi", "-i", "color=red:s=96x64", "-frames:v", "1"});
    }
    static QString movie() {
        return generated("picker.mp4",
                         {"-f", "lavfi", "-i", "testsrc=d=1:s=96x64:r=10", "-pix_fmt", "yuv420p"});
    }

    // The picker, shown and listed; it deletes itself when it closes.
    QPointer<PhotoPicker> open() {
        project->setShowPhotosPicker(true);
        QPointer<PhotoPicker> picker = new PhotoPicker(*project, roots());
        picker->show();
        EXPECT_TRUE(waitUntil([&] { return picker->isListed(); }));
        return picker;
    }

    static QStringList shown(PhotoPicker& picker) {
        QStringList names;
        for (int row = 0; row < picker.grid()->model()->rowCount(); ++row)
            names << picker.grid()->model()->index(row, 0).data().toString();
        return names;
    }

    static void click(PhotoPicker& picker, int row, Qt::KeyboardModifiers modifiers = {}) {
        QListView* grid = picker.grid();
        const QRect tile = grid->visualRect(grid->model()->index(row, 0));
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, modifiers, tile.center());
    }
};

TEST_F(PhotoPickerTest, PickedItemsAreImportedOldestFirstInOneStep) {
    place(pictures, "morning.jpg", jpeg(), 1);
    place(pictures + "/Trip", "noon.mp4", movie(), 5);
    place(pictures, "evening.jpg", jpeg(), 9);
    place(pictures, "notes.txt", jpeg(), 10); // not a photo by its name: not offered
    QPointer<PhotoPicker> picker = open();
    EXPECT_EQ(shown(*picker), QStringList({"evening.jpg", "noon.mp4", "morning.jpg"}));
    EXPECT_FALSE(picker->addButton()->isEnabled());

    click(*picker, 0);
    click(*picker, 2, Qt::ControlModifier);
    EXPECT_TRUE(picker->addButton()->isEnabled());
    QTest::mouseClick(picker->addButton(), Qt::LeftButton);

    EXPECT_FALSE(project->showPhotosPicker());
    ASSERT_TRUE(waitUntil([&] { return picker.isNull() && project->clips().size() == 2; }));
    EXPECT_EQ(names(), (std::vector<QString>{"morning.jpg", "evening.jpg"}));
    for (const Clip& clip : project->clips()) {
        EXPECT_TRUE(clip.imported);
        EXPECT_TRUE(clip.url.toLocalFile().startsWith(root + "/Vimbo/Imports/"));
        EXPECT_TRUE(QFile::exists(clip.url.toLocalFile()));
    }
    EXPECT_EQ(stack().count(), 1);
    EXPECT_EQ(stack().undoText(), "Add Clips");
}

TEST_F(PhotoPickerTest, ThumbnailsArriveInTheBackgroundAndRangesSelect) {
    place(pictures, "a.jpg", jpeg(), 1);
    place(pictures, "b.mp4", movie(), 2);
    place(pictures, "c.jpg", jpeg(), 3);
    QPointer<PhotoPicker> picker = open();
    QAbstractItemModel* model = picker->grid()->model();
    ASSERT_TRUE(waitUntil([&] {
        picker->grid()->viewport()->repaint();
        for (int row = 0; row < model->rowCount(); ++row)
            if (!model->index(row, 0).data(PhotoGridModel::loadedRole).toBool())
                return false;
        return true;
    }));
    for (int row = 0; row < model->rowCount(); ++row) {
        const QImage image = model->index(row, 0).data(Qt::DecorationRole).value<QImage>();
        EXPECT_FALSE(image.isNull());
        EXPECT_EQ(image.width(), image.height()); // square tiles, cropped
    }
    const QModelIndex video = model->index(1, 0);
    EXPECT_TRUE(video.data(PhotoGridModel::isVideoRole).toBool());
    EXPECT_NEAR(video.data(PhotoGridModel::durationRole).toDouble(), 1.0, 0.05);
    EXPECT_FALSE(model->index(0, 0).data(PhotoGridModel::isVideoRole).toBool());

    click(*picker, 0);
    click(*picker, 2, Qt::ShiftModifier);
    EXPECT_EQ(picker->grid()->selectionModel()->selectedIndexes().size(), 3);
    // Return confirms: one import of all three.
    QTest::keyClick(picker->grid(), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return project->clips().size() == 3; }));
    EXPECT_EQ(names(), (std::vector<QString>{"a.jpg", "b.mp4", "c.jpg"}));
    EXPECT_EQ(stack().count(), 1);
}

TEST_F(PhotoPickerTest, EmptyOrMissingPlacesShowANote) {
    // Nothing anywhere: no Pictures folder, no card.
    QPointer<PhotoPicker> picker = open();
    EXPECT_TRUE(picker->showsNote());
    EXPECT_EQ(picker->noteTitle(), "No Photos or Videos Here");
    EXPECT_TRUE(picker->noteText().contains("no Pictures folder"));
    EXPECT_FALSE(picker->placeBox()->isEnabled());
    QTest::keyClick(picker, Qt::Key_Escape);
    EXPECT_FALSE(project->showPhotosPicker());

    // An empty Pictures folder, a camera card with one photo, and a phone with two storages.
    QDir().mkpath(pictures);
    place(mounts + "/NIKON D750/DCIM/100NIKON", "DSC_0001.JPG", jpeg(), 1);
    QDir().mkpath(mounts + "/Pixel 7/Internal shared storage/DCIM");
    QDir().mkpath(mounts + "/Pixel 7/SD card/DCIM");
    picker = open();
    EXPECT_TRUE(picker->showsNote());
    EXPECT_EQ(picker->noteTitle(), "No Photos or Videos Here");
    EXPECT_FALSE(picker->addButton()->isEnabled());
    QComboBox* places = picker->placeBox();
    QStringList titles;
    for (int i = 0; i < places->count(); ++i)
        titles << places->itemText(i);
    EXPECT_EQ(titles, QStringList({"Pictures", "NIKON D750", "Pixel 7 · Internal shared storage",
                                   "Pixel 7 · SD card"}));

    places->setCurrentIndex(1);
    emit places->activated(1);
    ASSERT_TRUE(waitUntil([&] { return picker->isListed(); }));
    EXPECT_FALSE(picker->showsNote());
    EXPECT_EQ(shown(*picker), QStringList({"DSC_0001.JPG"}));

    // The card is pulled out while the picker is open.
    QDir(mounts + "/NIKON D750").removeRecursively();
    emit places->activated(1);
    ASSERT_TRUE(waitUntil([&] { return picker->isListed(); }));
    EXPECT_TRUE(picker->showsNote());
    EXPECT_EQ(picker->noteTitle(), "NIKON D750 Is Not Connected");

    picker->reject();
    EXPECT_TRUE(project->clips().empty());
    EXPECT_EQ(stack().count(), 0);
}

// Without roots of its own the picker looks where the desktop says: the Pictures folder named
// in the user's XDG settings, and the GVfs mounts of the session (a phone over MTP).
TEST_F(PhotoPickerTest, StandardPlacesComeFromTheDesktop) {
    const QString config = root + "/config";
    touch(config + "/user-dirs.dirs", ("XDG_PICTURES_DIR=\"" + root + "/Bilder\"\n").toUtf8());
    place(root + "/Bilder", "a.jpg", jpeg(), 1);
    QDir().mkpath(root + "/run/gvfs/mtp:host=Pixel_7/Internal shared storage/DCIM");
    qputenv("XDG_CONFIG_HOME", config.toUtf8());
    qputenv("XDG_RUNTIME_DIR", (root + "/run").toUtf8());

    QPointer<PhotoPicker> picker = new PhotoPicker(*project);
    picker->show();
    ASSERT_TRUE(waitUntil([&] { return picker->isListed(); }));
    EXPECT_EQ(picker->placeBox()->itemText(0), "Bilder");
    EXPECT_EQ(picker->placeBox()->itemText(1), "mtp:host=Pixel_7");
    EXPECT_EQ(shown(*picker), QStringList({"a.jpg"}));
    picker->reject();
}

} // namespace
} // namespace vimbo::test
