// The real application on a real X server with a real window manager, driven with xdotool as a presenter
// would drive it, beside stand-ins for PowerPoint and for another program that shows slides.
#include "DesktopDriver.h"
#include "TestMain.h"

#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QTest>
#include <QWindow>

#include <memory>

using namespace desktop;

class TestPanelX11 : public QObject
{
    Q_OBJECT

private:
    QProcess m_app;
    std::vector<std::unique_ptr<QProcess>> m_others;
    quint64 m_panel = 0;

    /// A stand-in top-level window of another program; PowerPoint's class unless given another.
    quint64 startOther(const QString& wmClass = QString())
    {
        auto process = std::make_unique<QProcess>();
        QStringList arguments;
        if (!wmClass.isEmpty())
            arguments << QStringLiteral("--class") << wmClass << QStringLiteral("--instance") << wmClass;
        process->start(QStringLiteral(FAKE_POWERPOINT), arguments);
        if (!process->waitForReadyRead(10000))
            return 0;
        const quint64 window = process->readLine().trimmed().toULongLong();
        m_others.push_back(std::move(process));
        xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(window)});
        return window;
    }

    bool startApp()
    {
        m_panel = startPanel(m_app, QStringLiteral(BREVLIN_APP));
        return m_panel != 0;
    }

    // The time sits left of the middle while idle (the play button is on the right), in the middle while
    // running.
    void clickPanelAt(double fx, double fy) { clickAt(m_panel, fx, fy); }
    void clickIntoTheTime() { clickPanelAt(0.35, 0.5); }
    void clickTheBackground() { clickPanelAt(0.03, 0.08); }

private slots:
    void init()
    {
        // The application itself is not in test mode: its settings must land in the test's own home.
        QVERIFY(QDir::homePath().contains(QStringLiteral("brevlin-test.")));
        QStandardPaths::setTestModeEnabled(false);
        m_panel = 0;
    }

    void cleanup()
    {
        m_app.kill();
        m_app.waitForFinished();
        for (auto& process : m_others) {
            process->closeWriteChannel();
            process->waitForFinished(3000);
            process->kill();
            process->waitForFinished();
        }
        m_others.clear();
        QFile::remove(applicationSettings().fileName());
    }

    void thePanelIsLeftOutOfTheWindowManagerAndSeenOnEveryDesktop()
    {
        QVERIFY(startApp());
        // Override-redirect: no window manager stacks it under a full-screen window or puts a frame on it.
        const QString info = testsupport::runProgram(QStringLiteral("xwininfo"),
                                                     {QStringLiteral("-id"), QString::number(m_panel)});
        QVERIFY2(info.contains(QStringLiteral("Override Redirect State: yes")), qPrintable(info));
        const QRect panel = geometryOf(m_panel);
        QVERIFY(showsThePanel(panel));
        const QString desktops = xdotool({QStringLiteral("get_num_desktops")});
        QVERIFY2(desktops.toInt() > 1, qPrintable(desktops));
        xdotool({QStringLiteral("set_desktop"), QStringLiteral("1")});
        QTRY_COMPARE(xdotool({QStringLiteral("get_desktop")}), QStringLiteral("1"));
        QVERIFY(showsThePanel(panel));
        xdotool({QStringLiteral("set_desktop"), QStringLiteral("0")});
    }

    void thePanelComesBackOnTopWhenAnotherWindowIsRestacked()
    {
        QVERIFY(startApp());
        const QRect panel = geometryOf(m_panel);
        const quint64 other = startOther(QStringLiteral("coveringwindow"));
        QVERIFY(other != 0);
        xdotool({QStringLiteral("windowsize"), QString::number(other), QStringLiteral("1280"),
                 QStringLiteral("800")});
        xdotool(
            {QStringLiteral("windowmove"), QString::number(other), QStringLiteral("0"), QStringLiteral("0")});
        QTRY_COMPARE(geometryOf(other).size(), QSize(1280, 800));
        // Pushed under the white window by hand, as a window manager might stack it...
        std::unique_ptr<QWindow> foreign(QWindow::fromWinId(static_cast<WId>(m_panel)));
        QVERIFY(foreign);
        foreign->lower();
        QTRY_VERIFY(!showsThePanel(panel));
        // ...the panel is raised again at the next change of the window manager's stacking.
        xdotool(
            {QStringLiteral("windowmove"), QString::number(other), QStringLiteral("1"), QStringLiteral("1")});
        QTRY_VERIFY(showsThePanel(panel));
        QCOMPARE(geometryOf(m_panel), panel);
    }

    void launchLeavesTheKeyboardWhereItWas()
    {
        const quint64 powerPoint = startOther();
        QVERIFY(powerPoint != 0);
        QTRY_COMPARE(keyboardWindow(), powerPoint);
        QVERIFY(startApp());
        // Watched for a while: a late activation would take the slides' next key.
        QVERIFY(keyboardStaysWith(powerPoint, 2000));
        QCOMPARE(activeWindow(), powerPoint);
    }

    void aClickIntoTheTimeTakesTheKeyboardAndReturnHandsItToPowerPoint()
    {
        const quint64 powerPoint = startOther();
        QVERIFY(startApp());
        QVERIFY(keyboardStaysWith(powerPoint, 300));
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        QVERIFY(keyboardStaysWith(m_panel, 500));
        typeAndReturn(QStringLiteral("0:0:42"));
        QTRY_COMPARE(keyboardWindow(), powerPoint);
        QTRY_COMPARE(activeWindow(), powerPoint);
        QTRY_COMPARE(storedCountdownTime(), QStringLiteral("00:00:42"));
        QVERIFY(showsThePanel(geometryOf(m_panel)));
    }

    void aClickOnTheBackgroundHandsTheKeyboardBack()
    {
        const quint64 powerPoint = startOther();
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        clickTheBackground();
        QTRY_COMPARE(keyboardWindow(), powerPoint);
        QVERIFY(keyboardStaysWith(powerPoint, 500));
    }

    void aClickOnTheRunningTimePausesItWithoutTakingTheKeyboard()
    {
        const quint64 powerPoint = startOther();
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:5:0"));
        QTRY_COMPARE(keyboardWindow(), powerPoint);
        const QRect panel = geometryOf(m_panel);
        QTRY_VERIFY(!showsThePlayButton(panel));
        clickPanelAt(0.5, 0.5);
        // Paused: the play button is back and the digits stand still.
        QTRY_VERIFY(showsThePlayButton(panel));
        const QImage paused = screenPixels(panel);
        QTest::qWait(1500);
        QCOMPARE(screenPixels(panel), paused);
        QVERIFY(keyboardStaysWith(powerPoint, 300));
    }

    void afterAPauseEveryDigitTypedStaysInTheField()
    {
        const quint64 powerPoint = startOther();
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:5:0"));
        QTRY_COMPARE(keyboardWindow(), powerPoint);
        for (int round = 0; round < 10; ++round) {
            clickPanelAt(0.5, 0.5); // pause
            QTRY_VERIFY(showsThePlayButton(geometryOf(m_panel)));
            clickIntoTheTime();
            QTRY_COMPARE(keyboardWindow(), m_panel);
            const QString typed = QStringLiteral("0:%1:%2").arg(round + 1).arg(round + 10);
            typeAndReturn(typed);
            const QString shown = QStringLiteral("00:%1:%2")
                                      .arg(round + 1, 2, 10, QLatin1Char('0'))
                                      .arg(round + 10, 2, 10, QLatin1Char('0'));
            QTRY_COMPARE(storedCountdownTime(), shown);
            QTRY_COMPARE(keyboardWindow(), powerPoint);
        }
    }

    void withoutPowerPointTheKeyboardGoesBackToTheWindowUsedBefore()
    {
        const quint64 slides = startOther(QStringLiteral("someslideshow"));
        const quint64 elsewhere = startOther(QStringLiteral("someeditor"));
        xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(slides)});
        QTRY_COMPARE(keyboardWindow(), slides);
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:0:30"));
        QTRY_COMPARE(keyboardWindow(), slides);
        QVERIFY(keyboardWindow() != elsewhere);
    }

    void withPowerPointRunningItIsPreferredToTheWindowUsedBefore()
    {
        const quint64 powerPoint = startOther();
        const quint64 slides = startOther(QStringLiteral("someslideshow"));
        QTRY_COMPARE(keyboardWindow(), slides);
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:0:30"));
        QTRY_COMPARE(keyboardWindow(), powerPoint);
    }

    void withTheSettingOffOnlyPowerPointGetsTheKeyboardBack()
    {
        {
            QSettings settings = applicationSettings();
            settings.setValue(QStringLiteral("ReturnFocusToPreviousWindow"), false);
        }
        const quint64 slides = startOther(QStringLiteral("someslideshow"));
        QTRY_COMPARE(keyboardWindow(), slides);
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:0:30"));
        QTRY_COMPARE(storedCountdownTime(), QStringLiteral("00:00:30"));
        QVERIFY(keyboardStaysWith(m_panel, 800));
    }

    void resizingThePanelHandsTheKeyboardBack()
    {
        const quint64 powerPoint = startOther();
        QVERIFY(startApp());
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        xdotool({QStringLiteral("windowsize"), QString::number(m_panel), QStringLiteral("500"),
                 QStringLiteral("180")});
        QTRY_COMPARE(keyboardWindow(), powerPoint);
        QTRY_COMPARE(geometryOf(m_panel).size(), QSize(500, 180));
    }

    void draggingTheBackgroundMovesThePanelAndDraggingAnEdgeResizesIt()
    {
        QVERIFY(startApp());
        const QRect before = geometryOf(m_panel);
        drag(before.topLeft() + QPoint(before.width() / 2, 8), QPoint(-200, 100));
        QTRY_COMPARE(geometryOf(m_panel).topLeft(), before.topLeft() + QPoint(-200, 100));
        QCOMPARE(geometryOf(m_panel).size(), before.size());

        const QRect moved = geometryOf(m_panel);
        drag(moved.bottomRight() - QPoint(1, 1), QPoint(100, 50));
        QTRY_COMPARE(geometryOf(m_panel).size(), moved.size() + QSize(100, 50));
        QCOMPARE(geometryOf(m_panel).topLeft(), moved.topLeft());
        QVERIFY(showsThePanel(geometryOf(m_panel)));
    }

    void withoutPowerPointEverythingWorksSilently()
    {
        QVERIFY(startApp());
        clickTheBackground();
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:0:9"));
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
        clickIntoTheTime();
        QTRY_COMPARE(keyboardWindow(), m_panel);
        xdotool({QStringLiteral("key"), QStringLiteral("ctrl+q")});
        QVERIFY(m_app.waitForFinished(5000));
        QCOMPARE(m_app.exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_app.exitCode(), 0);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestPanelX11)
#include "tst_panelx11.moc"
