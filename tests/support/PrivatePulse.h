#pragma once

// The test's private PulseAudio server (isolated-run.sh --pulse), as something that can go wrong: stopped
// so that it no longer answers, ended, and started again (same socket, sink and monitor).

#include <QFile>
#include <QProcess>
#include <QString>
#include <QTest>

#include <csignal>
#include <sys/types.h>

namespace testsupport {

class PrivatePulse
{
public:
    /// Whether the test runs with a private server it may stop and start.
    static bool available()
    {
        return !qEnvironmentVariableIsEmpty("BREVLIN_TEST_PULSE_PIDFILE") &&
               !qEnvironmentVariableIsEmpty("BREVLIN_TEST_PULSE_START");
    }

    /// The server started last; 0 when there is none.
    static pid_t pid()
    {
        QFile file(qEnvironmentVariable("BREVLIN_TEST_PULSE_PIDFILE"));
        if (!file.open(QIODevice::ReadOnly))
            return 0;
        return pid_t(file.readAll().trimmed().toLong());
    }

    /// Whether that server is running (stopped counts as running; a zombie nobody reaped does not).
    static bool isRunning()
    {
        const pid_t server = pid();
        if (server <= 0)
            return false;
        QFile stat(QStringLiteral("/proc/%1/stat").arg(server));
        if (!stat.open(QIODevice::ReadOnly))
            return false;
        const QByteArray line = stat.readAll();
        const qsizetype afterName = line.lastIndexOf(") ");
        return afterName >= 0 && line.mid(afterName + 2, 1) != "Z";
    }

    /// SIGSTOP: connections stay open and new ones are accepted by the kernel, but nothing is answered.
    static bool freeze() { return signal(SIGSTOP); }
    static bool thaw() { return signal(SIGCONT); }

    /// SIGKILL, as a crash ends it, and waits until it is gone.
    static bool kill()
    {
        thaw();
        if (!signal(SIGKILL))
            return false;
        return QTest::qWaitFor([] { return !isRunning(); }, 5000);
    }

    /// Starts the server again and waits until it answers.
    static bool start()
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(qEnvironmentVariable("BREVLIN_TEST_PULSE_START"), {});
        if (!process.waitForFinished(10000)) {
            process.kill();
            process.waitForFinished();
            return false;
        }
        return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0 && isRunning();
    }

    /// Leaves a running, answering server behind, whatever the test did to it.
    static bool restore()
    {
        if (isRunning())
            return thaw();
        return start();
    }

private:
    static bool signal(int number)
    {
        const pid_t server = pid();
        return server > 0 && ::kill(server, number) == 0;
    }
};

} // namespace testsupport
