#include "ui/Reveal.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QStringList>

namespace vimbo::ui {
namespace {

void openFolders(const QList<QUrl>& files) {
    QStringList opened;
    for (const QUrl& file : files) {
        const QString folder = QFileInfo(file.toLocalFile()).absolutePath();
        if (opened.contains(folder))
            continue;
        opened << folder;
        QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
    }
}

} // namespace

void revealInFileManager(const QList<QUrl>& files) {
    if (files.isEmpty())
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        openFolders(files);
        return;
    }
    QStringList uris;
    for (const QUrl& file : files)
        uris << file.toString(QUrl::FullyEncoded);
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << uris << QString();
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), QCoreApplication::instance());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [watcher, files] {
        if (watcher->isError())
            openFolders(files);
        watcher->deleteLater();
    });
}

} // namespace vimbo::ui
