#pragma once

#include "model/SessionStore.h"
#include "tests/support/Program.h"
#include "tests/ui/ViewFixture.h"
#include "ui/AppShell.h"
#include "ui/MainWindow.h"
#include "ui/WindowToolbar.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

namespace vimbo::test {

// The program as it starts: a project in its own data folder, the shell with the real media
// functions, and its window shown.
class WindowTest : public ::testing::Test {
protected:
    QString root = scratchFolder();
    QString files = root + QStringLiteral("/files");
    SessionStore store{root + QStringLiteral("/Vimbo")};
    std::unique_ptr<ui::AppShell> shell;

    void TearDown() override { shell.reset(); }

    void start(bool show = true) {
        shell = std::make_unique<ui::AppShell>(viewMedia(), store);
        if (show) {
            shell->show();
            ASSERT_TRUE(QTest::qWaitForWindowExposed(&window()));
        }
    }

    ui::MainWindow& window() { return shell->window(); }
    Project& project() { return shell->project(); }
    ui::WindowToolbar& toolbar() { return *window().findChild<ui::WindowToolbar*>(); }

    QAction* action(const char* name) { return window().findChild<QAction*>(name); }

    QUrl photo(const QString& name) { return QUrl::fromLocalFile(picture(files, name)); }
    // A file named like a photo that nothing can read.
    QUrl broken(const QString& name) {
        QDir().mkpath(files);
        QFile file(files + QLatin1Char('/') + name);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write("x") == 1);
        return QUrl::fromLocalFile(file.fileName());
    }
    QUrl video() { return QUrl::fromLocalFile(movie(files, QStringLiteral("clip.mp4"), 1)); }

    // Adds files as a drop or an Add… dialog would, and waits until they are read.
    void add(const QList<QUrl>& urls) {
        project().add(urls);
        ASSERT_TRUE(waitUntil([this] {
            for (const Clip& clip : project().clips())
                if (!project().info().contains(clip.id))
                    return false;
            return true;
        }));
    }

    std::vector<QString> names() {
        std::vector<QString> n;
        for (const Clip& clip : project().clips())
            n.push_back(clip.url.fileName());
        return n;
    }
};

} // namespace vimbo::test
