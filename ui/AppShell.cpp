#include "ui/AppShell.h"

#include "ui/FileIntake.h"
#include "ui/MainWindow.h"

namespace vimbo::ui {

AppShell::AppShell(MediaAccess media, SessionStore store)
    : project_(std::move(media), std::move(store))
    , window_(std::make_unique<MainWindow>(project_, exporter_)) {
    QObject::connect(window_.get(), &MainWindow::firstShown, &project_, [this] {
        // The desktop's open request returns at once; the files are added on the next turn.
        requests_.setHandler([intake = &window_->intake()](const QList<QUrl>& files) {
            QMetaObject::invokeMethod(
                intake, [intake, files] { intake->add(files); }, Qt::QueuedConnection);
        });
    });
    QObject::connect(window_.get(), &MainWindow::closing, &project_,
                     [this] { project_.saveNow(); });
}

AppShell::~AppShell() = default;

void AppShell::open(const QList<QUrl>& files) {
    requests_.open(files);
}

void AppShell::show() {
    window_->show();
}

void AppShell::raise() {
    window_->showNormal();
    window_->raise();
    window_->activateWindow();
}

void AppShell::quit() {
    window_->close();
}

} // namespace vimbo::ui
