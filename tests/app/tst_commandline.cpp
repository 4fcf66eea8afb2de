// "brevlin --help" and "brevlin --version" on a terminal with no display: an answer, not a window.
#include "ExternalLinks.h"
#include "TestMain.h"

#include <QProcess>
#include <QTest>

namespace {

struct Run
{
    int exitCode = -1;
    QByteArray output;
    QByteArray errors;
};

// As from a text console or over ssh: no X display, no Wayland one, no platform chosen.
Run runWithoutDisplay(const QStringList& arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(QString::fromLatin1(name));
    QProcess app;
    app.setProcessEnvironment(environment);
    app.start(QStringLiteral(BREVLIN_APP), arguments);
    Run run;
    if (!app.waitForFinished(10000)) {
        app.kill();
        app.waitForFinished();
        return run;
    }
    run.exitCode = app.exitStatus() == QProcess::NormalExit ? app.exitCode() : -1;
    run.output = app.readAllStandardOutput();
    run.errors = app.readAllStandardError();
    return run;
}

} // namespace

class TestCommandLine : public QObject
{
    Q_OBJECT

private slots:
    void versionAnswersWithoutADisplay()
    {
        const Run run = runWithoutDisplay({QStringLiteral("--version")});
        QCOMPARE(run.exitCode, 0);
        QCOMPARE(QString::fromUtf8(run.output), QStringLiteral("Brevlin %1\n").arg(ExternalLinks::version()));
        QCOMPARE(run.errors, QByteArray());
    }

    void helpAnswersWithoutADisplay()
    {
        const Run run = runWithoutDisplay({QStringLiteral("--help")});
        QCOMPARE(run.exitCode, 0);
        QVERIFY2(run.output.startsWith("Usage: brevlin [--help | --version]\n"), run.output.constData());
        QVERIFY(run.output.contains("--version  show the version and exit"));
        QCOMPARE(run.errors, QByteArray());
    }

    void withoutEitherTheApplicationStillWantsADisplay()
    {
        // Anything else is Qt's: with no display it refuses to start, as before.
        const Run run = runWithoutDisplay({});
        QVERIFY(run.exitCode != 0);
        QVERIFY(run.output.isEmpty());
    }
};

BREVLIN_TEST_MAIN_CORE(TestCommandLine)
#include "tst_commandline.moc"
