// The local channel on POSIX systems: a Unix-domain stream socket in the user's private runtime folder,
// watched by the event loop. Plain system calls, so that the launch does not load Qt Network and what it
// pulls in (Kerberos, the proxy library) for one socket.

#include "LocalChannel.h"

#include <QDir>
#include <QFile>
#include <QSocketNotifier>
#include <QStandardPaths>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>

namespace platform {
namespace {

// A request is one short line; anything longer is cut here.
constexpr qsizetype MaxMessageBytes = 256;

// The socket's address: in the runtime folder, which only this user may enter; where that path is too long
// for an address (some macOS homes), in the temporary folder, which is per user there too.
bool addressFor(const QString& name, sockaddr_un& address)
{
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    for (const QString& folder :
         {QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation), QDir::tempPath()}) {
        if (folder.isEmpty())
            continue;
        const QByteArray path = QFile::encodeName(folder + QLatin1Char('/') + name);
        if (size_t(path.size()) < sizeof address.sun_path) {
            std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
            return true;
        }
    }
    return false;
}

int remainingMs(std::chrono::steady_clock::time_point deadline)
{
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return int(qMax<std::chrono::milliseconds::rep>(0, left.count()));
}

bool waitFor(int fd, short events, std::chrono::steady_clock::time_point deadline)
{
    for (;;) {
        pollfd entry{fd, events, 0};
        const int ready = ::poll(&entry, 1, remainingMs(deadline));
        if (ready > 0)
            return (entry.revents & events) != 0;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

class PosixListener final : public LocalChannelListener
{
public:
    PosixListener(int fd, QByteArray path, std::function<void(const QByteArray&)> received)
        : m_fd(fd)
        , m_path(std::move(path))
        , m_received(std::move(received))
        , m_notifier(fd, QSocketNotifier::Read)
    {
        QObject::connect(&m_notifier, &QSocketNotifier::activated, [this] { acceptWaiting(); });
    }

    ~PosixListener() override
    {
        m_notifier.setEnabled(false);
        for (auto& [client, connection] : m_connections) {
            connection.notifier->setEnabled(false);
            ::close(client);
        }
        ::close(m_fd);
        ::unlink(m_path.constData());
    }

private:
    struct Connection
    {
        std::unique_ptr<QSocketNotifier> notifier;
        QByteArray data;
    };

    void acceptWaiting()
    {
        for (;;) {
            const int client = ::accept4(m_fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (client < 0) {
                if (errno == EINTR)
                    continue;
                return;
            }
            Connection& connection = m_connections[client];
            connection.notifier = std::make_unique<QSocketNotifier>(client, QSocketNotifier::Read);
            QObject::connect(connection.notifier.get(), &QSocketNotifier::activated,
                             [this, client] { readFrom(client); });
        }
    }

    void readFrom(int client)
    {
        auto found = m_connections.find(client);
        if (found == m_connections.end())
            return;
        Connection& connection = found->second;
        char buffer[MaxMessageBytes];
        const ssize_t count = ::read(client, buffer, size_t(MaxMessageBytes - connection.data.size()));
        if (count < 0 && (errno == EAGAIN || errno == EINTR))
            return;
        if (count > 0)
            connection.data.append(buffer, qsizetype(count));
        const bool whole =
            count <= 0 || connection.data.contains('\n') || connection.data.size() >= MaxMessageBytes;
        if (!whole)
            return;
        const QByteArray message = connection.data;
        // The notifier that called us must outlive this call.
        connection.notifier->setEnabled(false);
        connection.notifier.release()->deleteLater();
        ::close(client);
        m_connections.erase(found);
        if (!message.isEmpty())
            m_received(message);
    }

    int m_fd;
    QByteArray m_path;
    std::function<void(const QByteArray&)> m_received;
    QSocketNotifier m_notifier;
    std::map<int, Connection> m_connections;
};

} // namespace

bool sendOnLocalChannel(const QString& name, const QByteArray& message, int timeoutMs) noexcept
{
    sockaddr_un address;
    if (!addressFor(name, address))
        return false;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    // Nobody listening fails at once (no file, or a file nobody accepts on); a listener whose queue is
    // full is waited for until the deadline.
    const auto connectOnce = [&] {
        return ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    };
    int connected = connectOnce();
    while (connected < 0 && errno == EAGAIN && remainingMs(deadline) > 0) {
        ::usleep(10000);
        connected = connectOnce();
    }
    if (connected < 0 && errno == EINPROGRESS) {
        int error = 0;
        socklen_t length = sizeof error;
        connected = waitFor(fd, POLLOUT, deadline) &&
                            ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) == 0 && error == 0
                        ? 0
                        : -1;
    }
    bool sent = connected == 0;
    qsizetype offset = 0;
    while (sent && offset < message.size()) {
        const ssize_t written =
            ::send(fd, message.constData() + offset, size_t(message.size() - offset), MSG_NOSIGNAL);
        if (written > 0)
            offset += written;
        else if (written < 0 && errno == EINTR)
            continue;
        else if (written < 0 && errno == EAGAIN)
            sent = waitFor(fd, POLLOUT, deadline);
        else
            sent = false;
    }
    ::close(fd);
    return sent;
}

std::unique_ptr<LocalChannelListener> listenOnLocalChannel(const QString& name,
                                                           std::function<void(const QByteArray&)> received)
{
    sockaddr_un address;
    if (!addressFor(name, address))
        return nullptr;
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return nullptr;
    const auto bound = [&] {
        return ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    };
    // A file there that nobody answered on (the caller asked first) is a leftover of a listener that ended
    // abruptly.
    if (!bound() && !(errno == EADDRINUSE && ::unlink(address.sun_path) == 0 && bound())) {
        ::close(fd);
        return nullptr;
    }
    // Only this user may ask: the folder is the user's own, and so is the socket.
    ::chmod(address.sun_path, S_IRUSR | S_IWUSR);
    if (::listen(fd, 16) != 0) {
        ::close(fd);
        ::unlink(address.sun_path);
        return nullptr;
    }
    return std::make_unique<PosixListener>(fd, QByteArray(address.sun_path), std::move(received));
}

} // namespace platform
