// "Add from Photos…" as a person uses it: a Pictures folder and a camera card on disk, real
// clicks in the grid, real thumbnails, and the picked items imported into the project.
#include "ui/PhotoPicker.h"

#include "tests/support/Program.h"
#include "tests/ui/ViewFixture.h"
#include "ui/PhotoGridModel.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QListView>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

using ui::PhotoGridModel;
using ui::PhotoPicker;

class PhotoPickerTest : public ::testing::Test {
protected:
    Views views;
    QString pictures = views.files() + "/Pictures";
    QString mounts = views.files() + "/media";
    QDateTime day = QDateTime::currentDateTime().addDays(-3);

    // A real photo (or a one-second movie) under `folder`, modified `hours` into the day.
    void place(const QString& folder, const QString& name, int hours, bool isMovie = false) {
        const QString path = isMovie ? movie(folder, name, 1) : picture(folder, name);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        file.setFileTime(day.addSecs(hours * 3600), QFileDevice::FileModificationTime);
    }

    // The picker, shown and listed; it deletes itself when it closes.
    QPointer<PhotoPicker> open() {
        QPointer<PhotoPicker> picker =
            new PhotoPicker(views.project(), PhotoLibrary::Roots{pictures, {mounts}});
        picker->show();
        EXPECT_TRUE(waitUntil([&] { return picker->isListed(); }));
        return picker;
    }

    static void click(PhotoPicker& picker, int row, Qt::KeyboardModifiers modifiers = {}) {
        QListView* grid = picker.grid();
        const QRect tile = grid->visualRect(grid->model()->index(row, 0));
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, modifiers, tile.center());
    }
};

TEST_F(PhotoPickerTest, PickedItemsAreImportedOldestFirstInOneStep) {
    place(pictures, "morning.jpg", 1);
    place(pictures + "/Trip", "noon.mp4", 5, true);
    place(pictures, "evening.jpg", 9);
    QPointer<PhotoPicker> picker = open();
    QAbstractItemModel* grid = picker->grid()->model();
    EXPECT_EQ(grid->rowCount(), 3);
    EXPECT_EQ(grid->index(0, 0).data().toString(), "evening.jpg") << "newest first";
    EXPECT_EQ(grid->index(1, 0).data().toString(), "noon.mp4") << "from a folder within";
    EXPECT_FALSE(picker->addButton()->isEnabled());

    // The video's square thumbnail arrives in the background, and its tile knows its length.
    const QModelIndex video = grid->index(1, 0);
    ASSERT_TRUE(waitUntil([&] { return video.data(PhotoGridModel::loadedRole).toBool(); }));
    const QImage image = video.data(Qt::DecorationRole).value<QImage>();
    EXPECT_TRUE(!image.isNull() && image.width() == image.height());
    EXPECT_NEAR(video.data(PhotoGridModel::durationRole).toDouble(), 1.0, 0.05);
    click(*picker, 0);
    click(*picker, 2, Qt::ControlModifier);
    EXPECT_TRUE(picker->addButton()->isEnabled());
    QTest::mouseClick(picker->addButton(), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([&] { return picker.isNull() && views.project().clips().size() == 2; }));
    EXPECT_EQ(views.order(), (std::vector<QString>{"morning.jpg", "evening.jpg"}));
    for (const Clip& clip : views.project().clips()) {
        EXPECT_TRUE(clip.imported);
        EXPECT_TRUE(clip.url.toLocalFile().contains("/Vimbo/Imports/"));
        EXPECT_TRUE(QFile::exists(clip.url.toLocalFile()));
    }
    EXPECT_EQ(views.undo().count(), 1);
    EXPECT_EQ(views.undo().undoText(), "Add Clips");
}

TEST_F(PhotoPickerTest, ACameraConnectedWhileOpenJoinsThePlacesWithoutChangingTheOneShown) {
    QDir().mkpath(pictures);
    QPointer<PhotoPicker> picker = open();
    EXPECT_TRUE(picker->showsNote()) << "an empty Pictures folder is a note, not an error";
    EXPECT_EQ(picker->placeBox()->count(), 1);

    place(mounts + "/CANON_EOS/DCIM/100CANON", "IMG_0001.jpg", 2);
    ASSERT_TRUE(waitUntil([&] { return picker->placeBox()->count() == 2; }, 10000));
    EXPECT_EQ(picker->placeBox()->currentIndex(), 0);
    EXPECT_TRUE(picker->showsNote());
    picker->placeBox()->setCurrentIndex(1);
    emit picker->placeBox()->activated(1);
    ASSERT_TRUE(waitUntil([&] { return picker->isListed() && !picker->showsNote(); }));
    EXPECT_EQ(picker->grid()->model()->rowCount(), 1);

    // A camera whose name sorts earlier: the place shown keeps its name and its photos.
    QDir().mkpath(mounts + "/A_CAM/DCIM");
    ASSERT_TRUE(waitUntil([&] { return picker->placeBox()->count() == 3; }, 10000));
    EXPECT_EQ(picker->placeBox()->currentText(), "CANON_EOS");
    EXPECT_EQ(picker->grid()->model()->rowCount(), 1);
    picker->close();
}

} // namespace
} // namespace vimbo::test
