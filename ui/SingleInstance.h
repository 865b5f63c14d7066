#pragma once

// One window per user and project: a later `vimbo FILE…` hands its files to the window that
// is already open and ends, instead of opening a second window on the same saved project.
// The two talk over a local socket in the user's runtime folder, named after the project's
// folder. Interface thread.

#include <QList>
#include <QLocalServer>
#include <QObject>
#include <QString>
#include <QUrl>

namespace vimbo::ui {

class SingleInstance : public QObject {
    Q_OBJECT
public:
    // `projectFolder` tells projects apart (tests and XDG_DATA_HOME give each their own).
    explicit SingleInstance(const QString& projectFolder, QObject* parent = nullptr);

    // Gives the files (possibly none: "show yourself") to the running instance. True when it
    // confirmed them; false when none runs or it did not answer within a few seconds. Blocks
    // the calling thread: call it before any window exists.
    bool handOver(const QList<QUrl>& files) const;

    // Starts taking hand-overs. A socket left behind by a crashed instance is replaced. False
    // when the socket cannot be made; the window then simply runs alone.
    bool listen();

    QString socketPath() const { return path_; }

signals:
    // Files a later start handed over (empty when it had none); the window should come forward.
    void filesArrived(const QList<QUrl>& files);

private:
    void accept();

    QString path_;
    QLocalServer server_;
};

} // namespace vimbo::ui
