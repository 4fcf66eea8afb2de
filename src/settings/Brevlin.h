#pragma once

#include <QColor>
#include <QString>
#include <QStringList>
#include <QtGlobal>

/// Every setting of the timer, held in memory. It knows nothing about persistence: the preference store
/// fills it and the panel and the preferences window each own one instance of their own.
class Brevlin
{
public:
    /// Holds the built-in default of every setting; the registered defaults are read from a fresh instance,
    /// so a default is changed here and nowhere else.
    Brevlin();

    QString defaultCountdownTime() const { return m_defaultCountdownTime; }
    void setDefaultCountdownTime(const QString& value) { m_defaultCountdownTime = value; }

    QString countdownTime() const { return m_countdownTime; }
    void setCountdownTime(const QString& value) { m_countdownTime = value; }

    bool playSound() const { return m_playSound; }
    void setPlaySound(bool value) { m_playSound = value; }

    bool playReminderSound() const { return m_playReminderSound; }
    void setPlayReminderSound(bool value) { m_playReminderSound = value; }

    bool continueCountdown() const { return m_continueCountdown; }
    void setContinueCountdown(bool value) { m_continueCountdown = value; }

    qint64 selectedSoundIndex() const { return m_selectedSoundIndex; }
    void setSelectedSoundIndex(qint64 value) { m_selectedSoundIndex = value; }

    qint64 reminderSoundIndex() const { return m_reminderSoundIndex; }
    void setReminderSoundIndex(qint64 value) { m_reminderSoundIndex = value; }

    /// A snapshot: later changes to the list do not show in it.
    QStringList soundFiles() const { return m_soundFiles; }
    void setSoundFiles(const QStringList& value) { m_soundFiles = value; }

    QString defaultSound() const { return m_defaultSound; }
    void setDefaultSound(const QString& value) { m_defaultSound = value; }

    QString selectedSoundName() const { return m_selectedSoundName; }
    void setSelectedSoundName(const QString& value) { m_selectedSoundName = value; }

    QString reminderSoundName() const { return m_reminderSoundName; }
    void setReminderSoundName(const QString& value) { m_reminderSoundName = value; }

    QString remindEveryInterval() const { return m_remindEveryInterval; }
    /// Stores the text and, when it has exactly three ":"-separated fields, derives the hours, minutes,
    /// seconds and the interval in seconds from it. Other texts leave the four numbers as they were.
    void setRemindEveryInterval(const QString& value);

    qint64 remindEveryH() const { return m_remindEveryH; }
    void setRemindEveryH(qint64 value) { m_remindEveryH = value; }
    qint64 remindEveryM() const { return m_remindEveryM; }
    void setRemindEveryM(qint64 value) { m_remindEveryM = value; }
    qint64 remindEveryS() const { return m_remindEveryS; }
    void setRemindEveryS(qint64 value) { m_remindEveryS = value; }
    qint64 remindEveryIntervalSeconds() const { return m_remindEveryIntervalSeconds; }
    void setRemindEveryIntervalSeconds(qint64 value) { m_remindEveryIntervalSeconds = value; }

    bool dropShadow() const { return m_dropShadow; }
    void setDropShadow(bool value) { m_dropShadow = value; }

    QColor textColor() const { return m_textColor; }
    void setTextColor(const QColor& value) { m_textColor = value; }

    QColor bgColor() const { return m_bgColor; }
    void setBgColor(const QColor& value) { m_bgColor = value; }

    /// Appends a name to the sound list.
    void addSoundFile(const QString& name);
    /// Removes the first entry equal to the name; throws std::out_of_range when there is none.
    void removeSoundFile(const QString& name);
    /// Stores the name at the index: appends at index == count, replaces the entry below the count (nothing
    /// moves), throws std::out_of_range above the count or below zero.
    void insertObjectInSoundFilesAtIndex(const QString& object, qsizetype index);
    /// Removes the entry at the index; later entries move down. Throws std::out_of_range when out of range.
    void removeObjectFromSoundFilesAtIndex(qsizetype index);

private:
    QString m_defaultCountdownTime;
    QString m_countdownTime;
    bool m_playSound = true;
    bool m_playReminderSound = true;
    bool m_continueCountdown = true;
    qint64 m_selectedSoundIndex = 0;
    qint64 m_reminderSoundIndex = 0;
    QStringList m_soundFiles;
    QString m_defaultSound;
    QString m_selectedSoundName;
    QString m_reminderSoundName;
    QString m_remindEveryInterval;
    qint64 m_remindEveryH = 0;
    qint64 m_remindEveryM = 0;
    qint64 m_remindEveryS = 0;
    qint64 m_remindEveryIntervalSeconds = 0;
    bool m_dropShadow = true;
    QColor m_textColor;
    QColor m_bgColor;
};
