#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

namespace platform {

/// A named channel between the processes of one user: a later launch leaves a short message with the one
/// that listens. On POSIX systems a Unix-domain socket in the user's private runtime folder (no library
/// beyond the C one, so nothing more to load at launch); elsewhere Qt's local sockets.
class LocalChannelListener
{
public:
    virtual ~LocalChannelListener() = default;
};

/// Sends the message to the channel's listener. False at once when nobody listens; waits at most
/// timeoutMs for a listener that does not take it.
bool sendOnLocalChannel(const QString& name, const QByteArray& message, int timeoutMs) noexcept;

/// Listens on the channel, replacing what a listener that ended abruptly left behind. Each connection's
/// first bytes (up to its end or a newline) reach `received` from the calling thread's event loop. Null
/// when the channel cannot be made. Listening ends with the returned object.
std::unique_ptr<LocalChannelListener> listenOnLocalChannel(const QString& name,
                                                           std::function<void(const QByteArray&)> received);

} // namespace platform
