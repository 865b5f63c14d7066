// `vimbo` and `vimbo FILE…`: the window. A later start hands its files to the window already
// open and ends at once.
#include "app/CommandLine.h"
#include "app/Commands.h"
#include "app/QuitSignals.h"
#include "media/MediaProbe.h"
#include "media/Thumbnail.h"
#include "media/ff/Log.h"
#include "model/SessionStore.h"
#include "ui/AppShell.h"
#include "ui/DesktopPalette.h"
#include "ui/MainWindow.h"
#include "ui/SingleInstance.h"
#include "ui/Translations.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QIcon>

#include <csignal>
#include <cstdio>

namespace vimbo::app {
namespace {

bool hasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        if (!qEnvironmentVariableIsEmpty(name))
            return true;
    return false;
}

// A command-line argument as a file URL: paths relative to the working folder, or a file URL
// as a file manager passes it.
QUrl fileOf(const QString& argument) {
    if (argument.startsWith(QLatin1String("file:")))
        return QUrl(argument);
    return QUrl::fromLocalFile(QFileInfo(argument).absoluteFilePath());
}

MediaAccess windowMedia() {
    return {MediaProbe::isMedia, MediaProbe::probe,
            [](const QUrl& url, MediaKind kind, int maxPixels) {
                return Thumbnail::make(url, kind, maxPixels);
            }};
}

} // namespace

bool opensWindow(const QString& firstArgument) {
    return firstArgument.startsWith(QLatin1String("file:")) || QFileInfo::exists(firstArgument);
}

int windowCommand(int argc, char** argv, const QStringList& files) {
    if (!hasDisplay()) {
        std::fprintf(stderr, "Vimbo's window needs a graphical desktop; to join files without "
                             "one, use: vimbo merge FILE… -o OUT.mp4\n");
        return exitFailed;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vimbo"));
    QApplication::setApplicationVersion(QStringLiteral(VIMBO_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("app.vimbo.Vimbo"));
    ff::quietLibraryLog();

    QList<QUrl> urls;
    for (const QString& file : files)
        urls << fileOf(file);

    const SessionStore store;
    ui::SingleInstance instance(store.folder());
    if (instance.handOver(urls))
        return exitOk;
    instance.listen();

    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("app.vimbo.Vimbo"),
                                                 QIcon(QStringLiteral(":/app/vimbo.svg"))));
    ui::installTranslations();
    ui::followDesktopPalette(app);

    ui::AppShell shell(windowMedia(), store);
    QObject::connect(&instance, &ui::SingleInstance::filesArrived, &app,
                     [&shell](const QList<QUrl>& handed) {
                         shell.open(handed);
                         shell.raise();
                     });
    // Saved also when the session ends the program some other way than by closing the window.
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &app,
                     [&shell] { shell.project().saveNow(); });
    const QuitSignals signals_({SIGTERM, SIGHUP, SIGINT}, [&shell] { shell.quit(); });
    shell.open(urls);
    shell.show();
    return app.exec();
}

} // namespace vimbo::app
