#pragma once

#include "media/MediaProbe.h"
#include "model/Project.h"
#include "tests/support/Media.h"
#include "tests/support/Program.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QUndoStack>

#include <gtest/gtest.h>
#include <memory>

namespace vimbo::test {

// The real media functions, as the app wires them.
inline MediaAccess realMedia() {
    return {&MediaProbe::isMedia, &MediaProbe::probe,
            [](const QUrl&, MediaKind, int) -> std::optional<QImage> { return std::nullopt; }};
}

inline void nextTurn() {
    QCoreApplication::processEvents();
}

inline QString touch(const QString& path, const QByteArray& bytes = "x") {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    f.open(QIODevice::WriteOnly);
    f.write(bytes);
    return path;
}

// A project with its own data folder and a real undo stack.
class ProjectTest : public ::testing::Test {
protected:
    QString root = scratchFolder();
    QString files = root + QStringLiteral("/files");
    SessionStore store{root + QStringLiteral("/Vimbo")};
    std::unique_ptr<QUndoStack> undo;
    std::unique_ptr<Project> project;

    void SetUp() override { open(); }

    // A start of the program: the saved project restored, a new window's empty undo stack.
    void open() {
        project.reset();
        undo = std::make_unique<QUndoStack>();
        project = std::make_unique<Project>(realMedia(), store);
        project->observeUndo(undo.get());
    }

    QUndoStack& stack() { return *undo; }

    // A small real JPEG under `files`.
    QUrl photo(const QString& name) {
        const QString path = files + QLatin1Char('/') + name;
        QDir().mkpath(QFileInfo(path).path());
        QFile::copy(generated("project-photo.jpg",
                              {"-f", "lavfi", "-i", "color=blue:s=32x24", "-frames:v", "1"}),
                    path);
        return QUrl::fromLocalFile(path);
    }

    QUrl file(const QString& name) {
        return QUrl::fromLocalFile(touch(files + QLatin1Char('/') + name));
    }

    std::vector<QString> names() const {
        std::vector<QString> n;
        for (const Clip& c : project->clips())
            n.push_back(c.url.fileName());
        return n;
    }

    QUuid idOf(const QString& name) const {
        for (const Clip& c : project->clips())
            if (c.url.fileName() == name)
                return c.id;
        return {};
    }

    bool probed(std::size_t count) {
        return waitUntil([&] { return static_cast<std::size_t>(project->info().size()) >= count; });
    }
};

} // namespace vimbo::test
