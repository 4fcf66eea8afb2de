// Sound tests listen to a private PulseAudio null sink; prove a played sound is heard there and silence
// is not.
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
};

BREVLIN_TEST_MAIN_CORE(TestSoundPlumbing)
#include "tst_soundplumbing.moc"
