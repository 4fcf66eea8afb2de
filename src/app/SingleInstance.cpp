#include "SingleInstance.h"

#include <QCryptographicHash>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>

namespace {

constexpr QByteArrayView ShowRequest = "show\n";

// Connecting to a socket nobody listens on fails at once; a live panel answers within milliseconds. The
// bound is for a panel that hangs, which must not keep a new launch waiting for long.
constexpr int ConnectTimeoutMs = 1000;

} // namespace

QString SingleInstance::channelName()
{
    // The user's runtime folder tells users and logins apart, the display variables the displays; a
    // hash keeps the name short and free of path characters on every platform.
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation).toUtf8());
    for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        hash.addData(QByteArrayView("\n"));
        hash.addData(qgetenv(variable));
    }
    return QStringLiteral("brevlin-") + QString::fromLatin1(hash.result().toHex().left(24));
}

bool SingleInstance::askRunningPanel(const QString& name)
{
    QLocalSocket socket;
    socket.connectToServer(name, QIODevice::WriteOnly);
    if (!socket.waitForConnected(ConnectTimeoutMs))
        return false;
    socket.write(ShowRequest.data(), ShowRequest.size());
    const bool sent = socket.waitForBytesWritten(ConnectTimeoutMs);
    socket.disconnectFromServer();
    return sent;
}

SingleInstance::SingleInstance(QObject* parent)
    : QObject(parent)
    , m_server(new QLocalServer(this))
{
    // Only this user may ask.
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                // Anything else on the socket is ignored; a request is one short line.
                if (socket->readAll().startsWith(ShowRequest.toByteArray()))
                    emit launchedAgain();
                socket->disconnectFromServer();
            });
        }
    });
}

bool SingleInstance::listen(const QString& name)
{
    if (m_server->listen(name))
        return true;
    // Nobody answered on it (the caller asked first), so it is a leftover of a panel that ended abruptly.
    QLocalServer::removeServer(name);
    return m_server->listen(name);
}
