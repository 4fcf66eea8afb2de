// A second launch on the same display: no second panel; the running one comes into sight, keeps counting
// and keeps its settings.
#include "DesktopDriver.h"
#include "TestMain.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <csignal>

using namespace desktop;

namespace {

QStringList visiblePanels()
{
    return xdotool({QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--class"),
                    QStringLiteral("brevlin")})
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// The panel's outer ring of pixels, where the flash is drawn.
int edgePixelsUnlike(const QImage& now, const QImage& before)
{
    int differing = 0;
    for (int x = 0; x < now.width(); ++x) {
        for (int y : {1, now.height() - 2})
            differing += now.pixel(x, y) != before.pixel(x, y);
    }
    return differing;
}

} // namespace

class TestSingleInstance : public QObject
{
    Q_OBJECT

private slots:
    // The application runs outside test mode; its settings are read where it keeps them.
    void initTestCase() { QStandardPaths::setTestModeEnabled(false); }

    void aSecondLaunchShowsTheFirstPanelAndEnds()
    {
        QProcess first;
        const quint64 panel = startPanel(first, QStringLiteral(BREVLIN_APP));
        QVERIFY(panel != 0);
        const QRect area = geometryOf(panel);
        clickAt(panel, 0.35, 0.5);
        QTest::qWait(300);
        typeAndReturn(QStringLiteral("0:5:0"));
        QTRY_COMPARE(storedCountdownTime(), QStringLiteral("00:05:00"));
        QTest::qWait(1200);
        const QImage before = screenPixels(area);

        QProcess second;
        second.start(QStringLiteral(BREVLIN_APP), {});
        QVERIFY(second.waitForFinished(10000));
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 0);
        // The first panel says where it is.
        QVERIFY(QTest::qWaitFor([&] { return edgePixelsUnlike(screenPixels(area), before) > area.width(); },
                                700));

        QCOMPARE(visiblePanels(), QStringList{QString::number(panel)});
        QCOMPARE(first.state(), QProcess::Running);
        // Still counting: the digits change from one second to the next.
        const QImage a = screenPixels(area);
        QTest::qWait(1500);
        QVERIFY(screenPixels(area) != a);
        QCOMPARE(storedCountdownTime(), QStringLiteral("00:05:00"));

        ::kill(pid_t(first.processId()), SIGTERM);
        QVERIFY(first.waitForFinished(10000));
        QCOMPARE(first.exitCode(), 0);
    }

    void aPanelThatEndedAbruptlyDoesNotBlockTheNextLaunch()
    {
        QProcess crashed;
        QVERIFY(startPanel(crashed, QStringLiteral(BREVLIN_APP)) != 0);
        crashed.kill();
        QVERIFY(crashed.waitForFinished(10000));

        QProcess next;
        QVERIFY(startPanel(next, QStringLiteral(BREVLIN_APP)) != 0);
        QCOMPARE(visiblePanels().size(), 1);
        ::kill(pid_t(next.processId()), SIGTERM);
        QVERIFY(next.waitForFinished(10000));
        QCOMPARE(next.exitCode(), 0);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestSingleInstance)
#include "tst_singleinstance.moc"
