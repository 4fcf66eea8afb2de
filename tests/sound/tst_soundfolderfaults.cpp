// The sound folder failing under the running application: its path taken by a file, a parent that is a
// file, the folder deleted while the panel counts, and a full disk (a small tmpfs mounted over the data
// folder). The launch's copy alerts, the add action's alert and the sounds are checked; nothing may crash
// and no partly copied file may be left in the folder or the list.
#include "AppDelegate.h"
#include "AppLaunch.h"
#include "BuiltInSounds.h"
#include "DirectoryLocations.h"
#include "FocusReturn.h"
#include "PanelLaunch.h"
#include "PreferenceController.h"
#include "PreferenceWindowController.h"
#include "SinkRecorder.h"
#include "Sound.h"
#include "SoundAlerts.h"
#include "SoundDialogs.h"
#include "SoundFolder.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "TitlelessPanel.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace PreferencesTest;

namespace {

const QStringList& builtInNames = testsupport::builtInSounds();
const QString copyAlert = QStringLiteral("Info / Default sound file copy error.");

QString genericData()
{
    return QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation).first();
}

QString soundFolder()
{
    return QDir(genericData()).filePath(DirectoryLocations::executableName());
}

QString inFolder(const QString& name)
{
    return QDir(soundFolder()).filePath(name);
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

double lengthOf(const std::shared_ptr<Playable>& handle)
{
    const auto* sound = dynamic_cast<const Sound*>(handle.get());
    return sound ? sound->duration() : -1;
}

QStringList items(const QComboBox* popUp)
{
    QStringList names;
    for (int i = 0; i < popUp->count(); ++i)
        names << popUp->itemText(i);
    return names;
}

} // namespace

class TestSoundFolderFaults : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_resources;
    QStringList m_alerts;
    bool m_mounted = false;

    QString resource(const QString& name) const { return m_resources.filePath(name); }

    static std::unique_ptr<AppDelegate> launchSoundStep() { return testsupport::launchSoundStep(); }

    // Every built-in name in the folder is the whole resource, never a part of it; returns the names missing.
    QStringList expectWholeFilesOnly()
    {
        QStringList missing;
        for (const QString& name : builtInNames) {
            if (!QFileInfo::exists(inFolder(name)))
                missing << name;
            else if (readAll(inFolder(name)) != readAll(resource(name)))
                qWarning("%s is not the whole resource", qPrintable(name));
        }
        // Nothing else either: no temporary file of a failed copy stays behind.
        const QStringList present = QDir(soundFolder()).entryList(QDir::Files | QDir::Hidden);
        if (present.size() != builtInNames.size() - missing.size())
            qWarning("the folder holds %s", qPrintable(present.join(", ")));
        return missing;
    }

    // A 64 KB tmpfs over the data folder (read-only if asked), false where this machine does not allow
    // mounting.
    bool mountSmallDisk(const QString& options = QStringLiteral("size=64k"))
    {
        QDir().mkpath(genericData());
        QProcess mount;
        mount.start(QStringLiteral("mount"),
                    {QStringLiteral("-t"), QStringLiteral("tmpfs"), QStringLiteral("-o"), options,
                     QStringLiteral("tmpfs"), genericData()});
        m_mounted = mount.waitForFinished(10000) && mount.exitStatus() == QProcess::NormalExit &&
                    mount.exitCode() == 0;
        return m_mounted;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_resources.isValid());
        // 8.8 to 44 KB each, 132 KB in all: more than the small disk holds.
        for (int i = 0; i < builtInNames.size(); ++i)
            QVERIFY(writeFile(resource(builtInNames[i]), sineWav(440, 0.1 * (i + 1), 0.2)));
        FocusReturn::setActivator([] {});
    }

    void init()
    {
        StoredSettings::forgetAll();
        QDir(genericData()).removeRecursively();
        QFile::remove(genericData());
        SoundFolder::setResourceFolderOverride(m_resources.path());
        m_alerts.clear();
        // What expectWholeFilesOnly finds wrong fails the test.
        QTest::failOnWarning(
            QRegularExpression(QStringLiteral("is not the whole resource|the folder holds")));
        SoundAlerts::setPresenter([this](const QString& message, const QString& informative) {
            m_alerts << message + " / " + informative;
        });
    }

    void cleanup()
    {
        while (QMessageBox* box = visibleAlert())
            box->close();
        if (m_mounted) {
            QProcess::execute(QStringLiteral("umount"), {genericData()});
            m_mounted = false;
        }
        QFile::remove(soundFolder());
        QFile::remove(genericData());
    }

    void cleanupTestCase() { SoundAlerts::setPresenter(nullptr); }

    void aFileInTheFoldersPlaceAlertsOncePerSoundAndTheLaunchGoesOn()
    {
        QVERIFY(QDir().mkpath(genericData()));
        QVERIFY(writeFile(soundFolder(), "not a folder"));
        for (int launch = 1; launch <= 2; ++launch) {
            const auto d = launchSoundStep();
            QCOMPARE(m_alerts, QStringList(builtInNames.size(), copyAlert));
            m_alerts.clear();
            QVERIFY(!d->endSound());
            QVERIFY(!d->reminderSound());
            QCOMPARE(readAll(soundFolder()), QByteArray("not a folder"));
        }
    }

    void aParentThatIsAFileAlertsOncePerSound()
    {
        QVERIFY(QDir().mkpath(QFileInfo(genericData()).absolutePath()));
        QVERIFY(writeFile(genericData(), "in the way"));
        const auto d = launchSoundStep();
        QCOMPARE(m_alerts, QStringList(builtInNames.size(), copyAlert));
        QVERIFY(!d->endSound());
        QCOMPARE(readAll(genericData()), QByteArray("in the way"));
    }

    void theAlertsAtLaunchAreTheRealOnesAnsweredWithOk()
    {
        SoundAlerts::setPresenter(nullptr);
        QVERIFY(QDir().mkpath(genericData()));
        QVERIFY(writeFile(soundFolder(), "not a folder"));
        AlertAnswerer answerer(QStringLiteral("Ok"));
        const auto d = launchSoundStep();
        QCOMPARE(int(answerer.seen.size()), int(builtInNames.size()));
        for (const SeenAlert& seen : answerer.seen) {
            QCOMPARE(seen.text, QStringLiteral("Info"));
            QCOMPARE(seen.informativeText, QStringLiteral("Default sound file copy error."));
            QCOMPARE(seen.buttons, QStringList(QStringLiteral("Ok")));
            QCOMPARE(seen.modality, Qt::ApplicationModal);
        }
    }

    void aReadOnlyDiskAlertsOncePerSound()
    {
        // Permissions do not stop root, who runs the tests here; a read-only mount does.
        if (!mountSmallDisk(QStringLiteral("ro,size=64k")))
            QSKIP("mounting a tmpfs is not permitted here");
        const auto d = launchSoundStep();
        QCOMPARE(m_alerts, QStringList(builtInNames.size(), copyAlert));
        QVERIFY(!d->endSound());
        QVERIFY(QDir(genericData()).isEmpty());
    }

    void aFolderDeletedWhileCountingEndsWithTheLoadedSoundAndReloadsToSilence()
    {
        PreferenceController::setPreferencePlaySound(true);
        PreferenceController::setPreferenceContinueCountdown(true);
        const auto d = testsupport::launchPanel();
        QTRY_VERIFY(d->endSound() && d->reminderSound());
        const std::shared_ptr<Playable> loaded = d->endSound();
        testsupport::typeAndReturn(*d, QStringLiteral("0:0:2"));
        QVERIFY(QDir(soundFolder()).removeRecursively());
        for (int i = 0; i < 4; ++i)
            d->tick();
        QCOMPARE(d->input()->text(), QStringLiteral("-00:00:02"));
        // The end sound came from memory: the same object, still the first built-in sound.
        QCOMPARE(d->endSound(), loaded);
        QVERIFY(qAbs(lengthOf(loaded) - 0.1) < 0.005);
        // A new choice finds no file: silence, no message; the folder is made again for the lookup.
        d->handleSoundSelectionChange();
        QVERIFY(testsupport::waitForSounds(*d));
        QVERIFY(!d->endSound());
        d->tick();
        QCOMPARE(m_alerts, QStringList());
        QVERIFY(QFileInfo(soundFolder()).isDir());
    }

    void aFullDiskAtLaunchAlertsForWhatDidNotFitAndLeavesNoPartialFile()
    {
        if (!mountSmallDisk())
            QSKIP("mounting a tmpfs is not permitted here");
        const auto d = launchSoundStep();
        const QStringList missing = expectWholeFilesOnly();
        QVERIFY2(!missing.isEmpty(), "the small disk took every sound");
        QCOMPARE(m_alerts, QStringList(missing.size(), copyAlert));
        // The launch went on: the first sound fitted and is loaded.
        QVERIFY(!missing.contains(builtInNames[0]));
        QVERIFY(d->endSound());
    }

    void aFullDiskOnAddAlertsAndListsNothing()
    {
        if (!mountSmallDisk())
            QSKIP("mounting a tmpfs is not permitted here");
        auto d = testsupport::launchPanel();
        QTRY_VERIFY(d->endSound());
        m_alerts.clear();
        const QStringList listBefore = PreferenceController::preferenceSoundFiles();
        const qint64 indexBefore = PreferenceController::preferenceSelectedSoundIndex();
        PreferenceWindowController* c = openPreferencesFromMenu(*d);
        QVERIFY(c);
        QVERIFY(QTest::qWaitForWindowExposed(c->prefsWindow()));
        // Two seconds at 44.1 kHz, 176 KB: the copy runs out of room half-way.
        QTemporaryDir sources;
        const QString big = sources.filePath(QStringLiteral("Long Gong.wav"));
        QVERIFY(writeFile(big, sineWav(330, 2.0, 0.3)));
        AlertAnswerer answerer(QStringLiteral("Ok"));
        QFileDialog* panel = openAddSoundPanel(*c);
        QVERIFY(panel);
        QVERIFY(chooseFile(panel, big));
        QTRY_COMPARE(int(answerer.seen.size()), 1);
        QCOMPARE(answerer.seen[0].text, QStringLiteral("Error"));
        QCOMPARE(answerer.seen[0].informativeText, QStringLiteral("File copy error"));
        QCOMPARE(answerer.seen[0].buttons, QStringList(QStringLiteral("Ok")));
        QCOMPARE(answerer.seen[0].modality, Qt::ApplicationModal);
        QVERIFY(!QFileInfo::exists(inFolder(QStringLiteral("Long Gong.wav"))));
        expectWholeFilesOnly();
        QVERIFY(!items(c->soundFilesDropdownList()).contains(QStringLiteral("Long Gong.wav")));
        QCOMPARE(PreferenceController::preferenceSoundFiles(), listBefore);
        QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), indexBefore);
        QCOMPARE(m_alerts, QStringList());
        d.reset();
    }

    void anAddOfWhatIsNotARegularFileAddsNothingAndAlerts_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("FIFO") << QStringLiteral("fifo");
        QTest::newRow("link to /dev/zero") << QStringLiteral("link");
        QTest::newRow("/dev/zero") << QStringLiteral("/dev/zero");
    }

    void anAddOfWhatIsNotARegularFileAddsNothingAndAlerts()
    {
        // Read as a file, a FIFO waits for a writer that never comes and /dev/zero never ends.
        QFETCH(QString, kind);
        QTemporaryDir sources;
        QString source = kind;
        if (kind == QLatin1String("fifo")) {
            source = sources.filePath(QStringLiteral("Pipe Organ.wav"));
            QCOMPARE(::mkfifo(QFile::encodeName(source).constData(), 0666), 0);
        } else if (kind == QLatin1String("link")) {
            source = sources.filePath(QStringLiteral("Endless.wav"));
            QVERIFY(QFile::link(QStringLiteral("/dev/zero"), source));
        }
        const QString name = QFileInfo(source).fileName();
        auto d = testsupport::launchPanel();
        QVERIFY(testsupport::waitForSounds(*d));
        const QStringList listBefore = PreferenceController::preferenceSoundFiles();
        const qint64 indexBefore = PreferenceController::preferenceSelectedSoundIndex();
        const QStringList folderBefore = QDir(soundFolder()).entryList(QDir::AllEntries | QDir::Hidden);
        PreferenceWindowController* c = openPreferencesFromMenu(*d);
        QVERIFY(c);
        QVERIFY(QTest::qWaitForWindowExposed(c->prefsWindow()));

        AlertAnswerer answerer(QStringLiteral("Ok"));
        QFileDialog* panel = openAddSoundPanel(*c);
        QVERIFY(panel);
        QVERIFY(chooseFile(panel, source));
        // The alert is answered from the event loop, so seeing it answered also says nothing hung.
        QTRY_COMPARE(int(answerer.seen.size()), 1);
        QCOMPARE(answerer.seen[0].text, QStringLiteral("Error"));
        QCOMPARE(answerer.seen[0].informativeText, QStringLiteral("File copy error"));
        QCOMPARE(answerer.seen[0].modality, Qt::ApplicationModal);
        QVERIFY(!c->isAddingSound());
        QCOMPARE(QDir(soundFolder()).entryList(QDir::AllEntries | QDir::Hidden), folderBefore);
        QVERIFY(!QFileInfo::exists(inFolder(name)));
        QVERIFY(!items(c->soundFilesDropdownList()).contains(name));
        QCOMPARE(PreferenceController::preferenceSoundFiles(), listBefore);
        QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), indexBefore);
        QVERIFY(testsupport::waitForSounds(*d));
        QVERIFY(d->endSound());
        d.reset();
    }

    void anAddedSoundGetsTheUsersFileMode_data()
    {
        QTest::addColumn<int>("sourceMode");
        QTest::newRow("0666") << 0666;
        QTest::newRow("0600") << 0600;
        QTest::newRow("0755") << 0755;
    }

    void anAddedSoundGetsTheUsersFileMode()
    {
        QFETCH(int, sourceMode);
        const mode_t umaskBefore = ::umask(022);
        QTemporaryDir sources;
        const QString source = sources.filePath(QStringLiteral("Chime.wav"));
        QVERIFY(writeFile(source, sineWav(660, 0.3, 0.2)));
        QCOMPARE(::chmod(QFile::encodeName(source).constData(), mode_t(sourceMode)), 0);
        auto d = testsupport::launchPanel();
        QVERIFY(testsupport::waitForSounds(*d));
        PreferenceWindowController* c = openPreferencesFromMenu(*d);
        QVERIFY(c);
        QVERIFY(QTest::qWaitForWindowExposed(c->prefsWindow()));
        AlertAnswerer answerer(QStringLiteral("Ok"));
        QFileDialog* panel = openAddSoundPanel(*c);
        QVERIFY(panel);
        QVERIFY(chooseFile(panel, source));
        QTRY_VERIFY(!c->isAddingSound());
        ::umask(umaskBefore);
        QVERIFY(answerer.seen.empty());
        QCOMPARE(readAll(inFolder(QStringLiteral("Chime.wav"))), readAll(source));
        struct stat info = {};
        QCOMPARE(::stat(QFile::encodeName(inFolder(QStringLiteral("Chime.wav"))).constData(), &info), 0);
        QCOMPARE(int(info.st_mode & 07777), 0644);
        QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("Chime.wav"));
        // The panel takes it as its end sound.
        QVERIFY(testsupport::waitForSounds(*d));
        QVERIFY(qAbs(lengthOf(d->endSound()) - 0.3) < 0.005);
        d.reset();
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestSoundFolderFaults)
#include "tst_soundfolderfaults.moc"
