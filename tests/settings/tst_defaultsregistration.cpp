#include "DefaultsRegistration.h"

#include "Brevlin.h"
#include "BuiltInSounds.h"
#include "ColorArchive.h"
#include "PreferenceController.h"
#include "PreferenceKeys.h"
#include "StoredSettings.h"
#include "TestMain.h"
#include "UserDefaults.h"

#include <QTest>

namespace {

UserDefaults& defaults()
{
    return UserDefaults::standardUserDefaults();
}

// A settings object whose every registered value differs from the built-in one.
Brevlin changedSettings()
{
    Brevlin b;
    b.setDefaultCountdownTime(QStringLiteral("00:05:00"));
    b.setTextColor(QColor(1, 2, 3));
    b.setBgColor(QColor(4, 5, 6, 7));
    b.setDropShadow(false);
    b.setPlaySound(false);
    b.setContinueCountdown(false);
    b.setPlayReminderSound(false);
    b.setSelectedSoundIndex(1);
    b.setReminderSoundIndex(2);
    b.setSoundFiles({QStringLiteral("x.wav"), QStringLiteral("y.wav"), QStringLiteral("z.wav")});
    b.setRemindEveryInterval(QStringLiteral("1:0:0"));
    return b;
}

} // namespace

class TestDefaultsRegistration : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void holdsExactlyTheBuiltInValues();
    void leavesTheReminderIntervalOut();
    void archivesBothColours();
    void joinsTheSoundListWithColons();
    void takesEveryValueFromTheGivenObject();
    void emptySoundListIsRegisteredAsAnEmptyText();
    void registeringTwiceLeavesOnlyBuiltInValuesAndUserValuesUntouched();
    void registeredValuesAreWhatTheStoreReadsOnAFreshInstallation();
};

void TestDefaultsRegistration::init()
{
    StoredSettings::forgetAll();
}

void TestDefaultsRegistration::holdsExactlyTheBuiltInValues()
{
    const QVariantMap expected{
        {QStringLiteral("BRVCountdownTime"), QStringLiteral("00:01:00")},
        {QStringLiteral("BRVTextColor"), archivedDataWithRootObject(QColor(0, 0, 0))},
        {QStringLiteral("BRVBgColor"), archivedDataWithRootObject(QColor(255, 255, 255))},
        {QStringLiteral("DropShadow"), true},
        {QStringLiteral("PlaySound"), true},
        {QStringLiteral("ContinueCountdown"), true},
        {QStringLiteral("PlayReminderSound"), true},
        {QStringLiteral("SelectedSoundIndex"), QVariant::fromValue(qint64(0))},
        {QStringLiteral("SelectedReminderSoundIndex"), QVariant::fromValue(qint64(4))},
        {QStringLiteral("SoundFiles"), testsupport::builtInSounds().join(QLatin1Char(':'))},
        {QStringLiteral("ReturnFocusToPreviousWindow"), true},
        // The panel's place: empty until it is first moved.
        {QStringLiteral("PanelFrame"), QStringLiteral("")},
        // The panel's signals near and past the end: all off.
        {QStringLiteral("ChangeColorsNearEnd"), false},
        {QStringLiteral("WarnAt"), QStringLiteral("0:05:00")},
        {QStringLiteral("FinalAt"), QStringLiteral("0:01:00")},
        {QStringLiteral("WarnTextColor"), archivedDataWithRootObject(QColor(0, 0, 0))},
        {QStringLiteral("WarnBgColor"), archivedDataWithRootObject(QColor(255, 191, 0))},
        {QStringLiteral("FinalTextColor"), archivedDataWithRootObject(QColor(255, 255, 255))},
        {QStringLiteral("FinalBgColor"), archivedDataWithRootObject(QColor(198, 40, 40))},
        {QStringLiteral("OvertimeColors"), false},
        {QStringLiteral("OvertimeTextColor"), archivedDataWithRootObject(QColor(255, 255, 255))},
        {QStringLiteral("OvertimeBgColor"), archivedDataWithRootObject(QColor(106, 27, 154))},
        {QStringLiteral("FlashAtZero"), false},
    };
    const QVariantMap actual = registrationDefaults(Brevlin());
    QCOMPARE(actual.keys(), expected.keys());
    for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
        QCOMPARE(actual.value(it.key()).typeId(), it.value().typeId());
        QCOMPARE(actual.value(it.key()), it.value());
    }
}

void TestDefaultsRegistration::leavesTheReminderIntervalOut()
{
    QVERIFY(!registrationDefaults(Brevlin()).contains(PreferenceKeys::RemindEveryInterval));
    QVERIFY(!registrationDefaults(changedSettings()).contains(PreferenceKeys::RemindEveryInterval));
}

void TestDefaultsRegistration::archivesBothColours()
{
    const QVariantMap map = registrationDefaults(Brevlin());
    QCOMPARE(map.value(PreferenceKeys::TextColor).typeId(), int(QMetaType::QByteArray));
    QCOMPARE(unarchiveObjectWithData(map.value(PreferenceKeys::TextColor).toByteArray()), QColor(Qt::black));
    QCOMPARE(unarchiveObjectWithData(map.value(PreferenceKeys::BgColor).toByteArray()), QColor(Qt::white));
}

void TestDefaultsRegistration::joinsTheSoundListWithColons()
{
    Brevlin b;
    b.addSoundFile(QStringLiteral("Gong.wav"));
    QCOMPARE(registrationDefaults(b).value(PreferenceKeys::SoundFiles).toString(),
             b.soundFiles().join(QLatin1Char(':')));
    QVERIFY(registrationDefaults(b)
                .value(PreferenceKeys::SoundFiles)
                .toString()
                .endsWith(QStringLiteral("click_tin.wav:Gong.wav")));
}

void TestDefaultsRegistration::takesEveryValueFromTheGivenObject()
{
    const QVariantMap map = registrationDefaults(changedSettings());
    QCOMPARE(map.value(PreferenceKeys::CountdownTime), QVariant(QStringLiteral("00:05:00")));
    QCOMPARE(unarchiveObjectWithData(map.value(PreferenceKeys::TextColor).toByteArray()), QColor(1, 2, 3));
    QCOMPARE(unarchiveObjectWithData(map.value(PreferenceKeys::BgColor).toByteArray()), QColor(4, 5, 6, 7));
    QCOMPARE(map.value(PreferenceKeys::DropShadow), QVariant(false));
    QCOMPARE(map.value(PreferenceKeys::PlaySound), QVariant(false));
    QCOMPARE(map.value(PreferenceKeys::ContinueCountdown), QVariant(false));
    QCOMPARE(map.value(PreferenceKeys::PlayReminderSound), QVariant(false));
    QCOMPARE(map.value(PreferenceKeys::SelectedSoundIndex), QVariant::fromValue(qint64(1)));
    QCOMPARE(map.value(PreferenceKeys::SelectedReminderSoundIndex), QVariant::fromValue(qint64(2)));
    QCOMPARE(map.value(PreferenceKeys::SoundFiles), QVariant(QStringLiteral("x.wav:y.wav:z.wav")));
}

void TestDefaultsRegistration::emptySoundListIsRegisteredAsAnEmptyText()
{
    Brevlin b;
    b.setSoundFiles({});
    const QVariant soundFiles = registrationDefaults(b).value(PreferenceKeys::SoundFiles);
    QCOMPARE(soundFiles.typeId(), int(QMetaType::QString));
    QVERIFY(!soundFiles.toString().isNull());
    QVERIFY(soundFiles.toString().isEmpty());
}

void TestDefaultsRegistration::registeringTwiceLeavesOnlyBuiltInValuesAndUserValuesUntouched()
{
    defaults().setBool(false, PreferenceKeys::PlaySound);
    defaults().setObject(QStringLiteral("a.wav:b.wav"), PreferenceKeys::SoundFiles);
    defaults().setObject(QStringLiteral("0:0:10"), PreferenceKeys::RemindEveryInterval);

    defaults().registerDefaults(registrationDefaults(changedSettings()));
    defaults().registerDefaults(registrationDefaults(Brevlin()));
    defaults().registerDefaults(registrationDefaults(Brevlin()));

    QCOMPARE(defaults().registeredDefaults(), registrationDefaults(Brevlin()));
    QCOMPARE(defaults().registeredDefaults().size(), 23);
    QCOMPARE(defaults().boolForKey(PreferenceKeys::PlaySound), false);
    QCOMPARE(defaults().stringForKey(PreferenceKeys::SoundFiles), QStringLiteral("a.wav:b.wav"));
    QCOMPARE(defaults().stringForKey(PreferenceKeys::RemindEveryInterval), QStringLiteral("0:0:10"));
    QCOMPARE(defaults().boolForKey(PreferenceKeys::ContinueCountdown), true);
    QCOMPARE(defaults().stringForKey(PreferenceKeys::CountdownTime), QStringLiteral("00:01:00"));
}

void TestDefaultsRegistration::registeredValuesAreWhatTheStoreReadsOnAFreshInstallation()
{
    defaults().registerDefaults(registrationDefaults(Brevlin()));
    const Brevlin b;
    QCOMPARE(PreferenceController::preferenceCountdownTime(), b.defaultCountdownTime());
    QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceTextColor()), b.textColor());
    QCOMPARE(unarchiveObjectWithData(PreferenceController::preferenceBgColor()), b.bgColor());
    QCOMPARE(PreferenceController::preferenceDropShadow(), b.dropShadow());
    QCOMPARE(PreferenceController::preferenceSoundFiles(), b.soundFiles());
    QCOMPARE(PreferenceController::preferenceSelectedSoundIndex(), b.selectedSoundIndex());
    QCOMPARE(PreferenceController::preferenceReminderSoundIndex(), b.reminderSoundIndex());
    QCOMPARE(PreferenceController::preferencePlaySound(), b.playSound());
    QCOMPARE(PreferenceController::preferenceContinueCountdown(), b.continueCountdown());
    QCOMPARE(PreferenceController::preferencePlayReminderSound(), b.playReminderSound());
    QVERIFY(PreferenceController::preferenceRemindEveryInterval().isNull());
}

BREVLIN_TEST_MAIN_CORE(TestDefaultsRegistration)
#include "tst_defaultsregistration.moc"
