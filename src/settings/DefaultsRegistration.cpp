#include "DefaultsRegistration.h"

#include "Brevlin.h"
#include "ColorArchive.h"
#include "PreferenceKeys.h"

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
    return defaults;
}
