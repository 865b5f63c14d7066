#include "ui/FileIntake.h"

#include "media/MediaProbe.h"
#include "model/Project.h"

#include <QFileInfo>
#include <QFutureWatcher>
#include <QtConcurrent/qtconcurrentrun.h>

#include <algorithm>

namespace vimbo::ui {
namespace {

bool hasFolder(const QList<QUrl>& urls) {
    return std::any_of(urls.begin(), urls.end(),
                       [](const QUrl& url) { return QFileInfo(url.toLocalFile()).isDir(); });
}

} // namespace

FileIntake::FileIntake(Project& project, QObject* parent)
    : QObject(parent)
    , project_(project) {
    pool_.setMaxThreadCount(1);
}

FileIntake::~FileIntake() {
    pool_.waitForDone();
}

void FileIntake::add(const QList<QUrl>& urls) {
    if (!busy() && !hasFolder(urls)) {
        project_.add(urls);
        return;
    }
    waiting_.push_back(urls);
    if (!reading_)
        next();
}

void FileIntake::next() {
    while (!waiting_.empty() && !hasFolder(waiting_.front())) {
        project_.add(waiting_.front());
        waiting_.pop_front();
    }
    if (waiting_.empty())
        return;
    const QList<QUrl> urls = waiting_.front();
    waiting_.pop_front();
    reading_ = true;
    auto* watcher = new QFutureWatcher<QList<QUrl>>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        watcher->deleteLater();
        reading_ = false;
        project_.add(watcher->result());
        next();
    });
    watcher->setFuture(
        QtConcurrent::run(&pool_, [urls] { return Project::expand(urls, MediaProbe::isMedia); }));
}

} // namespace vimbo::ui
