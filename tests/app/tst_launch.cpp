// A start in one run of the application is what the next run shows: two real processes, each going
// through the whole launch sequence with the same user folders.
#include "AppDelegate.h"
#include "FocusReturn.h"
#include "Processes.h"
#include "TestMain.h"
#include "TitlelessPanel.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>

namespace {

// Child roles, run in a separate process of this same executable:
//   --launch-and-start TEXT   launches, types TEXT into the time field, presses Return, quits normally
//   --launch-and-report       launches and prints the time field and whether the play button is right of it
int runChild(int argc, char** argv)
{
    QApplication app(argc, argv);
    FocusReturn::setActivator([] {});
    AppDelegate delegate;
    delegate.panel()->show();
    delegate.applicationDidFinishLaunching();
    const QString role = QString::fromLocal8Bit(argv[1]);
    if (role == QLatin1String("--launch-and-start")) {
        QLineEdit* field = delegate.input();
        field->setFocus();
        field->selectAll();
        QTest::keyClicks(field, QString::fromLocal8Bit(argv[2]));
        QTest::keyClick(field, Qt::Key_Return);
        QTimer::singleShot(100, &delegate, &AppDelegate::quit);
        return QApplication::exec();
    }
    const QRect field = delegate.input()->geometry();
    const bool playRight = delegate.playButton()->isVisible() && delegate.playButton()->x() > field.right();
    printf("%s %s\n", qPrintable(delegate.input()->text()), playRight ? "play-right" : "play-elsewhere");
    return 0;
}

QString runSelf(const QStringList& arguments)
{
    QByteArray output;
    if (!testsupport::runThisExecutable(arguments, &output, 20000))
        return QStringLiteral("child failed");
    return QString::fromLocal8Bit(output).trimmed();
}

} // namespace

class TestLaunch : public QObject
{
    Q_OBJECT

private slots:
    void aFirstLaunchShowsOneMinuteWithThePlayButtonToTheRight()
    {
        QCOMPARE(runSelf({QStringLiteral("--launch-and-report")}), QStringLiteral("00:01:00 play-right"));
    }

    void theNextLaunchShowsTheTimeLastStarted()
    {
        QCOMPARE(runSelf({QStringLiteral("--launch-and-start"), QStringLiteral("0:20:0")}), QString());
        QCOMPARE(runSelf({QStringLiteral("--launch-and-report")}), QStringLiteral("00:20:00 play-right"));
        QCOMPARE(runSelf({QStringLiteral("--launch-and-start"), QStringLiteral("1:2:3")}), QString());
        QCOMPARE(runSelf({QStringLiteral("--launch-and-report")}), QStringLiteral("01:02:03 play-right"));
    }

    void aRefusedTimeIsNotRemembered()
    {
        QCOMPARE(runSelf({QStringLiteral("--launch-and-start"), QStringLiteral("0:30:0")}), QString());
        QCOMPARE(runSelf({QStringLiteral("--launch-and-start"), QStringLiteral("5:00")}), QString());
        QCOMPARE(runSelf({QStringLiteral("--launch-and-report")}), QStringLiteral("00:30:00 play-right"));
    }
};

int main(int argc, char** argv)
{
    QStandardPaths::setTestModeEnabled(true);
    if (argc > 1 && QByteArray(argv[1]).startsWith("--launch-"))
        return runChild(argc, argv);
    QApplication app(argc, argv);
    TestLaunch test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_launch.moc"
