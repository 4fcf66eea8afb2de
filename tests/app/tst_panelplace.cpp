// The panel's place on a real X server with two monitors (one wide screen split in two with
// "xrandr --setmonitor", as a laptop and a projector side by side): kept across launches, brought back
// when the monitor it is on goes away, and back into sight after a drag past the edge.
#include "DesktopDriver.h"
#include "SettingsFileFormat.h"
#include "TestMain.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <csignal>

using namespace desktop;

namespace {

bool xrandr(const QStringList& arguments)
{
    return QProcess::execute(QStringLiteral("xrandr"), arguments) == 0;
}

// Left and right halves of the screen, as two monitors.
bool twoMonitors()
{
    return xrandr({QStringLiteral("--setmonitor"), QStringLiteral("Left"),
                   QStringLiteral("640/170x800/212+0+0"), QStringLiteral("screen")}) &&
           xrandr({QStringLiteral("--setmonitor"), QStringLiteral("Right"),
                   QStringLiteral("640/170x800/212+640+0"), QStringLiteral("none")});
}

bool hasMonitor(const QString& name)
{
    QProcess list;
    list.start(QStringLiteral("xrandr"), {QStringLiteral("--listmonitors")});
    list.waitForFinished(5000);
    return list.readAllStandardOutput().contains(QStringLiteral(" %1 ").arg(name).toUtf8());
}

QString storedPlace()
{
    QFile file(qEnvironmentVariable("XDG_CONFIG_HOME", QDir::homePath() + QStringLiteral("/.config")) +
               QStringLiteral("/Brevlin/Brevlin.conf"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return SettingsFileFormat::parse(file.readAll()).value(QStringLiteral("PanelFrame")).toString();
}

void moveWindow(quint64 window, QPoint to)
{
    xdotool({QStringLiteral("windowmove"), QString::number(window), QString::number(to.x()),
             QString::number(to.y())});
}

void quit(QProcess& app)
{
    ::kill(pid_t(app.processId()), SIGTERM);
    app.waitForFinished(10000);
}

const QRect LeftMonitor(0, 0, 640, 800);
const QRect RightMonitor(640, 0, 640, 800);

} // namespace

class TestPanelPlace : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(false);
        QVERIFY(twoMonitors());
    }

    void cleanup()
    {
        // The second monitor is back for the next case.
        if (!hasMonitor(QStringLiteral("Right")))
            QVERIFY(xrandr({QStringLiteral("--setmonitor"), QStringLiteral("Right"),
                            QStringLiteral("640/170x800/212+640+0"), QStringLiteral("none")}));
    }

    void theFirstPlaceIsTopRightOfTheMainMonitorAndWritesNothing()
    {
        QProcess app;
        const quint64 panel = startPanel(app, QStringLiteral(BREVLIN_APP));
        QVERIFY(panel);
        const QRect frame = geometryOf(panel);
        QVERIFY2(LeftMonitor.contains(frame),
                 qPrintable(QStringLiteral("%1,%2").arg(frame.x()).arg(frame.y())));
        QCOMPARE(frame.right(), LeftMonitor.right() - 24);
        QTest::qWait(800);
        quit(app);
        QCOMPARE(storedPlace(), QString());
    }

    void placeSizeAndMonitorSurviveARelaunch()
    {
        QProcess app;
        quint64 panel = startPanel(app, QStringLiteral(BREVLIN_APP));
        QVERIFY(panel);
        xdotool({QStringLiteral("windowsize"), QString::number(panel), QStringLiteral("400"),
                 QStringLiteral("150")});
        moveWindow(panel, {800, 300});
        QTRY_VERIFY2(storedPlace().endsWith(QStringLiteral(";Right")), qPrintable(storedPlace()));
        quit(app);

        QProcess again;
        panel = startPanel(again, QStringLiteral(BREVLIN_APP));
        QVERIFY(panel);
        QCOMPARE(geometryOf(panel), QRect(800, 300, 400, 150));
        quit(again);
    }

    void aPanelOnAMonitorThatGoesComesToTheOther()
    {
        QProcess app;
        const quint64 panel = startPanel(app, QStringLiteral(BREVLIN_APP));
        QVERIFY(panel);
        moveWindow(panel, {800, 300});
        QTRY_VERIFY(storedPlace().endsWith(QStringLiteral(";Right")));

        // The projector unplugged.
        QVERIFY(xrandr({QStringLiteral("--delmonitor"), QStringLiteral("Right")}));
        QVERIFY(QTest::qWaitFor([&] { return LeftMonitor.contains(geometryOf(panel)); }, 5000));
        QVERIFY(QTest::qWaitFor([&] { return showsThePanel(geometryOf(panel)); }, 5000));
        QTRY_VERIFY(storedPlace().endsWith(QStringLiteral(";Left")));
        quit(app);
    }

    void thePreferencesOpenOnThePanelsMonitor()
    {
        QProcess app;
        const quint64 panel = startPanel(app, QStringLiteral(BREVLIN_APP));
        QVERIFY(panel);
        moveWindow(panel, {800, 300});
        QTRY_VERIFY(storedPlace().endsWith(QStringLiteral(";Right")));
        // The menu's first entry, as a presenter opens it.
        xdotool({QStringLiteral("mousemove"), QStringLiteral("--window"), QString::number(panel),
                 QStringLiteral("8"), QStringLiteral("8"), QStringLiteral("click"), QStringLiteral("3")});
        QTest::qWait(600);
        xdotool({QStringLiteral("key"), QStringLiteral("Down"), QStringLiteral("Return")});
        quint64 preferences = 0;
        QVERIFY(QTest::qWaitFor(
            [&] {
                preferences = xdotool({QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                       QStringLiteral("--name"), QStringLiteral("^Preferences")})
                                  .split(QLatin1Char('\n'), Qt::SkipEmptyParts)
                                  .value(0)
                                  .toULongLong();
                return preferences != 0;
            },
            5000));
        const QRect frame = geometryOf(preferences);
        QVERIFY2(RightMonitor.contains(frame.center()), qPrintable(QStringLiteral("%1,%2 %3x%4")
                                                                       .arg(frame.x())
                                                                       .arg(frame.y())
                                                                       .arg(frame.width())
                                                                       .arg(frame.height())));
        quit(app);
    }

    void aDragPastTheEdgeLeavesThePanelInSight()
    {
        QProcess app;
        const quint64 panel = startPanel(app, QStringLiteral(BREVLIN_APP));
        QVERIFY(panel);
        // 8 pixels of it left on the screen. It starts on the left monitor, so being seen on the right
        // one means the move happened and the panel came back from it.
        moveWindow(panel, {1280 - 8, 300});
        QVERIFY(QTest::qWaitFor(
            [&] {
                const QRect seen = geometryOf(panel).intersected(RightMonitor);
                return seen.width() >= 64 && seen.height() >= 32 && geometryOf(panel).y() == 300;
            },
            5000));
        // Moved first, drawn at its new place a moment later (longer under the sanitizers).
        QVERIFY(QTest::qWaitFor([&] { return showsThePanel(geometryOf(panel).intersected(RightMonitor)); },
                                5000));
        quit(app);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestPanelPlace)
#include "tst_panelplace.moc"
