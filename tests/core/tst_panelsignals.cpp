// When the panel changes its colours and flashes, from the seconds left alone.
#include "Brevlin.h"
#include "Countdown.h"
#include "PanelSignals.h"
#include "SignalSettings.h"
#include "TestMain.h"

#include <QTest>

#include <limits>

using PanelSignals::Look;
using PanelSignals::lookFor;

namespace {

SignalSettings warningsOn(const QString& warnAt = QStringLiteral("0:05:00"),
                          const QString& finalAt = QStringLiteral("0:01:00"))
{
    SignalSettings settings;
    settings.changeColorsNearEnd = true;
    settings.warnAt = warnAt;
    settings.finalAt = finalAt;
    return settings;
}

// The looks a running countdown shows, one per displayed second, the start included.
QList<Look> looksOfARun(const QString& typed, int ticks, const SignalSettings& settings)
{
    Brevlin timerData;
    Countdown countdown;
    QList<Look> looks;
    if (countdown.start(typed).isNull())
        return looks;
    looks.append(lookFor(countdown.remainingSeconds(), settings));
    for (int i = 0; i < ticks; ++i) {
        countdown.tick(timerData);
        looks.append(lookFor(countdown.remainingSeconds(), settings));
    }
    return looks;
}

} // namespace

class TestPanelSignals : public QObject
{
    Q_OBJECT

private slots:
    void thresholdsAreReadAsHoursMinutesSeconds_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<qint64>("seconds");
        QTest::newRow("default warning") << "0:05:00" << qint64(300);
        QTest::newRow("default final") << "0:01:00" << qint64(60);
        QTest::newRow("unpadded") << "1:2:3" << qint64(3723);
        QTest::newRow("fields past 59") << "0:90:75" << qint64(5475);
        QTest::newRow("spaces around fields") << " 0 : 0 : 30 " << qint64(30);
        QTest::newRow("largest fields") << "999999:999999:999999" << qint64(999999LL * 3600 + 999999 * 61);
        // Never reached.
        QTest::newRow("zero") << "0:00:00" << qint64(0);
        QTest::newRow("empty") << "" << qint64(0);
        QTest::newRow("null") << QString() << qint64(0);
        QTest::newRow("two fields") << "5:00" << qint64(0);
        QTest::newRow("four fields") << "0:0:5:0" << qint64(0);
        QTest::newRow("letters") << "0:5m:00" << qint64(0);
        QTest::newRow("negative") << "0:-5:00" << qint64(0);
        QTest::newRow("plus sign") << "0:+5:00" << qint64(0);
        QTest::newRow("empty field") << "0::30" << qint64(0);
        QTest::newRow("seven digits") << "1000000:0:0" << qint64(0);
        QTest::newRow("arabic-indic digits") << QStringLiteral("0:\u0665:0") << qint64(0);
        QTest::newRow("fraction") << "0:0:1.5" << qint64(0);
    }

    void thresholdsAreReadAsHoursMinutesSeconds()
    {
        QFETCH(QString, typed);
        QFETCH(qint64, seconds);
        QCOMPARE(PanelSignals::thresholdSeconds(typed), seconds);
    }

    void eachThresholdIsReachedAtItsOwnSecond()
    {
        const SignalSettings settings = warningsOn();
        QCOMPARE(lookFor(301, settings), Look::Stored);
        QCOMPARE(lookFor(300, settings), Look::Warning);
        QCOMPARE(lookFor(299, settings), Look::Warning);
        QCOMPARE(lookFor(61, settings), Look::Warning);
        QCOMPARE(lookFor(60, settings), Look::Final);
        QCOMPARE(lookFor(59, settings), Look::Final);
        QCOMPARE(lookFor(0, settings), Look::Final);
    }

    void switchedOffNothingChanges()
    {
        SignalSettings settings = warningsOn();
        settings.changeColorsNearEnd = false;
        for (const qint32 left : {600, 300, 60, 1, 0, -1, -600})
            QCOMPARE(lookFor(left, settings), Look::Stored);
    }

    void aZeroThresholdIsNeverReached()
    {
        const SignalSettings noWarning = warningsOn(QStringLiteral("0:0:0"), QStringLiteral("0:0:3"));
        QCOMPARE(lookFor(10, noWarning), Look::Stored);
        QCOMPARE(lookFor(4, noWarning), Look::Stored);
        QCOMPARE(lookFor(3, noWarning), Look::Final);
        const SignalSettings noFinal = warningsOn(QStringLiteral("0:0:5"), QStringLiteral("0:0:0"));
        QCOMPARE(lookFor(5, noFinal), Look::Warning);
        QCOMPARE(lookFor(0, noFinal), Look::Warning);
        QCOMPARE(lookFor(-5, noFinal), Look::Warning);
        const SignalSettings neither = warningsOn(QStringLiteral("0:0:0"), QStringLiteral("junk"));
        QCOMPARE(lookFor(0, neither), Look::Stored);
        QCOMPARE(lookFor(-1, neither), Look::Stored);
    }

    void aThresholdEqualToTheCountdownIsReachedAtTheStart()
    {
        const QList<Look> looks = looksOfARun(QStringLiteral("0:0:5"), 2, warningsOn("0:0:5", "0:0:2"));
        QCOMPARE(looks, (QList<Look>{Look::Warning, Look::Warning, Look::Warning}));
    }

    void aThresholdLongerThanTheCountdownIsReachedAtTheStart()
    {
        const QList<Look> looks = looksOfARun(QStringLiteral("0:0:8"), 0, warningsOn("0:10:0", "0:5:0"));
        QCOMPARE(looks, (QList<Look>{Look::Final}));
    }

    void aRunCrossesBothThresholdsIntoOvertime()
    {
        SignalSettings settings = warningsOn(QStringLiteral("0:0:05"), QStringLiteral("0:0:03"));
        settings.overtimeColors = true;
        // 8 7 6 | 5 4 | 3 2 1 0 | -1 -2
        const QList<Look> expected{Look::Stored,  Look::Stored,   Look::Stored,  Look::Warning,
                                   Look::Warning, Look::Final,    Look::Final,   Look::Final,
                                   Look::Final,   Look::Overtime, Look::Overtime};
        QCOMPARE(looksOfARun(QStringLiteral("0:0:8"), 10, settings), expected);
    }

    void withoutOvertimeColoursTheFinalPairStaysInOvertime()
    {
        const SignalSettings settings = warningsOn();
        QCOMPARE(lookFor(-1, settings), Look::Final);
        QCOMPARE(lookFor(-3600, settings), Look::Final);
        QCOMPARE(lookFor(std::numeric_limits<qint32>::min(), settings), Look::Final);
    }

    void overtimeColoursNeedNoWarnings()
    {
        SignalSettings settings;
        settings.overtimeColors = true;
        QCOMPARE(lookFor(60, settings), Look::Stored);
        QCOMPARE(lookFor(0, settings), Look::Stored);
        QCOMPARE(lookFor(-1, settings), Look::Overtime);
        QCOMPARE(lookFor(std::numeric_limits<qint32>::min(), settings), Look::Overtime);
    }

    void aPausedAndResumedCountdownCrossesAThreshold()
    {
        const SignalSettings settings = warningsOn(QStringLiteral("0:0:10"), QStringLiteral("0:0:02"));
        Brevlin timerData;
        Countdown countdown;
        const QString shown = countdown.start(QStringLiteral("0:0:12"));
        countdown.tick(timerData);
        QCOMPARE(lookFor(countdown.remainingSeconds(), settings), Look::Stored); // 11
        // Paused at 00:00:11; the presenter resumes with the text the panel shows.
        Countdown resumed;
        QCOMPARE(resumed.start(QStringLiteral("00:00:11")), QStringLiteral("00:00:11"));
        QCOMPARE(lookFor(resumed.remainingSeconds(), settings), Look::Stored);
        resumed.tick(timerData);
        QCOMPARE(lookFor(resumed.remainingSeconds(), settings), Look::Warning); // 10
        // Resumed from a paused overtime: below every threshold.
        Countdown overtime;
        overtime.start(QStringLiteral("-00:00:04"));
        QCOMPARE(lookFor(overtime.remainingSeconds(), settings), Look::Final);
        Q_UNUSED(shown)
    }

    void theCountWrapsFromTheMostNegativeBackToTheStoredPair()
    {
        SignalSettings settings = warningsOn();
        settings.overtimeColors = true;
        Brevlin timerData;
        Countdown countdown;
        // 596523:14:08 is 2^31 seconds: it wraps to the most negative count at the start.
        countdown.start(QStringLiteral("596523:14:08"));
        QCOMPARE(countdown.remainingSeconds(), std::numeric_limits<qint32>::min());
        QCOMPARE(lookFor(countdown.remainingSeconds(), settings), Look::Overtime);
        countdown.tick(timerData);
        QCOMPARE(countdown.remainingSeconds(), std::numeric_limits<qint32>::max());
        QCOMPARE(lookFor(countdown.remainingSeconds(), settings), Look::Stored);
    }

    void colourPairsFollowTheLook()
    {
        SignalSettings settings;
        const PanelSignals::ColorPair stored{QColor(1, 2, 3), QColor(4, 5, 6)};
        const auto pair = [&](Look look) {
            const PanelSignals::ColorPair colors = PanelSignals::colorsFor(look, settings, stored);
            return qMakePair(colors.text, colors.background);
        };
        QCOMPARE(pair(Look::Stored), qMakePair(QColor(1, 2, 3), QColor(4, 5, 6)));
        QCOMPARE(pair(Look::Warning), qMakePair(QColor(Qt::black), QColor(0xff, 0xbf, 0x00)));
        QCOMPARE(pair(Look::Final), qMakePair(QColor(Qt::white), QColor(0xc6, 0x28, 0x28)));
        QCOMPARE(pair(Look::Overtime), qMakePair(QColor(Qt::white), QColor(0x6a, 0x1b, 0x9a)));
    }

    void aSwapIsOpaque()
    {
        const PanelSignals::ColorPair pair =
            PanelSignals::swapped({QColor(255, 255, 255, 40), QColor(10, 20, 30, 0)});
        QCOMPARE(pair.text, QColor(10, 20, 30));
        QCOMPARE(pair.background, QColor(255, 255, 255));
    }

    void flashesBeginWithTheEndSoundAndWithEachReminder()
    {
        using PanelSignals::flashChangesAtTick;
        SignalSettings settings;
        QCOMPARE(flashChangesAtTick(0, -1, settings, 60), 0);
        settings.flashAtZero = true;
        QCOMPARE(flashChangesAtTick(2, 1, settings, 60), 0);
        // The panel comes to show 00:00:00; the end sound is a second later, and so is the flash.
        QCOMPARE(flashChangesAtTick(1, 0, settings, 60), 0);
        QCOMPARE(flashChangesAtTick(0, -1, settings, 60), 10);
        // The count stops at zero: the tick leaves it there.
        QCOMPARE(flashChangesAtTick(0, 0, settings, 60), 10);
        QCOMPARE(flashChangesAtTick(-1, -2, settings, 60), 0);
        QCOMPARE(flashChangesAtTick(-58, -59, settings, 60), 0);
        QCOMPARE(flashChangesAtTick(-59, -60, settings, 60), 2);
        QCOMPARE(flashChangesAtTick(-119, -120, settings, 60), 2);
        // No interval, no reminder flashes; zero still flashes.
        QCOMPARE(flashChangesAtTick(-59, -60, settings, 0), 0);
        QCOMPARE(flashChangesAtTick(0, -1, settings, 0), 10);
        // The reminder's own rule, at the wrap: -2^31 is a multiple of 2, not of 3.
        constexpr qint32 lowest = std::numeric_limits<qint32>::min();
        QCOMPARE(flashChangesAtTick(lowest + 1, lowest, settings, 2), 2);
        QCOMPARE(flashChangesAtTick(lowest + 1, lowest, settings, 3), 0);
    }

    void flashesFollowTheReminderSoundsOfARun()
    {
        // Every tick at which the reminder sound is due flashes, and no other tick of overtime.
        SignalSettings settings;
        settings.flashAtZero = true;
        Brevlin timerData;
        timerData.setRemindEveryInterval(QStringLiteral("0:0:3"));
        Countdown countdown;
        countdown.start(QStringLiteral("0:0:2"));
        for (int i = 0; i < 12; ++i) {
            const qint32 before = countdown.remainingSeconds();
            const Countdown::Step step = countdown.tick(timerData);
            const int changes = PanelSignals::flashChangesAtTick(
                before, countdown.remainingSeconds(), settings, timerData.remindEveryIntervalSeconds());
            if (step.playEndSound)
                QCOMPARE(changes, 10);
            else
                QCOMPARE(changes, step.playReminderSound ? 2 : 0);
        }
    }

    void aFlashNeverChangesMoreThanThreeTimesASecond()
    {
        QVERIFY(1000 / PanelSignals::flashChangeMs <= 3);
        QCOMPARE(PanelSignals::changesAtZero * PanelSignals::flashChangeMs, 5000);
        // Each flash ends where it began: an even number of swaps.
        QCOMPARE(PanelSignals::changesAtZero % 2, 0);
        QCOMPARE(PanelSignals::changesAtReminder % 2, 0);
    }
};

BREVLIN_TEST_MAIN_CORE(TestPanelSignals)
#include "tst_panelsignals.moc"
