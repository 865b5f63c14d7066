#include "ui/SingleInstance.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>
#include <QLocalSocket>
#include <QPointer>

namespace vimbo::ui {
namespace {

// Bumped whenever what travels over the socket changes.
constexpr quint32 protocol = 0x56494d31; // "VIM1"
constexpr char confirmed = 'k';
constexpr int connectMs = 1000;
// The running instance answers from its event loop, which may still be starting up.
constexpr int answerMs = 5000;

QString runtimeFolder() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return runtime.isEmpty() || !QDir(runtime).exists() ? QDir::tempPath() : runtime;
}

} // namespace

SingleInstance::SingleInstance(const QString& projectFolder, QObject* parent)
    : QObject(parent) {
    const QByteArray id = QCryptographicHash::hash(QDir(projectFolder).absolutePath().toUtf8(),
                                                   QCryptographicHash::Sha1)
                              .toHex()
                              .left(16);
    path_ = runtimeFolder() + QStringLiteral("/vimbo-") + QString::fromLatin1(id) +
            QStringLiteral(".socket");
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&server_, &QLocalServer::newConnection, this, &SingleInstance::accept);
}

bool SingleInstance::handOver(const QList<QUrl>& files) const {
    QLocalSocket socket;
    socket.connectToServer(path_);
    if (!socket.waitForConnected(connectMs))
        return false;
    QStringList texts;
    for (const QUrl& url : files)
        texts << url.toString(QUrl::FullyEncoded);
    QDataStream out(&socket);
    out << protocol << texts;
    socket.flush();
    while (socket.bytesAvailable() == 0)
        if (!socket.waitForReadyRead(answerMs))
            return false;
    char answer = 0;
    return socket.getChar(&answer) && answer == confirmed;
}

bool SingleInstance::listen() {
    if (server_.listen(path_))
        return true;
    // Either another instance has just started, or one crashed and left its socket behind.
    QLocalSocket probe;
    probe.connectToServer(path_);
    if (probe.waitForConnected(connectMs))
        return false;
    QLocalServer::removeServer(path_);
    return server_.listen(path_);
}

void SingleInstance::accept() {
    while (QLocalSocket* socket = server_.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            QDataStream in(socket);
            in.startTransaction();
            quint32 version = 0;
            QStringList texts;
            in >> version >> texts;
            if (!in.commitTransaction())
                return; // wait for the rest
            if (version != protocol) {
                socket->abort();
                return;
            }
            QList<QUrl> files;
            for (const QString& text : texts)
                files << QUrl(text, QUrl::StrictMode);
            socket->putChar(confirmed);
            socket->flush();
            socket->disconnectFromServer();
            emit filesArrived(files);
        });
    }
}

} // namespace vimbo::ui
