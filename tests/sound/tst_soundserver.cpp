// The application counting into overtime, with a reminder every two seconds, while its sound server goes
// wrong: a server that stops answering holds up neither the clock nor a request to quit, and sound is heard
// again from a server that was ended and started again, or that was not running at launch. The
// application runs as a process of its own (this executable again), as main() runs it; this test watches
// the time it shows, hears the test's null sink, and stops, ends and starts the test's private server.
#include "AppDelegate.h"
#include "FocusReturn.h"
#include "Platform.h"
#include "PreferenceController.h"
#include "PrivatePulse.h"
#include "SinkRecorder.h"
#include "TestMain.h"
#include "TitlelessPanel.h"

#include <QElapsedTimer>
#include <QLineEdit>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <cstdio>

using testsupport::PrivatePulse;

namespace {

// Child role, run in a separate process of this same executable:
//   --count-into-overtime   launches as main() does (quitting on SIGTERM too), with no end sound and a
//                           reminder every two seconds, starts 0:0:1 and prints every time the panel shows,
//                           then "quitting" when it quits
int runApplication(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    platform::quitOnTerminationRequests();
    FocusReturn::setActivator([] {});
    PreferenceController::setPreferencePlaySound(false);
    PreferenceController::setPreferencePlayReminderSound(true);
    PreferenceController::setPreferenceContinueCountdown(true);
    PreferenceController::setPreferenceRemindEveryInterval(QStringLiteral("0:0:2"));
    AppDelegate delegate;
    delegate.panel()->show();
    delegate.applicationDidFinishLaunching();
    if (!QTest::qWaitFor([&delegate] { return delegate.reminderSound() != nullptr; }, 10000))
        return 2;
    QObject::connect(delegate.input(), &QLineEdit::textChanged, [](const QString& text) {
        std::printf("shows %s\n", qPrintable(text));
        std::fflush(stdout);
    });
    QObject::connect(&app, &QCoreApplication::aboutToQuit, [] {
        std::printf("quitting\n");
        std::fflush(stdout);
    });
    delegate.input()->setText(QStringLiteral("0:0:1"));
    delegate.startTimer();
    return QApplication::exec();
}

/// The application in its own process, and the times its panel shows, each with when this test saw it.
class CountingApp
{
public:
    ~CountingApp()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    bool start()
    {
        QObject::connect(&m_process, &QProcess::readyReadStandardOutput, [this] { read(); });
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--count-into-overtime")});
        m_clock.start();
        return m_process.waitForStarted(10000);
    }

    /// Waits until the panel shows that many seconds of overtime; from then on the clock is watched.
    bool waitForOvertime(int seconds, int timeoutMs = 20000)
    {
        return QTest::qWaitFor([this, seconds] { return m_overtime >= seconds; }, timeoutMs);
    }

    /// Waits the given time, checking every tenth of a second that the overtime shown is within a second of
    /// the overtime a clock would show: one that went on from the first overtime second this test saw.
    /// Returns the worst difference, in whole seconds.
    int watch(int ms)
    {
        int worst = 0;
        QElapsedTimer waited;
        waited.start();
        while (waited.elapsed() < ms) {
            QTest::qWait(100);
            worst = std::max(worst, std::abs(realOvertime() - m_overtime));
        }
        return worst;
    }

    int shownOvertime() const { return m_overtime; }
    int realOvertime() const
    {
        return m_firstOvertimeAt < 0 ? 0 : 1 + int((m_clock.elapsed() - m_firstOvertimeAt) / 1000);
    }

    /// Sends SIGTERM and returns how long the process took to end, or -1 when it did not end in 10 s.
    qint64 terminate()
    {
        QElapsedTimer took;
        took.start();
        m_process.terminate();
        if (!m_process.waitForFinished(10000))
            return -1;
        read();
        return took.elapsed();
    }

    bool quitCleanly() const
    {
        return m_quitting && m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
    }

private:
    void read()
    {
        static const QRegularExpression overtime(QStringLiteral("^shows -(\\d+):(\\d\\d):(\\d\\d)$"));
        while (m_process.canReadLine()) {
            const QString line = QString::fromLocal8Bit(m_process.readLine()).trimmed();
            if (line == QLatin1String("quitting"))
                m_quitting = true;
            const QRegularExpressionMatch match = overtime.match(line);
            if (!match.hasMatch())
                continue;
            m_overtime =
                match.captured(1).toInt() * 3600 + match.captured(2).toInt() * 60 + match.captured(3).toInt();
            if (m_firstOvertimeAt < 0 && m_overtime == 1)
                m_firstOvertimeAt = m_clock.elapsed();
        }
    }

    QProcess m_process;
    QElapsedTimer m_clock;
    int m_overtime = 0;
    qint64 m_firstOvertimeAt = -1;
    bool m_quitting = false;
};

/// Reminders heard on the null sink in the given time: louder than 1 % after 0.3 s of quiet.
int remindersHeardIn(int ms)
{
    SinkRecorder recorder;
    if (!recorder.start() || !recorder.waitUntilRecording())
        return -1;
    QTest::qWait(ms);
    const QVector<qint16> samples = recorder.stop();
    const int heard = SinkRecorder::onsets(samples, 0.01, 30);
    qInfo("%d reminders heard in %.2f s", heard, double(samples.size()) / SinkRecorder::sampleRate);
    return heard;
}

} // namespace

class TestSoundServer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(PrivatePulse::available() && PrivatePulse::isRunning(),
                 "run through isolated-run.sh --pulse");
    }

    void cleanup() { QVERIFY(PrivatePulse::restore()); }

    void aServerThatStopsAnsweringHoldsUpNeitherTheClockNorQuitting()
    {
        CountingApp app;
        QVERIFY(app.start());
        QVERIFY(app.waitForOvertime(1));
        // The reminders are heard while the server answers.
        QVERIFY(remindersHeardIn(4500) >= 2);
        QVERIFY2(
            app.watch(100) <= 1,
            qPrintable(
                QStringLiteral("shows %1 s, real %2 s").arg(app.shownOvertime()).arg(app.realOvertime())));

        QVERIFY(PrivatePulse::freeze());
        QElapsedTimer frozen;
        frozen.start();
        // Nine reminders fall due while the server does not answer.
        const int worst = app.watch(18000);
        qInfo("with the server stopped: worst difference %d s; shows %d s, real %d s", worst,
              app.shownOvertime(), app.realOvertime());
        QVERIFY2(worst <= 1, qPrintable(QString::number(worst)));

        // Half a second after an even overtime second a reminder is always waiting on the server: the one
        // just due, or, when that was skipped, the one due two seconds before (the output gives a server
        // three seconds to answer).
        const int shown = app.shownOvertime();
        QVERIFY(QTest::qWaitFor(
            [&app, shown] { return app.shownOvertime() > shown && app.shownOvertime() % 2 == 0; }, 3000));
        QTest::qWait(500);
        const qint64 quitTook = app.terminate();
        qInfo("SIGTERM answered in %lld ms with the server stopped", quitTook);
        QVERIFY(PrivatePulse::isRunning());
        QVERIFY(quitTook >= 0 && quitTook <= 1000);
        QVERIFY(app.quitCleanly());
        QTest::qWait(int(std::max<qint64>(0, 20000 - frozen.elapsed())));
        QVERIFY(PrivatePulse::thaw());
    }

    void soundIsHeardAgainFromAServerEndedAndStartedAgain()
    {
        CountingApp app;
        QVERIFY(app.start());
        QVERIFY(app.waitForOvertime(3));
        QVERIFY(PrivatePulse::kill());
        // Ten seconds without a server; five reminders fall due.
        QVERIFY(app.watch(10000) <= 1);
        QVERIFY(PrivatePulse::start());
        // Three reminders fall due in six seconds.
        const int heard = remindersHeardIn(6000);
        QVERIFY2(heard >= 2, qPrintable(QString::number(heard)));
        QVERIFY(app.watch(100) <= 1);
        QVERIFY(app.terminate() >= 0);
        QVERIFY(app.quitCleanly());
    }

    void soundIsHeardFromAServerStartedAfterTheLaunch()
    {
        QVERIFY(PrivatePulse::kill());
        CountingApp app;
        QVERIFY(app.start());
        QVERIFY(app.waitForOvertime(3));
        QVERIFY(app.watch(3000) <= 1);
        QVERIFY(PrivatePulse::start());
        const int heard = remindersHeardIn(6000);
        QVERIFY2(heard >= 2, qPrintable(QString::number(heard)));
        QVERIFY(app.terminate() >= 0);
        QVERIFY(app.quitCleanly());
    }
};

int main(int argc, char** argv)
{
    QStandardPaths::setTestModeEnabled(true);
    if (argc > 1 && QByteArray(argv[1]) == "--count-into-overtime")
        return runApplication(argc, argv);
    QApplication app(argc, argv);
    TestSoundServer test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_soundserver.moc"
