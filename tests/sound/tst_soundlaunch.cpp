// The launch step that fills the sound folder with the built-in sounds and loads the two handles, and the
// two observers that reload a handle by the stored name.
#include "AppDelegate.h"
#include "AppLaunch.h"
#include "Brevlin.h"
#include "BuiltInSounds.h"
#include "DirectoryLocations.h"
#include "FocusReturn.h"
#include "PreferenceController.h"
#include "PreferenceKeys.h"
#include "SinkRecorder.h"
#include "Sound.h"
#include "SoundAlerts.h"
#include "SoundFolder.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "TitlelessPanel.h"
#include "UserDefaults.h"

#include <QAbstractButton>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace {

const QStringList& builtInNames = testsupport::builtInSounds();

// The stand-in built-in sounds are tones of different lengths, so a handle tells which file it came from.
double lengthOfBuiltIn(int index)
{
    return 0.1 * (index + 1);
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString& path, const QByteArray& data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

// The length of the sound a handle holds, or -1 for an empty handle.
double lengthOf(const std::shared_ptr<Playable>& handle)
{
    const auto* sound = dynamic_cast<const Sound*>(handle.get());
    return sound ? sound->duration() : -1;
}

bool near(double a, double b)
{
    return qAbs(a - b) < 0.005;
}

} // namespace

class TestSoundLaunch : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_resources;
    QStringList m_alerts;

    static QString genericData()
    {
        return QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation).first();
    }
    static QString soundFolder()
    {
        return QDir(genericData()).filePath(DirectoryLocations::executableName());
    }
    static QString inFolder(const QString& name) { return QDir(soundFolder()).filePath(name); }
    QString resource(const QString& name) const { return m_resources.filePath(name); }

    static std::unique_ptr<AppDelegate> launchSoundStep() { return testsupport::launchSoundStep(); }

    void expectFolderHoldsTheResources()
    {
        for (const QString& name : builtInNames)
            QVERIFY2(readAll(inFolder(name)) == readAll(resource(name)), qPrintable(name));
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_resources.isValid());
        for (int i = 0; i < builtInNames.size(); ++i)
            QVERIFY(writeFile(resource(builtInNames[i]), sineWav(440, lengthOfBuiltIn(i), 0.2)));
        FocusReturn::setActivator([] {});
    }

    void init()
    {
        StoredSettings::forgetAll();
        QDir(genericData()).removeRecursively();
        DirectoryLocations::setExecutableNameOverride(std::nullopt);
        SoundFolder::setResourceFolderOverride(m_resources.path());
        m_alerts.clear();
        SoundAlerts::setPresenter([this](const QString& message, const QString& informative) {
            m_alerts << message + " / " + informative;
        });
    }

    void cleanupTestCase() { SoundAlerts::setPresenter(nullptr); }

    void aFirstLaunchFillsAMissingFolderAndItsParents()
    {
        QVERIFY(!QFileInfo::exists(genericData()));
        const auto d = launchSoundStep();
        expectFolderHoldsTheResources();
        QCOMPARE(m_alerts, QStringList());
        // Defaults: the first sound ends the countdown, the tin click reminds.
        QVERIFY(near(lengthOf(d->endSound()), lengthOfBuiltIn(0)));
        QVERIFY(near(lengthOf(d->reminderSound()), lengthOfBuiltIn(4)));
    }

    void aFirstLaunchFillsAnEmptyFolder()
    {
        QVERIFY(QDir().mkpath(soundFolder()));
        const auto d = launchSoundStep();
        expectFolderHoldsTheResources();
        QCOMPARE(m_alerts, QStringList());
    }

    void aSecondLaunchCopiesNothingEvenOverAChangedFile()
    {
        launchSoundStep();
        QVERIFY(writeFile(inFolder("School Bell.mp3"), "the presenter's own bell"));
        const QDateTime before = QFileInfo(inFolder("Piano 1.mp3")).lastModified();
        launchSoundStep();
        QCOMPARE(readAll(inFolder("School Bell.mp3")), QByteArray("the presenter's own bell"));
        QCOMPARE(QFileInfo(inFolder("Piano 1.mp3")).lastModified(), before);
        QCOMPARE(m_alerts, QStringList());
    }

    void aDeletedBuiltInSoundComesBackAlone()
    {
        launchSoundStep();
        QVERIFY(QFile::remove(inFolder("Harp Compound.mp3")));
        QVERIFY(writeFile(inFolder("Piano 1.mp3"), "changed"));
        launchSoundStep();
        QCOMPARE(readAll(inFolder("Harp Compound.mp3")), readAll(resource("Harp Compound.mp3")));
        QCOMPARE(readAll(inFolder("Piano 1.mp3")), QByteArray("changed"));
        QCOMPARE(m_alerts, QStringList());
    }

    void anAddedSoundDeletedByHandIsNotRestored()
    {
        PreferenceController::setPreferenceSoundFiles(builtInNames + QStringList{"mine.wav"});
        launchSoundStep();
        QVERIFY(!QFileInfo::exists(inFolder("mine.wav")));
        QCOMPARE(m_alerts, QStringList());
    }

    void aMissingResourceAlertsOncePerLaunchAndTheOthersAreCopied()
    {
        QTemporaryDir partial;
        for (const QString& name : builtInNames) {
            if (name != QLatin1String("School Bell.mp3"))
                QVERIFY(QFile::copy(resource(name), partial.filePath(name)));
        }
        SoundFolder::setResourceFolderOverride(partial.path());
        for (int launch = 1; launch <= 2; ++launch) {
            const auto d = launchSoundStep();
            QCOMPARE(m_alerts, QStringList(QStringLiteral("Info / Default sound file copy error.")));
            m_alerts.clear();
            QCOMPARE(QDir(soundFolder()).entryList(QDir::Files).size(), 4);
            QVERIFY(!QFileInfo::exists(inFolder("School Bell.mp3")));
            // The launch goes on: both handles are loaded.
            QVERIFY(d->endSound());
            QVERIFY(d->reminderSound());
        }
    }

    void theCopyAlertIsApplicationModalWithOneOkButton()
    {
        SoundAlerts::setPresenter(nullptr);
        QString seen;
        QTimer::singleShot(50, this, [&seen] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box)
                return;
            QStringList buttons;
            for (QAbstractButton* button : box->buttons())
                buttons << button->text();
            seen = QStringList{box->text(), box->informativeText(), buttons.join(','),
                               box->windowModality() == Qt::ApplicationModal ? "app-modal" : "other"}
                       .join(" | ");
            box->buttons().first()->click();
        });
        SoundAlerts::runModalAlert(QStringLiteral("Info"), QStringLiteral("Default sound file copy error."));
        QCOMPARE(seen, QStringLiteral("Info | Default sound file copy error. | Ok | app-modal"));
    }

    void withoutAnExecutableNameTheApplicationSupportFolderHoldsTheSounds()
    {
        DirectoryLocations::setExecutableNameOverride(QString());
        launchSoundStep();
        for (const QString& name : builtInNames)
            QVERIFY(QFileInfo::exists(QDir(genericData()).filePath(name)));
        QCOMPARE(m_alerts, QStringList());
    }

    void aStoredIndexPastTheListLoadsTheFirstSound()
    {
        UserDefaults::standardUserDefaults().setInteger(99, PreferenceKeys::SelectedSoundIndex);
        UserDefaults::standardUserDefaults().setInteger(-3, PreferenceKeys::SelectedReminderSoundIndex);
        const auto d = launchSoundStep();
        QVERIFY(near(lengthOf(d->endSound()), lengthOfBuiltIn(0)));
        QVERIFY(near(lengthOf(d->reminderSound()), lengthOfBuiltIn(0)));
        // Two handles, two independent sounds, though from the same file.
        QVERIFY(d->endSound() != d->reminderSound());
    }

    void aSelectedSoundThatIsNotThereLoadsAnEmptyHandleWithoutAMessage()
    {
        PreferenceController::setPreferenceSoundFiles({"gone.wav", "note.txt"});
        PreferenceController::setPreferenceReminderSoundIndex(1);
        launchSoundStep();
        QVERIFY(writeFile(inFolder("note.txt"), "not a sound"));
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
        const auto d = launchSoundStep();
        QVERIFY(!d->endSound());
        QVERIFY(!d->reminderSound());
        QCOMPARE(m_alerts, QStringList());
    }

    void theObserversReloadByTheStoredName()
    {
        const auto d = launchSoundStep();
        PreferenceController::setPreferenceSelectedSoundIndex(2);
        PreferenceController::setPreferenceReminderSoundIndex(3);
        d->handleSoundSelectionChange();
        QVERIFY(testsupport::waitForSounds(*d));
        QVERIFY(near(lengthOf(d->endSound()), lengthOfBuiltIn(2)));
        QVERIFY(near(lengthOf(d->reminderSound()), lengthOfBuiltIn(4)));
        d->handleReminderSoundSelectionChange();
        QVERIFY(testsupport::waitForSounds(*d));
        QVERIFY(near(lengthOf(d->reminderSound()), lengthOfBuiltIn(3)));
        // The launch's names stay as they were.
        QCOMPARE(d->timerData()->selectedSoundName(), builtInNames[0]);
    }

    void theLastOfTwoQuickChoicesWins()
    {
        // The first choice is a long file that takes longer to decode than the second: had its decode not
        // been abandoned, it would arrive last and win.
        QVERIFY(QDir().mkpath(soundFolder()));
        QVERIFY(writeFile(inFolder(QStringLiteral("Long.wav")), sineWav(440, 300, 0.2)));
        PreferenceController::setPreferenceSoundFiles(builtInNames + QStringList{QStringLiteral("Long.wav")});
        const auto d = launchSoundStep();
        PreferenceController::setPreferenceSelectedSoundIndex(5);
        d->handleSoundSelectionChange();
        PreferenceController::setPreferenceSelectedSoundIndex(2);
        d->handleSoundSelectionChange();
        QVERIFY(d->isLoadingSounds());
        QVERIFY(testsupport::waitForSounds(*d));
        QVERIFY(near(lengthOf(d->endSound()), lengthOfBuiltIn(2)));
        // And stays so: nothing else arrives later.
        QTest::qWait(1500);
        QVERIFY(near(lengthOf(d->endSound()), lengthOfBuiltIn(2)));
        // The other way round, the long one is what stays.
        PreferenceController::setPreferenceSelectedSoundIndex(2);
        d->handleSoundSelectionChange();
        PreferenceController::setPreferenceSelectedSoundIndex(5);
        d->handleSoundSelectionChange();
        QVERIFY(testsupport::waitForSounds(*d));
        QVERIFY(near(lengthOf(d->endSound()), 300));
    }

    void reselectingTheSameSoundReadsTheFileAgain()
    {
        const auto d = launchSoundStep();
        const std::shared_ptr<Playable> before = d->endSound();
        QVERIFY(writeFile(inFolder(builtInNames[0]), sineWav(440, 1.25, 0.2)));
        // The loaded sound did not follow the file.
        QVERIFY(near(lengthOf(before), lengthOfBuiltIn(0)));
        d->handleSoundSelectionChange();
        QVERIFY(testsupport::waitForSounds(*d));
        QVERIFY(near(lengthOf(d->endSound()), 1.25));
        QVERIFY(QFile::remove(inFolder(builtInNames[0])));
        d->handleSoundSelectionChange();
        QVERIFY(testsupport::waitForSounds(*d));
        QVERIFY(!d->endSound());
    }

    void aNameThatIsNotAPlainFileNameLoadsNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("parent folder") << QStringLiteral("../outside.wav");
        QTest::newRow("absolute") << QStringLiteral("OUTSIDE");
        QTest::newRow("dot") << QStringLiteral(".");
        QTest::newRow("dot dot") << QStringLiteral("..");
        QTest::newRow("backslash") << QStringLiteral("..\\outside.wav");
    }

    void aNameThatIsNotAPlainFileNameLoadsNothing()
    {
        QFETCH(QString, name);
        QVERIFY(QDir().mkpath(soundFolder()));
        const QString outside = QDir(genericData()).filePath(QStringLiteral("outside.wav"));
        QVERIFY(writeFile(outside, sineWav(440, 0.5, 0.2)));
        QVERIFY(
            writeFile(QDir(soundFolder()).filePath(QStringLiteral("..\\outside.wav")), sineWav(440, 0.5)));
        if (name == QLatin1String("OUTSIDE"))
            name = outside;
        // Only a damaged settings file can hold such a name; the list is stored as one ":"-joined string.
        UserDefaults::standardUserDefaults().setObject(name, PreferenceKeys::SoundFiles);
        UserDefaults::standardUserDefaults().setInteger(0, PreferenceKeys::SelectedReminderSoundIndex);
        const auto d = launchSoundStep();
        QCOMPARE(d->timerData()->selectedSoundName(), name);
        QVERIFY(!d->endSound());
        QVERIFY(!d->reminderSound());
        d->handleSoundSelectionChange();
        QVERIFY(testsupport::waitForSounds(*d));
        d->handleReminderSoundSelectionChange();
        QVERIFY(testsupport::waitForSounds(*d));
        QVERIFY(!d->endSound());
        QVERIFY(!d->reminderSound());
    }

    void theRealLaunchLoadsTheSoundsOnlyAfterThePanelIsDrawn()
    {
        auto d = std::make_unique<AppDelegate>();
        d->panel()->show();
        d->applicationDidFinishLaunching();
        // Nothing yet: the panel has not been drawn.
        QVERIFY(!QFileInfo::exists(inFolder(builtInNames[0])));
        QVERIFY(!d->endSound());
        QElapsedTimer clock;
        clock.start();
        QVERIFY(d->isLoadingSounds());
        QTRY_VERIFY(d->endSound());
        // Loaded on the first frame, not by the fallback a second later for a window never drawn.
        QVERIFY2(clock.elapsed() < 900, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(d->reminderSound());
        expectFolderHoldsTheResources();
        QCOMPARE(m_alerts, QStringList());
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestSoundLaunch)
#include "tst_soundlaunch.moc"
