#pragma once

#include <QByteArray>
#include <QColor>
#include <QString>
#include <QStringList>
#include <QtGlobal>

struct SignalSettings;

/// The one door to the persisted settings. Static members only: it holds no state of its own, fetches the
/// shared UserDefaults on every call, hides the encodings (colours arrive and leave already archived, the
/// sound list is one ":"-joined string), keeps the two sound indices inside the stored list, and after
/// writing posts the change notification that the panel follows.
class PreferenceController
{
public:
    PreferenceController() = delete;

    /// The identity every notification of this class carries as its object.
    static const void* classObject();

    static QString preferenceCountdownTime();
    static void setPreferenceCountdownTime(const QString& value);

    static QByteArray preferenceTextColor();
    static void setPreferenceTextColor(const QByteArray& archivedColor);

    static QByteArray preferenceBgColor();
    static void setPreferenceBgColor(const QByteArray& archivedColor);

    static bool preferenceDropShadow();
    static void setPreferenceDropShadow(bool value);

    static QStringList preferenceSoundFiles();
    static void setPreferenceSoundFiles(const QStringList& names);

    static qint64 preferenceSelectedSoundIndex();
    static void setPreferenceSelectedSoundIndex(qint64 index);

    static qint64 preferenceReminderSoundIndex();
    static void setPreferenceReminderSoundIndex(qint64 index);

    static QString preferenceSelectedSoundName();
    static QString preferenceReminderSoundName();

    static bool preferencePlaySound();
    static void setPreferencePlaySound(bool value);

    static bool preferenceContinueCountdown();
    static void setPreferenceContinueCountdown(bool value);

    static bool preferencePlayReminderSound();
    static void setPreferencePlayReminderSound(bool value);

    static QString preferenceRemindEveryInterval();
    static void setPreferenceRemindEveryInterval(const QString& value);

    /// Posts nothing: the panel reads it at every hand-back.
    static bool preferenceReturnFocusToPreviousWindow();
    static void setPreferenceReturnFocusToPreviousWindow(bool value);

    /// Posts nothing: the panel writes its own place and reads it back only at launch.
    static QString preferencePanelFrame();
    static void setPreferencePanelFrame(const QString& value);

    // The panel's signals near and past the end. Each setter posts its own notification. A stored colour
    // that does not decode reads as its built-in default; a threshold is read as typed.
    static bool preferenceChangeColorsNearEnd();
    static void setPreferenceChangeColorsNearEnd(bool value);
    static QString preferenceWarnAt();
    static void setPreferenceWarnAt(const QString& value);
    static QString preferenceFinalAt();
    static void setPreferenceFinalAt(const QString& value);
    static QColor preferenceWarnTextColor();
    static void setPreferenceWarnTextColor(const QColor& color);
    static QColor preferenceWarnBgColor();
    static void setPreferenceWarnBgColor(const QColor& color);
    static QColor preferenceFinalTextColor();
    static void setPreferenceFinalTextColor(const QColor& color);
    static QColor preferenceFinalBgColor();
    static void setPreferenceFinalBgColor(const QColor& color);
    static bool preferenceOvertimeColors();
    static void setPreferenceOvertimeColors(bool value);
    static QColor preferenceOvertimeTextColor();
    static void setPreferenceOvertimeTextColor(const QColor& color);
    static QColor preferenceOvertimeBgColor();
    static void setPreferenceOvertimeBgColor(const QColor& color);
    static bool preferenceFlashAtZero();
    static void setPreferenceFlashAtZero(bool value);
    /// All of the above at once.
    static SignalSettings preferenceSignalSettings();
};
