#pragma once

// GNOME Shell (mutter) in the lab: input through mutter's remote desktop API, as a remote desktop client's
// keyboard and mouse arrive; screenshots through GNOME Shell's screenshot API, which answers only callers
// that own an allow-listed name, so this connection takes "org.gnome.Screenshot".

#include "Compositor.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDir>
#include <QImage>
#include <QTemporaryDir>

namespace lab {

class GnomeShell final : public Compositor
{
public:
    bool connect(QString* why) override
    {
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected()) {
            *why = QStringLiteral("no session bus");
            return false;
        }
        QDBusInterface remoteDesktop(QStringLiteral("org.gnome.Mutter.RemoteDesktop"),
                                     QStringLiteral("/org/gnome/Mutter/RemoteDesktop"),
                                     QStringLiteral("org.gnome.Mutter.RemoteDesktop"), bus);
        const QDBusReply<QDBusObjectPath> session = remoteDesktop.call(QStringLiteral("CreateSession"));
        if (!session.isValid()) {
            *why = QStringLiteral("CreateSession: ") + session.error().message();
            return false;
        }
        m_session = std::make_unique<QDBusInterface>(
            QStringLiteral("org.gnome.Mutter.RemoteDesktop"), session.value().path(),
            QStringLiteral("org.gnome.Mutter.RemoteDesktop.Session"), bus);
        const QDBusMessage started = m_session->call(QStringLiteral("Start"));
        if (started.type() == QDBusMessage::ErrorMessage) {
            *why = QStringLiteral("Start: ") + started.errorMessage();
            return false;
        }
        // mutter drops the first key of a new virtual keyboard: a Shift alone, before any key that counts.
        constexpr std::uint32_t shift = 0xffe1;
        tap(shift);
        QTest::qWait(200);
        if (!bus.registerService(QStringLiteral("org.gnome.Screenshot"))) {
            *why = QStringLiteral("cannot own org.gnome.Screenshot");
            return false;
        }
        m_shell = std::make_unique<QDBusInterface>(QStringLiteral("org.gnome.Shell.Screenshot"),
                                                   QStringLiteral("/org/gnome/Shell/Screenshot"),
                                                   QStringLiteral("org.gnome.Shell.Screenshot"), bus);
        if (screenshot().isNull()) {
            *why = QStringLiteral("no screenshot");
            return false;
        }
        return true;
    }

    void key(std::uint32_t keysym, bool pressed) override
    {
        warnOnError(m_session->call(QStringLiteral("NotifyKeyboardKeysym"), keysym, pressed));
    }

    void button(bool pressed) override
    {
        constexpr int leftButton = 0x110; // BTN_LEFT
        warnOnError(m_session->call(QStringLiteral("NotifyPointerButton"), leftButton, pressed));
    }

    void moveTo(QPoint at) override
    {
        // Relative moves only need no screen cast, and mutter moves the pointer by exactly as much. The
        // first goes far beyond the bottom right corner, where the pointer stops: from there it is known.
        if (!m_pointerKnown) {
            m_session->call(QStringLiteral("NotifyPointerMotionRelative"), 100000.0, 100000.0);
            const QSize size = m_lastSize.isValid() ? m_lastSize : screenshot().size();
            m_pointer = QPoint(size.width() - 1, size.height() - 1);
            m_pointerKnown = true;
        }
        const QPoint by = at - m_pointer;
        m_session->call(QStringLiteral("NotifyPointerMotionRelative"), double(by.x()), double(by.y()));
        m_pointer = at;
    }

    QImage screenshot() override
    {
        const QString file = m_folder.filePath(QStringLiteral("screen.png"));
        QFile::remove(file);
        const QDBusMessage reply = m_shell->call(QStringLiteral("Screenshot"), false, false, file);
        if (reply.type() == QDBusMessage::ErrorMessage || reply.arguments().value(0).toBool() != true)
            return {};
        QImage image(file);
        if (!image.isNull())
            m_lastSize = image.size();
        return image.convertToFormat(QImage::Format_RGB32);
    }

private:
    static void warnOnError(const QDBusMessage& reply)
    {
        if (reply.type() == QDBusMessage::ErrorMessage)
            qWarning().noquote() << "remote desktop:" << reply.errorMessage();
    }

    std::unique_ptr<QDBusInterface> m_session;
    std::unique_ptr<QDBusInterface> m_shell;
    QTemporaryDir m_folder;
    QSize m_lastSize;
    QPoint m_pointer;
    bool m_pointerKnown = false;
};

} // namespace lab
