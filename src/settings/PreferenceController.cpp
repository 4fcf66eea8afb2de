#include "PreferenceController.h"

#include "NotificationCenter.h"
#include "PreferenceKeys.h"
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
