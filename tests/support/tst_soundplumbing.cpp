// Sound tests listen to a private PulseAudio null sink; prove a played sound is heard there and silence
// is not, and that the test can stop, end and start that server again.
#include "PrivatePulse.h"
#include "SinkRecorder.h"
#include "TestMain.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class TestSoundPlumbing : public QObject
{
    Q_OBJECT

private slots:
    void silenceIsHeardAsSilence()
    {
        // The null sink renders only while something plays, so play a silent file to get samples at all.
        QTemporaryDir dir;
        QFile file(dir.filePath(QStringLiteral("silence.wav")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(sineWav(440, 0.8, 0.0));
        file.close();

        SinkRecorder recorder;
        QVERIFY(recorder.start());
        QVERIFY(recorder.waitUntilRecording());
        QCOMPARE(QProcess::execute(QStringLiteral("paplay"), {file.fileName()}), 0);
        const auto samples = recorder.stop();
        QVERIFY2(samples.size() > SinkRecorder::sampleRate / 4, "the monitor produced no samples");
        QVERIFY2(SinkRecorder::rms(samples) < 0.001, qPrintable(QString::number(SinkRecorder::rms(samples))));
    }

    void aPlayedToneIsHeard()
    {
        QTemporaryDir dir;
        QFile file(dir.filePath(QStringLiteral("tone.wav")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(sineWav(440, 0.8));
        file.close();

        SinkRecorder recorder;
        QVERIFY(recorder.start());
        QVERIFY(recorder.waitUntilRecording());
        QCOMPARE(QProcess::execute(QStringLiteral("paplay"), {file.fileName()}), 0);
        QTest::qWait(200);
        const double level = SinkRecorder::rms(recorder.stop());
        // Half-scale sine is 0.35 RMS; part of the recording is silence around it.
        QVERIFY2(level > 0.05, qPrintable(QString::number(level)));
    }

    void theServerCanBeStoppedEndedAndStartedAgain()
    {
        using testsupport::PrivatePulse;
        const auto answers = [] {
            QProcess pactl;
            pactl.start(QStringLiteral("pactl"), {QStringLiteral("get-default-sink")});
            const bool ended = pactl.waitForFinished(1500);
            if (!ended) {
                pactl.kill();
                pactl.waitForFinished();
            }
            return ended && pactl.exitCode() == 0 &&
                   pactl.readAllStandardOutput().trimmed() == "brevlin_test";
        };
        QVERIFY(PrivatePulse::available());
        QVERIFY(PrivatePulse::isRunning());
        QVERIFY(answers());
        QVERIFY(PrivatePulse::freeze());
        QVERIFY(!answers());
        QVERIFY(PrivatePulse::thaw());
        QTRY_VERIFY(answers());
        QVERIFY(PrivatePulse::kill());
        QVERIFY(!PrivatePulse::isRunning());
        QVERIFY(!answers());
        QVERIFY(PrivatePulse::start());
        QVERIFY(answers());
        aPlayedToneIsHeard();
    }
};

BREVLIN_TEST_MAIN_CORE(TestSoundPlumbing)
#include "tst_soundplumbing.moc"
