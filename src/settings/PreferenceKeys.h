#pragma once

// The texts under which every user's settings are stored and the names of the change notifications. They
// are the stored format of existing settings, so they are kept exactly as they are, mixed prefixes
// included: of the keys only the countdown time and the two colours carry "BRV", of the notifications
// all but "RemindEveryIntervalChanged" do.

#include <QString>

namespace PreferenceKeys {
inline const QString CountdownTime = QStringLiteral("BRVCountdownTime");
inline const QString TextColor = QStringLiteral("BRVTextColor");
inline const QString BgColor = QStringLiteral("BRVBgColor");
inline const QString DropShadow = QStringLiteral("DropShadow");
inline const QString SoundFiles = QStringLiteral("SoundFiles");
inline const QString SelectedSoundIndex = QStringLiteral("SelectedSoundIndex");
/// The reminder sound's index, although its accessors say "ReminderSoundIndex".
inline const QString SelectedReminderSoundIndex = QStringLiteral("SelectedReminderSoundIndex");
inline const QString PlaySound = QStringLiteral("PlaySound");
inline const QString ContinueCountdown = QStringLiteral("ContinueCountdown");
inline const QString PlayReminderSound = QStringLiteral("PlayReminderSound");
/// Never registered: while the user has not set it, the settings object's own 0:5:0 is in effect.
inline const QString RemindEveryInterval = QStringLiteral("RemindEveryInterval");
/// Where no PowerPoint runs, the keyboard goes back to the window the presenter used before the panel.
inline const QString ReturnFocusToPreviousWindow = QStringLiteral("ReturnFocusToPreviousWindow");
/// The panel's place when it was last moved or resized: "x,y,width,height;screen name", empty for the
/// first place (top right of the main screen).
inline const QString PanelFrame = QStringLiteral("PanelFrame");
// The panel's signals near and past the end (SignalSettings): switches, thresholds as typed, colours
// archived as the text colour is.
inline const QString ChangeColorsNearEnd = QStringLiteral("ChangeColorsNearEnd");
inline const QString WarnAt = QStringLiteral("WarnAt");
inline const QString FinalAt = QStringLiteral("FinalAt");
inline const QString WarnTextColor = QStringLiteral("WarnTextColor");
inline const QString WarnBgColor = QStringLiteral("WarnBgColor");
inline const QString FinalTextColor = QStringLiteral("FinalTextColor");
inline const QString FinalBgColor = QStringLiteral("FinalBgColor");
inline const QString OvertimeColors = QStringLiteral("OvertimeColors");
inline const QString OvertimeTextColor = QStringLiteral("OvertimeTextColor");
inline const QString OvertimeBgColor = QStringLiteral("OvertimeBgColor");
inline const QString FlashAtZero = QStringLiteral("FlashAtZero");
} // namespace PreferenceKeys

namespace NotificationNames {
inline const QString TextColorChanged = QStringLiteral("BRVTextColorChanged");
inline const QString BgColorChanged = QStringLiteral("BRVBgColorChanged");
inline const QString DropShadowChanged = QStringLiteral("BRVDropShadowChanged");
inline const QString PlaySoundChanged = QStringLiteral("BRVPlaySoundChanged");
inline const QString SoundSelectionChanged = QStringLiteral("BRVSoundSelectionChanged");
inline const QString ContinueCountdownChanged = QStringLiteral("BRVContinueCountdownChanged");
inline const QString PlayReminderSoundChanged = QStringLiteral("BRVPlayReminderSoundChanged");
inline const QString ReminderSoundSelectionChanged = QStringLiteral("BRVReminderSoundSelectionChanged");
inline const QString RemindEveryIntervalChanged = QStringLiteral("RemindEveryIntervalChanged");
inline const QString ChangeColorsNearEndChanged = QStringLiteral("BRVChangeColorsNearEndChanged");
inline const QString WarnAtChanged = QStringLiteral("BRVWarnAtChanged");
inline const QString FinalAtChanged = QStringLiteral("BRVFinalAtChanged");
inline const QString WarnTextColorChanged = QStringLiteral("BRVWarnTextColorChanged");
inline const QString WarnBgColorChanged = QStringLiteral("BRVWarnBgColorChanged");
inline const QString FinalTextColorChanged = QStringLiteral("BRVFinalTextColorChanged");
inline const QString FinalBgColorChanged = QStringLiteral("BRVFinalBgColorChanged");
inline const QString OvertimeColorsChanged = QStringLiteral("BRVOvertimeColorsChanged");
inline const QString OvertimeTextColorChanged = QStringLiteral("BRVOvertimeTextColorChanged");
inline const QString OvertimeBgColorChanged = QStringLiteral("BRVOvertimeBgColorChanged");
inline const QString FlashAtZeroChanged = QStringLiteral("BRVFlashAtZeroChanged");
} // namespace NotificationNames
