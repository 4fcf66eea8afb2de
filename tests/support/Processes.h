#pragma once

#include <QCoreApplication>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace testsupport {

/// Runs a program to its end (at most timeoutMs) and returns its standard output, trimmed; empty when it
/// could not start, crashed or overran.
inline QString runProgram(const QString& program, const QStringList& arguments, int timeoutMs = 10000)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(timeoutMs) || process.exitStatus() != QProcess::NormalExit) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    return QString::fromLocal8Bit(process.readAllStandardOutput()).trimmed();
}

/// Runs this test executable again, in the same environment (so the same home and settings file), as
/// another launch of the application would run. True when it exited with 0; its output goes to *output.
inline bool runThisExecutable(const QStringList& arguments, QByteArray* output = nullptr,
                              int timeoutMs = 30000)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), arguments);
    if (!child.waitForFinished(timeoutMs)) {
        child.kill();
        child.waitForFinished();
        return false;
    }
    if (output)
        *output = child.readAllStandardOutput();
    return child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0;
}

} // namespace testsupport
