#pragma once

// Adds dropped, opened and chosen files and folders to the project without the window waiting
// on the disk. Files go in at once; a folder's search (thousands of entries on a photo library)
// runs on a thread of its own and its media are added when it ends. Requests are added in the
// order they came, each in one step, so a later drop never overtakes a folder still being read.
// One per project, its child; interface thread only.

#include <QList>
#include <QObject>
#include <QThreadPool>
#include <QUrl>

#include <deque>

namespace vimbo {

class Project;

namespace ui {

class FileIntake : public QObject {
    Q_OBJECT
public:
    // The project's intake, made on first use.
    static FileIntake& of(Project& project);
    ~FileIntake() override;

    void add(const QList<QUrl>& urls);

private:
    explicit FileIntake(Project& project);
    // True while a folder is being read or requests wait behind one.
    bool busy() const { return reading_ || !waiting_.empty(); }
    void next();

    Project& project_;
    std::deque<QList<QUrl>> waiting_;
    bool reading_ = false;
    QThreadPool pool_;
};

} // namespace ui
} // namespace vimbo
