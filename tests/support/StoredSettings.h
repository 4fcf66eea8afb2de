#pragma once

// Every test that touches the store starts from an empty one: no user values, no registered defaults.

#include "PreferenceKeys.h"
#include "UserDefaults.h"

#include <QStringList>

namespace StoredSettings {

inline const QStringList& allKeys()
{
    static const QStringList keys{PreferenceKeys::CountdownTime,
                                  PreferenceKeys::TextColor,
                                  PreferenceKeys::BgColor,
                                  PreferenceKeys::DropShadow,
                                  PreferenceKeys::SoundFiles,
                                  PreferenceKeys::SelectedSoundIndex,
                                  PreferenceKeys::SelectedReminderSoundIndex,
                                  PreferenceKeys::PlaySound,
                                  PreferenceKeys::ContinueCountdown,
                                  PreferenceKeys::PlayReminderSound,
                                  PreferenceKeys::RemindEveryInterval,
                                  PreferenceKeys::ReturnFocusToPreviousWindow,
                                  PreferenceKeys::PanelFrame,
                                  PreferenceKeys::ChangeColorsNearEnd,
                                  PreferenceKeys::WarnAt,
                                  PreferenceKeys::FinalAt,
                                  PreferenceKeys::WarnTextColor,
                                  PreferenceKeys::WarnBgColor,
                                  PreferenceKeys::FinalTextColor,
                                  PreferenceKeys::FinalBgColor,
                                  PreferenceKeys::OvertimeColors,
                                  PreferenceKeys::OvertimeTextColor,
                                  PreferenceKeys::OvertimeBgColor,
                                  PreferenceKeys::FlashAtZero};
    return keys;
}

/// Every change notification, in the order the delegate subscribes to them.
inline const QStringList& allNotificationNames()
{
    static const QStringList names{NotificationNames::TextColorChanged,
                                   NotificationNames::BgColorChanged,
                                   NotificationNames::DropShadowChanged,
                                   NotificationNames::SoundSelectionChanged,
                                   NotificationNames::PlaySoundChanged,
                                   NotificationNames::ContinueCountdownChanged,
                                   NotificationNames::PlayReminderSoundChanged,
                                   NotificationNames::RemindEveryIntervalChanged,
                                   NotificationNames::ReminderSoundSelectionChanged,
                                   NotificationNames::ChangeColorsNearEndChanged,
                                   NotificationNames::WarnAtChanged,
                                   NotificationNames::FinalAtChanged,
                                   NotificationNames::WarnTextColorChanged,
                                   NotificationNames::WarnBgColorChanged,
                                   NotificationNames::FinalTextColorChanged,
                                   NotificationNames::FinalBgColorChanged,
                                   NotificationNames::OvertimeColorsChanged,
                                   NotificationNames::OvertimeTextColorChanged,
                                   NotificationNames::OvertimeBgColorChanged,
                                   NotificationNames::FlashAtZeroChanged};
    return names;
}

/// Removes every user value and every registered default.
inline void forgetAll()
{
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    // Take in what was written behind the store's back first: QSettings only removes keys it has read.
    defaults.synchronize();
    for (const QString& key : allKeys())
        defaults.removeObjectForKey(key);
    defaults.removeRegisteredDefaults();
    defaults.synchronize();
}

} // namespace StoredSettings
