// The countdown without a window or a clock: each tick is driven by hand.
#include "Brevlin.h"
#include "Countdown.h"
#include "TestMain.h"

#include <QTest>

#include <limits>

namespace {

struct Run
{
    QStringList texts;
    QList<int> endSoundTicks;
    QList<int> reminderTicks;
    int stoppedAtTick = -1;
};

// Ticks up to `ticks` times, recording what the panel would show and play, tick numbers from 1.
Run runTicks(Countdown& countdown, const Brevlin& settings, int ticks)
{
    Run run;
    for (int i = 1; i <= ticks; ++i) {
        const Countdown::Step step = countdown.tick(settings);
        if (step.playEndSound)
            run.endSoundTicks << i;
        if (step.stopTimer) {
            run.stoppedAtTick = i;
            break;
        }
        if (step.playReminderSound)
            run.reminderTicks << i;
        run.texts << step.text;
    }
    return run;
}

} // namespace

class TestCountdown : public QObject
{
    Q_OBJECT

private slots:
    void formatPadsButNeverTruncates()
    {
        QCOMPARE(formatTime(0, 0, 3, false), QStringLiteral("00:00:03"));
        QCOMPARE(formatTime(100, 0, 0, false), QStringLiteral("100:00:00"));
        QCOMPARE(formatTime(0, -5, 0, false), QStringLiteral("00:-5:00"));
        QCOMPARE(formatTime(0, 0, 1, true), QStringLiteral("-00:00:01"));
    }

    void threeSecondsCountDownThenStopAtZero()
    {
        Brevlin settings;
        settings.setContinueCountdown(false);
        Countdown countdown;
        QCOMPARE(countdown.start(QStringLiteral("00:00:03")), QStringLiteral("00:00:03"));
        const Run run = runTicks(countdown, settings, 10);
        QCOMPARE(run.texts, QStringList({"00:00:02", "00:00:01", "00:00:00"}));
        QCOMPARE(run.endSoundTicks, QList<int>({4}));
        QCOMPARE(run.stoppedAtTick, 4);
        QCOMPARE(countdown.remainingSeconds(), 0);
    }

    void threeSecondsCountDownThenContinueIntoOvertime()
    {
        Brevlin settings;
        Countdown countdown;
        countdown.start(QStringLiteral("00:00:03"));
        const Run run = runTicks(countdown, settings, 5);
        QCOMPARE(run.texts, QStringList({"00:00:02", "00:00:01", "00:00:00", "-00:00:01", "-00:00:02"}));
        QCOMPARE(run.endSoundTicks, QList<int>({4}));
        QCOMPARE(run.stoppedAtTick, -1);
    }

    void endSoundIsSkippedWhenSwitchedOff()
    {
        Brevlin settings;
        settings.setPlaySound(false);
        Countdown countdown;
        countdown.start(QStringLiteral("0:0:1"));
        const Run run = runTicks(countdown, settings, 3);
        QVERIFY(run.endSoundTicks.isEmpty());
        QCOMPARE(run.texts, QStringList({"00:00:00", "-00:00:01", "-00:00:02"}));
    }

    void emptyOrNonNumericFieldsStartAZeroCountdown_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::newRow("zeros") << QStringLiteral("0:0:0");
        QTest::newRow("empty pieces") << QStringLiteral("::");
        QTest::newRow("letters") << QStringLiteral("aa:bb:cc");
    }
    void emptyOrNonNumericFieldsStartAZeroCountdown()
    {
        QFETCH(QString, typed);
        Brevlin settings;
        settings.setContinueCountdown(false);
        Countdown countdown;
        QCOMPARE(countdown.start(typed), QStringLiteral("00:00:00"));
        QCOMPARE(countdown.remainingSeconds(), 0);
        const Run run = runTicks(countdown, settings, 3);
        QCOMPARE(run.endSoundTicks, QList<int>({1}));
        QCOMPARE(run.stoppedAtTick, 1);
    }

    void textsWithoutExactlyThreePiecesAreIgnored_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::newRow("one piece") << QStringLiteral("5");
        QTest::newRow("two pieces") << QStringLiteral("5:00");
        QTest::newRow("four pieces") << QStringLiteral("1:2:3:4");
        QTest::newRow("empty") << QString(QLatin1String(""));
        QTest::newRow("null") << QString();
    }
    void textsWithoutExactlyThreePiecesAreIgnored()
    {
        QFETCH(QString, typed);
        Brevlin settings;
        Countdown countdown;
        countdown.start(QStringLiteral("0:10:0"));
        runTicks(countdown, settings, 2);
        QVERIFY(countdown.start(typed).isNull());
        // The running count is untouched.
        QCOMPARE(countdown.remainingSeconds(), 598);
        QCOMPARE(countdown.shownMinutes(), 9);
        QCOMPARE(countdown.shownSeconds(), 58);
    }

    void fieldsAreShownAsTypedUntilTheFirstTick()
    {
        Brevlin settings;
        Countdown countdown;
        QCOMPARE(countdown.start(QStringLiteral("0:90:0")), QStringLiteral("00:90:00"));
        QCOMPARE(countdown.remainingSeconds(), 5400);
        QCOMPARE(runTicks(countdown, settings, 1).texts, QStringList({"01:29:59"}));
    }

    void aMinusStartsInOvertimeAndNeverPlaysTheEndSound()
    {
        Brevlin settings;
        settings.setContinueCountdown(false); // never consulted: zero is never met
        Countdown countdown;
        QCOMPARE(countdown.start(QStringLiteral("-0:0:10")), QStringLiteral("-00:00:10"));
        QCOMPARE(countdown.remainingSeconds(), -10);
        const Run run = runTicks(countdown, settings, 3);
        QCOMPARE(run.texts, QStringList({"-00:00:11", "-00:00:12", "-00:00:13"}));
        QVERIFY(run.endSoundTicks.isEmpty());
        QCOMPARE(run.stoppedAtTick, -1);
    }

    void aMinusWithNonZeroHoursResumesAsTimeRemaining()
    {
        Brevlin settings;
        Countdown countdown;
        QCOMPARE(countdown.start(QStringLiteral("-01:05:00")), QStringLiteral("01:05:00"));
        QCOMPARE(countdown.remainingSeconds(), 3300);
        QCOMPARE(countdown.shownHours(), 1);
        QCOMPARE(runTicks(countdown, settings, 1).texts, QStringList({"00:54:59"}));
    }

    void aNegativeMinutesFieldCountsDownPositive()
    {
        Brevlin settings;
        Countdown countdown;
        QCOMPARE(countdown.start(QStringLiteral("00:-5:00")), QStringLiteral("00:-5:00"));
        QCOMPARE(countdown.remainingSeconds(), 300);
        QCOMPARE(runTicks(countdown, settings, 1).texts, QStringList({"00:04:59"}));
    }

    void pausedOvertimeResumesWhereItStopped()
    {
        Brevlin settings;
        Countdown countdown;
        QCOMPARE(countdown.start(QStringLiteral("-00:05:23")), QStringLiteral("-00:05:23"));
        QCOMPARE(countdown.remainingSeconds(), -323);
        QCOMPARE(runTicks(countdown, settings, 1).texts, QStringList({"-00:05:24"}));
    }

    void hundredHoursShowThreeDigits()
    {
        Brevlin settings;
        Countdown countdown;
        QCOMPARE(countdown.start(QStringLiteral("100:0:0")), QStringLiteral("100:00:00"));
        QCOMPARE(countdown.remainingSeconds(), 360000);
        countdown.start(QStringLiteral("0:0:360001"));
        QCOMPARE(runTicks(countdown, settings, 1).texts, QStringList({"100:00:00"}));
    }

    void remindersPlayOnMultiplesOfTheIntervalInOvertimeOnly()
    {
        Brevlin settings; // reminders on, every 300 s by default
        QCOMPARE(settings.remindEveryIntervalSeconds(), 300);
        Countdown countdown;
        countdown.start(QStringLiteral("0:5:0"));
        const Run run = runTicks(countdown, settings, 300 + 1 + 900);
        // Tick 301 plays the end sound and shows -00:00:01; -00:05:00 is tick 600.
        QCOMPARE(run.endSoundTicks, QList<int>({301}));
        QCOMPARE(run.reminderTicks, QList<int>({600, 900, 1200}));
        QCOMPARE(run.texts.at(600 - 1), QStringLiteral("-00:05:00"));
        QCOMPARE(run.texts.at(1200 - 1), QStringLiteral("-00:15:00"));
    }

    void aOneSecondIntervalRemindsOnEveryOvertimeTickIncludingTheFirst()
    {
        Brevlin settings;
        settings.setRemindEveryInterval(QStringLiteral("0:0:1"));
        Countdown countdown;
        countdown.start(QStringLiteral("0:0:2"));
        const Run run = runTicks(countdown, settings, 6);
        QCOMPARE(run.endSoundTicks, QList<int>({3}));
        QCOMPARE(run.reminderTicks, QList<int>({3, 4, 5, 6}));
    }

    void aZeroOrNegativeIntervalNeverReminds()
    {
        for (const QString& interval : {QStringLiteral("0:0:0"), QStringLiteral("-1:0:0")}) {
            Brevlin settings;
            settings.setRemindEveryInterval(interval);
            Countdown countdown;
            countdown.start(QStringLiteral("0:0:1"));
            QVERIFY(runTicks(countdown, settings, 50).reminderTicks.isEmpty());
        }
    }

    void withoutContinuingNoReminderEverPlays()
    {
        Brevlin settings;
        settings.setContinueCountdown(false);
        settings.setRemindEveryInterval(QStringLiteral("0:0:1"));
        Countdown countdown;
        countdown.start(QStringLiteral("0:0:2"));
        const Run run = runTicks(countdown, settings, 10);
        QVERIFY(run.reminderTicks.isEmpty());
        QCOMPARE(run.stoppedAtTick, 3);
    }

    void switchingContinueOffDuringOvertimeDoesNotStop()
    {
        Brevlin settings;
        Countdown countdown;
        countdown.start(QStringLiteral("0:0:1"));
        runTicks(countdown, settings, 3);
        settings.setContinueCountdown(false);
        const Run run = runTicks(countdown, settings, 3);
        QCOMPARE(run.stoppedAtTick, -1);
        QCOMPARE(run.texts.last(), QStringLiteral("-00:00:05"));
    }

    void switchingRemindersTakesEffectAtTheNextTick()
    {
        Brevlin settings;
        settings.setRemindEveryInterval(QStringLiteral("0:0:1"));
        settings.setPlayReminderSound(false);
        Countdown countdown;
        countdown.start(QStringLiteral("-0:0:1"));
        QVERIFY(runTicks(countdown, settings, 2).reminderTicks.isEmpty());
        settings.setPlayReminderSound(true);
        QCOMPARE(runTicks(countdown, settings, 2).reminderTicks, QList<int>({1, 2}));
        settings.setRemindEveryInterval(QStringLiteral("0:0:3"));
        // The next tick shows -00:00:06.
        QCOMPARE(runTicks(countdown, settings, 1).reminderTicks, QList<int>({1}));
    }

    void switchingTheEndSoundOffJustBeforeZeroSilencesIt()
    {
        Brevlin settings;
        Countdown countdown;
        countdown.start(QStringLiteral("0:0:1"));
        runTicks(countdown, settings, 1);
        settings.setPlaySound(false);
        QVERIFY(runTicks(countdown, settings, 1).endSoundTicks.isEmpty());
    }

    void relayoutIsAskedOnlyWhenTheMinusFirstAppears()
    {
        Brevlin settings;
        Countdown countdown;
        countdown.start(QStringLiteral("0:0:2"));
        QList<int> relayouts;
        for (int i = 1; i <= 6; ++i)
            if (countdown.tick(settings).relayout)
                relayouts << i;
        QCOMPARE(relayouts, QList<int>({3}));
    }

    void aTotalPastTwoToTheThirtyOneWraps()
    {
        Brevlin settings;
        Countdown countdown;
        // 596524 h is 2147486400 s, 2^31 + 2752: the 32-bit total wraps to a negative count.
        QCOMPARE(countdown.start(QStringLiteral("596524:0:0")), QStringLiteral("-596524:00:00"));
        QCOMPARE(countdown.remainingSeconds(), -2147480896);
        QCOMPARE(runTicks(countdown, settings, 1).texts, QStringList({"-596522:28:17"}));
    }

    void theMostNegativeCountWrapsToTheLargestWithoutOverflow()
    {
        Brevlin settings;
        Countdown countdown;
        // -596523:14:08 is -2147483648 s; its negation has no 32-bit value and wraps to itself.
        countdown.start(QStringLiteral("-596523:-14:-08"));
        QCOMPARE(countdown.remainingSeconds(), std::numeric_limits<qint32>::min());
        QCOMPARE(runTicks(countdown, settings, 1).texts, QStringList({"596523:14:07"}));
        QCOMPARE(countdown.remainingSeconds(), std::numeric_limits<qint32>::max());
    }

    void outOfRangeFieldsSaturate()
    {
        Countdown countdown;
        countdown.start(QStringLiteral("0:0:99999999999"));
        QCOMPARE(countdown.shownSeconds(), std::numeric_limits<qint32>::max());
        QCOMPARE(countdown.remainingSeconds(), std::numeric_limits<qint32>::max());
    }
};

BREVLIN_TEST_MAIN_CORE(TestCountdown)
#include "tst_countdown.moc"
