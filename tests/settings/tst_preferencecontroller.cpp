#include "PreferenceController.h"

#include "Brevlin.h"
#include "BuiltInSounds.h"
#include "ColorArchive.h"
#include "DefaultsRegistration.h"
#include "NotificationCenter.h"
#include "PreferenceKeys.h"
#include "SettingsFile.h"
#include "SignalSettings.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "UserDefaults.h"

#include <QTest>

#include <functional>
#include <vector>

namespace {

const QStringList& BuiltInSounds = testsupport::builtInSounds();

const QStringList& AllNames = StoredSettings::allNotificationNames();

UserDefaults& defaults()
{
    return UserDefaults::standardUserDefaults();
}

void registerBuiltIns()
{
    defaults().registerDefaults(registrationDefaults(Brevlin()));
}

// One notifying setter: how to call it, how to read its value back, and what that value should be.
struct NotifyingSetter
{
    const char* label;
    QString notification;
    std::function<void()> set;
    std::function<QVariant()> read;
    QVariant expected;
};

const std::vector<NotifyingSetter>& notifyingSetters()
{
    static const QByteArray red = archivedDataWithRootObject(QColor(255, 0, 0, 200));
    static const QByteArray blue = archivedDataWithRootObject(QColor(0, 0, 255));
    static const std::vector<NotifyingSetter> setters{
        {"text colour", NotificationNames::TextColorChanged,
         [] { PreferenceController::setPreferenceTextColor(red); },
         [] { return QVariant(PreferenceController::preferenceTextColor()); }, QVariant(red)},
        {"background colour", NotificationNames::BgColorChanged,
         [] { PreferenceController::setPreferenceBgColor(blue); },
         [] { return QVariant(PreferenceController::preferenceBgColor()); }, QVariant(blue)},
        {"drop shadow", NotificationNames::DropShadowChanged,
         [] { PreferenceController::setPreferenceDropShadow(false); },
         [] { return QVariant(PreferenceController::preferenceDropShadow()); }, QVariant(false)},
        {"play sound", NotificationNames::PlaySoundChanged,
         [] { PreferenceController::setPreferencePlaySound(false); },
         [] { return QVariant(PreferenceController::preferencePlaySound()); }, QVariant(false)},
        {"sound selection", NotificationNames::SoundSelectionChanged,
         [] { PreferenceController::setPreferenceSelectedSoundIndex(2); },
         [] { return QVariant(PreferenceController::preferenceSelectedSoundName()); },
         QVariant(QStringLiteral("School Bell.mp3"))},
        {"continue countdown", NotificationNames::ContinueCountdownChanged,
         [] { PreferenceController::setPreferenceContinueCountdown(false); },
         [] { return QVariant(PreferenceController::preferenceContinueCountdown()); }, QVariant(false)},
        {"play reminder sound", NotificationNames::PlayReminderSoundChanged,
         [] { PreferenceController::setPreferencePlayReminderSound(false); },
         [] { return QVariant(PreferenceController::preferencePlayReminderSound()); }, QVariant(false)},
        {"reminder sound selection", NotificationNames::ReminderSoundSelectionChanged,
         [] { PreferenceController::setPreferenceReminderSoundIndex(3); },
         [] { return QVariant(PreferenceController::preferenceReminderSoundName()); },
         QVariant(QStringLiteral("Harp Compound.mp3"))},
        {"remind every interval", NotificationNames::RemindEveryIntervalChanged,
         [] { PreferenceController::setPreferenceRemindEveryInterval(QStringLiteral("0:0:30")); },
         [] { return QVariant(PreferenceController::preferenceRemindEveryInterval()); },
         QVariant(QStringLiteral("0:0:30"))},
        {"change colours near the end", NotificationNames::ChangeColorsNearEndChanged,
         [] { PreferenceController::setPreferenceChangeColorsNearEnd(true); },
         [] { return QVariant(PreferenceController::preferenceChangeColorsNearEnd()); }, QVariant(true)},
        {"warn at", NotificationNames::WarnAtChanged,
         [] { PreferenceController::setPreferenceWarnAt(QStringLiteral("0:10:00")); },
         [] { return QVariant(PreferenceController::preferenceWarnAt()); },
         QVariant(QStringLiteral("0:10:00"))},
        {"final at", NotificationNames::FinalAtChanged,
         [] { PreferenceController::setPreferenceFinalAt(QStringLiteral("0:0:30")); },
         [] { return QVariant(PreferenceController::preferenceFinalAt()); },
         QVariant(QStringLiteral("0:0:30"))},
        {"warning text colour", NotificationNames::WarnTextColorChanged,
         [] { PreferenceController::setPreferenceWarnTextColor(QColor(1, 2, 3)); },
         [] { return QVariant(PreferenceController::preferenceWarnTextColor()); }, QVariant(QColor(1, 2, 3))},
        {"warning background colour", NotificationNames::WarnBgColorChanged,
         [] { PreferenceController::setPreferenceWarnBgColor(QColor(4, 5, 6)); },
         [] { return QVariant(PreferenceController::preferenceWarnBgColor()); }, QVariant(QColor(4, 5, 6))},
        {"final text colour", NotificationNames::FinalTextColorChanged,
         [] { PreferenceController::setPreferenceFinalTextColor(QColor(7, 8, 9)); },
         [] { return QVariant(PreferenceController::preferenceFinalTextColor()); },
         QVariant(QColor(7, 8, 9))},
        {"final background colour", NotificationNames::FinalBgColorChanged,
         [] { PreferenceController::setPreferenceFinalBgColor(QColor(10, 11, 12, 13)); },
         [] { return QVariant(PreferenceController::preferenceFinalBgColor()); },
         QVariant(QColor(10, 11, 12, 13))},
        {"overtime colours", NotificationNames::OvertimeColorsChanged,
         [] { PreferenceController::setPreferenceOvertimeColors(true); },
         [] { return QVariant(PreferenceController::preferenceOvertimeColors()); }, QVariant(true)},
        {"overtime text colour", NotificationNames::OvertimeTextColorChanged,
         [] { PreferenceController::setPreferenceOvertimeTextColor(QColor(14, 15, 16)); },
         [] { return QVariant(PreferenceController::preferenceOvertimeTextColor()); },
         QVariant(QColor(14, 15, 16))},
        {"overtime background colour", NotificationNames::OvertimeBgColorChanged,
         [] { PreferenceController::setPreferenceOvertimeBgColor(QColor(17, 18, 19)); },
         [] { return QVariant(PreferenceController::preferenceOvertimeBgColor()); },
         QVariant(QColor(17, 18, 19))},
        {"flash at zero", NotificationNames::FlashAtZeroChanged,
         [] { PreferenceController::setPreferenceFlashAtZero(true); },
         [] { return QVariant(PreferenceController::preferenceFlashAtZero()); }, QVariant(true)},
    };
    return setters;
}

// What listenToEverything() has received since the last init().
std::vector<Notification> g_received;

// Subscribes to all nine names (and to decoy spellings of them) and records what arrives.
void listenToEverything()
{
    QStringList names = AllNames;
    names << QStringLiteral("BRVRemindEveryIntervalChanged") << QStringLiteral("RemindEveryInterval")
          << QStringLiteral("BRVSoundFilesChanged") << QStringLiteral("BRVCountdownTimeChanged");
    for (const QString& name : names) {
        NotificationCenter::defaultCenter().addObserver(
            &g_received, name, [](const Notification& n) { g_received.push_back(n); });
    }
}

} // namespace

class TestPreferenceController : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void freshInstallationReadsTheRegisteredDefaults();
    void freshInstallationSoundNames();
    void freshInstallationHasNoReminderInterval();

    void storedIndexBeyondTheListReadsZeroAndStays();
    void storedReminderIndexBeyondTheListReadsZeroAndStays();
    void negativeStoredIndexReadsZero();
    void storedIndexComesBackWhenTheListGrowsAgain();
    void settingIndexMinusOneStoresZeroAndStillPosts();
    void settingReminderIndexMinusOneStoresZeroAndStillPosts();
    void settingIndexFiveWithFiveNamesStoresZero();
    void settingIndexFiveAfterStoringSixNamesStoresFive();
    void soundNamesFollowTheirIndices();

    void soundListIsStoredJoinedWithColons();
    void emptySoundListIsStoredAsAnEmptyText();
    void emptySoundListReadsAsOneEmptyName();
    void soundNameContainingAColonReadsBackAsTwo();
    void emptyNamesBetweenSeparatorsAreKept();
    void soundListIsANewListOnEveryCall();
    void absentSoundListGivesNoNamesAndNullSoundNames();

    void silentSettersPostNothing();
    void everyNotifyingSetterPostsOncePerCallEvenUnchanged_data();
    void everyNotifyingSetterPostsOncePerCallEvenUnchanged();
    void observerReadsTheNewValueDuringThePost_data();
    void observerReadsTheNewValueDuringThePost();
    void notificationObjectIsTheClassAndUserInfoEmpty_data();
    void notificationObjectIsTheClassAndUserInfoEmpty();
    void prefixedIntervalNameReceivesNothing();
    void repeatedSubscriptionsAreAllCalled();
    void classObjectIsOneIdentity();

    void booleanGettersReadAnAbsentValueAsFalse();
    void colourGettersAreNullWhenAbsent();
    void colourGettersAreNullWhenNotData();
    void colourSettersStoreTheArchiveAsGiven();
    void countdownTimeIsStoredAsGiven();
    void nullCountdownTimeFallsBackToTheRegisteredOne();
    void reminderIntervalIsStoredAsTyped();
    void nullReminderIntervalRemovesIt();

    void damagedIndicesReadZero();
    void damagedHugeIndicesReadZero();
    void damagedBooleansAreReadAsText();
    void damagedColoursReadAsNullOrUndecodable();
    void damagedSoundListWithCommasIsOneText();
    void undecodableEntriesFallBackToTheRegisteredDefaults();
    void binaryJunkFileFallsBackToTheRegisteredDefaults();
    void settersStillWorkOnADamagedFileAndKeepItsOtherEntries();

    void signalSettingsOfAFreshInstallationAreTheBuiltInOnes();
    void signalColoursAreStoredAsArchives();
    void signalSettingsSurviveARestart();
    void damagedSignalSettingsReadAsTheirDefaultsOrAsNever();
    void nullThresholdFallsBackToTheRegisteredOne();
};

void TestPreferenceController::init()
{
    StoredSettings::forgetAll();
    g_received.clear();
}

void TestPreferenceController::cleanup()
{
    NotificationCenter::defaultCenter().removeObserver(this);
    NotificationCenter::defaultCenter().removeObserver(&g_received);
}

void TestPreferenceController::freshInstallationReadsTheRegisteredDefaults()
{
    registerBuiltIns();
    QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("00:01:00"));
    QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceTextColor()), QColor(Qt::black));
    QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceBgColor()), QColor(Qt::white));
    QCOMPARE(PreferenceController::preferenceDropShadow(), true);
    QCOMPARE(PreferenceController::preferenceSoundFiles(), BuiltInSounds);
    QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), qint64(0));
    QCOMPARE(PreferenceController::preferenceReminderSoundIndex(), qint64(4));
    QCOMPARE(PreferenceController::preferencePlaySound(), true);
    QCOMPARE(PreferenceController::preferenceContinueCountdown(), true);
    QCOMPARE(PreferenceController::preferencePlayReminderSound(), true);
    QCOMPARE(PreferenceController::preferenceReturnFocusToPreviousWindow(), true);
}

void TestPreferenceController::freshInstallationSoundNames()
{
    registerBuiltIns();
    QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("Left Coast Piano.mp3"));
    QCOMPARE(PreferenceController::preferenceReminderSoundName(), QStringLiteral("click_tin.wav"));
}

void TestPreferenceController::freshInstallationHasNoReminderInterval()
{
    registerBuiltIns();
    QVERIFY(PreferenceController::preferenceRemindEveryInterval().isNull());
}

void TestPreferenceController::storedIndexBeyondTheListReadsZeroAndStays()
{
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds);
    defaults().setInteger(7, PreferenceKeys::SelectedSoundIndex);
    QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), qint64(0));
    QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("Left Coast Piano.mp3"));
    QCOMPARE(defaults().integerForKey(PreferenceKeys::SelectedSoundIndex), qint64(7));
}

void TestPreferenceController::storedReminderIndexBeyondTheListReadsZeroAndStays()
{
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds);
    defaults().setInteger(7, PreferenceKeys::SelectedReminderSoundIndex);
    QCOMPARE(PreferenceController::preferenceReminderSoundIndex(), qint64(0));
    QCOMPARE(defaults().integerForKey(PreferenceKeys::SelectedReminderSoundIndex), qint64(7));
}

void TestPreferenceController::negativeStoredIndexReadsZero()
{
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds);
    defaults().setInteger(-1, PreferenceKeys::SelectedSoundIndex);
    defaults().setInteger(-5, PreferenceKeys::SelectedReminderSoundIndex);
    QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), qint64(0));
    QCOMPARE(PreferenceController::preferenceReminderSoundIndex(), qint64(0));
}

void TestPreferenceController::storedIndexComesBackWhenTheListGrowsAgain()
{
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds);
    PreferenceController::setPreferenceReminderSoundIndex(4);
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds.mid(0, 2));
    QCOMPARE(PreferenceController::preferenceReminderSoundIndex(), qint64(0));
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds);
    QCOMPARE(PreferenceController::preferenceReminderSoundIndex(), qint64(4));
}

void TestPreferenceController::settingIndexMinusOneStoresZeroAndStillPosts()
{
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds);
    defaults().setInteger(3, PreferenceKeys::SelectedSoundIndex);
    listenToEverything();
    PreferenceController::setPreferenceSelectedSoundIndex(-1);
    QCOMPARE(defaults().integerForKey(PreferenceKeys::SelectedSoundIndex), qint64(0));
    QCOMPARE(g_received.size(), size_t(1));
    QCOMPARE(g_received.front().name, QStringLiteral("BRVSoundSelectionChanged"));
}

void TestPreferenceController::settingReminderIndexMinusOneStoresZeroAndStillPosts()
{
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds);
    defaults().setInteger(3, PreferenceKeys::SelectedReminderSoundIndex);
    listenToEverything();
    PreferenceController::setPreferenceReminderSoundIndex(-1);
    QCOMPARE(defaults().integerForKey(PreferenceKeys::SelectedReminderSoundIndex), qint64(0));
    QCOMPARE(g_received.size(), size_t(1));
    QCOMPARE(g_received.front().name, QStringLiteral("BRVReminderSoundSelectionChanged"));
}

void TestPreferenceController::settingIndexFiveWithFiveNamesStoresZero()
{
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds);
    defaults().setInteger(3, PreferenceKeys::SelectedSoundIndex);
    PreferenceController::setPreferenceSelectedSoundIndex(5);
    QCOMPARE(defaults().integerForKey(PreferenceKeys::SelectedSoundIndex), qint64(0));
}

void TestPreferenceController::settingIndexFiveAfterStoringSixNamesStoresFive()
{
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds);
    PreferenceController::setPreferenceSelectedSoundIndex(5);
    QCOMPARE(defaults().integerForKey(PreferenceKeys::SelectedSoundIndex), qint64(0));
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds + QStringList{QStringLiteral("Gong.wav")});
    PreferenceController::setPreferenceSelectedSoundIndex(5);
    QCOMPARE(defaults().integerForKey(PreferenceKeys::SelectedSoundIndex), qint64(5));
    QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("Gong.wav"));
}

void TestPreferenceController::soundNamesFollowTheirIndices()
{
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds);
    PreferenceController::setPreferenceSelectedSoundIndex(1);
    PreferenceController::setPreferenceReminderSoundIndex(2);
    QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("Piano 1.mp3"));
    QCOMPARE(PreferenceController::preferenceReminderSoundName(), QStringLiteral("School Bell.mp3"));
}

void TestPreferenceController::soundListIsStoredJoinedWithColons()
{
    PreferenceController::setPreferenceSoundFiles({QStringLiteral("a.mp3"), QStringLiteral("b c.wav")});
    QCOMPARE(defaults().objectForKey(PreferenceKeys::SoundFiles), QVariant(QStringLiteral("a.mp3:b c.wav")));
    defaults().synchronize();
    QCOMPARE(SettingsFile::entries().value(PreferenceKeys::SoundFiles), QStringLiteral("a.mp3:b c.wav"));
}

void TestPreferenceController::emptySoundListIsStoredAsAnEmptyText()
{
    registerBuiltIns();
    PreferenceController::setPreferenceSoundFiles({});
    const QVariant stored = defaults().objectForKey(PreferenceKeys::SoundFiles);
    QCOMPARE(stored.typeId(), int(QMetaType::QString));
    QVERIFY(!stored.toString().isNull());
    QVERIFY(stored.toString().isEmpty());
    defaults().synchronize();
    QCOMPARE(SettingsFile::entries().value(PreferenceKeys::SoundFiles, QStringLiteral("missing")), QString());
}

void TestPreferenceController::emptySoundListReadsAsOneEmptyName()
{
    registerBuiltIns();
    PreferenceController::setPreferenceSoundFiles({});
    QCOMPARE(PreferenceController::preferenceSoundFiles(), QStringList{QString()});
    QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), qint64(0));
    QCOMPARE(PreferenceController::preferenceReminderSoundIndex(), qint64(0));
    const QString selected = PreferenceController::preferenceSelectedSoundName();
    const QString reminder = PreferenceController::preferenceReminderSoundName();
    QVERIFY(!selected.isNull());
    QVERIFY(selected.isEmpty());
    QVERIFY(!reminder.isNull());
    QVERIFY(reminder.isEmpty());
}

void TestPreferenceController::soundNameContainingAColonReadsBackAsTwo()
{
    PreferenceController::setPreferenceSoundFiles(
        {QStringLiteral("a.mp3"), QStringLiteral("Act 1: Bell.wav")});
    QCOMPARE(PreferenceController::preferenceSoundFiles(),
             (QStringList{QStringLiteral("a.mp3"), QStringLiteral("Act 1"), QStringLiteral(" Bell.wav")}));
}

void TestPreferenceController::emptyNamesBetweenSeparatorsAreKept()
{
    defaults().setObject(QStringLiteral("a.mp3::b.mp3:"), PreferenceKeys::SoundFiles);
    QCOMPARE(PreferenceController::preferenceSoundFiles(),
             (QStringList{QStringLiteral("a.mp3"), QString(), QStringLiteral("b.mp3"), QString()}));
}

void TestPreferenceController::soundListIsANewListOnEveryCall()
{
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds);
    QStringList list = PreferenceController::preferenceSoundFiles();
    list.append(QStringLiteral("Gong.wav"));
    QCOMPARE(PreferenceController::preferenceSoundFiles(), BuiltInSounds);
}

void TestPreferenceController::absentSoundListGivesNoNamesAndNullSoundNames()
{
    QVERIFY(PreferenceController::preferenceSoundFiles().isEmpty());
    QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), qint64(0));
    QVERIFY(PreferenceController::preferenceSelectedSoundName().isNull());
    QVERIFY(PreferenceController::preferenceReminderSoundName().isNull());
}

void TestPreferenceController::silentSettersPostNothing()
{
    listenToEverything();
    PreferenceController::setPreferenceCountdownTime(QStringLiteral("00:10:00"));
    PreferenceController::setPreferenceSoundFiles({QStringLiteral("a.mp3")});
    PreferenceController::setPreferenceSoundFiles({});
    PreferenceController::setPreferenceReturnFocusToPreviousWindow(false);
    QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("00:10:00"));
    QCOMPARE(PreferenceController::preferenceSoundFiles(), QStringList{QString()});
    QCOMPARE(PreferenceController::preferenceReturnFocusToPreviousWindow(), false);
    QCOMPARE(g_received.size(), size_t(0));
}

void TestPreferenceController::everyNotifyingSetterPostsOncePerCallEvenUnchanged_data()
{
    QTest::addColumn<int>("setter");
    for (size_t i = 0; i < notifyingSetters().size(); ++i)
        QTest::newRow(notifyingSetters()[i].label) << int(i);
}

void TestPreferenceController::everyNotifyingSetterPostsOncePerCallEvenUnchanged()
{
    QFETCH(int, setter);
    const NotifyingSetter& s = notifyingSetters()[setter];
    PreferenceController::setPreferenceSoundFiles(BuiltInSounds);
    listenToEverything();
    s.set();
    QCOMPARE(g_received.size(), size_t(1));
    QCOMPARE(g_received[0].name, s.notification);
    // The same value again: still one notification per call.
    s.set();
    QCOMPARE(g_received.size(), size_t(2));
    QCOMPARE(g_received[1].name, s.notification);
}

void TestPreferenceController::observerReadsTheNewValueDuringThePost_data()
{
    everyNotifyingSetterPostsOncePerCallEvenUnchanged_data();
}

void TestPreferenceController::observerReadsTheNewValueDuringThePost()
{
    QFETCH(int, setter);
    const NotifyingSetter& s = notifyingSetters()[setter];
    registerBuiltIns();
    QVERIFY(s.read() != s.expected);
    QVariant seen;
    int calls = 0;
    NotificationCenter::defaultCenter().addObserver(this, s.notification, [&](const Notification&) {
        seen = s.read();
        ++calls;
    });
    s.set();
    QCOMPARE(calls, 1);
    QCOMPARE(seen, s.expected);
}

void TestPreferenceController::notificationObjectIsTheClassAndUserInfoEmpty_data()
{
    everyNotifyingSetterPostsOncePerCallEvenUnchanged_data();
}

void TestPreferenceController::notificationObjectIsTheClassAndUserInfoEmpty()
{
    QFETCH(int, setter);
    listenToEverything();
    notifyingSetters()[setter].set();
    QCOMPARE(g_received.size(), size_t(1));
    QVERIFY(PreferenceController::classObject() != nullptr);
    QCOMPARE(g_received[0].object, PreferenceController::classObject());
    QVERIFY(g_received[0].userInfo.isEmpty());
}

void TestPreferenceController::prefixedIntervalNameReceivesNothing()
{
    int prefixed = 0;
    int plain = 0;
    NotificationCenter::defaultCenter().addObserver(this, QStringLiteral("BRVRemindEveryIntervalChanged"),
                                                    [&](const Notification&) { ++prefixed; });
    NotificationCenter::defaultCenter().addObserver(this, QStringLiteral("RemindEveryIntervalChanged"),
                                                    [&](const Notification&) { ++plain; });
    PreferenceController::setPreferenceRemindEveryInterval(QStringLiteral("1:0:0"));
    QCOMPARE(prefixed, 0);
    QCOMPARE(plain, 1);
}

void TestPreferenceController::repeatedSubscriptionsAreAllCalled()
{
    int calls = 0;
    for (int i = 0; i < 3; ++i)
        NotificationCenter::defaultCenter().addObserver(this, NotificationNames::BgColorChanged,
                                                        [&](const Notification&) { ++calls; });
    PreferenceController::setPreferenceBgColor(archivedDataWithRootObject(QColor(Qt::gray)));
    QCOMPARE(calls, 3);
}

void TestPreferenceController::classObjectIsOneIdentity()
{
    // Asked for by an observer in the middle of a post, from another place than the test body.
    std::vector<const void*> askedDuringPost;
    for (const QString& name : AllNames)
        NotificationCenter::defaultCenter().addObserver(this, name, [&](const Notification&) {
            askedDuringPost.push_back(PreferenceController::classObject());
        });
    listenToEverything();
    for (int round = 0; round < 2; ++round)
        for (const NotifyingSetter& s : notifyingSetters())
            s.set();

    const void* identity = PreferenceController::classObject();
    QVERIFY(identity != nullptr);
    // Not some object that merely exists anyway: the centre, a listener, this test.
    QVERIFY(identity != static_cast<const void*>(&NotificationCenter::defaultCenter()));
    QVERIFY(identity != static_cast<const void*>(&g_received));
    QVERIFY(identity != static_cast<const void*>(this));
    QCOMPARE(g_received.size(), 2 * notifyingSetters().size());
    QCOMPARE(askedDuringPost.size(), g_received.size());
    for (size_t i = 0; i < g_received.size(); ++i) {
        QCOMPARE(g_received[i].object, identity);
        QCOMPARE(askedDuringPost[i], identity);
    }
}

void TestPreferenceController::booleanGettersReadAnAbsentValueAsFalse()
{
    QCOMPARE(PreferenceController::preferenceDropShadow(), false);
    QCOMPARE(PreferenceController::preferencePlaySound(), false);
    QCOMPARE(PreferenceController::preferenceContinueCountdown(), false);
    QCOMPARE(PreferenceController::preferencePlayReminderSound(), false);
}

void TestPreferenceController::colourGettersAreNullWhenAbsent()
{
    QVERIFY(PreferenceController::preferenceTextColor().isNull());
    QVERIFY(PreferenceController::preferenceBgColor().isNull());
}

void TestPreferenceController::colourGettersAreNullWhenNotData()
{
    registerBuiltIns();
    defaults().setObject(QStringLiteral("black"), PreferenceKeys::TextColor);
    defaults().setInteger(16777215, PreferenceKeys::BgColor);
    QVERIFY(PreferenceController::preferenceTextColor().isNull());
    QVERIFY(PreferenceController::preferenceBgColor().isNull());
}

void TestPreferenceController::colourSettersStoreTheArchiveAsGiven()
{
    const QByteArray archive = archivedDataWithRootObject(QColor(10, 20, 30, 40));
    const QByteArray junk("not an archive");
    PreferenceController::setPreferenceTextColor(archive);
    PreferenceController::setPreferenceBgColor(junk);
    QCOMPARE(PreferenceController::preferenceTextColor(), archive);
    QCOMPARE(PreferenceController::preferenceBgColor(), junk);
    QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceTextColor()), QColor(10, 20, 30, 40));
    QVERIFY(!unarchiveObjectWithData(PreferenceController::preferenceBgColor()).isValid());
}

void TestPreferenceController::countdownTimeIsStoredAsGiven()
{
    registerBuiltIns();
    PreferenceController::setPreferenceCountdownTime(QStringLiteral("-00:00:05"));
    QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("-00:00:05"));
    QCOMPARE(defaults().objectForKey(PreferenceKeys::CountdownTime), QVariant(QStringLiteral("-00:00:05")));
}

void TestPreferenceController::nullCountdownTimeFallsBackToTheRegisteredOne()
{
    registerBuiltIns();
    PreferenceController::setPreferenceCountdownTime(QStringLiteral("00:10:00"));
    PreferenceController::setPreferenceCountdownTime(QString());
    QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("00:01:00"));
}

void TestPreferenceController::reminderIntervalIsStoredAsTyped()
{
    PreferenceController::setPreferenceRemindEveryInterval(QStringLiteral("1:2"));
    QCOMPARE(PreferenceController::preferenceRemindEveryInterval(), QStringLiteral("1:2"));
    PreferenceController::setPreferenceRemindEveryInterval(QStringLiteral(""));
    QVERIFY(!PreferenceController::preferenceRemindEveryInterval().isNull());
    QVERIFY(PreferenceController::preferenceRemindEveryInterval().isEmpty());
}

void TestPreferenceController::nullReminderIntervalRemovesIt()
{
    PreferenceController::setPreferenceRemindEveryInterval(QStringLiteral("0:1:0"));
    listenToEverything();
    PreferenceController::setPreferenceRemindEveryInterval(QString());
    QVERIFY(PreferenceController::preferenceRemindEveryInterval().isNull());
    QCOMPARE(g_received.size(), size_t(1));
}

void TestPreferenceController::damagedIndicesReadZero()
{
    registerBuiltIns();
    QVERIFY(SettingsFile::replace("[General]\n"
                                  "SoundFiles=a.mp3:b.mp3:c.mp3\n"
                                  "SelectedSoundIndex=abc\n"
                                  "SelectedReminderSoundIndex=two\n"));
    defaults().synchronize();
    QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), qint64(0));
    QCOMPARE(PreferenceController::preferenceReminderSoundIndex(), qint64(0));
    QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("a.mp3"));
    QCOMPARE(PreferenceController::preferenceReminderSoundName(), QStringLiteral("a.mp3"));
}

void TestPreferenceController::damagedHugeIndicesReadZero()
{
    QVERIFY(SettingsFile::replace("[General]\n"
                                  "SoundFiles=a.mp3:b.mp3\n"
                                  "SelectedSoundIndex=99999999999999999999999999\n"
                                  "SelectedReminderSoundIndex=-99999999999999999999999999\n"));
    defaults().synchronize();
    QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), qint64(0));
    QCOMPARE(PreferenceController::preferenceReminderSoundIndex(), qint64(0));
    QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("a.mp3"));
}

void TestPreferenceController::damagedBooleansAreReadAsText()
{
    registerBuiltIns();
    QVERIFY(SettingsFile::replace("[General]\n"
                                  "DropShadow=maybe\n"
                                  "PlaySound=YES\n"
                                  "ContinueCountdown=0\n"
                                  "PlayReminderSound=\n"));
    defaults().synchronize();
    QCOMPARE(PreferenceController::preferenceDropShadow(), false);
    QCOMPARE(PreferenceController::preferencePlaySound(), true);
    QCOMPARE(PreferenceController::preferenceContinueCountdown(), false);
    QCOMPARE(PreferenceController::preferencePlayReminderSound(), false);
}

void TestPreferenceController::damagedColoursReadAsNullOrUndecodable()
{
    registerBuiltIns();
    QVERIFY(SettingsFile::replace("[General]\n"
                                  "BRVTextColor=black\n"
                                  "BRVBgColor=@ByteArray(BRVC\\x1\\x1\\0)\n"));
    defaults().synchronize();
    QVERIFY(PreferenceController::preferenceTextColor().isNull());
    QVERIFY(!unarchiveObjectWithData(PreferenceController::preferenceTextColor()).isValid());
    QCOMPARE(PreferenceController::preferenceBgColor(), QByteArray("BRVC\x01\x01\x00", 7));
    QVERIFY(!unarchiveObjectWithData(PreferenceController::preferenceBgColor()).isValid());
}

void TestPreferenceController::damagedSoundListWithCommasIsOneText()
{
    QVERIFY(SettingsFile::replace("[General]\n"
                                  "SoundFiles=Bell, loud.mp3:c.mp3\n"
                                  "SelectedSoundIndex=1\n"));
    defaults().synchronize();
    QCOMPARE(PreferenceController::preferenceSoundFiles(),
             (QStringList{QStringLiteral("Bell, loud.mp3"), QStringLiteral("c.mp3")}));
    QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("c.mp3"));
}

void TestPreferenceController::undecodableEntriesFallBackToTheRegisteredDefaults()
{
    registerBuiltIns();
    QVERIFY(SettingsFile::replace("[General]\n"
                                  "BRVCountdownTime=@Invalid()\n"
                                  "BRVTextColor=@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x5junk)\n"
                                  "BRVBgColor=@Variant(\\xff\\xff\\xff\\xff)\n"
                                  "DropShadow=@Variant()\n"
                                  "SoundFiles=@Invalid()\n"
                                  "SelectedSoundIndex=@Invalid()\n"
                                  "SelectedReminderSoundIndex=@Variant(\\0)\n"
                                  "PlaySound=@Invalid()\n"
                                  "ContinueCountdown=@Invalid()\n"
                                  "PlayReminderSound=@Invalid()\n"
                                  "RemindEveryInterval=@Invalid()\n"));
    defaults().synchronize();
    QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("00:01:00"));
    QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceTextColor()), QColor(Qt::black));
    QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceBgColor()), QColor(Qt::white));
    QCOMPARE(PreferenceController::preferenceDropShadow(), true);
    QCOMPARE(PreferenceController::preferenceSoundFiles(), BuiltInSounds);
    QCOMPARE(PreferenceController::preferenceReminderSoundName(), QStringLiteral("click_tin.wav"));
    QCOMPARE(PreferenceController::preferencePlaySound(), true);
    QCOMPARE(PreferenceController::preferenceContinueCountdown(), true);
    QCOMPARE(PreferenceController::preferencePlayReminderSound(), true);
    QVERIFY(PreferenceController::preferenceRemindEveryInterval().isNull());
}

void TestPreferenceController::binaryJunkFileFallsBackToTheRegisteredDefaults()
{
    registerBuiltIns();
    QByteArray junk;
    for (int i = 0; i < 4096; ++i)
        junk.append(char((i * 7919 + 13) % 256));
    QVERIFY(SettingsFile::replace(junk));
    defaults().synchronize();
    QCOMPARE(PreferenceController::preferenceCountdownTime(), QStringLiteral("00:01:00"));
    QCOMPARE(PreferenceController::preferenceSoundFiles(), BuiltInSounds);
    QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("Left Coast Piano.mp3"));
    QCOMPARE(PreferenceController::preferenceReminderSoundName(), QStringLiteral("click_tin.wav"));
    QCOMPARE(PreferenceController::preferencePlaySound(), true);
    QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceBgColor()), QColor(Qt::white));
}

void TestPreferenceController::settersStillWorkOnADamagedFileAndKeepItsOtherEntries()
{
    QVERIFY(SettingsFile::replace("[General]\n"
                                  "BRVCountdownTime=00:03:00\n"
                                  "SelectedSoundIndex=abc\n"
                                  "SoundFiles=a.mp3:b.mp3\n"
                                  "[broken\n"
                                  "Unknown=kept\n"));
    defaults().synchronize();
    PreferenceController::setPreferenceSelectedSoundIndex(1);
    PreferenceController::setPreferencePlaySound(false);
    QCOMPARE(PreferenceController::preferenceSelectedSoundName(), QStringLiteral("b.mp3"));
    defaults().synchronize();
    const QHash<QString, QString> entries = SettingsFile::entries();
    QCOMPARE(entries.value(PreferenceKeys::SelectedSoundIndex), QStringLiteral("1"));
    QCOMPARE(entries.value(PreferenceKeys::PlaySound), QStringLiteral("false"));
    QCOMPARE(entries.value(PreferenceKeys::CountdownTime), QStringLiteral("00:03:00"));
    QCOMPARE(entries.value(PreferenceKeys::SoundFiles), QStringLiteral("a.mp3:b.mp3"));
    QCOMPARE(entries.value(QStringLiteral("Unknown")), QStringLiteral("kept"));
}

BREVLIN_TEST_MAIN_CORE(TestPreferenceController)
#include "tst_preferencecontroller.moc"

void TestPreferenceController::signalSettingsOfAFreshInstallationAreTheBuiltInOnes()
{
    registerBuiltIns();
    const SignalSettings settings = PreferenceController::preferenceSignalSettings();
    QVERIFY(settings == SignalSettings());
    QCOMPARE(settings.changeColorsNearEnd, false);
    QCOMPARE(settings.overtimeColors, false);
    QCOMPARE(settings.flashAtZero, false);
    QCOMPARE(settings.warnAt, QStringLiteral("0:05:00"));
    QCOMPARE(settings.finalAt, QStringLiteral("0:01:00"));
    // Nothing is written by reading.
    defaults().synchronize();
    QVERIFY(!SettingsFile::entries().contains(QStringLiteral("WarnAt")));
}

void TestPreferenceController::signalColoursAreStoredAsArchives()
{
    registerBuiltIns();
    PreferenceController::setPreferenceFinalBgColor(QColor(200, 0, 0, 128));
    QCOMPARE(defaults().dataForKey(PreferenceKeys::FinalBgColor),
             archivedDataWithRootObject(QColor(200, 0, 0, 128)));
}

void TestPreferenceController::signalSettingsSurviveARestart()
{
    registerBuiltIns();
    PreferenceController::setPreferenceChangeColorsNearEnd(true);
    PreferenceController::setPreferenceWarnAt(QStringLiteral("0:0:05"));
    PreferenceController::setPreferenceWarnBgColor(QColor(0, 128, 0));
    PreferenceController::setPreferenceFlashAtZero(true);
    QVERIFY(defaults().synchronize());
    const QHash<QString, QString> onDisk = SettingsFile::entries();
    QCOMPARE(onDisk.value(QStringLiteral("ChangeColorsNearEnd")), QStringLiteral("true"));
    QCOMPARE(onDisk.value(QStringLiteral("WarnAt")), QStringLiteral("0:0:05"));
    QVERIFY(onDisk.contains(QStringLiteral("WarnBgColor")));
    QCOMPARE(onDisk.value(QStringLiteral("FlashAtZero")), QStringLiteral("true"));
    QVERIFY(!onDisk.contains(QStringLiteral("OvertimeColors")));
    // The file read again from disk, as the next launch reads it.
    QFile file(defaults().filePath());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(SettingsFile::replace(file.readAll()));
    defaults().synchronize();
    QCOMPARE(PreferenceController::preferenceChangeColorsNearEnd(), true);
    QCOMPARE(PreferenceController::preferenceWarnAt(), QStringLiteral("0:0:05"));
    QCOMPARE(PreferenceController::preferenceWarnBgColor(), QColor(0, 128, 0));
    QCOMPARE(PreferenceController::preferenceFlashAtZero(), true);
    QCOMPARE(PreferenceController::preferenceOvertimeColors(), false);
}

void TestPreferenceController::damagedSignalSettingsReadAsTheirDefaultsOrAsNever()
{
    registerBuiltIns();
    QVERIFY(SettingsFile::replace("[General]\n"
                                  "ChangeColorsNearEnd=maybe\n"
                                  "OvertimeColors=YES\n"
                                  "FlashAtZero=@ByteArray(\\0)\n"
                                  "WarnAt=five minutes\n"
                                  "FinalAt=1, 2, 3\n"
                                  "WarnTextColor=black\n"
                                  "WarnBgColor=@ByteArray(BRVC\\x1\\x1\\0)\n"
                                  "FinalTextColor=\n"
                                  "FinalBgColor=42\n"
                                  "OvertimeTextColor=@Variant(\\0\\0\\0\\x7f)\n"
                                  "OvertimeBgColor=@ByteArray()\n"));
    defaults().synchronize();
    const SignalSettings settings = PreferenceController::preferenceSignalSettings();
    QCOMPARE(settings.changeColorsNearEnd, false);
    QCOMPARE(settings.overtimeColors, true);
    QCOMPARE(settings.flashAtZero, false);
    // Kept as they stand: the panel reads a text that is not a time as never reached.
    QCOMPARE(settings.warnAt, QStringLiteral("five minutes"));
    QCOMPARE(settings.finalAt, QStringLiteral("1, 2, 3"));
    const SignalSettings builtIn;
    QCOMPARE(settings.warnTextColor, builtIn.warnTextColor);
    QCOMPARE(settings.warnBgColor, builtIn.warnBgColor);
    QCOMPARE(settings.finalTextColor, builtIn.finalTextColor);
    QCOMPARE(settings.finalBgColor, builtIn.finalBgColor);
    QCOMPARE(settings.overtimeTextColor, builtIn.overtimeTextColor);
    QCOMPARE(settings.overtimeBgColor, builtIn.overtimeBgColor);
    // Nothing the file held was lost by reading it.
    defaults().synchronize();
    QCOMPARE(SettingsFile::entries().value(QStringLiteral("WarnAt")), QStringLiteral("five minutes"));
}

void TestPreferenceController::nullThresholdFallsBackToTheRegisteredOne()
{
    registerBuiltIns();
    PreferenceController::setPreferenceWarnAt(QStringLiteral("0:0:10"));
    PreferenceController::setPreferenceWarnAt(QString());
    QCOMPARE(PreferenceController::preferenceWarnAt(), QStringLiteral("0:05:00"));
}
