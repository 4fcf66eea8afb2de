// Where Qt talks to no window system this layer knows (here the offscreen platform), every call must
// leave the application and its windows as they were, and say nothing.

#include "Platform.h"
#include "TestMain.h"

#include <QGuiApplication>
#include <QWidget>

namespace {

QStringList caughtMessages;

void catchMessage(QtMsgType, const QMessageLogContext&, const QString& message)
{
    caughtMessages.append(message);
}

/// Records every Qt message while it lives.
class MessageCatcher
{
public:
    MessageCatcher()
        : m_previous(qInstallMessageHandler(catchMessage))
    {
        caughtMessages.clear();
    }
    ~MessageCatcher() { qInstallMessageHandler(m_previous); }
    MessageCatcher(const MessageCatcher&) = delete;
    MessageCatcher& operator=(const MessageCatcher&) = delete;

private:
    QtMessageHandler m_previous;
};

} // namespace

class TestPlatformOffscreen : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void callsLeaveAShownWindowAlone();
    void callsBeforeTheFirstShowLeaveTheWindowAlone();
    void callsWithoutAWindowAreHarmless();
};

void TestPlatformOffscreen::initTestCase()
{
    QCOMPARE(QGuiApplication::platformName(), QStringLiteral("offscreen"));
}

void TestPlatformOffscreen::callsLeaveAShownWindowAlone()
{
    QWidget panel(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    panel.setGeometry(40, 50, 240, 80);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    const Qt::WindowFlags flags = panel.windowFlags();
    const QRect geometry = panel.geometry();
    const WId id = panel.winId();

    {
        MessageCatcher catcher;
        platform::floatAboveEverything(id);
        platform::setWindowShadow(id, true);
        platform::setWindowShadow(id, false);
        platform::activatePowerPoint();
        QCoreApplication::processEvents();
        QCOMPARE(caughtMessages, QStringList());
    }

    QVERIFY(panel.isVisible());
    QCOMPARE(panel.windowFlags(), flags);
    QCOMPARE(panel.geometry(), geometry);
    QCOMPARE(panel.winId(), id);
    QCOMPARE(panel.windowState(), Qt::WindowNoState);
}

void TestPlatformOffscreen::callsBeforeTheFirstShowLeaveTheWindowAlone()
{
    QWidget panel(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    panel.setGeometry(40, 50, 240, 80);
    const WId id = panel.winId();

    {
        MessageCatcher catcher;
        platform::floatAboveEverything(id);
        platform::setWindowShadow(id, true);
        QCoreApplication::processEvents();
        QCOMPARE(caughtMessages, QStringList());
    }

    QVERIFY(!panel.isVisible());
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    QCOMPARE(panel.geometry(), QRect(40, 50, 240, 80));
}

void TestPlatformOffscreen::callsWithoutAWindowAreHarmless()
{
    MessageCatcher catcher;
    for (platform::NativeWindow id :
         {platform::NativeWindow{0}, platform::NativeWindow{0x7ffffffe}, ~platform::NativeWindow{0}}) {
        platform::floatAboveEverything(id);
        platform::setWindowShadow(id, true);
        platform::setWindowShadow(id, false);
    }
    platform::activatePowerPoint();
    // No X11 connection to give a larger buffer: nothing happens, and nothing is printed.
    platform::sendRepaintsWithoutWaiting();
    QCoreApplication::processEvents();
    QCOMPARE(caughtMessages, QStringList());
}

BREVLIN_TEST_MAIN_WIDGETS(TestPlatformOffscreen)

#include "tst_platformoffscreen.moc"
