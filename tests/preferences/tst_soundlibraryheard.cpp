// The sound library heard through the test's PulseAudio null sink: a sound added in the preferences window
// ends the panel's countdown, a preview plays the chosen entry (twice, overlapping, when clicked twice), and
// a name that leads out of the sound folder plays nothing.
#include "AppDelegate.h"
#include "AppLaunch.h"
#include "BuiltInSounds.h"
#include "DirectoryLocations.h"
#include "FocusReturn.h"
#include "PanelLaunch.h"
#include "PreferenceController.h"
#include "PreferenceWindowController.h"
#include "PreferencesTestSupport.h"
#include "SinkRecorder.h"
#include "SoundDialogs.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "TitlelessPanel.h"

#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <memory>

using namespace PreferencesTest;

namespace {

constexpr double toneFrequency = 880;
constexpr int windowSamples = SinkRecorder::sampleRate / 100;

// The samples of the 10 ms windows louder than the threshold, joined.
QVector<qint16> loudPart(const QVector<qint16>& samples, double threshold = 0.02)
{
    QVector<qint16> loud;
    for (qsizetype start = 0; start + windowSamples <= samples.size(); start += windowSamples) {
        const QVector<qint16> window = samples.mid(start, windowSamples);
        if (SinkRecorder::rms(window) > threshold)
            loud += window;
    }
    return loud;
}

// How much of the samples' energy lies at the frequency (Goertzel): near 1 for a pure tone of it.
double shareAt(const QVector<qint16>& samples, double frequency)
{
    if (samples.isEmpty())
        return 0;
    const double coefficient = 2 * std::cos(2 * M_PI * frequency / SinkRecorder::sampleRate);
    double s1 = 0, s2 = 0, energy = 0;
    for (qint16 sample : samples) {
        const double x = sample;
        const double s0 = x + coefficient * s1 - s2;
        s2 = s1;
        s1 = s0;
        energy += x * x;
    }
    const double power = s1 * s1 + s2 * s2 - coefficient * s1 * s2;
    return 2 * power / (double(samples.size()) * energy);
}

// Two 60 ms beeps, at the start and 0.8 s in, in a file of 1 s.
QByteArray twoBeeps()
{
    QByteArray wav = sineWav(1000, 1.0);
    auto* samples = reinterpret_cast<qint16*>(wav.data() + 44);
    const int rate = 44100;
    for (int i = 0; i < rate; ++i) {
        const double t = double(i) / rate;
        if (!(t < 0.06 || (t >= 0.8 && t < 0.86)))
            samples[i] = 0;
    }
    return wav;
}

QString soundFolder()
{
    return DirectoryLocations::applicationSupportDirectory();
}

} // namespace

class TestSoundLibraryHeard : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<AppDelegate> m_delegate;
    QTemporaryDir m_sources;

    AppDelegate& launch()
    {
        m_delegate = testsupport::launchPanel();
        // The built-in sounds are copied, and the two handles loaded, in one step after the first frame.
        const QString last = QDir(soundFolder()).filePath(testsupport::builtInSounds().last());
        if (!QTest::qWaitFor([&last] { return QFileInfo::exists(last); }, 5000))
            qWarning("the built-in sounds were not copied");
        if (!testsupport::waitForSounds(*m_delegate))
            qWarning("the sounds did not load");
        return *m_delegate;
    }

    PreferenceWindowController& openPreferences()
    {
        PreferenceWindowController* c = openPreferencesFromMenu(*m_delegate);
        if (!c)
            qFatal("no preferences window");
        QTest::qWait(50);
        return *c;
    }

    // Records while the action runs and for the given time after it.
    template <typename Action>
    static QVector<qint16> record(Action action, int milliseconds)
    {
        SinkRecorder recorder;
        if (!recorder.start() || !recorder.waitUntilRecording())
            return {};
        action();
        QTest::qWait(milliseconds);
        return recorder.stop();
    }

    // A sound listed after the built-in ones, written straight into the sound folder.
    static void listSound(const QString& name, const QByteArray& wav)
    {
        QDir().mkpath(soundFolder());
        QVERIFY(writeFile(QDir(soundFolder()).filePath(name), wav));
        PreferenceController::setPreferenceSoundFiles(testsupport::builtInSounds() + QStringList{name});
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(!qEnvironmentVariableIsEmpty("BREVLIN_TEST_SINK_MONITOR"),
                 "run through isolated-run.sh --pulse");
        QVERIFY(m_sources.isValid());
        FocusReturn::setActivator([] {});
    }

    void init()
    {
        StoredSettings::forgetAll();
        QDir(soundFolder()).removeRecursively();
    }

    void cleanup()
    {
        m_delegate.reset();
        // Let every playback end before the next test listens.
        QTest::qWait(300);
    }

    void cleanupTestCase() { FocusReturn::setActivator({}); }

    void anAddedSoundIsHeardAtTheEndOfTheCountdown()
    {
        AppDelegate& d = launch();
        PreferenceWindowController& c = openPreferences();
        const QString source = m_sources.filePath(QStringLiteral("Test Tone.wav"));
        QVERIFY(writeFile(source, sineWav(toneFrequency, 1.0, 0.5, 22050)));
        {
            AlertAnswerer answerer(QStringLiteral("Ok"));
            QFileDialog* panel = openAddSoundPanel(c);
            QVERIFY(panel);
            QVERIFY(chooseFile(panel, source));
            QTRY_VERIFY(!c.isAddingSound());
            QVERIFY(answerer.seen.empty());
        }
        QVERIFY(testsupport::waitForSounds(d));
        QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("Test Tone.wav"));
        click(c.prefsWindow()->findChild<QCheckBox*>(QStringLiteral("continueCountdownCheckbox")));
        QVERIFY(!PreferenceController::preferenceContinueCountdown());

        const QVector<qint16> samples = record(
            [&d] {
                QLineEdit* field = d.input();
                field->setFocus();
                field->selectAll();
                QTest::keyClicks(field, QStringLiteral("0:0:1"));
                QTest::keyClick(field, Qt::Key_Return);
            },
            3500);
        const QVector<qint16> loud = loudPart(samples);
        const double seconds = double(loud.size()) / SinkRecorder::sampleRate;
        const double share = shareAt(loud, toneFrequency);
        qInfo("heard %.2f s, RMS %.3f, %.0f%% of it at %.0f Hz", seconds, SinkRecorder::rms(loud),
              share * 100, toneFrequency);
        QVERIFY2(seconds > 0.8 && seconds < 1.3, qPrintable(QString::number(seconds)));
        QVERIFY2(share > 0.8, qPrintable(QString::number(share)));
    }

    void aPreviewPlaysTheChosenEntryAndLeavesThePanelsSoundsAlone()
    {
        listSound(QStringLiteral("Test Tone.wav"), sineWav(toneFrequency, 1.0, 0.5, 22050));
        PreferenceController::setPreferenceReminderSoundIndex(5);
        AppDelegate& d = launch();
        PreferenceWindowController& c = openPreferences();
        QCOMPARE(c.reminderSoundFilesDropdownList()->currentText(), QStringLiteral("Test Tone.wav"));
        const std::shared_ptr<Playable> endSound = d.endSound();
        const std::shared_ptr<Playable> reminderSound = d.reminderSound();

        const QVector<qint16> samples = record([&c] { click(c.previewReminderSoundButton()); }, 3000);

        const QVector<qint16> loud = loudPart(samples);
        const double seconds = double(loud.size()) / SinkRecorder::sampleRate;
        qInfo("heard %.2f s, %.0f%% at %.0f Hz", seconds, shareAt(loud, toneFrequency) * 100, toneFrequency);
        QVERIFY2(seconds > 0.8 && seconds < 1.3, qPrintable(QString::number(seconds)));
        QVERIFY(shareAt(loud, toneFrequency) > 0.8);
        QCOMPARE(d.endSound(), endSound);
        QCOMPARE(d.reminderSound(), reminderSound);
    }

    void twoQuickPreviewsOverlap()
    {
        listSound(QStringLiteral("Two Beeps.wav"), twoBeeps());
        PreferenceController::setPreferenceSelectedSoundIndex(5);
        launch();
        PreferenceWindowController& c = openPreferences();
        QCOMPARE(c.soundFilesDropdownList()->currentText(), QStringLiteral("Two Beeps.wav"));
        // The first sound of a process opens the audio stream; hear that one before timing anything.
        click(c.previewSoundButton());
        QTest::qWait(2500);

        const QVector<qint16> samples = record(
            [&c] {
                click(c.previewSoundButton());
                QTest::qWait(400);
                click(c.previewSoundButton());
            },
            2000);
        // Each playback beeps twice, the second started while the first still plays: four beeps. A second
        // click that did nothing would leave two, one that restarted the first playback three.
        // Starts of loud stretches that follow at least 80 ms of quiet.
        const int beeps = SinkRecorder::onsets(samples, 0.05, 8);
        qInfo("%d beeps heard", beeps);
        QCOMPARE(beeps, 4);
    }

    void aNameOutsideTheFolderOrNoSelectionPlaysNothing()
    {
        // A loud tone just outside the sound folder, and a damaged list that names it.
        QDir().mkpath(soundFolder());
        const QString outside = QDir(QFileInfo(soundFolder()).path()).filePath(QStringLiteral("outside.wav"));
        QVERIFY(writeFile(outside, sineWav(toneFrequency, 1.0)));
        PreferenceController::setPreferenceSoundFiles(
            {QStringLiteral("Left Coast Piano.mp3"), QStringLiteral("../outside.wav")});
        PreferenceController::setPreferenceSelectedSoundIndex(1);
        PreferenceController::setPreferenceReminderSoundIndex(1);
        launch();
        PreferenceWindowController& c = openPreferences();
        QCOMPARE(c.soundFilesDropdownList()->currentText(), QStringLiteral("../outside.wav"));
        c.reminderSoundFilesDropdownList()->setCurrentIndex(-1);

        const QVector<qint16> samples = record(
            [&c] {
                click(c.previewSoundButton());
                click(c.previewReminderSoundButton());
            },
            1200);
        QVERIFY2(SinkRecorder::rms(samples) < 0.001, qPrintable(QString::number(SinkRecorder::rms(samples))));
        QVERIFY(QFile::remove(outside));
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestSoundLibraryHeard)
#include "tst_soundlibraryheard.moc"
