#include "ui/ShareMenu.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusUnixFileDescriptor>
#include <QDesktopServices>
#include <QFile>
#include <QGuiApplication>
#include <QMimeData>
#include <QProcess>
#include <QUrlQuery>

namespace vimbo::ui {

ShareMenu::ShareMenu(QWidget* parent)
    : QMenu(parent) {
    setAccessibleName(tr("Share"));
    addAction(tr("Copy"), this, &ShareMenu::copy);
    addAction(tr("Open With\u2026"), this, &ShareMenu::openWith);
    addAction(tr("Email\u2026"), this, &ShareMenu::email);
}

void ShareMenu::copy() const {
    auto* data = new QMimeData; // the clipboard takes it
    data->setUrls({file_});
    data->setText(file_.toLocalFile());
    // GNOME Files and its kin paste a file from this form.
    data->setData(QStringLiteral("x-special/gnome-copied-files"), "copy\n" + file_.toEncoded());
    QGuiApplication::clipboard()->setMimeData(data);
}

void ShareMenu::openWith() const {
    const QUrl file = file_;
    QFile handle(file.toLocalFile());
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !handle.open(QIODevice::ReadOnly)) {
        QDesktopServices::openUrl(file);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"),
        QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.OpenURI"), QStringLiteral("OpenFile"));
    QVariantMap options{{QStringLiteral("ask"), true}};
    call << QString() << QVariant::fromValue(QDBusUnixFileDescriptor(handle.handle())) << options;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), QCoreApplication::instance());
    connect(watcher, &QDBusPendingCallWatcher::finished, [watcher, file] {
        if (watcher->isError())
            QDesktopServices::openUrl(file);
        watcher->deleteLater();
    });
}

void ShareMenu::email() const {
    const QString path = file_.toLocalFile();
    if (QProcess::startDetached(QStringLiteral("xdg-email"), {QStringLiteral("--attach"), path}))
        return;
    // No xdg-email: a mail program that takes attachments from a mailto link may still.
    QUrl mail(QStringLiteral("mailto:"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("attachment"), file_.toString(QUrl::FullyEncoded));
    mail.setQuery(query);
    QDesktopServices::openUrl(mail);
}

} // namespace vimbo::ui
