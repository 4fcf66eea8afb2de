// Window tests run on a private X server with a real window manager; prove both are there.
#include "Processes.h"
#include "TestMain.h"

#include <QProcess>
#include <QTest>
#include <QWidget>

class TestDisplayPlumbing : public QObject
{
    Q_OBJECT

private slots:
    void runsOnAPrivateXServer()
    {
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("xcb"));
        QVERIFY(!qEnvironmentVariable("DISPLAY").isEmpty());
    }

    void aWindowManagerManagesWindows()
    {
        QVERIFY(testsupport::runProgram(QStringLiteral("xprop"),
                                        {QStringLiteral("-root"), QStringLiteral("_NET_SUPPORTING_WM_CHECK")})
                    .contains(QStringLiteral("window id")));
        QWidget window;
        window.resize(200, 100);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        // A managed window is listed by the window manager.
        QTRY_VERIFY(testsupport::runProgram(QStringLiteral("xprop"),
                                            {QStringLiteral("-root"), QStringLiteral("_NET_CLIENT_LIST")})
                        .contains(QStringLiteral("0x%1").arg(window.winId(), 0, 16)));
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestDisplayPlumbing)
#include "tst_displayplumbing.moc"
