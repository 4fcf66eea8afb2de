// Adding and removing sounds in the preferences window of the running panel, on the offscreen platform:
// the file dialog, the sheets and the copy alert answered as a user answers them, and the outcome checked
// in the window, the store, the sound folder and the panel's loaded end sound.
#include "AppDelegate.h"
#include "AppLaunch.h"
#include "Brevlin.h"
#include "BuiltInSounds.h"
#include "DirectoryLocations.h"
#include "ExternalLinks.h"
#include "FocusReturn.h"
#include "PanelLaunch.h"
#include "PreferenceController.h"
#include "PreferenceKeys.h"
#include "PreferenceWindowController.h"
#include "PreferencesTestSupport.h"
#include "SinkRecorder.h"
#include "Sound.h"
#include "SoundDialogs.h"
#include "SoundFileTypes.h"
#include "SoundFolder.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "TitlelessPanel.h"
#include "UserDefaults.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace PreferencesTest;

namespace {

QStringList items(const QComboBox* popUp)
{
    QStringList names;
    for (int i = 0; i < popUp->count(); ++i)
        names << popUp->itemText(i);
    return names;
}

QString soundFolder()
{
    return DirectoryLocations::applicationSupportDirectory();
}

bool inFolder(const QString& name)
{
    return QFileInfo::exists(QDir(soundFolder()).filePath(name));
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

qint64 rawStored(const QString& key)
{
    return UserDefaults::standardUserDefaults().integerForKey(key);
}

// What the store holds at each post of one name, read back as the panel's observer reads it.
class StoredIndexRecorder
{
public:
    explicit StoredIndexRecorder(const QString& name, const QString& key)
    {
        NotificationCenter::defaultCenter().addObserver(this, name, [this, key](const Notification&) {
            stored.append(rawStored(key));
            lists.append(PreferenceController::preferenceSoundFiles());
        });
    }
    StoredIndexRecorder(const StoredIndexRecorder&) = delete;
    StoredIndexRecorder& operator=(const StoredIndexRecorder&) = delete;
    ~StoredIndexRecorder() { NotificationCenter::defaultCenter().removeObserver(this); }

    QList<qint64> stored;
    QList<QStringList> lists;
};

} // namespace

class TestSoundLibrary : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<AppDelegate> m_delegate;
    QTemporaryDir m_sources;
    QList<QUrl> m_opened;

    // Launched as main() launches, with the built-in sounds copied and loaded.
    AppDelegate& launch()
    {
        m_delegate = testsupport::launchPanel();
        if (!QTest::qWaitFor([this] { return m_delegate->endSound() && m_delegate->reminderSound(); }, 5000))
            qWarning("the built-in sounds did not load");
        if (!testsupport::waitForSounds(*m_delegate))
            qWarning("the sounds did not settle");
        return *m_delegate;
    }

    PreferenceWindowController& openPreferences()
    {
        PreferenceWindowController* c = openPreferencesFromMenu(*m_delegate);
        if (!c)
            qFatal("no preferences window");
        if (!QTest::qWaitForWindowExposed(c->prefsWindow()))
            qWarning("preferences window not shown");
        return *c;
    }

    // A one-second tone at a rate no built-in sound has, so the panel's loaded sound can be told apart.
    QString makeTone(const QString& name, const QString& folder = {})
    {
        const QString dir = folder.isEmpty() ? m_sources.path() : folder;
        QDir().mkpath(dir);
        const QString path = QDir(dir).filePath(name);
        QFile::remove(path);
        if (!writeFile(path, sineWav(880, 1.0, 0.5, 22050)))
            qFatal("cannot write %s", qPrintable(path));
        return path;
    }

    static bool isTheTone(const std::shared_ptr<Playable>& playable)
    {
        const auto sound = std::dynamic_pointer_cast<Sound>(playable);
        return sound && sound->sampleRate() == 22050 && qAbs(sound->duration() - 1.0) < 0.01;
    }

    // Adds the file through the add button's dialog; the copy alert, if one comes, is answered with "Ok".
    std::vector<SeenAlert> addThroughTheDialog(PreferenceWindowController& c, const QString& path)
    {
        AlertAnswerer answerer(QStringLiteral("Ok"));
        QFileDialog* panel = openAddSoundPanel(c);
        if (!panel || !chooseFile(panel, path))
            qWarning("the file dialog did not take %s", qPrintable(path));
        // The copy runs on a worker thread; its alert, if any, is answered meanwhile.
        if (!QTest::qWaitFor([&c] { return !c.isAddingSound(); }, 10000))
            qWarning("the copy of %s did not end", qPrintable(path));
        if (m_delegate && !testsupport::waitForSounds(*m_delegate))
            qWarning("the panel's sounds did not load");
        QTest::qWait(50);
        return answerer.seen;
    }

    // Clicks a remove button and answers the sheet; returns what the sheet looked like.
    std::vector<SeenAlert> removeThroughTheSheet(QPushButton* removeButton, const QString& answer)
    {
        click(removeButton);
        QMessageBox* sheet = nullptr;
        if (!QTest::qWaitFor([&] { return (sheet = visibleAlert()) != nullptr; }, 3000))
            return {};
        std::vector<SeenAlert> seen{describe(sheet)};
        if (QAbstractButton* button = alertButton(sheet, answer))
            QTest::mouseClick(button, Qt::LeftButton);
        else
            QTest::keyClick(sheet, Qt::Key_Escape);
        // Whether it went is the caller's to check; what it showed is the answer.
        static_cast<void>(QTest::qWaitFor([] { return !visibleAlert(); }, 3000));
        return seen;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_sources.isValid());
        FocusReturn::setActivator([] {});
        ExternalLinks::setOpener([this](const QUrl& url) { m_opened << url; });
    }

    void init()
    {
        StoredSettings::forgetAll();
        QDir(soundFolder()).removeRecursively();
        m_opened.clear();
    }

    void cleanup()
    {
        while (QMessageBox* box = visibleAlert())
            box->close();
        for (QFileDialog* panel : addSoundPanels())
            panel->reject();
        m_delegate.reset();
    }

    void cleanupTestCase()
    {
        FocusReturn::setActivator({});
        ExternalLinks::setOpener({});
    }

    void theButtonsStandBesideTheirPopUps()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        for (QPushButton* button :
             {c.previewSoundButton(), c.removeSoundButton(), c.previewReminderSoundButton(),
              c.removeReminderSoundButton(), c.addSoundButton(), c.moreSoundsButton()}) {
            QVERIFY(button);
            QVERIFY2(button->isVisible() && button->isEnabled(), qPrintable(button->objectName()));
        }
        const auto rightOf = [](QWidget* a, QWidget* b) {
            const QRect ra(a->mapTo(a->window(), QPoint()), a->size());
            const QRect rb(b->mapTo(b->window(), QPoint()), b->size());
            return ra.left() >= rb.right() && ra.top() < rb.bottom() && ra.bottom() > rb.top();
        };
        QVERIFY(rightOf(c.previewSoundButton(), c.soundFilesDropdownList()));
        QVERIFY(rightOf(c.removeSoundButton(), c.previewSoundButton()));
        QVERIFY(rightOf(c.previewReminderSoundButton(), c.reminderSoundFilesDropdownList()));
        QVERIFY(rightOf(c.removeReminderSoundButton(), c.previewReminderSoundButton()));
    }

    void theFileDialogOffersOnlySoundsAndLeavesTheWindowUsable()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        QFileDialog* first = openAddSoundPanel(c);
        QVERIFY(first);
        QCOMPARE(first->nameFilters(), SoundFileTypes::fileDialogNameFilters());
        QCOMPARE(first->fileMode(), QFileDialog::ExistingFile);
        QCOMPARE(first->acceptMode(), QFileDialog::AcceptOpen);
        // Modeless: nothing blocks the window, and the add button opens a second, independent dialog.
        QVERIFY(!QApplication::activeModalWidget());
        QVERIFY(!first->isModal());
        QFileDialog* second = openAddSoundPanel(c);
        QVERIFY(second && second != first);

        const QStringList before = PreferenceController::preferenceSoundFiles();
        QVERIFY(cancelPanel(first));
        QCOMPARE(PreferenceController::preferenceSoundFiles(), before);
        QCOMPARE(c.timerData()->soundFiles(), before);

        QVERIFY(chooseFile(second, makeTone(QStringLiteral("Test Tone.wav"))));
        QTRY_VERIFY(!c.isAddingSound());
        QCOMPARE(c.timerData()->soundFiles(), before + QStringList{QStringLiteral("Test Tone.wav")});
        QVERIFY(addSoundPanels().isEmpty());
    }

    void anAddCopiesTheFileListsItLastAndMakesItThePanelsEndSound()
    {
        AppDelegate& d = launch();
        PreferenceWindowController& c = openPreferences();
        StoredIndexRecorder selections(NotificationNames::SoundSelectionChanged,
                                       PreferenceKeys::SelectedSoundIndex);
        StoredIndexRecorder reminders(NotificationNames::ReminderSoundSelectionChanged,
                                      PreferenceKeys::SelectedReminderSoundIndex);
        const QString source = makeTone(QStringLiteral("Test Tone.wav"));

        QVERIFY(addThroughTheDialog(c, source).empty());

        const QStringList expected =
            testsupport::builtInSounds() + QStringList{QStringLiteral("Test Tone.wav")};
        // The file, under its own name, with the same bytes.
        QCOMPARE(contents(QDir(soundFolder()).filePath(QStringLiteral("Test Tone.wav"))), contents(source));
        QCOMPARE(c.timerData()->soundFiles(), expected);
        QCOMPARE(items(c.soundFilesDropdownList()), expected);
        QCOMPARE(items(c.reminderSoundFilesDropdownList()), expected);
        QCOMPARE(PreferenceController::preferenceSoundFiles(), expected);
        // Two announcements: the first with 0 stored (the list did not yet hold the sound), then the new
        // last index, with the list stored.
        QCOMPARE(selections.stored, (QList<qint64>{0, 5}));
        QCOMPARE(selections.lists, (QList<QStringList>{testsupport::builtInSounds(), expected}));
        QVERIFY(reminders.stored.isEmpty());
        QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), 5);
        QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("Test Tone.wav"));
        // The window's own end-sound index stays, and so does what its pop-up shows.
        QCOMPARE(c.timerData()->selectedSoundIndex(), 0);
        QCOMPARE(c.soundFilesDropdownList()->currentText(), QStringLiteral("Left Coast Piano.mp3"));
        QCOMPARE(c.reminderSoundFilesDropdownList()->currentText(), QStringLiteral("click_tin.wav"));
        QVERIFY(isTheTone(d.endSound()));
        QVERIFY(!isTheTone(d.reminderSound()));
    }

    void aNameAlreadyInTheFolderIsNotCopiedAndTheAlertSaysSo()
    {
        AppDelegate& d = launch();
        PreferenceWindowController& c = openPreferences();
        const std::shared_ptr<Playable> endSound = d.endSound();
        const QByteArray builtIn = contents(QDir(soundFolder()).filePath(QStringLiteral("School Bell.mp3")));
        QVERIFY(!builtIn.isEmpty());
        AllListeners listeners;

        const std::vector<SeenAlert> seen =
            addThroughTheDialog(c, makeTone(QStringLiteral("School Bell.mp3"), m_sources.filePath("other")));

        QCOMPARE(seen.size(), size_t(1));
        QCOMPARE(seen[0].text, QStringLiteral("Error"));
        QCOMPARE(seen[0].informativeText, QStringLiteral("File copy error"));
        QCOMPARE(seen[0].buttons, QStringList{QStringLiteral("Ok")});
        QCOMPARE(seen[0].modality, Qt::ApplicationModal);
        QVERIFY(seen[0].staysOnTop);
        QCOMPARE(listeners.total(), size_t(0));
        QCOMPARE(contents(QDir(soundFolder()).filePath(QStringLiteral("School Bell.mp3"))), builtIn);
        QCOMPARE(c.timerData()->soundFiles(), testsupport::builtInSounds());
        QCOMPARE(items(c.soundFilesDropdownList()), testsupport::builtInSounds());
        QCOMPARE(PreferenceController::preferenceSoundFiles(), testsupport::builtInSounds());
        QCOMPARE(d.endSound(), endSound);
    }

    void anAddedNameAlreadyInTheFolderFailsToo()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        QVERIFY(addThroughTheDialog(c, makeTone(QStringLiteral("Test Tone.wav"))).empty());
        const QStringList listed = PreferenceController::preferenceSoundFiles();
        const std::vector<SeenAlert> seen =
            addThroughTheDialog(c, makeTone(QStringLiteral("Test Tone.wav"), m_sources.filePath("again")));
        QCOMPARE(seen.size(), size_t(1));
        QCOMPARE(seen[0].informativeText, QStringLiteral("File copy error"));
        QCOMPARE(PreferenceController::preferenceSoundFiles(), listed);
        QCOMPARE(c.timerData()->soundFiles(), listed);
    }

    void aListedSoundWhoseFileWasDeletedByHandIsAddedASecondTime()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        const QString source = makeTone(QStringLiteral("Test Tone.wav"));
        QVERIFY(addThroughTheDialog(c, source).empty());
        QVERIFY(QFile::remove(QDir(soundFolder()).filePath(QStringLiteral("Test Tone.wav"))));
        QVERIFY(addThroughTheDialog(c, source).empty());
        const QStringList expected =
            testsupport::builtInSounds() +
            QStringList{QStringLiteral("Test Tone.wav"), QStringLiteral("Test Tone.wav")};
        QCOMPARE(c.timerData()->soundFiles(), expected);
        QCOMPARE(items(c.soundFilesDropdownList()), expected);
        QCOMPARE(PreferenceController::preferenceSoundFiles(), expected);
        QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), 6);
        QVERIFY(inFolder(QStringLiteral("Test Tone.wav")));
    }

    void aNameWithTheSeparatorIsListedButReadBackAsTwo()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        QVERIFY(addThroughTheDialog(c, makeTone(QStringLiteral("Intro: Bell.wav"))).empty());
        QVERIFY(inFolder(QStringLiteral("Intro: Bell.wav")));
        QCOMPARE(c.timerData()->soundFiles().last(), QStringLiteral("Intro: Bell.wav"));
        QCOMPARE(c.soundFilesDropdownList()->itemText(5), QStringLiteral("Intro: Bell.wav"));
        const QStringList split =
            testsupport::builtInSounds() + QStringList{QStringLiteral("Intro"), QStringLiteral(" Bell.wav")};
        QCOMPARE(PreferenceController::preferenceSoundFiles(), split);
        // The next window reads the stored list.
        PreferenceWindowController& reopened = openPreferences();
        QCOMPARE(items(reopened.soundFilesDropdownList()), split);
    }

    void removingThroughTheEndSoundPopUpMovesOnlyTheEndIndex()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        choose(c.soundFilesDropdownList(), 2);
        QCOMPARE(c.soundFilesDropdownList()->currentText(), QStringLiteral("School Bell.mp3"));
        QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), 2);
        StoredIndexRecorder selections(NotificationNames::SoundSelectionChanged,
                                       PreferenceKeys::SelectedSoundIndex);
        StoredIndexRecorder reminders(NotificationNames::ReminderSoundSelectionChanged,
                                      PreferenceKeys::SelectedReminderSoundIndex);

        const std::vector<SeenAlert> sheet =
            removeThroughTheSheet(c.removeSoundButton(), QStringLiteral("Yes"));

        QCOMPARE(sheet.size(), size_t(1));
        QCOMPARE(sheet[0].text, QStringLiteral("Are you sure you want to remove School Bell.mp3?"));
        QCOMPARE(sheet[0].informativeText, QStringLiteral("Removed sound file cannot be restored."));
        QVERIFY(sheet[0].buttons.contains(QStringLiteral("Yes")) &&
                sheet[0].buttons.contains(QStringLiteral("No")));
        QCOMPARE(sheet[0].buttons.size(), 2);
        QCOMPARE(sheet[0].modality, Qt::WindowModal);
        QCOMPARE(sheet[0].parent, c.prefsWindow());
        QCOMPARE(sheet[0].icon, QMessageBox::Warning);

        const QStringList expected{QStringLiteral("Left Coast Piano.mp3"), QStringLiteral("Piano 1.mp3"),
                                   QStringLiteral("Harp Compound.mp3"), QStringLiteral("click_tin.wav")};
        QVERIFY(!inFolder(QStringLiteral("School Bell.mp3")));
        QCOMPARE(c.timerData()->soundFiles(), expected);
        QCOMPARE(items(c.soundFilesDropdownList()), expected);
        QCOMPARE(items(c.reminderSoundFilesDropdownList()), expected);
        QCOMPARE(PreferenceController::preferenceSoundFiles(), expected);
        // The selection moves to the entry before; the store announces it once.
        QCOMPARE(c.timerData()->selectedSoundIndex(), 1);
        QCOMPARE(c.soundFilesDropdownList()->currentText(), QStringLiteral("Piano 1.mp3"));
        QCOMPARE(selections.stored, QList<qint64>{1});
        QCOMPARE(selections.lists, QList<QStringList>{expected});
        // The reminder index stays 4, now one past the end: the store reads it as the first sound.
        QVERIFY(reminders.stored.isEmpty());
        QCOMPARE(c.timerData()->reminderSoundIndex(), 4);
        QCOMPARE(rawStored(PreferenceKeys::SelectedReminderSoundIndex), 4);
        QCOMPARE(PreferenceController::preferenceReminderSoundIndex(), 0);
        QCOMPARE(PreferenceController::preferenceReminderSoundName(), QStringLiteral("Left Coast Piano.mp3"));
    }

    void aNameHoldingMarkupIsShownAsItsOwnText()
    {
        // Written into the settings file by hand: a link, and an image that would read without end.
        const QString name = QStringLiteral("<a href=\"https&#58;//example.invalid/\">Bell</a>"
                                            "<img src=\"/dev/zero\"><b>.mp3</b>");
        PreferenceController::setPreferenceSoundFiles(testsupport::builtInSounds() + QStringList{name});
        launch();
        PreferenceWindowController& c = openPreferences();
        choose(c.soundFilesDropdownList(), 5);
        QCOMPARE(c.soundFilesDropdownList()->currentText(), name);

        const std::vector<SeenAlert> sheet =
            removeThroughTheSheet(c.removeSoundButton(), QStringLiteral("No"));

        QCOMPARE(sheet.size(), size_t(1));
        QCOMPARE(sheet[0].text, QStringLiteral("Are you sure you want to remove %1?").arg(name));
        QCOMPARE(sheet[0].richLabels, QStringList());
        QVERIFY(m_opened.isEmpty());
        QCOMPARE(PreferenceController::preferenceSoundFiles().last(), name);
    }

    void removingThroughTheReminderPopUpMovesOnlyTheReminderIndex()
    {
        AppDelegate& d = launch();
        PreferenceWindowController& c = openPreferences();
        choose(c.soundFilesDropdownList(), 3);
        choose(c.reminderSoundFilesDropdownList(), 2);
        StoredIndexRecorder selections(NotificationNames::SoundSelectionChanged,
                                       PreferenceKeys::SelectedSoundIndex);
        StoredIndexRecorder reminders(NotificationNames::ReminderSoundSelectionChanged,
                                      PreferenceKeys::SelectedReminderSoundIndex);
        const std::shared_ptr<Playable> reminderBefore = d.reminderSound();

        const std::vector<SeenAlert> sheet =
            removeThroughTheSheet(c.removeReminderSoundButton(), QStringLiteral("Yes"));

        QCOMPARE(sheet.size(), size_t(1));
        QCOMPARE(sheet[0].text, QStringLiteral("Are you sure you want to remove School Bell.mp3?"));
        QVERIFY(!inFolder(QStringLiteral("School Bell.mp3")));
        QCOMPARE(PreferenceController::preferenceSoundFiles().size(), 4);
        QCOMPARE(c.timerData()->reminderSoundIndex(), 1);
        QCOMPARE(c.reminderSoundFilesDropdownList()->currentText(), QStringLiteral("Piano 1.mp3"));
        QCOMPARE(reminders.stored, QList<qint64>{1});
        // The panel reloaded its reminder sound.
        QVERIFY(testsupport::waitForSounds(d));
        QVERIFY(d.reminderSound() != reminderBefore);
        // The end index stays 3, which now names the sound after the removed one.
        QVERIFY(selections.stored.isEmpty());
        QCOMPARE(c.timerData()->selectedSoundIndex(), 3);
        QCOMPARE(rawStored(PreferenceKeys::SelectedSoundIndex), 3);
        QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("click_tin.wav"));
        QCOMPARE(c.soundFilesDropdownList()->currentText(), QStringLiteral("click_tin.wav"));
    }

    void answeringNoOrClosingTheSheetChangesNothing_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::newRow("No") << QStringLiteral("No");
        QTest::newRow("Escape") << QString();
    }

    void answeringNoOrClosingTheSheetChangesNothing()
    {
        QFETCH(QString, answer);
        launch();
        PreferenceWindowController& c = openPreferences();
        choose(c.soundFilesDropdownList(), 1);
        AllListeners listeners;
        QCOMPARE(removeThroughTheSheet(c.removeSoundButton(), answer).size(), size_t(1));
        QCOMPARE(listeners.total(), size_t(0));
        QVERIFY(inFolder(QStringLiteral("Piano 1.mp3")));
        QCOMPARE(c.timerData()->soundFiles(), testsupport::builtInSounds());
        QCOMPARE(c.timerData()->selectedSoundIndex(), 1);
        QCOMPARE(PreferenceController::preferenceSoundFiles(), testsupport::builtInSounds());
        QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), 1);
    }

    void theDefaultSoundCannotBeRemovedFromEitherPopUp()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        choose(c.soundFilesDropdownList(), 0);
        choose(c.reminderSoundFilesDropdownList(), 0);
        AllListeners listeners;
        for (QPushButton* remove : {c.removeSoundButton(), c.removeReminderSoundButton()}) {
            const std::vector<SeenAlert> sheet = removeThroughTheSheet(remove, QStringLiteral("OK"));
            QCOMPARE(sheet.size(), size_t(1));
            QCOMPARE(sheet[0].text, QStringLiteral("Cannot remove default sound."));
            QVERIFY(sheet[0].informativeText.isEmpty());
            QCOMPARE(sheet[0].buttons.size(), 1);
            QCOMPARE(sheet[0].modality, Qt::WindowModal);
            QCOMPARE(sheet[0].parent, c.prefsWindow());
            QCOMPARE(sheet[0].icon, QMessageBox::Warning);
        }
        QCOMPARE(listeners.total(), size_t(0));
        QVERIFY(inFolder(QStringLiteral("Left Coast Piano.mp3")));
        QCOMPARE(c.timerData()->soundFiles(), testsupport::builtInSounds());
        QCOMPARE(PreferenceController::preferenceSoundFiles(), testsupport::builtInSounds());
    }

    void removingTheLastEntryLeavesTheOtherPopUpWithNothingSelected()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        QVERIFY(addThroughTheDialog(c, makeTone(QStringLiteral("Test Tone.wav"))).empty());
        choose(c.soundFilesDropdownList(), 5);
        choose(c.reminderSoundFilesDropdownList(), 5);
        QCOMPARE(PreferenceController::preferenceReminderSoundName(), QStringLiteral("Test Tone.wav"));

        QCOMPARE(removeThroughTheSheet(c.removeSoundButton(), QStringLiteral("Yes")).size(), size_t(1));

        QCOMPARE(PreferenceController::preferenceSoundFiles(), testsupport::builtInSounds());
        QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), 4);
        // The reminder index equals the new count: stored as it is, read as 0, selecting nothing here.
        QCOMPARE(c.timerData()->reminderSoundIndex(), 5);
        QCOMPARE(rawStored(PreferenceKeys::SelectedReminderSoundIndex), 5);
        QCOMPARE(PreferenceController::preferenceReminderSoundIndex(), 0);
        QCOMPARE(c.reminderSoundFilesDropdownList()->currentIndex(), -1);

        // With nothing selected, remove finds no entry: no sheet, nothing removed.
        AllListeners listeners;
        click(c.removeReminderSoundButton());
        QTest::qWait(100);
        QVERIFY(!visibleAlert());
        QCOMPARE(listeners.total(), size_t(0));
        QCOMPARE(c.timerData()->soundFiles(), testsupport::builtInSounds());
        click(c.previewReminderSoundButton());
        QCOMPARE(PreferenceController::preferenceSoundFiles(), testsupport::builtInSounds());
    }

    void aFileAlreadyGoneStillLeavesTheList()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        choose(c.soundFilesDropdownList(), 3);
        QVERIFY(QFile::remove(QDir(soundFolder()).filePath(QStringLiteral("Harp Compound.mp3"))));
        QCOMPARE(removeThroughTheSheet(c.removeSoundButton(), QStringLiteral("Yes")).size(), size_t(1));
        QVERIFY(!visibleAlert());
        QVERIFY(!PreferenceController::preferenceSoundFiles().contains(QStringLiteral("Harp Compound.mp3")));
        QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), 2);
    }

    void aNameThatIsNotAPlainFileNameDeletesNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("parent") << QStringLiteral("../outside.wav");
        QTest::newRow("nested") << QStringLiteral("sub/../../outside.wav");
        QTest::newRow("dot-dot") << QStringLiteral("..");
    }

    void aNameThatIsNotAPlainFileNameDeletesNothing()
    {
        QFETCH(QString, name);
        // A damaged settings file lists a name that leads out of the sound folder.
        PreferenceController::setPreferenceSoundFiles({QStringLiteral("Left Coast Piano.mp3"), name});
        launch();
        const QString outside = makeTone(QStringLiteral("outside.wav"), QFileInfo(soundFolder()).path());
        QVERIFY(QFileInfo::exists(outside));
        PreferenceWindowController& c = openPreferences();
        choose(c.soundFilesDropdownList(), 1);
        QCOMPARE(c.soundFilesDropdownList()->currentText(), name);
        click(c.previewSoundButton());
        QCOMPARE(removeThroughTheSheet(c.removeSoundButton(), QStringLiteral("Yes")).size(), size_t(1));
        QVERIFY(QFileInfo::exists(outside));
        QVERIFY(QFileInfo(soundFolder()).isDir());
        QCOMPARE(PreferenceController::preferenceSoundFiles(),
                 QStringList{QStringLiteral("Left Coast Piano.mp3")});
        QVERIFY(QFile::remove(outside));
    }

    void aRemovedBuiltInSoundReturnsAsAFileButNotAsAnEntry()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        choose(c.soundFilesDropdownList(), 1);
        QCOMPARE(removeThroughTheSheet(c.removeSoundButton(), QStringLiteral("Yes")).size(), size_t(1));
        QVERIFY(!inFolder(QStringLiteral("Piano 1.mp3")));
        QVERIFY(!PreferenceController::preferenceSoundFiles().contains(QStringLiteral("Piano 1.mp3")));

        // The next launch: its file is copied back, its entry stays gone.
        m_delegate.reset();
        launch();
        QVERIFY(inFolder(QStringLiteral("Piano 1.mp3")));
        QCOMPARE(contents(QDir(soundFolder()).filePath(QStringLiteral("Piano 1.mp3"))),
                 contents(QDir(SoundFolder::resourceFolder()).filePath(QStringLiteral("Piano 1.mp3"))));
        QVERIFY(!PreferenceController::preferenceSoundFiles().contains(QStringLiteral("Piano 1.mp3")));
        QVERIFY(!items(openPreferences().soundFilesDropdownList()).contains(QStringLiteral("Piano 1.mp3")));
    }

    void theLinkOpensThePageOfMoreSounds()
    {
        launch();
        PreferenceWindowController& c = openPreferences();
        click(c.moreSoundsButton());
        QCOMPARE(m_opened, QList<QUrl>{ExternalLinks::soundPage()});
        QCOMPARE(m_opened.first().scheme(), QStringLiteral("http"));
        QCOMPARE(m_opened.first().path(), QStringLiteral("/sound"));
        QVERIFY(m_opened.first().host() != ExternalLinks::contactPage().host());
    }
};

BREVLIN_TEST_MAIN_WIDGETS(TestSoundLibrary)
#include "tst_soundlibrary.moc"
