// The local channel where there are no Unix-domain sockets to call directly (Windows): Qt's local sockets,
// named pipes there.

#include "LocalChannel.h"

#include <QLocalServer>
#include <QLocalSocket>

namespace platform {
namespace {

class QtListener final : public LocalChannelListener
{
public:
    explicit QtListener(std::function<void(const QByteArray&)> received)
        : m_received(std::move(received))
    {
        m_server.setSocketOptions(QLocalServer::UserAccessOption);
        QObject::connect(&m_server, &QLocalServer::newConnection, [this] {
            while (QLocalSocket* socket = m_server.nextPendingConnection()) {
                QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
                QObject::connect(socket, &QLocalSocket::readyRead, socket, [this, socket] {
                    const QByteArray message = socket->readAll();
                    socket->disconnectFromServer();
                    m_received(message);
                });
            }
        });
    }

    bool listen(const QString& name)
    {
        if (m_server.listen(name))
            return true;
        // Nobody answered on it (the caller asked first), so it is a leftover of a listener that ended.
        QLocalServer::removeServer(name);
        return m_server.listen(name);
    }

private:
    std::function<void(const QByteArray&)> m_received;
    QLocalServer m_server;
};

} // namespace

bool sendOnLocalChannel(const QString& name, const QByteArray& message, int timeoutMs) noexcept
{
    QLocalSocket socket;
    socket.connectToServer(name, QIODevice::WriteOnly);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    socket.write(message);
    const bool sent = socket.waitForBytesWritten(timeoutMs);
    socket.disconnectFromServer();
    return sent;
}

std::unique_ptr<LocalChannelListener> listenOnLocalChannel(const QString& name,
                                                           std::function<void(const QByteArray&)> received)
{
    auto listener = std::make_unique<QtListener>(std::move(received));
    if (!listener->listen(name))
        return nullptr;
    return listener;
}

} // namespace platform
