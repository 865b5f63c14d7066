#include "media/Thumbnail.h"

#include "media/MediaProbe.h"
#include "media/PhotoLibrary.h"
#include "model/Project.h"
#include "tests/support/Media.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace vimbo::test {
namespace {

// Which colour dominates each half of a picture: a cheap way to tell which way it is turned.
struct Halves {
    bool redTop, redBottom, redLeft, redRight;
};

bool reddish(const QImage& image, const QRect& area) {
    long red = 0, blue = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x) {
            const QRgb p = image.pixel(x, y);
            red += qRed(p);
            blue += qBlue(p);
        }
    return red > 2 * blue;
}

Halves halves(const QImage& image) {
    const int w = image.width(), h = image.height();
    return {reddish(image, QRect(0, 0, w, h / 2 - 2)),
            reddish(image, QRect(0, h / 2 + 2, w, h / 2 - 2)),
            reddish(image, QRect(0, 0, w / 2 - 2, h)),
            reddish(image, QRect(w / 2 + 2, 0, w / 2 - 2, h))};
}

std::optional<QImage> videoThumbnail(const QString& path, int maxPixels = 320) {
    return Thumbnail::make(QUrl::fromLocalFile(path), MediaKind::video, maxPixels);
}

TEST(Thumbnail, VideosStandUprightByTheirDisplayMatrixAndFitTheSquare) {
    // 320 × 160, red on the left, blue on the right.
    const QString plain =
        generated("halves.mp4",
                  {"-f", "lavfi", "-i", "color=red:size=160x160:rate=25:duration=1", "-f", "lavfi",
                   "-i", "color=blue:size=160x160:rate=25:duration=1", "-filter_complex",
                   "[0][1]hstack", "-c:v", "libx264", "-pix_fmt", "yuv420p"});
    struct Case {
        const char* what;
        std::array<double, 6> matrix;
        bool tall, redFirst; // red on the top or the left
    };
    const Case cases[] = {
        {"as stored", {1, 0, 0, 1, 0, 0}, false, true},
        {"a quarter turn clockwise", {0, 1, -1, 0, 160, 0}, true, true},
        {"a quarter turn the other way", {0, -1, 1, 0, 0, 320}, true, false},
        {"upside down", {-1, 0, 0, -1, 320, 160}, false, false},
        {"mirrored", {-1, 0, 0, 1, 320, 0}, false, false},
        {"transposed", {0, 1, 1, 0, 0, 0}, true, true},
        {"turned and mirrored", {0, -1, -1, 0, 160, 320}, true, false},
    };
    int n = 0;
    for (const Case& c : cases) {
        const QString path = withMatrix(plain, QStringLiteral("%1.mp4").arg(++n), c.matrix);
        const auto image = videoThumbnail(path);
        ASSERT_TRUE(image) << c.what;
        EXPECT_EQ(image->size(), c.tall ? QSize(160, 320) : QSize(320, 160)) << c.what;
        const Halves h = halves(*image);
        EXPECT_EQ(c.tall ? h.redTop : h.redLeft, c.redFirst) << c.what;
        EXPECT_EQ(c.tall ? h.redBottom : h.redRight, !c.redFirst) << c.what;
        if (n == 2) {
            EXPECT_EQ(videoThumbnail(path, 100)->size(), QSize(50, 100));
        }
    }
    EXPECT_EQ(videoThumbnail(plain, 1000)->size(), QSize(320, 160)); // never enlarged
}

TEST(Thumbnail, FramesComeFromNearTheStartAndNothingComesFromUnusableFiles) {
    // Black for the first 0.05 s, then white: the frame at 0.1 s is white.
    const QString flash =
        generated("black-then-white.mp4",
                  {"-f", "lavfi", "-i", "color=black:size=64x64:rate=100:duration=0.05", "-f",
                   "lavfi", "-i", "color=white:size=64x64:rate=100:duration=1", "-filter_complex",
                   "[0][1]concat", "-c:v", "libx264", "-pix_fmt", "yuv420p"});
    const auto image = videoThumbnail(flash);
    ASSERT_TRUE(image);
    EXPECT_GT(qGray(image->pixel(32, 32)), 200);

    // A clip shorter than 0.1 s gives its last frame.
    const QString brief =
        generated("brief.mp4", {"-f", "lavfi", "-i", "color=green:size=64x64:rate=50:duration=0.04",
                                "-c:v", "libx264", "-pix_fmt", "yuv420p"});
    ASSERT_TRUE(videoThumbnail(brief));

    const QString text = scratchFolder() + "/clip.mov";
    QFile f(text);
    f.open(QIODevice::WriteOnly);
    f.write("not a movie");
    f.close();
    EXPECT_FALSE(videoThumbnail(text));
    const QUrl photo = QUrl::fromLocalFile(flash);
    EXPECT_FALSE(Thumbnail::make(photo, MediaKind::missing, 320));
    EXPECT_FALSE(Thumbnail::make(photo, MediaKind::unsupported, 320));
}

// A clip's tile picture turns with its quarter turns, each count made once and then served.
TEST(Thumbnail, TheProjectTurnsTilePicturesOncePerTurnCount) {
    const QString jpg =
        generated("thumb-halves.jpg",
                  {"-f", "lavfi", "-i", "color=red:size=32x32", "-f", "lavfi", "-i",
                   "color=blue:size=32x32", "-filter_complex", "[0][1]hstack", "-frames:v", "1"});
    Project project({&MediaProbe::isMedia, &MediaProbe::probe, &Thumbnail::make}, std::nullopt);
    project.add({QUrl::fromLocalFile(jpg)});
    QDeadlineTimer deadline(20000);
    while (project.thumbnails().isEmpty() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    ASSERT_EQ(project.thumbnails().size(), 1);
    auto clip = project.clips()[0];
    EXPECT_EQ(project.thumbnail(clip)->size(), QSize(64, 32));
    EXPECT_TRUE(halves(*project.thumbnail(clip)).redLeft);
    clip.edits.quarterTurns = 1;
    const QImage once = *project.thumbnail(clip);
    EXPECT_EQ(once.size(), QSize(32, 64));
    EXPECT_TRUE(halves(once).redTop);
    clip.edits.quarterTurns = 2;
    EXPECT_TRUE(halves(*project.thumbnail(clip)).redRight);
    clip.edits.quarterTurns = -1;
    EXPECT_TRUE(halves(*project.thumbnail(clip)).redBottom);
    clip.edits.quarterTurns = -3;
    EXPECT_EQ(project.thumbnail(clip)->cacheKey(), once.cacheKey());
}

TEST(PhotoLibrary, PlacesAndNewestFirstListing) {
    const QString root = scratchFolder();
    const QString pictures = root + "/home/Pictures";
    QDir().mkpath(pictures + "/2024");
    QDir().mkpath(root + "/media/ann/CANON/DCIM/100CANON");
    QDir().mkpath(root + "/media/ann/USB stick/docs");
    QDir().mkpath(root + "/gvfs/mtp:host=Pixel/Internal shared storage/DCIM/Camera");
    QDir().mkpath(root + "/gvfs/mtp:host=Pixel/SD card/DCIM");

    const PhotoLibrary::Roots roots{pictures, {root + "/media/ann", root + "/gvfs"}};
    const auto places = PhotoLibrary::places(roots);
    ASSERT_EQ(places.size(), 4u);
    EXPECT_EQ(places[0], (PhotoLibrary::Place{"Pictures", pictures}));
    EXPECT_EQ(places[1], (PhotoLibrary::Place{"CANON", root + "/media/ann/CANON/DCIM"}));
    EXPECT_EQ(places[2].name, QStringLiteral("mtp:host=Pixel"));
    EXPECT_TRUE(places[2].path.endsWith("/DCIM"));

    auto make = [&](const QString& name, int minutesAgo) {
        const QString path = pictures + "/" + name;
        QFile f(path);
        f.open(QIODevice::WriteOnly);
        f.setFileTime(QDateTime::currentDateTime().addSecs(-60 * minutesAgo),
                      QFileDevice::FileModificationTime);
    };
    make("old.jpg", 300);
    make("2024/new.mov", 1);
    make("middle.heic", 60);
    make("clip.mkv", 0);
    make("notes.txt", 0);
    make(".hidden.jpg", 0);
    const auto items = PhotoLibrary::items(pictures);
    std::vector<QString> names;
    for (const auto& item : items)
        names.push_back(item.url.fileName());
    EXPECT_EQ(names, (std::vector<QString>{"new.mov", "middle.heic", "old.jpg"}));
    EXPECT_TRUE(PhotoLibrary::places({root + "/nowhere", {root + "/none"}}).empty());
}

} // namespace
} // namespace vimbo::test
