#include "SingleInstance.h"

#include "LocalChannel.h"

#include <QCryptographicHash>
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
    return platform::sendOnLocalChannel(name, ShowRequest.toByteArray(), ConnectTimeoutMs);
}

SingleInstance::SingleInstance(QObject* parent)
    : QObject(parent)
{}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::listen(const QString& name)
{
    // Only this user may ask; anything but a request on the socket is ignored.
    m_listener = platform::listenOnLocalChannel(name, [this](const QByteArray& message) {
        if (message.startsWith(ShowRequest.toByteArray()))
            emit launchedAgain();
    });
    return m_listener != nullptr;
}
