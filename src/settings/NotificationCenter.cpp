#include "NotificationCenter.h"

#include <algorithm>
#include <utility>

NotificationCenter& NotificationCenter::defaultCenter()
{
    static NotificationCenter center;
    return center;
}

void NotificationCenter::addObserver(const void* observer, const QString& name, Handler handler,
                                     const void* object)
{
    // An empty handler could only throw at delivery; there is nothing to call.
    if (!handler)
        return;
    m_subscriptions.push_back(
        std::make_shared<Subscription>(Subscription{observer, name, std::move(handler), object}));
}

void NotificationCenter::removeObserver(const void* observer)
{
    const auto ends = [observer](const std::shared_ptr<Subscription>& s) {
        if (s->observer != observer)
            return false;
        s->removed = true;
        return true;
    };
    m_subscriptions.erase(std::remove_if(m_subscriptions.begin(), m_subscriptions.end(), ends),
                          m_subscriptions.end());
}

void NotificationCenter::postNotificationName(const QString& name, const void* object,
                                              const QVariantMap& userInfo)
{
    const Notification notification{name, object, userInfo};
    // The snapshot also keeps each handler alive while it runs, even if it removes its own subscription.
    const auto snapshot = m_subscriptions;
    for (const auto& subscription : snapshot) {
        if (subscription->removed || subscription->name != name)
            continue;
        if (subscription->object && subscription->object != object)
            continue;
        subscription->handler(notification);
    }
}
