// A real countdown, on its real one-second timer, heard through the test's PulseAudio null sink: silent
// until the tick after zero, then the end sound; in overtime the reminder.
#include "AppDelegate.h"
#include "Brevlin.h"
#include "FocusReturn.h"
#include "PreferenceController.h"
#include "SinkRecorder.h"
#include "Sound.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "TitlelessPanel.h"

#include <QLineEdit>
#include <QTest>

#include <algorithm>

namespace {

double peak(const QVector<qint16>& samples)
{
    int highest = 0;
    for (qint16 s : samples)
        highest = std::max(highest, std::abs(int(s)));
    return highest / 32768.0;
}

struct Heard
{
    double beforeRms = 0;
    double afterRms = 0;
    double afterPeak = 0;
    double afterSeconds = 0;
};

} // namespace

class TestCountdownSound : public QObject
{
    Q_OBJECT

private:
    // Launches as main() does, starts 0:0:1, and records twice: up to just before the tick that finds zero
    // left, and from there for three seconds.
    static bool countDownOneSecond(Heard& heard)
    {
        AppDelegate d;
        d.panel()->show();
        d.applicationDidFinishLaunching();
        // The built-in sounds are loaded once the panel has been drawn.
        if (!QTest::qWaitFor([&d] { return d.endSound() && d.reminderSound(); }, 5000))
            return false;

        SinkRecorder before;
        if (!before.start() || !before.waitUntilRecording())
            return false;
        d.input()->setText(QStringLiteral("0:0:1"));
        d.startTimer();
        if (!QTest::qWaitFor([&d] { return d.input()->text() == QLatin1String("00:00:00"); }, 3000))
            return false;
        // The zero text shows for a whole second; listen to most of it.
        QTest::qWait(500);
        const auto silence = before.stop();

        SinkRecorder after;
        if (!after.start() || !after.waitUntilRecording())
            return false;
        QTest::qWait(3000);
        const auto samples = after.stop();
        heard = {SinkRecorder::rms(silence), SinkRecorder::rms(samples), peak(samples),
                 double(samples.size()) / SinkRecorder::sampleRate};
        qInfo("before zero: %lld samples, RMS %.4f; after: %.2f s recorded, RMS %.4f, peak %.4f",
              qint64(silence.size()), heard.beforeRms, heard.afterSeconds, heard.afterRms, heard.afterPeak);
        return true;
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("BREVLIN_TEST_SINK_MONITOR"),
                 "run through isolated-run.sh --pulse");
        FocusReturn::setActivator([] {});
    }

    void init() { StoredSettings::forgetAll(); }

    void theEndSoundIsHeardOnTheTickAfterZero()
    {
        PreferenceController::setPreferenceContinueCountdown(false);
        Heard heard;
        QVERIFY(countDownOneSecond(heard));
        QVERIFY2(heard.beforeRms < 0.001, qPrintable(QString::number(heard.beforeRms)));
        QVERIFY2(heard.afterRms > 0.02, qPrintable(QString::number(heard.afterRms)));
    }

    void aOneSecondCountdownStartedAtOnceStillEndsWithItsSound()
    {
        // Started before the panel's first frame, so before the sounds are even being decoded: the zero
        // a second later still plays the end sound.
        PreferenceController::setPreferenceContinueCountdown(false);
        SinkRecorder recorder;
        QVERIFY(recorder.start());
        QVERIFY(recorder.waitUntilRecording());
        AppDelegate d;
        d.panel()->show();
        d.applicationDidFinishLaunching();
        QVERIFY(d.isLoadingSounds());
        d.input()->setText(QStringLiteral("0:0:1"));
        d.startTimer();
        QVERIFY(QTest::qWaitFor([&d] { return d.input()->text() == QLatin1String("00:00:00"); }, 3000));
        QTest::qWait(3500);
        const auto samples = recorder.stop();
        qInfo("RMS %.4f, peak %.4f", SinkRecorder::rms(samples), peak(samples));
        QVERIFY2(SinkRecorder::rms(samples) > 0.01, qPrintable(QString::number(SinkRecorder::rms(samples))));
    }

    void withPlaySoundOffTheEndIsSilent()
    {
        PreferenceController::setPreferencePlaySound(false);
        PreferenceController::setPreferenceContinueCountdown(false);
        Heard heard;
        QVERIFY(countDownOneSecond(heard));
        QVERIFY2(heard.beforeRms < 0.001, qPrintable(QString::number(heard.beforeRms)));
        QVERIFY2(heard.afterRms < 0.001, qPrintable(QString::number(heard.afterRms)));
    }

    void theReminderIsHeardInOvertime()
    {
        // No end sound, a reminder every overtime second: what is heard after zero is the reminder.
        PreferenceController::setPreferencePlaySound(false);
        PreferenceController::setPreferenceRemindEveryInterval(QStringLiteral("0:0:1"));
        Heard heard;
        QVERIFY(countDownOneSecond(heard));
        QVERIFY2(heard.beforeRms < 0.001, qPrintable(QString::number(heard.beforeRms)));
        QVERIFY2(heard.afterPeak > 0.1, qPrintable(QString::number(heard.afterPeak)));
    }

    void aReminderEverySecondIsHeardAtEveryOvertimeTick()
    {
        // A reminder shorter than a second, due every second: each overtime tick is heard, none skipped
        // because the one before is still thought to be playing.
        PreferenceController::setPreferencePlaySound(false);
        PreferenceController::setPreferenceRemindEveryInterval(QStringLiteral("0:0:1"));
        AppDelegate d;
        d.panel()->show();
        d.applicationDidFinishLaunching();
        QVERIFY(QTest::qWaitFor([&d] { return d.reminderSound() != nullptr; }, 5000));
        const auto reminder = std::dynamic_pointer_cast<Sound>(d.reminderSound());
        QVERIFY(reminder && reminder->duration() < 0.5);

        SinkRecorder recorder;
        QVERIFY(recorder.start());
        QVERIFY(recorder.waitUntilRecording());
        d.input()->setText(QStringLiteral("0:0:1"));
        d.startTimer();
        QVERIFY(QTest::qWaitFor([&d] { return d.input()->text() == QLatin1String("-00:00:01"); }, 4000));
        QVERIFY(QTest::qWaitFor([&d] { return d.input()->text() == QLatin1String("-00:00:08"); }, 9000));
        // The last reminder is let out of the sound server before the recording ends.
        QTest::qWait(900);
        const auto samples = recorder.stop();
        // Louder than 1 % after 0.3 s of quiet: the reminders are a second apart.
        const int heard = SinkRecorder::onsets(samples, 0.01, 30);
        qInfo("%d reminders heard in %.2f s", heard, double(samples.size()) / SinkRecorder::sampleRate);
        // Eight reminders: -00:00:01 to -00:00:08.
        QCOMPARE(heard, 8);
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestCountdownSound)
#include "tst_countdownsound.moc"
