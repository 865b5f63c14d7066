#pragma once

#include "media/MediaProbe.h"
#include "media/Thumbnail.h"
#include "model/Project.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"
#include "ui/AppShell.h"
#include "ui/MainWindow.h"

#include <QAction>
#include <QFile>
#include <QTest>

#include <gtest/gtest.h>

namespace vimbo::test {

// The program as it starts: a saved project in its own data folder, the shell with the real
// media functions, and its window shown.
class WindowTest : public ::testing::Test {
protected:
    QString root = scratchFolder();
    SessionStore store{root + QStringLiteral("/Vimbo")};
    std::unique_ptr<ui::AppShell> shell;

    void TearDown() override { shell.reset(); }

    static MediaAccess media() {
        return {&MediaProbe::isMedia, &MediaProbe::probe,
                [](const QUrl& url, MediaKind kind, int pixels) {
                    return Thumbnail::make(url, kind, pixels);
                }};
    }

    void start(bool show = true) {
        shell = std::make_unique<ui::AppShell>(media(), store);
        if (show) {
            shell->show();
            ASSERT_TRUE(QTest::qWaitForWindowExposed(&window()));
        }
    }

    ui::MainWindow& window() { return shell->window(); }
    Project& project() { return shell->project(); }

    QAction* action(const char* name) {
        auto* found = window().findChild<QAction*>(QLatin1String(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }

    // A small real photo, copied under a name of our choice.
    QUrl photo(const QString& name) {
        const QString path = root + QStringLiteral("/files/") + name;
        QDir().mkpath(root + QStringLiteral("/files"));
        QFile::copy(generated(QStringLiteral("window-photo.jpg"),
                              {"-f", "lavfi", "-i", "color=green:s=64x48", "-frames:v", "1"}),
                    path);
        return QUrl::fromLocalFile(path);
    }

    static QUrl movie() {
        return QUrl::fromLocalFile(
            generated(QStringLiteral("window-1s.mp4"),
                      {"-f", "lavfi", "-i", "testsrc=size=160x120:rate=25:d=1", "-c:v", "libx264",
                       "-pix_fmt", "yuv420p"}));
    }

    // A saved project of photos shown for the given seconds each.
    void savePhotos(const std::vector<double>& seconds) {
        Saved saved;
        for (std::size_t i = 0; i < seconds.size(); ++i) {
            Clip clip;
            clip.id = QUuid::createUuid();
            clip.url = photo(QStringLiteral("saved-%1.jpg").arg(i));
            clip.added = static_cast<std::int64_t>(i);
            clip.edits.photoDuration = seconds[i];
            saved.clips.push_back(clip);
        }
        saved.nextAdded = static_cast<std::int64_t>(seconds.size());
        ASSERT_TRUE(store.save(saved));
    }

    bool probed() {
        for (const Clip& clip : project().clips())
            if (!project().info().contains(clip.id))
                return false;
        return true;
    }

    // Adds files as a drop or an Add… dialog would, and waits until they are read.
    void add(const QList<QUrl>& files) {
        const std::size_t before = project().clips().size();
        project().add(files);
        ASSERT_EQ(project().clips().size(), before + static_cast<std::size_t>(files.size()));
        ASSERT_TRUE(waitUntil([this] { return probed(); }));
    }

    std::vector<QString> names() {
        std::vector<QString> n;
        for (const Clip& clip : project().clips())
            n.push_back(clip.url.fileName());
        return n;
    }
};

} // namespace vimbo::test
