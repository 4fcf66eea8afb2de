// The real application on a real X server with a real window manager, driven with xdotool as a presenter
// would drive it, beside a stand-in for PowerPoint.
#include "TestMain.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

namespace {

QString run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(10000);
    return QString::fromLocal8Bit(process.readAllStandardOutput()).trimmed();
}

QString xdotool(const QStringList& arguments)
{
    return run(QStringLiteral("xdotool"), arguments);
}

quint64 activeWindow()
{
    const QString out =
        run(QStringLiteral("xprop"), {QStringLiteral("-root"), QStringLiteral("_NET_ACTIVE_WINDOW")});
    const auto match = QRegularExpression(QStringLiteral("0x[0-9a-f]+")).match(out);
    return match.hasMatch() ? match.captured().toULongLong(nullptr, 16) : 0;
}

struct Geometry
{
    int x = 0, y = 0, width = 0, height = 0;
};

Geometry geometryOf(quint64 window)
{
    Geometry g;
    const QString out =
        xdotool({QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), QString::number(window)});
    for (const QString& line : out.split(QLatin1Char('\n'))) {
        const auto parts = line.split(QLatin1Char('='));
        if (parts.size() != 2)
            continue;
        const int value = parts.at(1).toInt();
        if (parts.at(0) == QLatin1String("X"))
            g.x = value;
        else if (parts.at(0) == QLatin1String("Y"))
            g.y = value;
        else if (parts.at(0) == QLatin1String("WIDTH"))
            g.width = value;
        else if (parts.at(0) == QLatin1String("HEIGHT"))
            g.height = value;
    }
    return g;
}

} // namespace

class TestPanelX11 : public QObject
{
    Q_OBJECT

private:
    QProcess m_app;
    QProcess m_powerPoint;
    quint64 m_panel = 0;
    quint64 m_fake = 0;

    bool startPowerPoint()
    {
        m_powerPoint.start(QStringLiteral(FAKE_POWERPOINT), {});
        if (!m_powerPoint.waitForReadyRead(10000))
            return false;
        m_fake = m_powerPoint.readLine().trimmed().toULongLong();
        return m_fake != 0;
    }

    bool startApp()
    {
        m_app.start(QStringLiteral(BREVLIN_APP), {});
        if (!m_app.waitForStarted(10000))
            return false;
        const QString ids =
            xdotool({QStringLiteral("search"), QStringLiteral("--sync"), QStringLiteral("--onlyvisible"),
                     QStringLiteral("--class"), QStringLiteral("brevlin")});
        m_panel = ids.split(QLatin1Char('\n')).value(0).toULongLong();
        // Let the window manager finish placing and focusing the new window.
        QTest::qWait(400);
        return m_panel != 0;
    }

    void focusPanel()
    {
        xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(m_panel)});
        QTRY_COMPARE(activeWindow(), m_panel);
    }

    void clickPanelAt(double fx, double fy)
    {
        const Geometry g = geometryOf(m_panel);
        xdotool({QStringLiteral("mousemove"), QString::number(g.x + int(g.width * fx)),
                 QString::number(g.y + int(g.height * fy)), QStringLiteral("click"), QStringLiteral("1")});
    }

    static QString storedCountdownTime()
    {
        QSettings settings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Brevlin"),
                           QStringLiteral("Brevlin"));
        settings.sync();
        return settings.value(QStringLiteral("BRVCountdownTime")).toString();
    }

private slots:
    void init()
    {
        // The application itself is not in test mode: its settings must land in the test's own home.
        QVERIFY(QDir::homePath().contains(QStringLiteral("brevlin-test.")));
        QStandardPaths::setTestModeEnabled(false);
        m_panel = m_fake = 0;
    }

    void cleanup()
    {
        m_app.kill();
        m_app.waitForFinished();
        m_powerPoint.closeWriteChannel();
        m_powerPoint.waitForFinished(3000);
        m_powerPoint.kill();
        m_powerPoint.waitForFinished();
        QFile::remove(QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Brevlin"),
                                QStringLiteral("Brevlin"))
                          .fileName());
    }

    void thePanelFloatsAboveOnEveryDesktop()
    {
        QVERIFY(startApp());
        const QString state = run(QStringLiteral("xprop"),
                                  {QStringLiteral("-id"), QString::number(m_panel),
                                   QStringLiteral("_NET_WM_STATE"), QStringLiteral("_NET_WM_DESKTOP")});
        QVERIFY2(state.contains(QStringLiteral("_NET_WM_STATE_ABOVE")), qPrintable(state));
        QVERIFY2(state.contains(QStringLiteral("_NET_WM_STATE_STICKY")) ||
                     state.contains(QStringLiteral("4294967295")),
                 qPrintable(state));
        QVERIFY2(state.contains(QStringLiteral("4294967295")), qPrintable(state));
        // No title bar: the window manager draws no frame around it.
        const QString extents = run(QStringLiteral("xprop"), {QStringLiteral("-id"), QString::number(m_panel),
                                                              QStringLiteral("_NET_FRAME_EXTENTS")});
        QVERIFY2(extents.contains(QStringLiteral("0, 0, 0, 0")), qPrintable(extents));
    }

    void launchingDoesNotHandFocusAway()
    {
        QVERIFY(startPowerPoint());
        QTRY_COMPARE(activeWindow(), m_fake);
        QVERIFY(startApp());
        QTest::qWait(500);
        QVERIFY(activeWindow() != m_fake);
    }

    void aClickOnThePanelHandsFocusToPowerPoint()
    {
        QVERIFY(startPowerPoint());
        QVERIFY(startApp());
        focusPanel();
        clickPanelAt(0.04, 0.1);
        QTRY_COMPARE(activeWindow(), m_fake);
    }

    void typingATimeKeepsTheKeyboardThenStartingHandsItBack()
    {
        QVERIFY(startPowerPoint());
        QVERIFY(startApp());
        QTRY_COMPARE(activeWindow(), m_panel);
        // A click into the time field of the inactive panel: the presenter wants to type there.
        xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(m_fake)});
        QTRY_COMPARE(activeWindow(), m_fake);
        clickPanelAt(0.35, 0.5);
        QTRY_COMPARE(activeWindow(), m_panel);
        QTest::qWait(300);
        QCOMPARE(activeWindow(), m_panel);
        xdotool({QStringLiteral("key"), QStringLiteral("ctrl+a")});
        xdotool({QStringLiteral("type"), QStringLiteral("0:0:42")});
        QTest::qWait(200);
        QCOMPARE(activeWindow(), m_panel);
        xdotool({QStringLiteral("key"), QStringLiteral("Return")});
        QTRY_COMPARE(activeWindow(), m_fake);
        QTRY_COMPARE(storedCountdownTime(), QStringLiteral("00:00:42"));
    }

    void aClickOnTheRunningTimePausesAndHandsFocusBack()
    {
        QVERIFY(startPowerPoint());
        QVERIFY(startApp());
        focusPanel();
        xdotool({QStringLiteral("key"), QStringLiteral("ctrl+a")});
        xdotool({QStringLiteral("type"), QStringLiteral("0:5:0")});
        xdotool({QStringLiteral("key"), QStringLiteral("Return")});
        QTRY_COMPARE(activeWindow(), m_fake);
        // A presenter's next click comes well after the hand-back has settled.
        QTest::qWait(800);
        clickPanelAt(0.5, 0.5);
        // The click activates the panel, which is not being edited, so the keyboard goes straight back.
        QTRY_COMPARE(activeWindow(), m_fake);
        QTest::qWait(300);
        QCOMPARE(activeWindow(), m_fake);
    }

    void resizingThePanelHandsFocusToPowerPoint()
    {
        QVERIFY(startPowerPoint());
        QVERIFY(startApp());
        focusPanel();
        xdotool({QStringLiteral("windowsize"), QString::number(m_panel), QStringLiteral("500"),
                 QStringLiteral("180")});
        QTRY_COMPARE(activeWindow(), m_fake);
        QTRY_COMPARE(geometryOf(m_panel).width, 500);
    }

    void withoutPowerPointEverythingWorksSilently()
    {
        QVERIFY(startApp());
        focusPanel();
        clickPanelAt(0.04, 0.1);
        xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(m_panel)});
        xdotool({QStringLiteral("key"), QStringLiteral("ctrl+a")});
        xdotool({QStringLiteral("type"), QStringLiteral("0:0:9")});
        xdotool({QStringLiteral("key"), QStringLiteral("Return")});
        QTRY_COMPARE(storedCountdownTime(), QStringLiteral("00:00:09"));
        xdotool({QStringLiteral("windowsize"), QString::number(m_panel), QStringLiteral("400"),
                 QStringLiteral("150")});
        QTest::qWait(300);
        QCOMPARE(m_app.state(), QProcess::Running);
        QCOMPARE(QString::fromLocal8Bit(m_app.readAllStandardError()), QString());
        QCOMPARE(QString::fromLocal8Bit(m_app.readAllStandardOutput()), QString());
    }

    void quitFromTheKeyboardEndsTheApplication()
    {
        QVERIFY(startApp());
        focusPanel();
        xdotool({QStringLiteral("key"), QStringLiteral("ctrl+q")});
        QVERIFY(m_app.waitForFinished(5000));
        QCOMPARE(m_app.exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_app.exitCode(), 0);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestPanelX11)
#include "tst_panelx11.moc"
