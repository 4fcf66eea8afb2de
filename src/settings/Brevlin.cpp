#include "Brevlin.h"

#include "TextValues.h"

#include <stdexcept>

// countdownTime, selectedSoundName and reminderSoundName stay null: the store fills them at start-up.
Brevlin::Brevlin()
    : m_defaultCountdownTime(QStringLiteral("00:01:00"))
    , m_playSound(true)
    , m_playReminderSound(true)
    , m_continueCountdown(true)
    , m_selectedSoundIndex(0)
    , m_reminderSoundIndex(4)
    , m_soundFiles({QStringLiteral("Left Coast Piano.mp3"), QStringLiteral("Piano 1.mp3"),
                    QStringLiteral("School Bell.mp3"), QStringLiteral("Harp Compound.mp3"),
                    QStringLiteral("click_tin.wav")})
    , m_defaultSound(QStringLiteral("Left Coast Piano.mp3"))
    , m_remindEveryInterval(QStringLiteral("0:5:0"))
    // Stored as numbers, not parsed from the text above: the defaults must not depend on the parser.
    , m_remindEveryH(0)
    , m_remindEveryM(5)
    , m_remindEveryS(0)
    , m_remindEveryIntervalSeconds(300)
    , m_dropShadow(true)
    , m_textColor(Qt::black)
    , m_bgColor(Qt::white)
{}

void Brevlin::setRemindEveryInterval(const QString& value)
{
    m_remindEveryInterval = value;
    const QStringList parts = componentsSeparatedByString(m_remindEveryInterval, QStringLiteral(":"));
    // Anything but three fields is ignored on purpose: the text is kept for the user to go on editing,
    // while the countdown keeps using the last interval that made sense.
    if (parts.size() != 3)
        return;
    // Each field is read as a 32-bit number before widening, so a huge field saturates at the 32-bit limit
    // and the sum below cannot overflow 64 bits.
    m_remindEveryH = intValue(parts.at(0));
    m_remindEveryM = intValue(parts.at(1));
    m_remindEveryS = intValue(parts.at(2));
    m_remindEveryIntervalSeconds = m_remindEveryH * 3600 + m_remindEveryM * 60 + m_remindEveryS;
}

void Brevlin::addSoundFile(const QString& name)
{
    insertObjectInSoundFilesAtIndex(name, soundFiles().size());
}

void Brevlin::removeSoundFile(const QString& name)
{
    // A name that is not listed gives -1 here, which the removal rejects as out of range.
    removeObjectFromSoundFilesAtIndex(soundFiles().indexOf(name));
}

void Brevlin::insertObjectInSoundFilesAtIndex(const QString& object, qsizetype index)
{
    if (index < 0 || index > m_soundFiles.size())
        throw std::out_of_range("Brevlin::insertObjectInSoundFilesAtIndex: index beyond the sound list");
    // Subscript assignment, not insertion: below the count the entry is replaced and nothing moves.
    if (index == m_soundFiles.size())
        m_soundFiles.append(object);
    else
        m_soundFiles[index] = object;
}

void Brevlin::removeObjectFromSoundFilesAtIndex(qsizetype index)
{
    if (index < 0 || index >= m_soundFiles.size())
        throw std::out_of_range("Brevlin::removeObjectFromSoundFilesAtIndex: index outside the sound list");
    m_soundFiles.removeAt(index);
}
