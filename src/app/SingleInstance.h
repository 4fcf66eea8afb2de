#pragma once

#include <QObject>
#include <QString>

#include <memory>

namespace platform {
class LocalChannelListener;
}

/// One panel per user and display. A later launch finds the running one through a local socket, asks it to
/// come into sight and ends without a window; the running panel and its settings are untouched.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    /// The socket's name for this user and display: two logins, or two displays of one user, each have a
    /// panel of their own.
    static QString channelName();

    /// Asks the panel already running, if any, to show itself. Returns whether one answered.
    static bool askRunningPanel(const QString& name = channelName());

    explicit SingleInstance(QObject* parent = nullptr);
    ~SingleInstance() override;
    /// Starts answering later launches. A socket left behind by a panel that crashed is replaced. False
    /// when the socket cannot be made; the panel then simply runs without this.
    bool listen(const QString& name = channelName());

signals:
    /// Another launch in the same session asked for the panel.
    void launchedAgain();

private:
    std::unique_ptr<platform::LocalChannelListener> m_listener;
};
