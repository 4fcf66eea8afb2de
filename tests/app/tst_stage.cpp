// On stage: the real application beside a focused full-screen slide show made by another program, under a
// real window manager (the test runs once per window manager), driven with xdotool as a presenter would.
// The panel must stay in sight (read from the root window, whoever drew it) and every key meant for the
// slides must reach them.
#include "DesktopDriver.h"
#include "ShowLog.h"
#include "TestMain.h"

#include <QDir>
#include <QProcess>
#include <QSettings>
#include <QTest>

using namespace desktop;

class TestStage : public QObject
{
    Q_OBJECT

private:
    QProcess m_app;
    QProcess m_show;
    quint64 m_panel = 0;
    quint64 m_slides = 0;
    ShowLog m_log{m_show};

    bool startShow()
    {
        m_show.start(QStringLiteral(FAKE_SLIDESHOW), {});
        if (!m_show.waitForReadyRead(10000))
            return false;
        m_slides = m_show.readLine().trimmed().toULongLong();
        if (m_slides == 0)
            return false;
        xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(m_slides)});
        // Full screen and focused, as a presenter starts it.
        return QTest::qWaitFor(
            [this] {
                const QRect g = geometryOf(m_slides);
                const QSize screen = QGuiApplication::primaryScreen()->size();
                return keyboardWindow() == m_slides && g.width() >= screen.width() &&
                       g.height() >= screen.height();
            },
            10000);
    }

    int slide() { return m_log.slide(); }
    QStringList keysOtherThanSlides() { return m_log.keysOtherThanSlides(); }

    bool startApp()
    {
        m_panel = startPanel(m_app, QStringLiteral(BREVLIN_APP));
        return m_panel != 0;
    }

    void clickPanelAt(double fx, double fy) { clickAt(m_panel, fx, fy); }

private slots:
    void init()
    {
        QVERIFY(QDir::homePath().contains(QStringLiteral("brevlin-test.")));
        QStandardPaths::setTestModeEnabled(false);
        m_panel = m_slides = 0;
        m_log.clear();
        QVERIFY(startShow());
    }

    void cleanup()
    {
        m_app.kill();
        m_app.waitForFinished();
        m_show.closeWriteChannel();
        m_show.waitForFinished(3000);
        m_show.kill();
        m_show.waitForFinished();
        QFile::remove(applicationSettings().fileName());
    }

    void thePresenterStartsTheTimerAndGoesOnWithTheSlides()
    {
        QVERIFY(startApp());
        const QRect panel = geometryOf(m_panel);
        // Launching leaves the keyboard with the show.
        QVERIFY(keyboardStaysWith(m_slides, 1500));
        QVERIFY(showsThePanel(panel));

        clickPanelAt(0.35, 0.5);
        QTRY_COMPARE(keyboardWindow(), m_panel);
        QVERIFY(showsThePanel(panel));
        typeAndReturn(QStringLiteral("0:0:30"));
        QTRY_COMPARE(storedCountdownTime(), QStringLiteral("00:00:30"));
        QTRY_COMPARE(keyboardWindow(), m_slides);
        QVERIFY(showsThePanel(geometryOf(m_panel)));
        QTRY_VERIFY(!showsThePlayButton(geometryOf(m_panel)));

        // The next key is the slides': exactly one slide further.
        xdotool({QStringLiteral("key"), QStringLiteral("Right")});
        QTRY_COMPARE(slide(), 2);
        QTest::qWait(200);
        QCOMPARE(slide(), 2);
        QVERIFY(showsThePanel(geometryOf(m_panel)));
        // Not one of the keys typed into the panel reached the show.
        QCOMPARE(keysOtherThanSlides(), QStringList());
    }

    void aClickOnTheBackgroundKeepsTheShowInControlAndThePanelInSight()
    {
        QVERIFY(startApp());
        clickPanelAt(0.35, 0.5);
        QTRY_COMPARE(keyboardWindow(), m_panel);
        clickPanelAt(0.03, 0.08);
        QTRY_COMPARE(keyboardWindow(), m_slides);
        QVERIFY(showsThePanel(geometryOf(m_panel)));
        xdotool({QStringLiteral("key"), QStringLiteral("space")});
        QTRY_COMPARE(slide(), 2);
        QVERIFY(showsThePanel(geometryOf(m_panel)));
    }

    void afterAPauseEveryDigitGoesIntoTheField()
    {
        QVERIFY(startApp());
        clickPanelAt(0.35, 0.5);
        QTRY_COMPARE(keyboardWindow(), m_panel);
        typeAndReturn(QStringLiteral("0:5:0"));
        QTRY_COMPARE(keyboardWindow(), m_slides);
        for (int round = 0; round < 10; ++round) {
            clickPanelAt(0.5, 0.5); // pauses the running time
            QTRY_VERIFY(showsThePlayButton(geometryOf(m_panel)));
            clickPanelAt(0.35, 0.5);
            QTRY_COMPARE(keyboardWindow(), m_panel);
            typeAndReturn(QStringLiteral("0:%1:0").arg(round + 10));
            QTRY_COMPARE(storedCountdownTime(), QStringLiteral("00:%1:00").arg(round + 10));
            QTRY_COMPARE(keyboardWindow(), m_slides);
            QVERIFY(showsThePanel(geometryOf(m_panel)));
        }
        xdotool({QStringLiteral("key"), QStringLiteral("Next")});
        QTRY_COMPARE(slide(), 2);
        QCOMPARE(keysOtherThanSlides(), QStringList());
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestStage)
#include "tst_stage.moc"
