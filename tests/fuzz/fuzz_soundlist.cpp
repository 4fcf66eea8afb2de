// The stored sound list: any stored value, as the settings file gives it, reads as the text split at
// every ":", and the two chosen names are the entries at the validated indices.

#include "FuzzSupport.h"

#include "PreferenceController.h"
#include "PreferenceKeys.h"
#include "SettingsFileFormat.h"
#include "TextValues.h"
#include "UserDefaults.h"

#include <QCoreApplication>
#include <QStandardPaths>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    // The store needs an application object; its file lands below a test-mode folder and is never
    // written, since no event loop runs to save it.
    QStandardPaths::setTestModeEnabled(true);
    static QCoreApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const qint64 selected = qint8(data[0]);
    const qint64 reminder = qint8(data[1]);
    const QVariant stored = SettingsFileFormat::decodeValue(fuzz::bytes(data + 2, size - 2));
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    defaults.setObject(stored, PreferenceKeys::SoundFiles);
    defaults.setInteger(selected, PreferenceKeys::SelectedSoundIndex);
    defaults.setInteger(reminder, PreferenceKeys::SelectedReminderSoundIndex);

    const QString text = defaults.stringForKey(PreferenceKeys::SoundFiles);
    const QStringList names = PreferenceController::preferenceSoundFiles();
    FUZZ_CHECK(names == componentsSeparatedByString(text, QStringLiteral(":")));
    FUZZ_CHECK(text.isNull() || names.join(QLatin1Char(':')) == text);
    FUZZ_CHECK(text.isNull() || names.size() == text.count(QLatin1Char(':')) + 1);

    const auto valid = [&](qint64 index) { return index >= 0 && index < names.size() ? index : 0; };
    FUZZ_CHECK(PreferenceController::preferenceSelectedSoundIndex() == valid(selected));
    FUZZ_CHECK(PreferenceController::preferenceReminderSoundIndex() == valid(reminder));
    FUZZ_CHECK(PreferenceController::preferenceSelectedSoundName() == names.value(valid(selected)));
    FUZZ_CHECK(PreferenceController::preferenceReminderSoundName() == names.value(valid(reminder)));
    FUZZ_CHECK(PreferenceController::preferenceSelectedSoundName().isNull() == text.isNull());
    return 0;
}
