#include "DesktopDriver.h"
#include "SettingsFileFormat.h"
#include "TestMain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>
#include <QTest>

#include <csignal>

// The real application ended from outside in the middle of a countdown: the signal quits it the way its
// menu does, and what it had not yet saved reaches the disk on the way out.

using namespace desktop;

namespace {

// Where the application keeps its settings: it runs outside the test mode of this process.
QString applicationSettingsPath()
{
    return qEnvironmentVariable("XDG_CONFIG_HOME", QDir::homePath() + QStringLiteral("/.config")) +
           QStringLiteral("/Brevlin/Brevlin.conf");
}

QString savedCountdownTime()
{
    QFile file(applicationSettingsPath());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return SettingsFileFormat::parse(file.readAll()).value(QStringLiteral("BRVCountdownTime")).toString();
}

} // namespace

class TestSignalQuit : public QObject
{
    Q_OBJECT

private slots:
    void aSignalMidCountdownQuitsNormallyAndSaves_data();
    void aSignalMidCountdownQuitsNormallyAndSaves();
};

void TestSignalQuit::aSignalMidCountdownQuitsNormallyAndSaves_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("shown");
    QTest::newRow("SIGTERM") << int(SIGTERM) << QStringLiteral("0:0:42") << QStringLiteral("00:00:42");
    QTest::newRow("SIGINT") << int(SIGINT) << QStringLiteral("0:2:0") << QStringLiteral("00:02:00");
    QTest::newRow("SIGHUP") << int(SIGHUP) << QStringLiteral("1:0:5") << QStringLiteral("01:00:05");
}

void TestSignalQuit::aSignalMidCountdownQuitsNormallyAndSaves()
{
    QFETCH(int, signal);
    QFETCH(QString, typed);
    QFETCH(QString, shown);
    const QString settingsPath = applicationSettingsPath();
    QVERIFY(QDir().mkpath(QFileInfo(settingsPath).absolutePath()));
    QFile::remove(settingsPath);

    // The test keeps the settings lock while the countdown starts, so the save that follows the start is
    // left pending in the application, as one that had not come round yet would be.
    QLockFile lock(settingsPath + QStringLiteral(".lock"));
    QVERIFY(lock.tryLock(0));

    QProcess app;
    const quint64 panel = startPanel(app, QStringLiteral(BREVLIN_APP));
    QVERIFY(panel != 0);
    clickAt(panel, 0.35, 0.5);
    QTest::qWait(300);
    typeAndReturn(typed);
    // Started: the time runs on screen. The pending save has been tried and skipped by now.
    QTest::qWait(1500);
    QVERIFY(app.state() == QProcess::Running);
    QVERIFY(savedCountdownTime() != shown);

    lock.unlock();
    QVERIFY(::kill(pid_t(app.processId()), signal) == 0);
    QVERIFY(app.waitForFinished(10000));
    QCOMPARE(app.exitStatus(), QProcess::NormalExit);
    QCOMPARE(app.exitCode(), 0);
    QCOMPARE(savedCountdownTime(), shown);
}

BREVLIN_TEST_MAIN_WIDGETS(TestSignalQuit)
#include "tst_signalquit.moc"
