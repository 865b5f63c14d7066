#include "ui/DesktopPalette.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>

namespace vimbo::ui {
namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");
constexpr uint preferDark = 1;

// Adwaita's dark colours, with its blue accent.
QPalette darkPalette() {
    const QColor window(0x24, 0x24, 0x24);
    const QColor base(0x36, 0x36, 0x36); // fields and boxes stand out from the window
    const QColor button(0x35, 0x35, 0x35);
    const QColor text(0xff, 0xff, 0xff);
    const QColor dim(0x8a, 0x8a, 0x8a);
    const QColor accent(0x35, 0x84, 0xe4);
    QPalette p;
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::ToolTipBase, button);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, dim);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, button);
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Light, QColor(0x4a, 0x4a, 0x4a));
    p.setColor(QPalette::Midlight, QColor(0x3e, 0x3e, 0x3e));
    p.setColor(QPalette::Mid, QColor(0x2f, 0x2f, 0x2f));
    p.setColor(QPalette::Dark, QColor(0x16, 0x16, 0x16));
    p.setColor(QPalette::Shadow, Qt::black);
    p.setColor(QPalette::Highlight, accent);
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, accent.lighter(130));
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, QColor(0x6e, 0x6e, 0x6e));
    p.setColor(QPalette::Disabled, QPalette::Highlight, QColor(0x45, 0x45, 0x45));
    return p;
}

class PaletteFollower : public QObject {
    Q_OBJECT
public:
    explicit PaletteFollower(QApplication& app)
        : QObject(&app)
        , lightStyle_(app.style()->name())
        , lightPalette_(app.palette()) {}

    void apply(bool dark) {
        if (dark == dark_)
            return;
        dark_ = dark;
        if (dark) {
            QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
            QApplication::setPalette(darkPalette());
        } else {
            QApplication::setStyle(QStyleFactory::create(lightStyle_));
            QApplication::setPalette(lightPalette_);
        }
    }

    void askPortal() {
        QDBusMessage read = QDBusMessage::createMethodCall(
            portalService, portalPath, settingsInterface, QStringLiteral("Read"));
        read << appearance << colorScheme;
        auto* watcher =
            new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(read), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this,
                [this](QDBusPendingCallWatcher* call) {
                    call->deleteLater();
                    const QDBusPendingReply<QDBusVariant> reply = *call;
                    if (reply.isValid())
                        apply(schemeOf(reply.value().variant()) == preferDark);
                });
        QDBusConnection::sessionBus().connect(portalService, portalPath, settingsInterface,
                                              QStringLiteral("SettingChanged"), this,
                                              SLOT(settingChanged(QString, QString, QDBusVariant)));
    }

private:
    // Read answers a variant inside a variant; SettingChanged a plain one.
    static uint schemeOf(QVariant value) {
        while (value.canConvert<QDBusVariant>() && value.userType() == qMetaTypeId<QDBusVariant>())
            value = value.value<QDBusVariant>().variant();
        return value.toUInt();
    }

private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
        if (group == appearance && key == colorScheme)
            apply(schemeOf(value.variant()) == preferDark);
    }

private:
    QString lightStyle_;
    QPalette lightPalette_;
    bool dark_ = false;
};

} // namespace

void followDesktopPalette(QApplication& app) {
    if (qEnvironmentVariable("XDG_CURRENT_DESKTOP").contains(QLatin1String("KDE")))
        return;
    auto* follower = new PaletteFollower(app); // lives as long as the application
    if (qEnvironmentVariable("GTK_THEME").endsWith(QLatin1String(":dark"))) {
        follower->apply(true);
        return;
    }
    if (QDBusConnection::sessionBus().isConnected())
        follower->askPortal();
}

} // namespace vimbo::ui

#include "DesktopPalette.moc"
