#include "PreferenceController.h"

#include "ColorArchive.h"
#include "NotificationCenter.h"
#include "PreferenceKeys.h"
#include "SignalSettings.h"
#include "TextValues.h"
#include "UserDefaults.h"

namespace {

// Its address is the class's identity in notifications; its value is never used.
const char classTag = 0;

const QString SoundListSeparator = QStringLiteral(":");

UserDefaults& defaults()
{
    return UserDefaults::standardUserDefaults();
}

// Observers read the new value back from the store, so the value must be written before this is called.
void post(const QString& name)
{
    NotificationCenter::defaultCenter().postNotificationName(name, PreferenceController::classObject());
}

// The stored list's text; the index rules below count and pick names in it without splitting it, since
// a list of megabytes would otherwise be split several times at every launch.
QString storedSoundList()
{
    return defaults().stringForKey(PreferenceKeys::SoundFiles);
}

// As preferenceSoundFiles().size(): no value is no names, any text at least one.
qint64 soundCount(const QString& list)
{
    return list.isNull() ? 0 : list.count(SoundListSeparator) + 1;
}

// An index is kept only when it points into the sound list as stored right now.
qint64 validIndex(qint64 index, const QString& list)
{
    return index >= 0 && index < soundCount(list) ? index : 0;
}

qint64 validIndex(qint64 index)
{
    return validIndex(index, storedSoundList());
}

// The name at the stored index, as preferenceSoundFiles().value(index); null while the store holds no
// sound list at all.
QString soundNameAt(qint64 storedIndex)
{
    const QString list = storedSoundList();
    if (list.isNull())
        return {};
    const qint64 index = validIndex(storedIndex, list);
    qsizetype start = 0;
    for (qint64 i = 0; i < index; ++i)
        start = list.indexOf(SoundListSeparator, start) + 1;
    const qsizetype end = list.indexOf(SoundListSeparator, start);
    const QString name = list.mid(start, end < 0 ? -1 : end - start);
    return name.isNull() ? QStringLiteral("") : name;
}

// A colour of the panel's signals; damaged data reads as the built-in colour, never as no colour.
QColor signalColor(const QString& key, const QColor& builtIn)
{
    const QColor color = unarchiveObjectWithData(defaults().dataForKey(key));
    return color.isValid() ? color : builtIn;
}

void setSignalColor(const QString& key, const QColor& color, const QString& notification)
{
    defaults().setObject(archivedDataWithRootObject(color), key);
    post(notification);
}

// A threshold is kept as typed, like the reminder interval; null removes it, so the built-in one is read.
void setText(const QString& key, const QString& value, const QString& notification)
{
    defaults().setObject(value, key);
    post(notification);
}

void setSwitch(const QString& key, bool value, const QString& notification)
{
    defaults().setBool(value, key);
    post(notification);
}

} // namespace

const void* PreferenceController::classObject()
{
    return &classTag;
}

QString PreferenceController::preferenceCountdownTime()
{
    return defaults().stringForKey(PreferenceKeys::CountdownTime);
}

void PreferenceController::setPreferenceCountdownTime(const QString& value)
{
    // Saved at every start of a countdown; nothing on screen depends on it, so nothing is posted.
    defaults().setObject(value, PreferenceKeys::CountdownTime);
}

QByteArray PreferenceController::preferenceTextColor()
{
    return defaults().dataForKey(PreferenceKeys::TextColor);
}

void PreferenceController::setPreferenceTextColor(const QByteArray& archivedColor)
{
    defaults().setObject(archivedColor, PreferenceKeys::TextColor);
    post(NotificationNames::TextColorChanged);
}

QByteArray PreferenceController::preferenceBgColor()
{
    return defaults().dataForKey(PreferenceKeys::BgColor);
}

void PreferenceController::setPreferenceBgColor(const QByteArray& archivedColor)
{
    defaults().setObject(archivedColor, PreferenceKeys::BgColor);
    post(NotificationNames::BgColorChanged);
}

bool PreferenceController::preferenceDropShadow()
{
    return defaults().boolForKey(PreferenceKeys::DropShadow);
}

void PreferenceController::setPreferenceDropShadow(bool value)
{
    defaults().setBool(value, PreferenceKeys::DropShadow);
    post(NotificationNames::DropShadowChanged);
}

QStringList PreferenceController::preferenceSoundFiles()
{
    return componentsSeparatedByString(defaults().stringForKey(PreferenceKeys::SoundFiles),
                                       SoundListSeparator);
}

void PreferenceController::setPreferenceSoundFiles(const QStringList& names)
{
    QString joined = names.join(SoundListSeparator);
    // An empty list is stored as an empty text (read back as one empty name), not as no value at all.
    if (joined.isNull())
        joined = QStringLiteral("");
    // The list alone changes nothing on screen; the selection notifications that follow it do.
    defaults().setObject(joined, PreferenceKeys::SoundFiles);
}

qint64 PreferenceController::preferenceSelectedSoundIndex()
{
    // A stale index is read as 0 but left in the store: a later, longer list may make it valid again.
    return validIndex(defaults().integerForKey(PreferenceKeys::SelectedSoundIndex));
}

void PreferenceController::setPreferenceSelectedSoundIndex(qint64 index)
{
    defaults().setInteger(validIndex(index), PreferenceKeys::SelectedSoundIndex);
    post(NotificationNames::SoundSelectionChanged);
}

qint64 PreferenceController::preferenceReminderSoundIndex()
{
    return validIndex(defaults().integerForKey(PreferenceKeys::SelectedReminderSoundIndex));
}

void PreferenceController::setPreferenceReminderSoundIndex(qint64 index)
{
    defaults().setInteger(validIndex(index), PreferenceKeys::SelectedReminderSoundIndex);
    post(NotificationNames::ReminderSoundSelectionChanged);
}

QString PreferenceController::preferenceSelectedSoundName()
{
    return soundNameAt(defaults().integerForKey(PreferenceKeys::SelectedSoundIndex));
}

QString PreferenceController::preferenceReminderSoundName()
{
    return soundNameAt(defaults().integerForKey(PreferenceKeys::SelectedReminderSoundIndex));
}

bool PreferenceController::preferencePlaySound()
{
    return defaults().boolForKey(PreferenceKeys::PlaySound);
}

void PreferenceController::setPreferencePlaySound(bool value)
{
    defaults().setBool(value, PreferenceKeys::PlaySound);
    post(NotificationNames::PlaySoundChanged);
}

bool PreferenceController::preferenceContinueCountdown()
{
    return defaults().boolForKey(PreferenceKeys::ContinueCountdown);
}

void PreferenceController::setPreferenceContinueCountdown(bool value)
{
    defaults().setBool(value, PreferenceKeys::ContinueCountdown);
    post(NotificationNames::ContinueCountdownChanged);
}

bool PreferenceController::preferencePlayReminderSound()
{
    return defaults().boolForKey(PreferenceKeys::PlayReminderSound);
}

void PreferenceController::setPreferencePlayReminderSound(bool value)
{
    defaults().setBool(value, PreferenceKeys::PlayReminderSound);
    post(NotificationNames::PlayReminderSoundChanged);
}

QString PreferenceController::preferenceRemindEveryInterval()
{
    return defaults().stringForKey(PreferenceKeys::RemindEveryInterval);
}

void PreferenceController::setPreferenceRemindEveryInterval(const QString& value)
{
    defaults().setObject(value, PreferenceKeys::RemindEveryInterval);
    post(NotificationNames::RemindEveryIntervalChanged);
}

bool PreferenceController::preferenceReturnFocusToPreviousWindow()
{
    return defaults().boolForKey(PreferenceKeys::ReturnFocusToPreviousWindow);
}

void PreferenceController::setPreferenceReturnFocusToPreviousWindow(bool value)
{
    defaults().setBool(value, PreferenceKeys::ReturnFocusToPreviousWindow);
}

QString PreferenceController::preferencePanelFrame()
{
    return defaults().stringForKey(PreferenceKeys::PanelFrame);
}

void PreferenceController::setPreferencePanelFrame(const QString& value)
{
    defaults().setObject(value, PreferenceKeys::PanelFrame);
}

bool PreferenceController::preferenceChangeColorsNearEnd()
{
    return defaults().boolForKey(PreferenceKeys::ChangeColorsNearEnd);
}

void PreferenceController::setPreferenceChangeColorsNearEnd(bool value)
{
    setSwitch(PreferenceKeys::ChangeColorsNearEnd, value, NotificationNames::ChangeColorsNearEndChanged);
}

QString PreferenceController::preferenceWarnAt()
{
    return defaults().stringForKey(PreferenceKeys::WarnAt);
}

void PreferenceController::setPreferenceWarnAt(const QString& value)
{
    setText(PreferenceKeys::WarnAt, value, NotificationNames::WarnAtChanged);
}

QString PreferenceController::preferenceFinalAt()
{
    return defaults().stringForKey(PreferenceKeys::FinalAt);
}

void PreferenceController::setPreferenceFinalAt(const QString& value)
{
    setText(PreferenceKeys::FinalAt, value, NotificationNames::FinalAtChanged);
}

QColor PreferenceController::preferenceWarnTextColor()
{
    return signalColor(PreferenceKeys::WarnTextColor, SignalSettings().warnTextColor);
}

void PreferenceController::setPreferenceWarnTextColor(const QColor& color)
{
    setSignalColor(PreferenceKeys::WarnTextColor, color, NotificationNames::WarnTextColorChanged);
}

QColor PreferenceController::preferenceWarnBgColor()
{
    return signalColor(PreferenceKeys::WarnBgColor, SignalSettings().warnBgColor);
}

void PreferenceController::setPreferenceWarnBgColor(const QColor& color)
{
    setSignalColor(PreferenceKeys::WarnBgColor, color, NotificationNames::WarnBgColorChanged);
}

QColor PreferenceController::preferenceFinalTextColor()
{
    return signalColor(PreferenceKeys::FinalTextColor, SignalSettings().finalTextColor);
}

void PreferenceController::setPreferenceFinalTextColor(const QColor& color)
{
    setSignalColor(PreferenceKeys::FinalTextColor, color, NotificationNames::FinalTextColorChanged);
}

QColor PreferenceController::preferenceFinalBgColor()
{
    return signalColor(PreferenceKeys::FinalBgColor, SignalSettings().finalBgColor);
}

void PreferenceController::setPreferenceFinalBgColor(const QColor& color)
{
    setSignalColor(PreferenceKeys::FinalBgColor, color, NotificationNames::FinalBgColorChanged);
}

bool PreferenceController::preferenceOvertimeColors()
{
    return defaults().boolForKey(PreferenceKeys::OvertimeColors);
}

void PreferenceController::setPreferenceOvertimeColors(bool value)
{
    setSwitch(PreferenceKeys::OvertimeColors, value, NotificationNames::OvertimeColorsChanged);
}

QColor PreferenceController::preferenceOvertimeTextColor()
{
    return signalColor(PreferenceKeys::OvertimeTextColor, SignalSettings().overtimeTextColor);
}

void PreferenceController::setPreferenceOvertimeTextColor(const QColor& color)
{
    setSignalColor(PreferenceKeys::OvertimeTextColor, color, NotificationNames::OvertimeTextColorChanged);
}

QColor PreferenceController::preferenceOvertimeBgColor()
{
    return signalColor(PreferenceKeys::OvertimeBgColor, SignalSettings().overtimeBgColor);
}

void PreferenceController::setPreferenceOvertimeBgColor(const QColor& color)
{
    setSignalColor(PreferenceKeys::OvertimeBgColor, color, NotificationNames::OvertimeBgColorChanged);
}

bool PreferenceController::preferenceFlashAtZero()
{
    return defaults().boolForKey(PreferenceKeys::FlashAtZero);
}

void PreferenceController::setPreferenceFlashAtZero(bool value)
{
    setSwitch(PreferenceKeys::FlashAtZero, value, NotificationNames::FlashAtZeroChanged);
}

SignalSettings PreferenceController::preferenceSignalSettings()
{
    SignalSettings settings;
    settings.changeColorsNearEnd = preferenceChangeColorsNearEnd();
    settings.warnAt = preferenceWarnAt();
    settings.finalAt = preferenceFinalAt();
    settings.warnTextColor = preferenceWarnTextColor();
    settings.warnBgColor = preferenceWarnBgColor();
    settings.finalTextColor = preferenceFinalTextColor();
    settings.finalBgColor = preferenceFinalBgColor();
    settings.overtimeColors = preferenceOvertimeColors();
    settings.overtimeTextColor = preferenceOvertimeTextColor();
    settings.overtimeBgColor = preferenceOvertimeBgColor();
    settings.flashAtZero = preferenceFlashAtZero();
    return settings;
}
