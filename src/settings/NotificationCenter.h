#pragma once

#include <QString>
#include <QVariantMap>

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

/// What an observer receives: the name, the identity of whatever posted it, and extra values (the
/// settings notifications carry none; observers read the store instead).
struct Notification
{
    QString name;
    const void* object = nullptr;
    QVariantMap userInfo;
};

/// Synchronous publish/subscribe by name. A post calls, before it returns and in subscription order, every
/// subscription that matches; the same observer subscribed twice is called twice. Main thread only.
class NotificationCenter
{
public:
    using Handler = std::function<void(const Notification&)>;

    static NotificationCenter& defaultCenter();

    NotificationCenter() = default;
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    /// Subscribes the observer to the name. With an object, only posts by that object are delivered; with
    /// nullptr, posts by anyone. The observer is only an identity, used by removeObserver(). An empty handler
    /// subscribes nothing.
    void addObserver(const void* observer, const QString& name, Handler handler,
                     const void* object = nullptr);
    /// Ends every subscription of the observer. Safe inside a handler: a subscription ended during a post
    /// is not called any more, not even later in that same post.
    void removeObserver(const void* observer);
    /// Delivers to every matching subscription before returning. Subscriptions added by a handler during
    /// the post are first called by the next post. Exceptions thrown by a handler pass through.
    void postNotificationName(const QString& name, const void* object, const QVariantMap& userInfo = {});
    /// How many subscriptions are held, for every name and observer: what a long run keeps in memory.
    std::size_t subscriptionCount() const { return m_subscriptions.size(); }

private:
    struct Subscription
    {
        const void* observer;
        QString name;
        Handler handler;
        const void* object;
        bool removed = false;
    };

    // Shared so that a post can work on a snapshot of the list while handlers change the list itself.
    std::vector<std::shared_ptr<Subscription>> m_subscriptions;
};
