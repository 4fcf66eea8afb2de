#include "Countdown.h"

#include "Brevlin.h"
#include "TestMain.h"

#include <QTest>

#include <limits>

// The countdown engine over ten million ticks, about 116 days of overtime, under the sanitizers in
// `make test SANITIZE=1`: every tick takes exactly one second off in 32-bit two's complement, the end sound
// plays once, a reminder at every multiple of the interval, and the count passes the 32-bit wrap.

namespace {

constexpr qint64 TenMillion = 10'000'000;

// The display the engine must show for a count, built independently of the engine's own arithmetic.
QString expectedText(qint32 remaining)
{
    const qint64 magnitude = remaining < 0 ? -qint64(remaining) : qint64(remaining);
    return formatTime(qint32(magnitude / 3600), qint32(magnitude % 3600 / 60), qint32(magnitude % 60),
                      remaining < 0);
}

} // namespace

class TestCountdownLongRun : public QObject
{
    Q_OBJECT

private slots:
    void tenMillionTicksIntoOvertime();
    void tenMillionTicksAcrossTheWrap();
};

void TestCountdownLongRun::tenMillionTicksIntoOvertime()
{
    Brevlin settings;
    settings.setRemindEveryInterval(QStringLiteral("0:5:0"));
    Countdown countdown;
    QCOMPARE(countdown.start(QStringLiteral("0:0:5")), QStringLiteral("00:00:05"));

    qint64 endSounds = 0;
    qint64 reminders = 0;
    qint64 relayouts = 0;
    qint64 wrongTexts = 0;
    for (qint64 tick = 1; tick <= TenMillion; ++tick) {
        const Countdown::Step step = countdown.tick(settings);
        endSounds += step.playEndSound;
        reminders += step.playReminderSound;
        relayouts += step.relayout;
        if (step.stopTimer || countdown.remainingSeconds() != qint32(5 - tick))
            QFAIL(qPrintable(QStringLiteral("tick %1 left %2").arg(tick).arg(countdown.remainingSeconds())));
        if (step.text != expectedText(countdown.remainingSeconds()))
            ++wrongTexts;
    }
    QCOMPARE(wrongTexts, qint64(0));
    QCOMPARE(endSounds, qint64(1));
    QCOMPARE(relayouts, qint64(1));
    // Overtime runs from -1 to -(10 000 000 - 5) seconds: a reminder at every 300th second.
    QCOMPARE(reminders, (TenMillion - 5) / 300);
    QCOMPARE(countdown.remainingSeconds(), qint32(5 - TenMillion));
    QCOMPARE(expectedText(countdown.remainingSeconds()), QStringLiteral("-2777:46:35"));
}

void TestCountdownLongRun::tenMillionTicksAcrossTheWrap()
{
    Brevlin settings;
    settings.setRemindEveryInterval(QStringLiteral("0:0:1"));
    Countdown countdown;
    // 596523 h 14 min 8 s is 2^31 seconds, one more than a 32-bit count holds: it wraps to the most
    // negative count, 596523 h 14 min 8 s of overtime.
    countdown.start(QStringLiteral("596523:14:8"));
    QCOMPARE(countdown.remainingSeconds(), std::numeric_limits<qint32>::min());

    // One more second wraps to the largest positive count, which counts down like any other.
    Countdown::Step step = countdown.tick(settings);
    QCOMPARE(countdown.remainingSeconds(), std::numeric_limits<qint32>::max());
    QCOMPARE(step.text, QStringLiteral("596523:14:07"));
    QVERIFY(!step.playReminderSound);

    qint64 wrongTexts = 0;
    qint64 reminders = 0;
    for (qint64 tick = 1; tick < TenMillion; ++tick) {
        step = countdown.tick(settings);
        reminders += step.playReminderSound;
        if (step.stopTimer ||
            countdown.remainingSeconds() != qint32(std::numeric_limits<qint32>::max() - tick))
            QFAIL(qPrintable(QStringLiteral("tick %1 left %2").arg(tick).arg(countdown.remainingSeconds())));
        if (step.text != expectedText(countdown.remainingSeconds()))
            ++wrongTexts;
    }
    QCOMPARE(wrongTexts, qint64(0));
    QCOMPARE(reminders, qint64(0));
}

BREVLIN_TEST_MAIN_CORE(TestCountdownLongRun)
#include "tst_countdownlongrun.moc"
