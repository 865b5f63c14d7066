#pragma once

// Adds dropped, opened and chosen files and folders to the project without the window waiting
// on the disk. Files go in at once; a folder's search (thousands of entries on a photo library)
// runs on a thread of its own and its media are added when it ends. Requests are added in the
// order they came, each in one step, so a later drop never overtakes a folder still being read.
// One per window, which every way of adding files goes through; interface thread only. The
// project must outlive it; destroying it waits for a folder's search under way.

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
    explicit FileIntake(Project& project, QObject* parent = nullptr);
    ~FileIntake() override;

    void add(const QList<QUrl>& urls);

private:
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
