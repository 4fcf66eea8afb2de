// On stage under a Wayland compositor: the real application beside a focused full-screen slide show, the
// show running natively on Wayland or on XWayland. Input goes in through the compositor as a real
// keyboard and mouse would arrive, the screen is read from the compositor's own picture of it, and where
// the keys went is read from the show's own log.
#include "DesktopDriver.h"
#include "ShowLog.h"
#include "TestMain.h"
#include "lab/Compositor.h"

#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTest>

using namespace lab;

class TestStageWayland : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Compositor> m_compositor;
    QProcess m_app;
    QProcess m_show;
    ShowLog m_log{m_show};
    QRect m_panel;
    int m_shot = 0;

    bool startShow(const QString& kind)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"),
                   kind == QLatin1String("native") ? QStringLiteral("wayland") : QStringLiteral("xcb"));
        m_show.setProcessEnvironment(env);
        m_show.setProcessChannelMode(QProcess::SeparateChannels);
        m_show.start(QStringLiteral(STAGE_SHOW), {});
        // Shown, full screen and with the keyboard, as a presenter starts it.
        return QTest::qWaitFor([this] { return showSaid().contains(QLatin1String("focus in")); }, 15000) &&
               QTest::qWaitFor(
                   [this] {
                       const QImage screen = m_compositor->screenshot();
                       return !screen.isNull() && countPixels(screen, screen.rect(), [](QColor c) {
                                                      return c.red() == 0x10 && c.green() == 0x20 &&
                                                             c.blue() == 0x80;
                                                  }) > screen.width() * screen.height() * 8 / 10;
                   },
                   10000);
    }

    QStringList showSaid() { return m_log.said(); }
    bool showHasKeyboard() { return m_log.hasKeyboard(); }
    int slide() { return m_log.slide(); }
    QStringList keysOtherThanSlides() { return m_log.keysOtherThanSlides(); }

    bool startApp()
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        // The application chooses its window system from the session, as it does when a presenter starts it.
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));
        m_app.setProcessEnvironment(env);
        m_app.setProcessChannelMode(QProcess::ForwardedChannels);
        m_app.start(QStringLiteral(BREVLIN_APP), {});
        if (!m_app.waitForStarted(10000))
            return false;
        return QTest::qWaitFor(
            [this] {
                const QImage screen = m_compositor->screenshot();
                m_panel = panelArea(screen);
                return m_panel.isValid() && showsThePanel(screen, m_panel);
            },
            15000);
    }

    /// Whether the compositor's picture of the screen shows the panel where it was last seen.
    bool panelInSight()
    {
        const QImage screen = m_compositor->screenshot();
        // BREVLIN_LAB_SHOTS names a folder to keep every screen looked at, to be looked at in turn.
        const QString shots = qEnvironmentVariable("BREVLIN_LAB_SHOTS");
        if (!shots.isEmpty())
            screen.save(QStringLiteral("%1/%2-%3-%4.png")
                            .arg(shots, QLatin1String(QTest::currentTestFunction()),
                                 QLatin1String(QTest::currentDataTag()))
                            .arg(++m_shot, 3, 10, QLatin1Char('0')));
        const QRect now = panelArea(screen);
        if (!now.isValid() || !showsThePanel(screen, now))
            return false;
        m_panel = now;
        return true;
    }

    bool playButtonInSight() { return showsThePlayButton(m_compositor->screenshot(), m_panel); }

    QPoint panelPoint(double fx, double fy) const
    {
        return {m_panel.x() + int(m_panel.width() * fx), m_panel.y() + int(m_panel.height() * fy)};
    }

    void clickPanelAt(double fx, double fy) { m_compositor->clickAt(panelPoint(fx, fy)); }

    void typeAndReturn(const QString& text)
    {
        m_compositor->selectAll();
        m_compositor->type(text);
        m_compositor->tap(keyReturn);
    }

    /// Waits until the show has the keyboard again and has not lost it for a moment.
    bool keyboardBackWithShow()
    {
        return QTest::qWaitFor([this] { return showHasKeyboard(); }, 5000) &&
               (QTest::qWait(300), showHasKeyboard());
    }

private slots:
    void initTestCase()
    {
        m_compositor = sessionCompositor();
        QVERIFY2(m_compositor, "BREVLIN_LAB_COMPOSITOR names no known compositor");
        QString why;
        QVERIFY2(m_compositor->connect(&why), qPrintable(why));
    }

    void init()
    {
        QVERIFY(QDir::homePath().startsWith(QStringLiteral("/tmp/brevlin-")));
        QStandardPaths::setTestModeEnabled(false);
        m_log.clear();
        m_panel = {};
    }

    void cleanup()
    {
        if (QTest::currentTestFailed()) {
            qInfo().noquote() << "The show said:" << showSaid().join(QLatin1String(" | "));
            const QString shots = qEnvironmentVariable("BREVLIN_LAB_SHOTS");
            if (!shots.isEmpty())
                m_compositor->screenshot().save(
                    shots + QStringLiteral("/failed-%1.png").arg(QLatin1String(QTest::currentDataTag())));
        }
        m_app.terminate();
        if (!m_app.waitForFinished(5000)) {
            m_app.kill();
            m_app.waitForFinished();
        }
        m_show.closeWriteChannel();
        if (!m_show.waitForFinished(3000)) {
            m_show.kill();
            m_show.waitForFinished();
        }
        QFile::remove(desktop::applicationSettings().fileName());
        QTest::qWait(300);
    }

    void thePresenterStartsTheTimerAndGoesOnWithTheSlides_data()
    {
        QTest::addColumn<QString>("show");
        QTest::newRow("native") << QStringLiteral("native");
        QTest::newRow("x11") << QStringLiteral("x11");
    }

    void thePresenterStartsTheTimerAndGoesOnWithTheSlides()
    {
        QFETCH(QString, show);
        QVERIFY(startShow(show));
        QVERIFY(startApp());
        // Launching leaves the keyboard with the show: no focus lost, and a key turns a slide.
        QTest::qWait(1500);
        QVERIFY(showHasKeyboard());
        QVERIFY(!showSaid().contains(QLatin1String("focus out")));
        QVERIFY(panelInSight());
        m_compositor->tap(keyRight);
        QTRY_COMPARE(slide(), 2);

        clickPanelAt(0.35, 0.5);
        QTRY_VERIFY(!showHasKeyboard());
        QVERIFY(panelInSight());
        typeAndReturn(QStringLiteral("0:0:30"));
        QTRY_COMPARE(desktop::storedCountdownTime(), QStringLiteral("00:00:30"));
        QVERIFY(keyboardBackWithShow());
        QTRY_VERIFY(panelInSight());
        QTRY_VERIFY(!playButtonInSight());

        // The next key is the slides': exactly one slide further.
        m_compositor->tap(keyRight);
        QTRY_COMPARE(slide(), 3);
        QTest::qWait(300);
        QCOMPARE(slide(), 3);
        QVERIFY(panelInSight());
        // Not one of the keys typed into the panel reached the show.
        QCOMPARE(keysOtherThanSlides(), QStringList());
    }

    void aClickOnTheBackgroundKeepsTheShowInControlAndThePanelInSight_data()
    {
        thePresenterStartsTheTimerAndGoesOnWithTheSlides_data();
    }

    void aClickOnTheBackgroundKeepsTheShowInControlAndThePanelInSight()
    {
        QFETCH(QString, show);
        QVERIFY(startShow(show));
        QVERIFY(startApp());
        clickPanelAt(0.35, 0.5);
        QTRY_VERIFY(!showHasKeyboard());
        clickPanelAt(0.03, 0.08);
        QVERIFY(keyboardBackWithShow());
        QTRY_VERIFY(panelInSight());
        m_compositor->tap(keySpace);
        QTRY_COMPARE(slide(), 2);
        QVERIFY(panelInSight());
        QCOMPARE(keysOtherThanSlides(), QStringList());

        // Nothing of that click is left over: the next click into the time takes the keyboard again.
        clickPanelAt(0.35, 0.5);
        QTRY_VERIFY(!showHasKeyboard());
        typeAndReturn(QStringLiteral("0:2:0"));
        QTRY_COMPARE(desktop::storedCountdownTime(), QStringLiteral("00:02:00"));
        QVERIFY(keyboardBackWithShow());
        QCOMPARE(keysOtherThanSlides(), QStringList());
    }

    void leavingTheTimeByClickingTheShowLeavesThePanelWithoutTheKeyboard_data()
    {
        thePresenterStartsTheTimerAndGoesOnWithTheSlides_data();
    }

    void leavingTheTimeByClickingTheShowLeavesThePanelWithoutTheKeyboard()
    {
        QFETCH(QString, show);
        if (qgetenv("BREVLIN_LAB_COMPOSITOR") == "sway" && show == QLatin1String("native"))
            QSKIP(
                "sway counts the show as focused all along and does not give it the keyboard back on a click "
                "while the panel has it; Return, or a click on the panel, does");
        QVERIFY(startShow(show));
        QVERIFY(startApp());
        clickPanelAt(0.35, 0.5);
        QTRY_VERIFY(!showHasKeyboard());
        // The presenter changes their mind and clicks the slide instead.
        m_compositor->clickAt({m_panel.x() / 2, 600});
        QVERIFY(keyboardBackWithShow());
        // A click on the panel's background then leaves the keyboard with the show: not even for a moment
        // does the show lose it.
        const qsizetype before = showSaid().size();
        clickPanelAt(0.03, 0.08);
        QTest::qWait(500);
        QCOMPARE(showSaid().mid(before).filter(QStringLiteral("focus")), QStringList());
        m_compositor->tap(keyRight);
        QTRY_COMPARE(slide(), 2);
        QVERIFY(panelInSight());
        QCOMPARE(keysOtherThanSlides(), QStringList());
    }

    void draggingThePanelMovesItAndLeavesTheKeyboardWithTheShow()
    {
        if (qgetenv("BREVLIN_LAB_COMPOSITOR") == "sway")
            QSKIP("under sway the panel, an X window that moves itself, does not follow a drag yet");
        QVERIFY(startShow(QStringLiteral("native")));
        QVERIFY(startApp());
        const QRect before = m_panel;
        const QPoint from = panelPoint(0.03, 0.08);
        m_compositor->moveTo(from);
        QTest::qWait(50);
        m_compositor->button(true);
        for (int step = 1; step <= 10; ++step) {
            m_compositor->moveTo(from + QPoint(-30, 20) * step);
            QTest::qWait(30);
        }
        m_compositor->button(false);
        QTRY_VERIFY(panelInSight() && m_panel.topLeft() != before.topLeft());
        // The window manager moves it from the step where the drag began: by the pointer's way, less the
        // first step at most.
        const QPoint moved = m_panel.topLeft() - before.topLeft();
        QVERIFY2(moved.x() <= -270 && moved.x() >= -300 && moved.y() >= 180 && moved.y() <= 200,
                 qPrintable(QStringLiteral("%1,%2").arg(moved.x()).arg(moved.y())));
        QCOMPARE(m_panel.size(), before.size());
        // mutter holds the keyboard while it moves a window, and gives it back to the show afterwards.
        QVERIFY(keyboardBackWithShow());
        m_compositor->tap(keyRight);
        QTRY_COMPARE(slide(), 2);
    }

    void thePanelIsOnEveryWorkspace()
    {
        if (qgetenv("BREVLIN_LAB_COMPOSITOR") != "gnome-shell")
            QSKIP("GNOME's own keys change the workspace; the lab's other compositors have none bound");
        QVERIFY(startShow(QStringLiteral("native")));
        QVERIFY(startApp());
        // GNOME's own keys to the next workspace (always there, empty) and back.
        constexpr std::uint32_t super = 0xffeb;
        m_compositor->key(super, true);
        m_compositor->tap(keyNext);
        m_compositor->key(super, false);
        // Not the show's workspace: the grey desktop, and the panel over it.
        QTRY_VERIFY(countPixels(m_compositor->screenshot(), QRect(0, 0, 4000, 4000),
                                [](QColor c) { return c.red() == 0x10 && c.blue() == 0x80; }) == 0);
        QVERIFY(panelInSight());
        m_compositor->key(super, true);
        constexpr std::uint32_t prior = 0xff55;
        m_compositor->tap(prior);
        m_compositor->key(super, false);
        QVERIFY(keyboardBackWithShow());
        QTRY_VERIFY(panelInSight());
    }

    void theKeyboardGoesBackToPowerPointWhereItRuns()
    {
        if (qgetenv("BREVLIN_LAB_COMPOSITOR") == "sway")
            QSKIP("sway marks an X window that asks to be activated as urgent instead of focusing it");
        // PowerPoint under Wine: an X client whose WM_CLASS is powerpnt.exe, full screen but behind the
        // native show the presenter used last.
        QProcess powerPoint;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        powerPoint.setProcessEnvironment(env);
        powerPoint.start(QStringLiteral(STAGE_SHOW),
                         {QStringLiteral("-name"), QStringLiteral("powerpnt.exe")});
        ShowLog powerPointLog(powerPoint);
        QVERIFY(
            QTest::qWaitFor([&] { return powerPointLog.said().contains(QLatin1String("focus in")); }, 15000));
        QVERIFY(startShow(QStringLiteral("native")));
        QTRY_VERIFY(powerPointLog.said().constLast() == QLatin1String("focus out"));
        QVERIFY(startApp());

        clickPanelAt(0.35, 0.5);
        QTRY_VERIFY(!showHasKeyboard());
        typeAndReturn(QStringLiteral("0:0:30"));
        QTRY_COMPARE(desktop::storedCountdownTime(), QStringLiteral("00:00:30"));
        QTRY_COMPARE(powerPointLog.said().constLast(), QStringLiteral("focus in"));
        m_compositor->tap(keyRight);
        QTRY_VERIFY(powerPointLog.said().contains(QLatin1String("slide 2")));
        QCOMPARE(powerPointLog.keysOtherThanSlides(), QStringList());
        QCOMPARE(keysOtherThanSlides(), QStringList());
        QCOMPARE(slide(), 1);
        QTRY_VERIFY(panelInSight());
        powerPoint.closeWriteChannel();
        if (!powerPoint.waitForFinished(3000)) {
            powerPoint.kill();
            powerPoint.waitForFinished();
        }
    }

    void afterAPauseEveryDigitGoesIntoTheField_data()
    {
        thePresenterStartsTheTimerAndGoesOnWithTheSlides_data();
    }

    void afterAPauseEveryDigitGoesIntoTheField()
    {
        QFETCH(QString, show);
        QVERIFY(startShow(show));
        QVERIFY(startApp());
        clickPanelAt(0.35, 0.5);
        QTRY_VERIFY(!showHasKeyboard());
        typeAndReturn(QStringLiteral("0:5:0"));
        QTRY_COMPARE(desktop::storedCountdownTime(), QStringLiteral("00:05:00"));
        QVERIFY(keyboardBackWithShow());
        for (int round = 0; round < 10; ++round) {
            QTRY_VERIFY(panelInSight());
            clickPanelAt(0.5, 0.5); // pauses the running time
            QTRY_VERIFY(playButtonInSight());
            QVERIFY(showHasKeyboard());
            clickPanelAt(0.35, 0.5);
            QTRY_VERIFY(!showHasKeyboard());
            typeAndReturn(QStringLiteral("0:%1:0").arg(round + 10));
            QTRY_COMPARE(desktop::storedCountdownTime(), QStringLiteral("00:%1:00").arg(round + 10));
            QVERIFY(keyboardBackWithShow());
            QTRY_VERIFY(panelInSight());
        }
        m_compositor->tap(keyNext);
        QTRY_COMPARE(slide(), 2);
        QCOMPARE(keysOtherThanSlides(), QStringList());
    }
};

BREVLIN_TEST_MAIN_GUI(TestStageWayland)
#include "tst_stage_wayland.moc"
