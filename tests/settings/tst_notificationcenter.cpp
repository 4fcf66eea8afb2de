#include "NotificationCenter.h"

#include "TestMain.h"

#include <QStringList>
#include <QTest>

#include <stdexcept>

namespace {

// Distinct identities for observers and senders; only their addresses matter.
const char observerA = 0;
const char observerB = 0;
const char senderX = 0;
const char senderY = 0;

const QString Name = QStringLiteral("BRVTextColorChanged");
const QString OtherName = QStringLiteral("BRVBgColorChanged");

} // namespace

class TestNotificationCenter : public QObject
{
    Q_OBJECT

private slots:
    void deliversToASubscriberOfTheName();
    void doesNotDeliverOtherNames();
    void namesMatchExactly();
    void deliversBeforePostReturns();
    void carriesNameObjectAndUserInfo();
    void deliversInSubscriptionOrder();
    void sameObserverSubscribedTwiceIsCalledTwice();
    void objectFilterSelectsTheSender();
    void nullObjectFilterAcceptsEverySender();
    void removeObserverEndsAllItsSubscriptions();
    void removeObserverLeavesOthersSubscribed();
    void handlerRemovingItselfDuringAPost();
    void handlerRemovingAnotherObserverDuringAPost();
    void handlerSubscribingDuringAPost();
    void handlerPostingDuringAPost();
    void handlerStaysAliveWhileItRemovesItself();
    void exceptionFromAHandlerPassesThrough();
    void emptyHandlerSubscribesNothing();
    void defaultCenterIsOneInstance();
};

void TestNotificationCenter::deliversToASubscriberOfTheName()
{
    NotificationCenter center;
    int calls = 0;
    center.addObserver(&observerA, Name, [&](const Notification&) { ++calls; });
    center.postNotificationName(Name, &senderX);
    QCOMPARE(calls, 1);
    center.postNotificationName(Name, &senderX);
    QCOMPARE(calls, 2);
}

void TestNotificationCenter::doesNotDeliverOtherNames()
{
    NotificationCenter center;
    int calls = 0;
    center.addObserver(&observerA, Name, [&](const Notification&) { ++calls; });
    center.postNotificationName(OtherName, &senderX);
    QCOMPARE(calls, 0);
}

void TestNotificationCenter::namesMatchExactly()
{
    NotificationCenter center;
    QStringList received;
    for (const QString& name :
         {QStringLiteral("BRVRemindEveryIntervalChanged"), QStringLiteral("remindeveryintervalchanged"),
          QStringLiteral("RemindEveryIntervalChanged ")}) {
        center.addObserver(&observerA, name, [&received, name](const Notification&) { received << name; });
    }
    center.postNotificationName(QStringLiteral("RemindEveryIntervalChanged"), &senderX);
    QVERIFY(received.isEmpty());
}

void TestNotificationCenter::deliversBeforePostReturns()
{
    NotificationCenter center;
    QStringList trace;
    center.addObserver(&observerA, Name, [&](const Notification&) { trace << QStringLiteral("handler"); });
    trace << QStringLiteral("before");
    center.postNotificationName(Name, &senderX);
    trace << QStringLiteral("after");
    QCOMPARE(trace, (QStringList{"before", "handler", "after"}));
}

void TestNotificationCenter::carriesNameObjectAndUserInfo()
{
    NotificationCenter center;
    Notification seen;
    center.addObserver(&observerA, Name, [&](const Notification& n) { seen = n; });
    center.postNotificationName(Name, &senderX, {{QStringLiteral("k"), 5}});
    QCOMPARE(seen.name, Name);
    QCOMPARE(seen.object, static_cast<const void*>(&senderX));
    QCOMPARE(seen.userInfo, (QVariantMap{{QStringLiteral("k"), 5}}));

    center.postNotificationName(Name, &senderY);
    QCOMPARE(seen.object, static_cast<const void*>(&senderY));
    QVERIFY(seen.userInfo.isEmpty());
}

void TestNotificationCenter::deliversInSubscriptionOrder()
{
    NotificationCenter center;
    QStringList trace;
    center.addObserver(&observerB, Name, [&](const Notification&) { trace << QStringLiteral("B1"); });
    center.addObserver(&observerA, Name, [&](const Notification&) { trace << QStringLiteral("A"); });
    center.addObserver(&observerB, Name, [&](const Notification&) { trace << QStringLiteral("B2"); });
    center.postNotificationName(Name, &senderX);
    QCOMPARE(trace, (QStringList{"B1", "A", "B2"}));
}

void TestNotificationCenter::sameObserverSubscribedTwiceIsCalledTwice()
{
    NotificationCenter center;
    int calls = 0;
    const auto handler = [&](const Notification&) { ++calls; };
    center.addObserver(&observerA, Name, handler);
    center.addObserver(&observerA, Name, handler);
    center.addObserver(&observerA, Name, handler);
    center.postNotificationName(Name, &senderX);
    QCOMPARE(calls, 3);
}

void TestNotificationCenter::objectFilterSelectsTheSender()
{
    NotificationCenter center;
    int calls = 0;
    center.addObserver(
        &observerA, Name, [&](const Notification&) { ++calls; }, &senderX);
    center.postNotificationName(Name, &senderY);
    QCOMPARE(calls, 0);
    center.postNotificationName(Name, nullptr);
    QCOMPARE(calls, 0);
    center.postNotificationName(Name, &senderX);
    QCOMPARE(calls, 1);
}

void TestNotificationCenter::nullObjectFilterAcceptsEverySender()
{
    NotificationCenter center;
    int calls = 0;
    center.addObserver(&observerA, Name, [&](const Notification&) { ++calls; });
    center.postNotificationName(Name, &senderX);
    center.postNotificationName(Name, &senderY);
    center.postNotificationName(Name, nullptr);
    QCOMPARE(calls, 3);
}

void TestNotificationCenter::removeObserverEndsAllItsSubscriptions()
{
    NotificationCenter center;
    int calls = 0;
    center.addObserver(&observerA, Name, [&](const Notification&) { ++calls; });
    center.addObserver(&observerA, Name, [&](const Notification&) { ++calls; });
    center.addObserver(&observerA, OtherName, [&](const Notification&) { ++calls; });
    center.addObserver(&observerB, Name, [&](const Notification&) {});
    QCOMPARE(center.subscriptionCount(), std::size_t(4));
    center.removeObserver(&observerA);
    QCOMPARE(center.subscriptionCount(), std::size_t(1));
    center.postNotificationName(Name, &senderX);
    center.postNotificationName(OtherName, &senderX);
    QCOMPARE(calls, 0);
}

void TestNotificationCenter::removeObserverLeavesOthersSubscribed()
{
    NotificationCenter center;
    int callsA = 0;
    int callsB = 0;
    center.addObserver(&observerA, Name, [&](const Notification&) { ++callsA; });
    center.addObserver(&observerB, Name, [&](const Notification&) { ++callsB; });
    center.removeObserver(&observerA);
    center.postNotificationName(Name, &senderX);
    QCOMPARE(callsA, 0);
    QCOMPARE(callsB, 1);
}

void TestNotificationCenter::handlerRemovingItselfDuringAPost()
{
    NotificationCenter center;
    QStringList trace;
    center.addObserver(&observerA, Name, [&](const Notification&) {
        trace << QStringLiteral("A1");
        center.removeObserver(&observerA);
    });
    center.addObserver(&observerA, Name, [&](const Notification&) { trace << QStringLiteral("A2"); });
    center.addObserver(&observerB, Name, [&](const Notification&) { trace << QStringLiteral("B"); });
    center.postNotificationName(Name, &senderX);
    QCOMPARE(trace, (QStringList{"A1", "B"}));
    center.postNotificationName(Name, &senderX);
    QCOMPARE(trace, (QStringList{"A1", "B", "B"}));
}

void TestNotificationCenter::handlerRemovingAnotherObserverDuringAPost()
{
    NotificationCenter center;
    QStringList trace;
    center.addObserver(&observerA, Name, [&](const Notification&) {
        trace << QStringLiteral("A");
        center.removeObserver(&observerB);
    });
    center.addObserver(&observerB, Name, [&](const Notification&) { trace << QStringLiteral("B"); });
    center.postNotificationName(Name, &senderX);
    QCOMPARE(trace, QStringList{"A"});
}

void TestNotificationCenter::handlerSubscribingDuringAPost()
{
    NotificationCenter center;
    QStringList trace;
    center.addObserver(&observerA, Name, [&](const Notification&) {
        trace << QStringLiteral("A");
        center.addObserver(&observerB, Name, [&](const Notification&) { trace << QStringLiteral("B"); });
    });
    center.postNotificationName(Name, &senderX);
    QCOMPARE(trace, QStringList{"A"});
    center.postNotificationName(Name, &senderX);
    QCOMPARE(trace, (QStringList{"A", "A", "B"}));
}

void TestNotificationCenter::handlerPostingDuringAPost()
{
    NotificationCenter center;
    QStringList trace;
    center.addObserver(&observerA, Name, [&](const Notification&) {
        trace << QStringLiteral("outer");
        center.postNotificationName(OtherName, &senderX);
        trace << QStringLiteral("outer done");
    });
    center.addObserver(&observerB, OtherName, [&](const Notification&) { trace << QStringLiteral("inner"); });
    center.postNotificationName(Name, &senderX);
    QCOMPARE(trace, (QStringList{"outer", "inner", "outer done"}));
}

void TestNotificationCenter::handlerStaysAliveWhileItRemovesItself()
{
    // The handler goes on using its captured state after unsubscribing; under AddressSanitizer this
    // fails loudly if unsubscribing destroyed the running handler.
    NotificationCenter center;
    QString seen;
    const QString captured = QStringLiteral("still here after unsubscribing");
    center.addObserver(&observerA, Name, [&center, &seen, captured](const Notification&) {
        center.removeObserver(&observerA);
        seen = captured;
    });
    center.postNotificationName(Name, &senderX);
    QCOMPARE(seen, captured);
}

void TestNotificationCenter::exceptionFromAHandlerPassesThrough()
{
    NotificationCenter center;
    int later = 0;
    center.addObserver(&observerA, Name, [](const Notification&) { throw std::runtime_error("handler"); });
    center.addObserver(&observerB, Name, [&](const Notification&) { ++later; });
    QVERIFY_THROWS_EXCEPTION(std::runtime_error, center.postNotificationName(Name, &senderX));
    QCOMPARE(later, 0);
    // The centre is still usable afterwards.
    center.removeObserver(&observerA);
    center.postNotificationName(Name, &senderX);
    QCOMPARE(later, 1);
}

void TestNotificationCenter::emptyHandlerSubscribesNothing()
{
    NotificationCenter center;
    center.addObserver(&observerA, Name, NotificationCenter::Handler());
    QCOMPARE(center.subscriptionCount(), std::size_t(0));
    int calls = 0;
    center.addObserver(&observerB, Name, [&](const Notification&) { ++calls; });
    center.postNotificationName(Name, &senderX);
    QCOMPARE(calls, 1);
}

void TestNotificationCenter::defaultCenterIsOneInstance()
{
    NotificationCenter& center = NotificationCenter::defaultCenter();
    QCOMPARE(&center, &NotificationCenter::defaultCenter());
    int calls = 0;
    center.addObserver(&observerA, Name, [&](const Notification&) { ++calls; });
    NotificationCenter::defaultCenter().postNotificationName(Name, &senderX);
    center.removeObserver(&observerA);
    NotificationCenter::defaultCenter().postNotificationName(Name, &senderX);
    QCOMPARE(calls, 1);
}

BREVLIN_TEST_MAIN_CORE(TestNotificationCenter)
#include "tst_notificationcenter.moc"
