// A second launch on the same display: no second panel; the running one comes into sight, keeps counting
// and keeps its settings.
#include "DesktopDriver.h"
#include "TestMain.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

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

// The sockets a running panel listens on, in the runtime folder the test run gives it.
QStringList panelSockets()
{
    QStringList sockets;
    const QDir runtime(qEnvironmentVariable("XDG_RUNTIME_DIR"));
    for (const QFileInfo& entry : runtime.entryInfoList({QStringLiteral("brevlin-*")}, QDir::System)) {
        struct stat status;
        if (::stat(QFile::encodeName(entry.filePath()).constData(), &status) == 0 && S_ISSOCK(status.st_mode))
            sockets << entry.filePath();
    }
    return sockets;
}

// A connection of some other program to the panel's socket, left open.
int connectTo(const QString& path)
{
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray bytes = QFile::encodeName(path);
    std::memcpy(address.sun_path, bytes.constData(),
                size_t(qMin<qsizetype>(bytes.size(), sizeof address.sun_path - 1)));
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
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

    void otherTalkOnTheSocketIsIgnored()
    {
        QProcess first;
        const quint64 panel = startPanel(first, QStringLiteral(BREVLIN_APP));
        QVERIFY(panel != 0);
        const QStringList sockets = panelSockets();
        QCOMPARE(sockets.size(), 1);
        // Only its user may open it.
        struct stat status;
        QCOMPARE(::stat(QFile::encodeName(sockets.first()).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0077, mode_t(0));

        const QRect area = geometryOf(panel);
        QTest::qWait(1200);
        const QImage before = screenPixels(area);
        // One client sends a long line of something else and stays; another connects and says nothing.
        const int noisy = connectTo(sockets.first());
        const int silent = connectTo(sockets.first());
        QVERIFY(noisy >= 0 && silent >= 0);
        const QByteArray junk(4096, 'x');
        QCOMPARE(::write(noisy, junk.constData(), size_t(junk.size())), ssize_t(junk.size()));
        QTest::qWait(700);
        // No flash for either of them.
        QCOMPARE(edgePixelsUnlike(screenPixels(area), before), 0);

        // A real second launch is still answered while they hang on.
        QProcess second;
        second.start(QStringLiteral(BREVLIN_APP), {});
        QVERIFY(second.waitForFinished(10000));
        QCOMPARE(second.exitCode(), 0);
        QVERIFY(QTest::qWaitFor([&] { return edgePixelsUnlike(screenPixels(area), before) > area.width(); },
                                700));
        QCOMPARE(visiblePanels(), QStringList{QString::number(panel)});
        ::close(noisy);
        ::close(silent);

        ::kill(pid_t(first.processId()), SIGTERM);
        QVERIFY(first.waitForFinished(10000));
        QCOMPARE(first.exitCode(), 0);
        // The socket goes with the panel.
        QCOMPARE(panelSockets(), QStringList{});
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
