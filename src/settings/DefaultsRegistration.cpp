#include "DefaultsRegistration.h"

#include "Brevlin.h"
#include "ColorArchive.h"
#include "PreferenceKeys.h"
#include "SignalSettings.h"

QVariantMap registrationDefaults(const Brevlin& settings)
{
    QVariantMap defaults;
    defaults.insert(PreferenceKeys::CountdownTime, settings.defaultCountdownTime());
    defaults.insert(PreferenceKeys::TextColor, archivedDataWithRootObject(settings.textColor()));
    defaults.insert(PreferenceKeys::BgColor, archivedDataWithRootObject(settings.bgColor()));
    defaults.insert(PreferenceKeys::DropShadow, settings.dropShadow());
    defaults.insert(PreferenceKeys::PlaySound, settings.playSound());
    defaults.insert(PreferenceKeys::ContinueCountdown, settings.continueCountdown());
    defaults.insert(PreferenceKeys::PlayReminderSound, settings.playReminderSound());
    defaults.insert(PreferenceKeys::SelectedSoundIndex, QVariant::fromValue(settings.selectedSoundIndex()));
    defaults.insert(PreferenceKeys::SelectedReminderSoundIndex,
                    QVariant::fromValue(settings.reminderSoundIndex()));
    QString soundFiles = settings.soundFiles().join(QStringLiteral(":"));
    // An empty list is registered as an empty text, as the store keeps it, not left out.
    if (soundFiles.isNull())
        soundFiles = QStringLiteral("");
    defaults.insert(PreferenceKeys::SoundFiles, soundFiles);
    // Not a setting of the timer itself but of how the panel gives the keyboard back: on unless turned off.
    defaults.insert(PreferenceKeys::ReturnFocusToPreviousWindow, true);
    defaults.insert(PreferenceKeys::PanelFrame, QStringLiteral(""));
    const SignalSettings signalSettings;
    defaults.insert(PreferenceKeys::ChangeColorsNearEnd, signalSettings.changeColorsNearEnd);
    defaults.insert(PreferenceKeys::WarnAt, signalSettings.warnAt);
    defaults.insert(PreferenceKeys::FinalAt, signalSettings.finalAt);
    defaults.insert(PreferenceKeys::WarnTextColor, archivedDataWithRootObject(signalSettings.warnTextColor));
    defaults.insert(PreferenceKeys::WarnBgColor, archivedDataWithRootObject(signalSettings.warnBgColor));
    defaults.insert(PreferenceKeys::FinalTextColor,
                    archivedDataWithRootObject(signalSettings.finalTextColor));
    defaults.insert(PreferenceKeys::FinalBgColor, archivedDataWithRootObject(signalSettings.finalBgColor));
    defaults.insert(PreferenceKeys::OvertimeColors, signalSettings.overtimeColors);
    defaults.insert(PreferenceKeys::OvertimeTextColor,
                    archivedDataWithRootObject(signalSettings.overtimeTextColor));
    defaults.insert(PreferenceKeys::OvertimeBgColor,
                    archivedDataWithRootObject(signalSettings.overtimeBgColor));
    defaults.insert(PreferenceKeys::FlashAtZero, signalSettings.flashAtZero);
    return defaults;
}
